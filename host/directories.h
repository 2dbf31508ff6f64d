// Where programs on a Linux host meet and what they leave behind: the directories of sockets and of
// state, as the environment names them.
#pragma once

#include <string>

namespace host {

/// $XDG_RUNTIME_DIR/tvk, else /tmp/tvk-UID: sockets.
[[nodiscard]] std::string runtime_directory();

/// $XDG_STATE_HOME/tvk, else ~/.local/state/tvk: what outlives a run. Empty when neither
/// XDG_STATE_HOME nor HOME is set.
[[nodiscard]] std::string state_directory();
inline constexpr const char* no_state_directory = "neither XDG_STATE_HOME nor HOME is set";

/// The directory that a path is in; empty for a name alone, which is in the current one.
[[nodiscard]] std::string parent_of(const std::string& path);

/// Makes the directory and its parents, those it makes with mode 0700. False, with errno set, when
/// it is not there afterwards.
[[nodiscard]] bool make_directories(const std::string& path);

}  // namespace host
