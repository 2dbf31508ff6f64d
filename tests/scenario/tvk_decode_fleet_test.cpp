// tvk-decode as one of many runs: summaries that are merged, a tree of tables that runs share.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <regex>

#include "support/bytes.h"
#include "support/decode_run.h"
#include "support/eventually.h"

namespace {

using namespace support;
using fleet = with_captures;

TEST_F(fleet, merged_summaries_are_that_of_one_run) {
  bytes halves[2] = {{}, diag_frame(events) + diag_frame(lte_message)};
  // More radios, cells, versions and logs without decoder than a summary has lines for.
  for (std::uint32_t i = 0; i < 300; ++i) {
    bytes log = cell_info;
    log[16] = u32(i)[0];  // version
    bytes cell = hex("98010000") + u32(i + 1) + cell_info;
    std::copy_n(u32(i).begin(), 2, cell.begin() + 25);  // PCI
    bytes unknown = cell_info;
    std::copy_n(u32(0x2000 + i).begin(), 2, unknown.begin() + 6);  // code
    halves[i % 2] = halves[i % 2] + diag_frame(log) + diag_frame(cell) + diag_frame(unknown);
  }
  const auto a = made("a", halves[0]);
  const auto b = made("b", halves[1] + hex("41*20"));
  const auto summary_of = [&](std::vector<std::string> captures, const std::string& to) {
    captures.insert(captures.end(), {"--summary-format", "json", "--summary-file", file(to)});
    EXPECT_EQ(decode(captures).exit_status, 0);
    return read_file(file(to));
  };
  const auto whole = summary_of({a, b}, "whole");
  const auto of_a = summary_of({a}, "a.json");
  summary_of({b}, "b.json");
  for (const char* part : {R"({"radio":null,"packets":236})", R"("logs_of_other_codes":45,)",
                           R"("version":"others",)", R"("pci":null,)", R"("unfinished":1,)"}) {
    EXPECT_NE(whole.find(part), std::string::npos) << part << whole;
  }
  const std::regex rate("\"rate_MBps\":[^,]*");
  const auto merged = decode({"--merge-summaries", file("a.json"), file("b.json")}).output;
  EXPECT_EQ(std::regex_replace(merged, rate, ""), std::regex_replace(whole, rate, ""));

  const auto begin = of_a.substr(0, of_a.find("\"cells\""));
  for (const auto& [content, why] : std::vector<std::pair<std::string, std::string>>{
           {begin, "not a whole summary: no JSON from byte "},
           {begin + "\"files\":[]}", "not a whole summary: \"cells\" is missing\n"},
           {R"({"radios":[{"packets":-1}]})", "not a whole summary: \"packets\" is -1\n"},
           {of_a, "counts " + a + ", as " + file("a.json") + " does\n"}}) {
    const auto wrong = made("wrong", bytes(content.begin(), content.end()));
    const auto got = decode({"--merge-summaries", file("a.json"), wrong, "-o", file("never")});
    EXPECT_TRUE(got.errors.starts_with("tvk-decode: " + wrong + ": " + why)) << got.errors;
    EXPECT_EQ(read_file(file("never")), "");
  }
}

TEST_F(fleet, a_run_has_its_own_files_in_a_tree_of_kinds_and_days) {
  const auto later = [](std::uint64_t days) {
    bytes log = voice;
    std::uint64_t time = days * 69'120'000;  // of 1.25 ms
    for (std::size_t i = 10; i < 16; ++i, time >>= 8) {
      time += log[i];
      log[i] = static_cast<std::uint8_t>(time);
    }
    return diag_frame(log);
  };
  const auto arguments = [&](const std::string& name, std::vector<std::string> more) {
    more.insert(more.begin(), {"-f", "jsonl", "-o", file("tree"), "--partition", name});
    return more;
  };
  const auto lines = [&](const std::string& day_and_name) {
    return records_in(read_file(file("tree/record=ims_rtp_sn_and_payload/day=" + day_and_name)));
  };
  auto line = voice_line();
  line.replace(line.find("23T"), 2, "24");
  const auto both = made("both", later(0) + later(1) + later(0));
  const auto second = made("second", later(1));
  EXPECT_EQ(decode(arguments("a", {both})).exit_status, 0);
  EXPECT_EQ(lines("2016-03-23/a.jsonl"), voice_line() + voice_line());
  EXPECT_EQ(decode(arguments("b", {both})).exit_status, 0);
  EXPECT_EQ(decode(arguments("b", {both})).exit_status, 1);
  EXPECT_EQ(decode(arguments("b", {"--force", second})).exit_status, 0);
  EXPECT_EQ(lines("2016-03-23/b.jsonl"), "");
  EXPECT_EQ(lines("2016-03-24/a.jsonl") + lines("2016-03-24/b.jsonl"), line + line);

  // A run that was taken for dead goes on beside its successor.
  ASSERT_EQ(::mkfifo(file("fifo").c_str(), 0600), 0);
  background_process late(TVK_DECODE_PROGRAM, arguments("c", {second, file("fifo")}));
  ASSERT_TRUE(eventually([&] { return lines("2016-03-24/c.jsonl.unfinished") == line; }));
  EXPECT_EQ(decode(arguments("c", {both})).exit_status, 0);
  std::ofstream(file("fifo")) << "nothing";
  EXPECT_EQ(late.wait().exit_status, 1);
  EXPECT_EQ(lines("2016-03-24/c.jsonl"), line);

  // More days than files are kept open; each comes three times.
  bytes year;
  for (std::uint64_t i = 0; i < 900; ++i) year = year + later(i % 300);
  EXPECT_EQ(decode(arguments("d", {made("year", year)})).exit_status, 0);
  EXPECT_EQ(lines("2016-03-24/d.jsonl"), line + line + line);
}

}  // namespace
