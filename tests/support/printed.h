// What a call prints, and log lines without what may change: the source line numbers, and the
// values of UIM client handles.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "support/eventually.h"
#include "support/test.h"

namespace support {

inline const std::string client_made =
    "NORVEL_QMI_NV: qmi_client_get_service_list() returned 0 num_services = 1\n"
    "NORVEL_QMI_NV: qmi_client_get_service_list() returned 0 num_entries = 1 num_services = 1\n"
    "QMI client inited\n";

/// What an exchange of the extension client prints whose answer has this many bytes.
inline std::string exchanged(int size) {
  return "norvel_extend_qmi_send_sync resp_len:" + std::to_string(size) +
         "\nnorvel_extend_qmi_handle_req_cb result:0\n";
}

inline std::string log_lines(const std::string& function,
                             const std::vector<std::string>& messages) {
  std::string text;
  for (const auto& each : messages) text.append("RIL[" + function + ":#]: " + each + "\n");
  return text;
}
inline const std::string function_entry = "function entry ------------->";
inline const std::string function_exit = "function exit <-------------";

/// A handle that follows one of these words, as "#".
inline std::string without_handles(std::string text) {
  for (const std::string before : {"uim_qmi_client ", "qmi_client_release "}) {
    for (auto at = text.find(before); at != std::string::npos; at = text.find(before, at)) {
      at += before.size();
      const auto end = text.find('\n', at);
      if (text.compare(at, 2, "0x") == 0) text.replace(at, end - at, "#");
    }
  }
  return text;
}

/// `RIL[name:123]: ` as `RIL[name:#]: `, on standard output and, with its source, in the system
/// log.
inline std::string masked(const std::string& text) {
  const std::string digits = "0123456789";
  std::string out;
  std::size_t done = 0;
  for (auto at = text.find("RIL["); at != std::string::npos; at = text.find("RIL[", at + 1)) {
    const auto name = at + (text.compare(at, 11, "RIL[shell][") == 0 ? 11 : 4);
    const auto colon = text.find_first_of(":] \n", name);
    const auto end = text.find_first_not_of(digits, std::min(colon, text.size() - 1) + 1);
    if (end == std::string::npos || text[colon] != ':' || end == colon + 1) continue;
    if (text[end] != ']' || colon < done) continue;
    out.append(text, done, colon + 1 - done).append("#");
    done = end;
  }
  return without_handles(out.append(text, done));
}

template <typename Call>
std::string printed_by(Call call) {
  testing::internal::CaptureStdout();
  call();
  std::fflush(stdout);
  return masked(testing::internal::GetCapturedStdout());
}

/// Waits until what is captured of a standard stream, another thread's words too, has `text`.
inline void wait_until_captured(int stream, const std::string& text) {
  EXPECT_TRUE(eventually([&] {
    std::fflush(nullptr);
    std::string all(65536, '\0');
    const auto size = ::pread(stream, all.data(), all.size(), 0);
    return size > 0 &&
           all.substr(0, static_cast<std::size_t>(size)).find(text) != std::string::npos;
  })) << text;
}
inline void wait_until_printed(const std::string& text) {
  wait_until_captured(STDOUT_FILENO, text);
}

}  // namespace support
