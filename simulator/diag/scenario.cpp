#include "simulator/diag/scenario.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <iterator>

#include "protocol/log_packet.h"
#include "simulator/diag/byte_string.h"
#include "simulator/diag/signalling.h"
#include "simulator/modem/receive_paths.h"

namespace sim::diag {
namespace {

namespace wire = protocol::diag;
using std::chrono::milliseconds;

using payload = std::vector<std::uint8_t>;

/// Into the 32-bit word at `at`, from bit `first` on.
void put_bits(payload& out, std::size_t at, unsigned first, std::uint32_t value) {
  const auto word = std::span(out).subspan(at);
  protocol::store_le(protocol::load_le<std::uint32_t>(word) | value << first, word);
}

/// The word at `at`, as an s32.
void put_word(payload& out, std::size_t at, double value) {
  protocol::store_le(static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(value))),
                     std::span(out).subspan(at));
}

/// A level in steps above the lowest that the log can express.
std::uint32_t steps(double level, double lowest, double per_unit, std::uint32_t most) {
  return static_cast<std::uint32_t>(
      std::clamp(std::round((level - lowest) * per_unit), 0.0, static_cast<double>(most)));
}

/// How many of these came before; sub-frames, HARQ ids and the like are derived from it.
using number = std::uint32_t;

/// Version 3.
payload lte_serving_cell(const radio_values& seen, number /*nth*/) {
  const lte_cell& cell = seen.lte;
  return byte_string()
      .u8(3)
      .u16(cell.pci)
      .u32(cell.dl_earfcn, cell.ul_earfcn)
      .u8(cell.resource_blocks, cell.resource_blocks)
      .u32(cell.cell_identity)
      .u16(cell.tracking_area)
      .u32(cell.band)
      .u16(seen.network.mcc)
      .u8(seen.network.mnc_digits)
      .u16(seen.network.mnc)
      .u8(1);
}

/// Version 1, sub-packet 25 version 36: four cells, of which one is there, with four antennas.
payload lte_measurement(const radio_values& seen, number nth) {
  constexpr std::size_t size = 528;
  constexpr std::size_t cell = 16;
  constexpr std::uint16_t sub_packet = 25 | 36 << 8;
  constexpr std::uint32_t serving = 1U << 12;
  // Most levels are there twice.
  struct place {
    std::size_t word;
    unsigned bit;
  };
  struct antenna {
    std::array<place, 2> rsrp;
    std::array<place, 2> rsrq;
    place rssi;
    place snr;
  };
  constexpr antenna antennas[receive_antennas] = {
      {{{{16, 10}, {20, 0}}}, {{{36, 0}, {36, 10}}}, {48, 0}, {80, 0}},
      {{{{20, 12}, {24, 0}}}, {{{36, 20}, {40, 0}}}, {48, 11}, {80, 9}},
      {{{{24, 12}, {24, 12}}}, {{{40, 10}, {40, 10}}}, {52, 0}, {84, 0}},
      {{{{28, 0}, {28, 0}}}, {{{40, 20}, {40, 20}}}, {52, 11}, {84, 9}},
  };
  const auto rsrp = [](double dbm) { return steps(dbm, -180, 16, 0xFFF); };
  const auto rsrq = [](double db) { return steps(db, -30, 16, 0x3FF); };
  const auto rssi = [](double dbm) { return steps(dbm, -110, 16, 0x7FF); };
  const auto snr = [](double db) { return steps(db, -20, 10, 0x1FF); };

  const lte_cell& from = seen.lte;
  payload out =
      byte_string().u8(1, 1, 0, 0).u16(sub_packet, size - 4).u32(from.dl_earfcn).u16(1, 0xF);
  out.resize(size);
  const std::uint32_t frame = nth * 50 % 1024;
  put_bits(out, cell, 0, from.pci | serving);
  put_bits(out, cell + 4, 0, frame);
  put_bits(out, cell + 16, 0, frame);
  for (unsigned n = 0; n < receive_antennas; ++n) {
    const antenna& to = antennas[n];
    const lte_cell there = at_antenna(from, n);
    for (const place& each : to.rsrp) put_bits(out, cell + each.word, each.bit, rsrp(there.rsrp));
    for (const place& each : to.rsrq) put_bits(out, cell + each.word, each.bit, rsrq(there.rsrq));
    put_bits(out, cell + to.rssi.word, to.rssi.bit, rssi(there.rssi()));
    put_bits(out, cell + to.snr.word, to.snr.bit, snr(there.sinr));
    put_word(out, cell + 104 + std::size_t{4} * n, there.sinr * 256);
  }
  // What the antennas make together, and that filtered: the first antenna's level, which is the
  // best.
  constexpr std::uint32_t combined_lower = 640;
  put_bits(out, cell + 28, 12, rsrp(from.rsrp) - std::min(rsrp(from.rsrp), combined_lower));
  put_bits(out, cell + 32, 0, rsrp(from.rsrp));
  put_bits(out, cell + 32, 12, rsrp(from.rsrp));
  put_bits(out, cell + 44, 0, rsrq(from.rsrq));
  put_bits(out, cell + 44, 10, rsrq(from.rsrq));
  put_bits(out, cell + 44, 20, rsrq(from.rsrq));
  put_bits(out, cell + 56, 0, rssi(from.rssi()));
  // The signal to expect, and the quality without interference.
  put_word(out, cell + 96, from.sinr * 16);
  put_bits(out, cell + 100, 0, rsrq(from.rsrq));
  return out;
}

