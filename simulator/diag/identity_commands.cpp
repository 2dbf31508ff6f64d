// Who the modem is: versions, build, serial number, security codes, sizes of the channel.
#include <algorithm>
#include <chrono>

#include "protocol/log_packet.h"
#include "simulator/diag/command.h"

namespace sim::diag {
namespace {

constexpr std::uint16_t security_code_item = 85;

/// Compiled, released, version directory, then numbers of the mobile.
reply version(const request& /*asked*/) {
  constexpr std::string_view built = "Jan 15 202610:20:30";
  return byte_string()
      .text(built)
      .text(built)
      .text("TVKMODEM")
      .u8(0x3A, 0x09, 0xFF, 0x64, 0x00, 0x02, 0x09, 0x0B);
}

reply serial_number(const request& asked) {
  constexpr std::uint32_t none = 0xDEADD00D;
  const auto item = asked.state.nv.read(0, esn_item);
  const bool is_whole = item && item->size() >= sizeof(none);
  return byte_string().u32(is_whole ? protocol::load_le<std::uint32_t>(*item) : none);
}

reply diag_version(const request& /*asked*/) {
  return byte_string().u16(8);
}

reply time_stamp(const request& /*asked*/) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return byte_string().u64(protocol::diag::from_unix_microseconds(
      std::chrono::duration_cast<std::chrono::microseconds>(now).count()));
}

/// The answer is the request.
reply repeat(const request& /*asked*/) {
  return byte_string();
}

reply security_code(const request& asked) {
  const auto code = asked.state.nv.read(0, security_code_item);
  return byte_string().u8(code && std::ranges::equal(*code, asked.bytes.subspan(1)));
}

reply password(const request& asked) {
  return byte_string().u8(
      std::ranges::all_of(asked.bytes.subspan(1), [](auto byte) { return byte == 0xFF; }));
}

constexpr std::uint32_t chip = 0x000090B0;
constexpr std::uint32_t family = 0x00001007;

/// Both strings must be terminated; a client cuts the build id when a model follows it.
reply build_id(const request& /*asked*/) {
  constexpr std::string_view no_model;
  return byte_string()
      .u8(1)
      .u16(0)
      .u32(chip, family)
      .c_string("TVK-MODEM-" TVK_MODEM_VERSION)
      .c_string(no_model);
}

reply largest_packet(const request& /*asked*/) {
  return byte_string().u32(any_size);
}

reply diag_ids(const request& /*asked*/) {
  return byte_string().u8(1, 0);
}

reply poll(const request& /*asked*/) {
  return byte_string().zeros(13);
}

reply mobile_id(const request& /*asked*/) {
  return byte_string().u32(2, family, chip);
}

/// Counting bytes after the header, so that a reader sees at once what is missing.
reply factory_test(const request& asked) {
  constexpr std::uint32_t header = 4;
  byte_string answer;
  for (std::uint32_t n = 0; header + n < asked.state.factory_answer; ++n) answer.u8(n);
  return answer;
}

constexpr command_row rows[] = {
    {plain(0x00), "version", 1, 1, 1, version},
    {plain(0x01), "ESN", 1, 1, 1, serial_number},
    {plain(0x1C), "DIAG version", 1, 1, 1, diag_version},
    {plain(0x1D), "time stamp", 1, 1, 1, time_stamp},
    {plain(0x3A), "download mode", 1, 1, 1, repeat},
    {plain(0x41), "security code", 7, 7, 1, security_code},
    {plain(0x46), "password", 9, 9, 1, password},
    {plain(0x7C), "build id", 1, 1, 1, build_id},
    {subsystem(0x12, 0x0055), "largest packet", 4, 4, 4, largest_packet},
    {subsystem(0x12, 0x0222), "DIAG ids", 5, 5, 4, diag_ids},
    {subsystem(0x32, 0x0003), "poll", 4, any_size, 3, poll},
    {subsystem(0x32, 0x0006), "mobile id", 4, 4, 4, mobile_id},
    {whole_subsystem(0x0B), "factory test", 4, any_size, 4, factory_test},
};

}  // namespace

std::span<const command_row> identity_commands() {
  return rows;
}

}  // namespace sim::diag
