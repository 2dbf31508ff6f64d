// Sends a raw DIAG request, given byte by byte.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

#include "norvel_extend_qmi/norvel_diag_send.h"
#include "norvel_extend_qmi/norvel_diag_send_check.h"
#include "norvel_extend_qmi/norvel_diag_send_response.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "tvk/arguments.h"
#include "tvk/norvel_qmi_test_cmn.h"

namespace {

using request_buffer = std::array<unsigned char, norvel_diag_max_request>;
using reply_buffer = std::array<unsigned char, norvel_diag_max_response>;

constexpr int first_byte_argument = 6;

/// Bytes beyond the buffer are ignored. Each byte is printed as soon as it is parsed, so that the
/// output shows which number aborted the process.
void read_request(std::span<char*> arguments, request_buffer& request) {
  print_note("diag cmd:\n");
  const std::size_t count = std::min(arguments.size(), request.size());
  for (std::size_t i = 0; i < count; ++i) {
    request[i] = static_cast<unsigned char>(norvel_string_to_int(arguments[i]));
    print_note("0x%02X ", request[i]);
  }
  print_note("\n");
}

using send_with_result = int (*)(unsigned char* data, unsigned int data_len,
                                 unsigned char* reply_buf, int* p_reply_len, int time_out);

struct mode {
  const char* title_with_result;
  const char* title_without_result;
  send_with_result send;
  int work_mode;
};
constexpr mode modes[] = {
    {"callback mode with result", "callback mode without result",
     norvel_diag_cmd_send_with_result_by_callback_mode, 0},
    {"dci mode with result", "dci mode without result",
     norvel_diag_cmd_send_with_result_by_dci_mode, 1},
};

/// Printed in one call, because the watcher thread may still be printing.
void print_reply(std::span<const unsigned char> reply) {
  std::string bytes;
  for (const unsigned char byte : reply) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), " 0x%02X", byte);
    bytes += text.data();
  }
  print_note("\nrsp data len(%d)\nrsp data:%s\n", static_cast<int>(reply.size()), bytes.c_str());
}

}  // namespace

int norvel_cmn_diag_cmd_send(int argc, char** argv) {
  if (argc <= first_byte_argument) {
    print_note("\nnote: Too few inputs, Pls refer to the following cmd:\n");
    return 0;
  }
  const mode& chosen = modes[std::atoi(argv[3]) == 0 ? 0 : 1];
  const bool awaited = std::atoi(argv[4]) == 0;
  const int time_out = std::atoi(argv[5]);
  const std::span arguments(argv + first_byte_argument,
                            static_cast<std::size_t>(argc - first_byte_argument));
  // The real number of bytes, even if the buffer holds fewer: the length check then refuses it.
  const auto length = static_cast<unsigned int>(arguments.size());
  request_buffer request{};
  read_request(arguments, request);
  print_note("%s\n", awaited ? chosen.title_with_result : chosen.title_without_result);

  reply_buffer reply{};
  int reply_len = norvel_diag_max_response;
  const int result = awaited
                         ? chosen.send(request.data(), length, reply.data(), &reply_len, time_out)
                         : norvel_diag_cmd_send_without_result_start_thread(request.data(), length,
                                                                            chosen.work_mode);
  if (result != 0) {
    print_note("norvel_diag_cmd_send fail\n");
  } else if (awaited) {
    print_reply(std::span(reply).first(static_cast<std::size_t>(reply_len)));
  } else {
    print_note("\ndone without rsp data\n");
    norvel_diag_cmd_send_without_result_wait();
  }
  return result;
}
