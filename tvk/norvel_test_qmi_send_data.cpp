// Group 6: a raw request to the extension service.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "norvel_extend_qmi/norvel_extend_client.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "tvk/arguments.h"
#include "tvk/command_group.h"
#include "tvk/commands.h"
#include "tvk/usage.h"

namespace {

constexpr command_group send_data{.number = 6, .printed = notes::unless_quiet, .least_argc = 4};

constexpr int first_qmi_id = 0;
constexpr int end_of_qmi_ids = 6;
constexpr int max_data = 500;

using payload = std::array<unsigned char, max_data>;

/// Prints each byte as soon as it is parsed, so that the output shows which number aborted the
/// process.
int read_bytes(std::span<char*> arguments, payload& bytes) {
  const auto count = std::min<std::size_t>(arguments.size(), bytes.size());
  for (std::size_t i = 0; i < count; ++i) {
    bytes[i] = static_cast<unsigned char>(norvel_string_to_int(arguments[i]));
    print_note("0x%02X ", bytes[i]);
  }
  print_note("\n");
  return static_cast<int>(count);
}

void print_response(int qmi_id, std::span<const unsigned char> bytes) {
  print_note("nl_qmi rsp data(qmi_id: %d, len: %d[max: %d]):\n", qmi_id,
             static_cast<int>(bytes.size()), max_data);
  for (const unsigned char byte : bytes) print_note(" %02X", byte);
  print_note("\n");
}

}  // namespace

int norvel_test_qmi_send_data_do(int argc, char** argv) {
  if (!may_run(send_data, argc, argv)) return 1;
  const int qmi_id = std::atoi(argv[2]);
  if (qmi_id < first_qmi_id || qmi_id >= end_of_qmi_ids) {
    print_misuse(send_data, "\nnote: the second parameters(qmi_id) should be >= %d && < %d\n",
                 first_qmi_id, end_of_qmi_ids);
    show_help(send_data.number);
    return 1;
  }
  const std::span arguments(argv + 3, static_cast<std::size_t>(argc - 3));
  print_note("nl_qmi req data(qmi_id: %d, len: %d[max: %d]):\n", qmi_id, argc - 3, max_data);
  payload request{};
  const int count = read_bytes(arguments, request);

  payload response{};
  unsigned int response_len = 0;
  const int result = norvel_extend_qmi_send_sync(static_cast<unsigned int>(qmi_id), request.data(),
                                                 count, response.data(), &response_len);
  print_note("qmi_id = %d, result = %d\n", qmi_id, result);
  if (result != 0) {
    print_note("norvel_extend_qmi_send_sync fail\n");
    show_help(send_data.number);
    return result;
  }
  print_response(qmi_id, std::span(response).first(response_len));
  return 0;
}
