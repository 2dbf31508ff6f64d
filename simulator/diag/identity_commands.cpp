// Who the modem is: versions, build, serial number, security codes, sizes of the channel.
#include <algorithm>
#include <chrono>
#include <string_view>

#include "protocol/log_packet.h"
#include "simulator/diag/command.h"

namespace sim::diag {
namespace {

using protocol::append_le;

constexpr std::uint16_t esn_item = 0;
constexpr std::uint16_t security_code_item = 85;

void append(packet& out, std::string_view text) {
  out.insert(out.end(), text.begin(), text.end());
}

void append_c_string(packet& out, std::string_view text) {
  append(out, text);
  out.push_back(0);
}

std::uint32_t esn(modem& state) {
  constexpr std::uint32_t none = 0xDEADD00D;
  const auto item = state.nv.read(0, esn_item);
  return item && item->size() >= sizeof(none) ? protocol::load_le<std::uint32_t>(*item) : none;
}

/// Compiled, released, version directory, then numbers of the mobile.
reply version(const request& asked) {
  packet answer = asked.begin_answer();
  append(answer,
         "Jan 15 2026"
         "10:20:30");
  append(answer,
         "Jan 15 2026"
         "10:20:30");
  append(answer, "TVKMODEM");
  for (const int each : {0x3A, 0x09, 0xFF, 0x64, 0x00, 0x02, 0x09, 0x0B}) {
    answer.push_back(static_cast<std::uint8_t>(each));
  }
  return answer;
}

reply serial_number(const request& asked) {
  packet answer = asked.begin_answer();
  append_le(answer, esn(asked.state));
  return answer;
}

reply diag_version(const request& asked) {
  packet answer = asked.begin_answer();
  append_le(answer, std::uint16_t{8});
  return answer;
}

reply time_stamp(const request& asked) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  packet answer = asked.begin_answer();
  append_le(answer, protocol::diag::from_unix_microseconds(
                        std::chrono::duration_cast<std::chrono::microseconds>(now).count()));
  return answer;
}

/// The answer is the request.
reply repeat(const request& asked) {
  return asked.begin_answer();
}

reply security_code(const request& asked) {
  const auto code = asked.state.nv.read(0, security_code_item);
  packet answer = asked.begin_answer();
  answer.push_back(code && std::ranges::equal(*code, asked.bytes.subspan(1)) ? 1 : 0);
  return answer;
}

reply password(const request& asked) {
  const bool right = std::ranges::all_of(asked.bytes.subspan(1), [](auto b) { return b == 0xFF; });
  packet answer = asked.begin_answer();
  answer.push_back(right ? 1 : 0);
  return answer;
}

constexpr std::uint32_t chip = 0x000090B0;
constexpr std::uint32_t family = 0x00001007;

/// Both strings must be terminated; a client cuts the build id when a model follows it.
reply build_id(const request& asked) {
  packet answer = asked.begin_answer();
  answer.push_back(1);
  append_le(answer, std::uint16_t{0});
  append_le(answer, chip);
  append_le(answer, family);
  append_c_string(answer, "TVK-MODEM-" TVK_MODEM_VERSION);
  append_c_string(answer, "");
  return answer;
}

reply largest_packet(const request& asked) {
  packet answer = asked.begin_answer();
  append_le(answer, static_cast<std::uint32_t>(any_size));
  return answer;
}

reply diag_ids(const request& asked) {
  packet answer = asked.begin_answer();
  answer.push_back(1);
  answer.push_back(0);
  return answer;
}

reply poll(const request& asked) {
  packet answer = asked.begin_answer();
  answer.resize(16);
  return answer;
}

reply mobile_id(const request& asked) {
  packet answer = asked.begin_answer();
  append_le(answer, std::uint32_t{2});
  append_le(answer, family);
  append_le(answer, chip);
  return answer;
}

/// Counting bytes after the header, so that a reader sees at once what is missing.
reply factory_test(const request& asked) {
  packet answer = asked.begin_answer();
  const std::size_t size = std::max<std::size_t>(asked.state.factory_answer, answer.size());
  while (answer.size() < size) answer.push_back(static_cast<std::uint8_t>(answer.size() - 4));
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
