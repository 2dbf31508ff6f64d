// tvk-decode as its users run it: captures of every form, filters and formats.
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>

#include "support/decode_run.h"
#include "support/eventually.h"
#include "support/test.h"

namespace {

using namespace support;

using tvk_decode = with_captures;

TEST_F(tvk_decode, a_capture_gives_the_same_records_in_every_form) {
  const bytes guid = hex("00*16");
  const bytes header = hex("4D000000 02 01 01000000") + guid + hex("01000000 05 41*30") + guid;
  const bytes stuffed = hex("AA*40 7E 7E") + capture;  // begins within a frame
  for (const auto& path : {made("a.bin", capture), made("a.qmdl.gz", packed("gzip", capture)),
                           made("a.qmdl2", header + capture), made("a.mi2log", stuffed)}) {
    const auto got = decode({"-f", "jsonl", path});
    EXPECT_EQ(got.output, capture_lines) << path;
    EXPECT_EQ(got.errors, "") << path;
    EXPECT_EQ(got.exit_status, 0) << path;
  }
  const auto inner = [](const bytes& log) { return slice(log, 4); };
  for (const auto& path :
       {made("a.dlf", inner(cell_info) + inner(voice)), made("a.hdf", cell_info + voice),
        made("b.dlf", inner(cell_info) + inner(voice) + hex("25006815"))}) {
    EXPECT_EQ(decode({"-f", "jsonl", path}).output, cell_info_line + voice_line()) << path;
  }
  // Several, in their order; of a directory in the order of names, other files told.
  std::filesystem::create_directory(file("more"));
  std::filesystem::create_directory(file("more/below"));
  made("more/below/2.qmdl", diag_frame(voice));
  made("more/1.qmdl", diag_frame(cell_info));
  made("more/notes.txt", hex("41*40"));
  const auto got = decode({"-f", "jsonl", made("e.qmdl", diag_frame(events)), file("more")});
  EXPECT_EQ(got.output, events_lines + cell_info_line + voice_line());
  EXPECT_EQ(got.errors, "tvk-decode: " + file("more/notes.txt") + ": no diagnostic packets\n");
  EXPECT_EQ(got.exit_status, 0);
}

// A packet is numbered among all good frames of its capture, whatever is decoded.
TEST_F(tvk_decode, records_say_which_packet_of_which_file_they_are_from) {
  bytes damaged = diag_frame(voice);
  damaged[9] ^= 1;
  const auto first = made("first \"one\", here.qmdl", damaged + capture);
  const auto second = made("second.qmdl", capture);
  const auto got = run(TVK_DECODE_PROGRAM, {"-f", "jsonl", "--code", "1568", first, second});
  const auto json_name = [&](const char* name) { return "\"file\":\"" + file(name); };
  EXPECT_PRED2(contains, got.output, json_name("first \\\"one\\\", here.qmdl\",\"packet\":2,"));
  EXPECT_PRED2(contains, got.output, json_name("second.qmdl\",\"packet\":2,"));
  EXPECT_EQ(decode({"-f", "csv", "-o", file("csv"), first}).exit_status, 0);
  EXPECT_EQ(read_file(file("csv/cm_call_end.csv")),
            "time,radio,source,data_id,file,packet,num_calls,cm_call_id\n"
            "2016-03-23T21:55:49.772584Z,1,event 631,118,\"" +
                file("first \"\"one\"\", here.qmdl") + "\",3,1,2\n");
}

// The state behind record 127 is that of the radio and of the capture, wanted or not.
TEST_F(tvk_decode, a_filter_or_another_radio_or_file_does_not_change_a_record) {
  const auto change = [](const bytes& before, const char* time, int state) {
    return diag_frame(before + hex(std::string("60 0B00 4626 ") + time + " 9E34DDD400") +
                      bytes{static_cast<std::uint8_t>(state)});
  };
  const auto connected = made(
      "connected", change({}, "BE0C0A", 4) + change(radio_two, "BE0C0B", 4) +
                       change({}, "BE0C0C", 4) + change({}, "BE0C0D", 2) + change({}, "BE0C0E", 4));
  const auto setups = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"-f", "csv", "--force", "-o", file("csv")});
    EXPECT_EQ(decode(arguments).exit_status, 0);
    std::istringstream table(read_file(file("csv/lte_rrc_state_change.csv")));
    std::string packets;
    for (std::string line; std::getline(table, line);) {
      if (!line.starts_with("time")) packets += line.substr(28, 1) + "@" + line.substr(17, 9) + " ";
    }
    return packets;
  };
  EXPECT_EQ(setups({connected}), "1@49.772582 2@49.773832 1@49.777582 ");
  EXPECT_EQ(setups({"--from", "2016-03-23T21:55:49.774", connected}), "1@49.777582 ");
  EXPECT_EQ(setups({"--radio", "2", connected}), "2@49.773832 ");
  EXPECT_EQ(setups({"--data-id", "lte_rrc_state_change", "--from", "2016-03-23T23:55:49.773+02:00",
                    connected, made("again", change({}, "BE0C0C", 4))}),
            "2@49.773832 1@49.777582 1@49.775082 ");
}