constexpr std::uint8_t block_resources = 20;

/// A better signal, a higher modulation: its index, bits of a symbol, and what a block then holds.
struct modulation {
  double sinr;  // dB, from here on
  std::uint8_t mcs;
  std::uint8_t code;
  std::uint16_t bytes;
};
constexpr modulation modulations[] = {{-20, 4, 2, 180}, {6, 13, 4, 576}, {14, 24, 6, 1338}};

const modulation& modulation_at(double sinr) {
  const auto* const next = std::ranges::upper_bound(modulations, sinr, {}, &modulation::sinr);
  return next == std::begin(modulations) ? *next : *std::prev(next);
}

/// Version 24: one record with one block, of which every tenth fails.
payload lte_downlink(const radio_values& seen, number nth) {
  constexpr unsigned passed = 0x80;
  const modulation& best = modulation_at(seen.lte.sinr);
  return byte_string()
      .u8(24, 1, 0, 0)
      .u16(nth % 10 | nth * 30 % 1024 << 4)
      .u8(block_resources, 2, 1, 0)
      .u8(nth % 8 | (nth % 10 == 9 ? 0 : passed), 0)
      .u16(best.bytes)
      .u8(best.mcs, block_resources, best.code, 0)
      .zeros(10);
}

/// Version 1, sub-packet 8 version 2: one sample with a short buffer status and a power headroom.
payload lte_uplink(const radio_values& seen, number nth) {
  constexpr std::uint8_t group_3 = 3 << 6;
  constexpr double power_at_cell = 15;  // dBm
  // 23 dBm less what the path takes; the index counts from -23 dB.
  const double loss = power_at_cell - seen.lte.rsrp;
  const auto headroom = steps(23 - (loss - 90), -23, 1, 63);
  return byte_string()
      .u8(1, 1, 0, 0, 8, 2)
      .u16(24)
      .u8(1, 1, 0, nth % 8, 0)
      .u16(nth % 10 | nth * 50 % 1024 << 4, 57)
      .u8(1)
      .u16(0)
      .u8(1, 3, 5)
      .u8(0x3D, 0x3A, 0x03, group_3 | nth % 40, headroom);
}

/// Version 2.7: one layer with its serving cell, whose one beam two antennas receive.
payload nr_measurement(const radio_values& seen, number nth) {
  const auto raw = [](double level) { return std::lround(level * 128); };
  constexpr std::uint16_t none = 0xFFFF;
  const nr_cell& cell = seen.nr;
  const auto rsrp = raw(cell.rsrp);
  const auto rsrq = raw(cell.rsrq);
  byte_string out;
  out.u32(0x20007).u8(1, 20, 0, 0).u32(0, 0);
  out.u32(cell.arfcn).u8(1, 0).u16(cell.pci).u32(0, 0, 0).u16(none, none, 0, 0, none, none);
  out.u16(cell.pci, nth * 100 % 1024).u32(1, rsrp, rsrq);
  out.zeros(20).u32(rsrp, raw(at_antenna(cell, 1).rsrp), rsrp, rsrq, rsrp, rsrq);
  return out;
}

/// Version 5: two chains of the first carrier, none of the second, and one task that searched for
/// the cell.
payload wcdma_search(const radio_values& seen, number /*nth*/) {
  constexpr std::uint16_t unused = 512;
  constexpr std::uint16_t transmits_nothing = 0xFE00;
  constexpr unsigned scrambling_code = 397;
  constexpr std::size_t between = 11;
  constexpr std::uint8_t no_cells[] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  const auto level = [&seen](unsigned antenna) {
    return std::lround((rssi_at_antenna(seen.wcdma.rssi, antenna) + 106) * 10 - 512);
  };
  return byte_string()
      .u8(5, 0, 1)
      .u16(level(0), level(1), unused, unused, transmits_nothing, transmits_nothing)
      .u8(0)
      .u16(seen.wcdma.dl_uarfcn)
      .bytes(no_cells)
      // How many tasks, and the head of the one: of its 11 bytes these, the code, and 4 more.
      .u8(0, 0, 1, 4, 1, 0x23, 0, 0, 0, 0)
      .u16(16 * scrambling_code)
      .zeros(4 + between)
      // Where the peaks are, and their energies, the strongest first.
      .u32(217436, 217004, 217848, 217380, 217112, 217088)
      .u32(120, 120, 116, 113, 112, 110);
}

