// The directories for sockets and for persistent state, as the environment defines them.
#pragma once

#include <string>

namespace host {

/// For sockets: $XDG_RUNTIME_DIR/tvk, or else /tmp/tvk-UID.
[[nodiscard]] std::string runtime_directory();

/// For what outlives a run: $XDG_STATE_HOME/tvk, or else ~/.local/state/tvk. Empty when neither
/// XDG_STATE_HOME nor HOME is set.
[[nodiscard]] std::string state_directory();
inline constexpr const char* no_state_directory = "neither XDG_STATE_HOME nor HOME is set";

/// The directory part of a path; empty for a bare name in the current directory.
[[nodiscard]] std::string parent_of(const std::string& path);

/// Creates the directory and missing parents, with mode 0700. False, with errno set, when the
/// directory does not exist afterwards.
[[nodiscard]] bool make_directories(const std::string& path);

}  // namespace host