TEST_F(tvk_decode, filters_and_formats) {
  const auto path = made("a.qmdl", capture);
  const auto lines = [&](std::vector<std::string> filters) {
    filters.insert(filters.begin(), {"-f", "jsonl"});
    filters.push_back(path);
    return decode(filters).output;
  };
  EXPECT_EQ(lines({"--code", "0x1568,b062"}), voice_line(2));
  EXPECT_EQ(lines({"--code", "ims_rtp_sn_and_payload"}), voice_line(2));
  EXPECT_EQ(lines({"--code", "45250", "--event", "9999"}), "");  // wrong usage
  EXPECT_EQ(lines({"--radio", "2"}), voice_line(2));
  EXPECT_EQ(lines({"--data-id", "lte_rrc_serving_cell_info"}), cell_info_line);
  EXPECT_EQ(lines({"--from", "2016-03-23T21:55:49.773832", "--to", "2016-03-23T21:55:50"}),
            voice_line(2));
  const auto established = events_lines.rfind("{\"time");
  EXPECT_EQ(lines({"--event", "ims_sip_session_established"}), events_lines.substr(established));

  const auto search =
      made("search", diag_frame(hex("1000 1100 1100 7941 BE0C0A9E34DDD400 01 21FF 0002")));
  EXPECT_NE(decode({"-f", "jsonl", search}).output.find("\"rssi_rx0_dBm\":-77.10"),
            std::string::npos);
  EXPECT_EQ(decode({"-f", "jsonl", "--no-extra-versions", search}).output, "");

  const auto text = decode({"--time", "--code", "0xB0C2", path}).output;
  EXPECT_EQ(text,
            "2016-03-23T21:55:49.772582Z 1: modem_stats_diag_process_log_ex: log_id 0xb0c2, "
            "length 29, sub_id = 0\n"
            "2016-03-23T21:55:49.772582Z 1: version = 3, mcc = 310, mnc_num 3, mnc 260, "
            "tac 42235, cgi 6508556, pci 289\n"
            "2016-03-23T21:55:49.772582Z 1: freq_band_ind = 2, dl_earfcn = 976, dl_bw 25, "
            "ul_earfcn 18976, ul_bw 25, allow_access 1\n");
  EXPECT_EQ(decode({"-f", "csv", "--raw", "-o", file("csv"), path}).exit_status, 0);
  EXPECT_EQ(read_file(file("csv/ims_rtp_sn_and_payload.csv")),
            "time,radio,source,data_id,file,packet,packet_version,codec_code,codec,"
            "frame_type_code,raw\n"
            "2016-03-23T21:55:49.773832Z,2,0x1568,136," +
                path + ",2,13,1,AMR_WB,8,0d0108\n");
  const auto call = made("call", diag_frame(events));
  const auto refused = decode({"-f", "csv", "-o", file("csv"), call});
  EXPECT_EQ(refused.exit_status, 1);
  EXPECT_EQ(refused.errors, "tvk-decode: " + file("csv") +
                                ": the directory already holds tables, such as cm_call_end.csv; "
                                "--force replaces all\n");
  EXPECT_EQ(decode({"-f", "csv", "--force", "-o", file("csv"), call}).exit_status, 0);
  EXPECT_FALSE(std::filesystem::exists(file("csv/ims_rtp_sn_and_payload.csv")));
}