/// Version 1: channel and band, primary and diversity level.
payload gsm_diversity(const radio_values& seen, number /*nth*/) {
  const auto level = [&seen](unsigned antenna) {
    return std::lround(rssi_at_antenna(seen.gsm.rssi, antenna) * 16);
  };
  return byte_string().u8(1, 0).u16(seen.gsm.arfcn | seen.gsm.band << 12, level(0), level(1));
}

enum class logged_when : std::uint8_t { camped, connected };

struct log_row {
  std::uint16_t code;
  logged_when when;
  milliseconds every;
  payload (*build)(const radio_values& seen, number nth);
};
constexpr log_row logs[] = {
    {0xB0C2, logged_when::camped, milliseconds(5000), lte_serving_cell},
    {0xB193, logged_when::camped, milliseconds(500), lte_measurement},
    {0xB173, logged_when::connected, milliseconds(400), lte_downlink},
    {0xB064, logged_when::connected, milliseconds(1000), lte_uplink},
    {0xB97F, logged_when::connected, milliseconds(1000), nr_measurement},
    {0x4179, logged_when::camped, milliseconds(2000), wcdma_search},
    {0x5096, logged_when::camped, milliseconds(2000), gsm_diversity},
};
constexpr std::uint16_t rrc_state_event = 1606;
constexpr milliseconds step{100};  // every period is a multiple

bool is_logged(logged_when when, lte_rrc_state state) {
  return when == logged_when::camped ? state != lte_rrc_state::idle_not_camped
                                     : state == lte_rrc_state::connected;
}

class scenario_cursor : public cursor {
 public:
  explicit scenario_cursor(const radio& seen)
      : radio_(seen), begin_(seen.now()), begin_utc_(std::chrono::system_clock::now()) {}

  std::optional<std::chrono::microseconds> due() override {
    // The radio may still change later, so no step is made before its time.
    while (ready_.empty() && begin_ + at_ <= radio_.now()) make_step();
    return at_made_ ? *at_made_ : at_;
  }

  protocol::byte_view take() override {
    if (ready_.empty()) return {};
    taken_ = std::move(ready_.front());
    ready_.pop_front();
    if (ready_.empty()) at_made_.reset();
    return taken_;
  }

 private:
  void make_step() {
    const radio_values seen = radio_.at(begin_ + at_);
    const auto utc = std::chrono::duration_cast<std::chrono::microseconds>(
        (begin_utc_ + at_).time_since_epoch());
    const wire::time_stamp time = wire::from_unix_microseconds(utc.count());
    if (seen.rrc != last_) {
      const auto state = static_cast<std::uint8_t>(seen.rrc);
      ready_.push_back(
          wire::build_event_report({.id = rrc_state_event, .time = time, .payload = {&state, 1}}));
    }
    last_ = seen.rrc;
    for (const log_row& row : logs) {
      if (at_ % row.every != milliseconds(0) || !is_logged(row.when, seen.rrc)) continue;
      const auto made = row.build(seen, static_cast<number>(at_ / row.every));
      ready_.push_back(wire::build_log({.code = row.code, .time = time, .payload = made}));
    }
    for (const auto& log : signalling_.logs_at(at_, seen)) {
      ready_.push_back(wire::build_log({.code = log.code, .time = time, .payload = log.payload}));
    }
    if (!ready_.empty()) at_made_ = at_;
    at_ += step;
  }

  const radio& radio_;
  radio::time begin_;
  std::chrono::system_clock::time_point begin_utc_;
  milliseconds at_{0};
  std::optional<milliseconds> at_made_;
  std::optional<lte_rrc_state> last_;
  signalling signalling_;
  std::deque<std::vector<std::uint8_t>> ready_;
  std::vector<std::uint8_t> taken_;
};

}  // namespace

std::vector<std::uint8_t> log_payload(std::uint16_t code, const radio_values& seen, number nth) {
  const auto* const row = std::ranges::find(logs, code, &log_row::code);
  return row == std::end(logs) ? payload() : row->build(seen, nth);
}

std::vector<std::uint8_t> serving_cell_log(const radio_values& seen, std::uint64_t time) {
  constexpr std::uint16_t serving_cell = 0xB0C2;
  const auto made = log_payload(serving_cell, seen, 0);
  return wire::build_log({.code = serving_cell, .time = time, .payload = made});
}

std::unique_ptr<cursor> scenario::begin() const {
  return std::make_unique<scenario_cursor>(radio_);
}

}  // namespace sim::diag
