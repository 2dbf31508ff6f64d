// Where programs on a Linux host meet: the texts of TVK_MODEM and TVK_DIAG, and the directories in
// which sockets and state live.
#pragma once

#include <string>
#include <string_view>

namespace protocol {

/// `scheme:rest`, split at the first colon; a text without a colon is all scheme.
struct endpoint_text {
  std::string_view scheme;
  std::string_view rest;
};
[[nodiscard]] endpoint_text split_endpoint(std::string_view text);

/// $XDG_RUNTIME_DIR/tvk, else /tmp/tvk-UID: sockets.
[[nodiscard]] std::string runtime_directory();

/// $XDG_STATE_HOME/tvk, else ~/.local/state/tvk: what outlives a run.
[[nodiscard]] std::string state_directory();

/// Makes the directory and its parents, those it makes with mode 0700. False, with errno set, when
/// it is not there afterwards.
[[nodiscard]] bool make_directories(const std::string& path);

}  // namespace protocol