TEST_F(tvk_decode, signalling_file_has_what_filters_leave) {
  const bytes version_5 = hex("1000 1100 1100 C0B0 BE0C0A9E34DDD400 05 0904 01 95");
  const auto path =
      made("a.qmdl", diag_frame(lte_message) + diag_frame(nr_message) + diag_frame(version_5));
  const std::pair<std::vector<std::string>, std::size_t> rows[] = {
      {{"--summary"}, 52 + 48 + 140 + 68 + 152},
      {{"--code", "0xB821"}, 52 + 68 + 152},
      {{"--radio", "2"}, 52}};  // nothing, but still a file that Wireshark opens
  for (auto [arguments, size] : rows) {
    arguments.insert(arguments.end(), {"-f", "pcap", "-o", "-", path});
    const auto got = run(TVK_DECODE_PROGRAM, arguments);
    EXPECT_EQ(got.output.size(), size);
    EXPECT_EQ(got.exit_status, 0);
    if (arguments[0] != "--summary") continue;
    EXPECT_PRED2(contains, got.errors,
                 "\n0xB0C0 lte_rrc version 5: 1 version not supported\n"
                 "0xB0C0 lte_rrc version 15: 1 decoded\n");
    EXPECT_PRED2(contains, got.errors,
                 "\nsignalling lte-rrc.ul.dcch 1\nsignalling nr-rrc.bcch.bch 1\n");
  }
  const auto no_port = run(TVK_DECODE_PROGRAM, {"--live", "unix:/none", "--gsmtap"});
  EXPECT_TRUE(no_port.errors.starts_with("tvk-decode: DIAG port unix:/none: ")) << no_port.errors;
}

TEST_F(tvk_decode, what_was_lost_or_refused_is_told) {
  bytes version = cell_info;
  version[16] = 9;
  bytes invalid = cell_info;
  invalid[18] = 0x7F;  // a cell identity beyond 503
  bytes damaged = diag_frame(voice);
  damaged[9] ^= 1;
  const bytes many = hex("1000 1000 1000 64B0 BE0C0A9E34DDD400 01050000");
  const auto path =
      made("a", diag_frame(version) + diag_frame(invalid) + diag_frame(many) + damaged + capture);
  const auto got = decode({"-f", "none", "--summary", "--strict", path});
  EXPECT_EQ(got.exit_status, 1);
  for (const char* line :
       {"\nframes                   7\n", "\nbad CRC                  1\n",
        "\nbytes skipped            44\n", "\nwith radio prefix        1\n",
        "\ntime                     2016-03-23T21:55:49.772578Z to ",
        "Z to 2016-03-23T21:55:50.080071Z\n", "\nduration                 0.307 s\n",
        "\nradio 2                  1\n", "\nlog 0xB0C2 lte_rrc_serving_cell_info 3\n",
        "\n0xB064 lte_mac_ul_transport_block version 1: 1 too many\n",
        "\n0xB0C2 lte_rrc_serving_cell_info version 3: 1 decoded, 1 value not valid\n",
        "\n0xB0C2 lte_rrc_serving_cell_info version 9: 1 version not supported\n",
        "\nevent 1429 ims_sip_session_ringing version 0: 1 too short\n",
        "\ncell LTE 976 PCI 289 radio 1: 0.000 s, 1 records\n"}) {
    EXPECT_PRED2(contains, got.output, line);
  }
  EXPECT_EQ(decode({"-f", "none", "--strict", made("b", diag_frame(voice))}).exit_status, 0);

  for (const auto& file : {file("none"), made("zeros", bytes(99, 1))}) {
    const auto failed = decode({"-f", "none", file});
    EXPECT_EQ(failed.exit_status, 1) << file;
    EXPECT_TRUE(failed.errors.starts_with("tvk-decode: " + file + ": ")) << failed.errors;
  }
  EXPECT_EQ(decode({"-f", "jsonl", "-o", "/dev/full", path}).exit_status, 1);
  for (const std::vector<std::string>& wrong : {std::vector<std::string>{},
                                                {"-f", "csv", path},
                                                {"--live", "unix:/x", "-f", "none", path},
                                                {"--save", "x", path},
                                                {"--from", "then", path},
                                                {"-j", "0", path},
                                                {"--force", "-f", "none", path},
                                                {"--gsmtap", "-f", "pcap", "-o", "x", path},
                                                {"--code", "0xB193", "-f", "pcap", "-o", "x", path},
                                                {"--comments", "-f", "jsonl", path},
                                                {"--data-id", "3", path}}) {
    const auto refused = decode(wrong);
    EXPECT_EQ(refused.exit_status, 2);
    EXPECT_TRUE(refused.errors.starts_with("tvk-decode: ")) << refused.errors;
  }
  EXPECT_EQ(decode({"-f", "xml", path}).errors,
            "tvk-decode: --format: 'xml' is not one of text, jsonl, csv, pcap, html, none; --help "
            "describes the options\n");
  EXPECT_EQ(decode({"--code", "lte_srv_mess", path}).errors,
            "tvk-decode: --code: 'lte_srv_mess' has no decoder; did you mean lte_srv_meas?; --help "
            "describes the options\n");
}

