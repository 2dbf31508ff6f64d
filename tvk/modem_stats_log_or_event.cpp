#include "tvk/modem_stats_log_or_event.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "modem_stats/dispatch.h"
#include "tvk/arguments.h"

namespace {

/// The input of every decoder: a version that no log has, then mostly zeros.
constexpr auto test_payload = [] {
  std::array<unsigned char, 108> payload = {0x09, 0x00, 0x04};
  payload[15] = 0x01;
  payload[18] = 0xFF;
  payload[21] = 0x08;
  payload[22] = 0x01;
  payload[25] = 0x01;
  return payload;
}();

}  // namespace

bool norvel_test_modem_stats_log_or_event(int argc, char** argv) {
  if (argc < 4) {
    std::puts("\nnote: Too few parameters, Pls refer to the following cmd:");
    return false;
  }
  const int type = std::atoi(argv[2]);
  const auto id = static_cast<std::uint16_t>(norvel_string_to_int(argv[3]));
  auto payload = test_payload;
  constexpr auto length = static_cast<unsigned char>(payload.size());
  std::printf("length = %d, type = %d, id = %d(0x%x)\n", length, type, id, id);
  if (type == 0) {
    modem_stats_diag_process_log_ex(0, id, length, payload.data());
  } else {
    modem_stats_diag_process_event_ex(0, id, length, payload.data());
  }
  return true;
}
