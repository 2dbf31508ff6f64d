// Every packet of the captures through its decoder, next to what independent decoders made of it.
#include <array>
#include <cmath>
#include <filesystem>
#include <map>
#include <sstream>

#include <nlohmann/json.hpp>

#include "captures/independent_values.h"
#include "decode/input/byte_source.h"
#include "modem_stats/columns.h"
#include "support/decode_run.h"
#include "support/decoded.h"
#include "support/test.h"

namespace {

namespace fs = std::filesystem;
using support::decoded;

std::string unpacked(const fs::path& file) {
  const auto source = decode::open_source(file);
  std::string text;
  std::array<std::uint8_t, 65536> buffer{};
  while (const auto count = source->read(buffer)) {
    text.append(reinterpret_cast<const char*>(buffer.data()), count);
  }
  return text;
}

/// Calls `check` with every packet, and the decoder that it was given to.
template <typename Check>
void for_each_packet(const fs::path& folder, Check check) {
  for (const auto& file : fs::directory_iterator(folder / "expected")) {
    auto name = file.path().filename().string();
    if (name.ends_with(".gz")) name.resize(name.size() - 3);
    if (!name.ends_with(".jsonl")) continue;
    const char decoder = name.at(name.size() - std::string_view("a.jsonl").size());
    std::istringstream lines(unpacked(file));
    for (std::string line; std::getline(lines, line);) {
      check(decoder, nlohmann::json::parse(line));
    }
  }
}

/// The number in "0xB193", "1606" or "event 1606".
std::uint32_t number_in(const std::string& text) {
  return static_cast<std::uint32_t>(std::stoul(text.substr(text.find(' ') + 1), nullptr, 0));
}
std::uint16_t code_of(const nlohmann::json& packet) {
  return static_cast<std::uint16_t>(number_in(packet["code"]));
}

struct count {
  std::size_t packets = 0;
  std::size_t fields = 0;
  std::size_t rejected = 0;  // versions that are not supported
};

/// Checks that no level is what a raw value of 0, nothing measured, comes out as.
class level_check final : public modem_stats::record_sink {
 public:
  std::size_t levels = 0;