TEST_F(tvk_decode, standard_streams_are_read_and_written_and_errors_where_they_are_not_open) {
  if (TVK_CROSS_BUILD) GTEST_SKIP() << "the shell does not run programs of a cross build";
  const auto path = made("a.qmdl", capture);
  const auto shell = [&](const std::string& rest) {
    return run("/bin/sh", {"-c", "exec \"$0\" " + rest, TVK_DECODE_PROGRAM, path, file("lines")});
  };
  EXPECT_EQ(records_in(shell("-f jsonl - < \"$1\"").output), capture_lines);
  for (const std::string to : {"/dev/full", "&-"}) {
    const auto why = to == "&-" ? "Bad file descriptor\n" : "No space left on device\n";
    for (const std::string what :
         {"--help", "--version", "--list-records", "-f jsonl \"$1\"", "-f none --summary \"$1\""}) {
      const auto got = shell(what + " >" + to);
      EXPECT_EQ(got.exit_status, 1) << what << to;
      EXPECT_TRUE(got.errors.ends_with(why)) << what << got.errors;
    }
    EXPECT_EQ(shell("--wrong 2>" + to).exit_status, 2);
    for (const std::string what : {"/none", "-f none --live unix:/none", "-f csv -o /proc \"$1\"",
                                   "-f jsonl --summary -o \"$2\" \"$1\""}) {
      EXPECT_EQ(shell(what + " 2>" + to).exit_status, 1) << what;
    }
    EXPECT_EQ(records_in(read_file(file("lines"))), capture_lines);
  }
  EXPECT_EQ(shell("-f none - <&-").errors, "tvk-decode: standard input: Bad file descriptor\n");
}

