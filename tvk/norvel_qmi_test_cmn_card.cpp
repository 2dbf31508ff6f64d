// Card status and slot hot-swap: sends the arguments as the 32-bit values of a common message.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "tvk/norvel_qmi_test_cmn.h"
#include "tvk/output.h"

namespace {

using norvel_common::message_number;

/// No command takes more values than the hot-swap test.
constexpr std::size_t hotswap_values = 4;

int send_values(message_number type, std::span<std::int32_t> values) {
  return norvel_cmn_cmd_send(static_cast<int>(type), static_cast<unsigned int>(values.size_bytes()),
                             reinterpret_cast<char*>(values.data()));
}

/// Converts, prints and sends the arguments, of which there must be exactly `count`.
template <typename Convert>
int send_arguments(message_number type, std::size_t count, int argc, char** argv, Convert convert) {
  const int needed = static_cast<int>(count) + 3;
  if (argc != needed) return refuse_inputs(g_cmn_group, needed);
  print_note("param(cnt: %d):\n", static_cast<int>(count));
  std::array<std::int32_t, hotswap_values> read{};
  for (std::size_t i = 0; i < count; ++i) {
    read[i] = convert(std::atoi(argv[3 + i]));
    print_note(" %d", read[i]);
  }
  return send_values(type, std::span(read).first(count));
}

int norvel_cmn_card_status_cmd(message_number type, std::size_t count, int argc, char** argv) {
  // All parameters of card status commands are flags.
  return send_arguments(type, count, argc, argv, [](int value) { return value != 0 ? 1 : 0; });
}

int norvel_cmn_card_status_cmd_ex(int argc, char** argv) {
  return send_arguments(norvel_common::card_hotswap_test, hotswap_values, argc, argv,
                        [](int value) { return value; });
}

/// Prints the function and its line as a title.
void print_title(const char* function, int line) {
  print_note("RIL[%s:%d]: %s\n", function, line, function);
}

}  // namespace

int norvel_cmn_card_status_query(int argc, char** argv) {
  print_note("%s\n", __func__);
  return norvel_cmn_card_status_cmd(norvel_common::card_status_query, 0, argc, argv);
}

int norvel_cmn_card_status_get(int argc, char** argv) {
  print_title(__func__, __LINE__);
  return norvel_cmn_card_status_cmd(norvel_common::card_status_get, 1, argc, argv);
}

int norvel_cmn_card_status_set(int argc, char** argv) {
  print_title(__func__, __LINE__);
  return norvel_cmn_card_status_cmd(norvel_common::card_status_set, 3, argc, argv);
}

int norvel_cmn_card_type_query(int argc, char** argv) {
  print_note("%s\n", __func__);
  return norvel_cmn_card_status_cmd(norvel_common::card_type_query, 0, argc, argv);
}

int norvel_cmn_card_hotswap_test(int argc, char** argv) {
  print_note("%s\n", __func__);
  constexpr int least_argc = 4;
  if (argc < least_argc) {
    print_misuse(g_cmn_group, "\nnote: need %d inputs at least, Pls refer to the following cmd:\n",
                 least_argc);
    return wrong_arguments;
  }
  std::int32_t opt = std::atoi(argv[3]);
  print_note("opt: %d\n", opt);
  if (opt == 0) return send_values(norvel_common::card_hotswap_test, {&opt, 1});
  return norvel_cmn_card_status_cmd_ex(argc, argv);
}