  void record(const modem_stats::record_schema& schema,
              const modem_stats::record_data& data) override {
    static const std::map<std::string, double> markers{
        {"rsrp", -180}, {"rsrq", -30}, {"rssi", -110}, {"snr", -20}};
    for (const auto& column : modem_stats::columns_of(schema.parts().front())) {
      const std::string name = column.name;
      const auto marker = markers.find(name.substr(0, name.find('_')));
      if (marker == markers.end() || column.is_null(data.bytes.data())) continue;
      const double value = load_field(*column.field, data.bytes.subspan(column.byte)).real;
      if (std::isnan(value)) continue;
      EXPECT_GT(value, marker->second) << schema.name << ' ' << name;
      ++levels;
    }
  }
};

class captures_in : public testing::TestWithParam<fs::path> {};

TEST_P(captures_in, decoders_agree_with_independent_ones_field_by_field) {
  std::map<std::uint16_t, count> counts;
  for_each_packet(GetParam(), [&](char decoder, const nlohmann::json& packet) {
    const auto code = code_of(packet);
    const auto ours = decoded::log(code, packet["payload_hex"].get<std::string>());
    const auto& theirs = packet["decoded"];
    // Made by hand from the packet of 2.7 before it: its number of cells stands where 2.9 has the
    // carrier's id, and only this decoder takes it from there.
    const bool is_misplaced =
        decoder == 'b' && packet["file"] == "hexpackets_dev.qmdl" && packet["index"] == 14;
    if (theirs.is_null() || is_misplaced) return;
    auto& sum = counts[code];
    if (ours.lines.find("VERSION_NOT_SUPPORT") != std::string::npos) {
      ++sum.rejected;
      return;
    }
    const auto expected = captures::expectations(decoder, code, theirs);
    if (expected.empty()) return;
    ++sum.packets;
    const auto values = captures::values_in(ours.lines);
    for (const auto& [name, value] : expected) {
      ++sum.fields;
      const auto found = values.find(name);
      ASSERT_NE(found, values.end()) << name << " in " << packet << '\n' << ours.lines;
      // Two decimals are formed digit by digit: a value may come out one hundredth off, and an SNR,
      // whose tenths have no exact float, one tenth.
      EXPECT_NEAR(found->second, value, name.starts_with("snr") ? 0.1001 : 0.0101)
          << name << " in " << packet << '\n'
          << ours.lines;
    }
  });
  for (const int code : {0xB064, 0xB0C2, 0xB14E, 0xB16E, 0xB16F, 0xB173, 0xB193, 0xB823, 0xB97F}) {
    EXPECT_GT(counts[static_cast<std::uint16_t>(code)].fields, 0U) << std::hex << code;
  }
  for (const auto& [code, sum] : counts) {
    std::printf(
        "0x%04X: %zu packets, %zu fields compared, %zu of versions that are not supported\n", code,
        sum.packets, sum.fields, sum.rejected);
  }
}

TEST_P(captures_in, levels_are_not_their_markers) {
  level_check check;
  for_each_packet(GetParam(), [&](char /*decoder*/, const nlohmann::json& packet) {
    const auto payload = support::hex(packet["payload_hex"].get<std::string>());
    modem_stats::stream_state state;
    decode_packet({modem_stats::packet_kind::log, code_of(packet), 0, payload}, {.records = &check},
                  state, modem_stats::version_set::all);
  });
  EXPECT_GT(check.levels, 0U);
}

TEST_P(captures_in, program_counts_their_packets_and_makes_lines_of_json) {
  const auto& folder = GetParam();
  const auto expected = nlohmann::json::parse(support::read_file(folder / "expected/frames.json"));
  std::vector<std::string> paths;
  for (const auto& [name, counts] : expected.items()) {
    const std::string path = folder / name;
    paths.push_back(path);
    const auto found = nlohmann::json::parse(
        support::decode({"--summary-format", "json", "-f", "none", path}).output);
    EXPECT_EQ(found["bytes"], counts["bytes"]) << name;
    EXPECT_EQ(found["frames"], counts["frames"]) << name;
    for (const char* lost : {"bad_crc", "bytes_skipped", "damaged_packets"}) {
      EXPECT_EQ(found[lost], 0) << name;
    }
    EXPECT_EQ(found["with_radio_prefix"], counts["multi_radio_prefix"]) << name;
    for (const auto& [kind, key] : {std::pair("messages", "code"), std::pair("logs", "source"),
                                    std::pair("events", "source")}) {
      std::map<std::uint32_t, std::uint64_t> ours;
      std::map<std::uint32_t, std::uint64_t> theirs;
      for (const auto& one : found[kind]) ours[number_in(one[key])] = one["packets"];
      for (const auto& [code, count] : counts[kind].items()) {
        theirs[number_in(kind == std::string("messages") ? "0x" + code : code)] = count;
      }
      EXPECT_EQ(ours, theirs) << name << " " << kind;
    }
  }
  paths.insert(paths.begin(), {"-f", "jsonl", "-j", "1"});
  const auto all_lines = support::decode(paths).output;
  std::istringstream lines(all_lines);
  std::size_t count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    const auto record = nlohmann::json::parse(line);  // throws when it is not strict
    EXPECT_TRUE(record.is_object() && record.contains("data_id")) << line;
  }
  EXPECT_GT(count, 40U);
  paths[3] = "4";
  EXPECT_TRUE(support::decode(paths).output == all_lines);
}

/// The project's sample, and another folder where CMake was given one.
std::vector<fs::path> folders() {
  std::vector<fs::path> all{TVK_SAMPLE_DIR};
  if (const fs::path more = TVK_CAPTURES_DIR; !more.empty()) all.push_back(more);
  return all;
}

INSTANTIATE_TEST_SUITE_P(folders, captures_in, testing::ValuesIn(folders()),
                         [](const auto& one) { return one.index == 0 ? "sample" : "given"; });

}  // namespace