TEST_F(tvk_decode, merged_summaries_are_that_of_one_run) {
  // More radios, versions and logs without decoder than a summary has lines for.
  bytes halves[2] = {diag_frame(lte_message), capture};
  for (std::uint32_t i = 0; i < 600; ++i) {
    bytes version = hex("98010000") + u32(i + 1) + cell_info;
    bytes code = cell_info;
    version[24] = u32(i)[0];
    std::copy_n(u32(0x2000 + i).begin(), 2, code.begin() + 6);
    halves[i % 2] = halves[i % 2] + diag_frame(version) + diag_frame(code);
  }
  const auto a = made("a", halves[0]);
  const auto b = made("b", halves[1] + hex("41*20"));
  const auto summary_of = [&](std::vector<std::string> captures, const std::string& to) {
    captures.insert(captures.end(), {"--summary-format", "json", "--summary-file", file(to)});
    decode(captures);
    return read_file(file(to));
  };
  const auto whole = summary_of({a, b}, "whole");
  const auto of_a = summary_of({a}, "a.json");
  summary_of({b}, "b.json");
  EXPECT_PRED2(contains, whole, R"("logs_of_other_codes":345,)");
  const std::regex rate("\"rate_MBps\":[^,]*");
  const auto merged = decode({"--merge-summaries", file("a.json"), file("b.json")}).output;
  EXPECT_EQ(std::regex_replace(merged, rate, ""), std::regex_replace(whole, rate, ""));

  const auto begin = of_a.substr(0, of_a.find("\"cells\""));
  for (const auto& [content, why] : std::map<std::string, std::string>{
           {begin, "not a whole summary: no JSON from byte "},
           {begin + "\"files\":[]}", "not a whole summary: \"cells\" is missing\n"},
           {of_a, "counts " + a + ", as " + file("a.json") + " does\n"}}) {
    const auto wrong = made("wrong", ascii(content));
    const auto got = decode({"--merge-summaries", file("a.json"), wrong, "-o", file("never")});
    EXPECT_TRUE(got.errors.starts_with("tvk-decode: " + wrong + ": " + why)) << got.errors;
    EXPECT_EQ(read_file(file("never")), "");
  }
}

TEST_F(tvk_decode, a_run_has_its_own_files_in_a_tree_of_kinds_and_days) {
  // More days than files may be open, each twice.
  bytes days;
  for (unsigned i = 0; i < 640; ++i) {
    bytes log = voice;
    log[13] = static_cast<std::uint8_t>(4 * i + 1);
    log[14] = static_cast<std::uint8_t>(0xD4 + i % 320 / 64);
    days = days + diag_frame(log);
  }
  const auto year = made("year", days);
  const rlimit few_files{256, 1024};
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &few_files), 0);
  const auto day_23 = made("day", diag_frame(voice));
  const auto arguments = [&](const std::string& run, std::vector<std::string> more) {
    more.insert(more.begin(), {"-f", "jsonl", "-o", file("tree"), "--partition", run});
    return more;
  };
  const auto path = [&](const std::string& day_and_name) {
    return file("tree/record=ims_rtp_sn_and_payload/day=2016-03-" + day_and_name);
  };
  for (const char* run : {"a", "b"}) EXPECT_EQ(decode(arguments(run, {year})).exit_status, 0);
  EXPECT_EQ(decode(arguments("b", {year})).exit_status, 1);
  EXPECT_EQ(decode(arguments("b", {"--force", day_23})).exit_status, 0);
  EXPECT_EQ(records_in(read_file(path("23/a.jsonl"))), voice_line() + voice_line());
  EXPECT_EQ(records_in(read_file(path("23/b.jsonl"))), voice_line());
  EXPECT_FALSE(std::filesystem::exists(path("24/b.jsonl")));

  // A run that was taken for dead goes on beside its successor.
  ASSERT_EQ(::mkfifo(file("fifo").c_str(), 0600), 0);
  background_process late(TVK_DECODE_PROGRAM, arguments("c", {day_23, file("fifo")}));
  const auto unfinished = path("23/c.jsonl.unfinished");
  ASSERT_TRUE(eventually([&] { return records_in(read_file(unfinished)) == voice_line(); }));
  std::filesystem::remove(unfinished);
  std::ofstream(unfinished) << "half";
  std::ofstream(file("fifo")) << "nothing";
  EXPECT_TRUE(late.wait().errors.ends_with("c.jsonl: another run writes it at the same time\n"));
  EXPECT_EQ(read_file(unfinished), "half");
}

}  // namespace
