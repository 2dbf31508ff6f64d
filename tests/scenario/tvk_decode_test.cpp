// tvk-decode as its users run it: captures of every form, filters, formats and a live port.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/decode_run.h"
#include "support/eventually.h"
#include "support/packing.h"
#include "support/simulated_modem.h"

namespace {

using namespace support;

const bytes cell_info =
    hex("1000 2900 2900 C2B0 BE0C0A9E34DDD400 "
        "032101D0030000204A000019190C506300FBA402000000360103040101");
const std::string cell_info_line =
    R"({"time":"2016-03-23T21:55:49.772582Z","radio":1,"source":"0xB0C2",)"
    R"("data_id":129,"name":"lte_rrc_serving_cell_info","packet_version":"3","mcc":310,)"
    R"("num_mnc_digits":3,"mnc":260,"tac":42235,"cell_identity":6508556,"pci":289,"band":2,)"
    R"("dl_earfcn":976,"num_dl_rb":25,"dl_bandwidth_MHz":5.0,"ul_earfcn":18976,"num_ul_rb":25,)"
    R"("ul_bandwidth_MHz":5.0,"allow_access":1})"
    "\n";
// Every form of payload and of time: 1606 with one byte, 1428 with a counted one, 631 with two,
// 1429 with none, and 1430 whose two bytes of time have wrapped.
const bytes events =
    hex("60 2700  4626 BE0C0A9E34DDD400 04  94E5 0C0A 04 01020304  77C2 0D0A 0102  9585 0C0A"
        "96E5 0B00 04 0A000000");
const std::string events_lines =
    R"({"time":"2016-03-23T21:55:49.772582Z","radio":1,"source":"event 1606","data_id":5,"name":"lte_rrc_state","lte_rrc_state_code":4,"lte_rrc_state":"connected"})"
    "\n"
    R"({"time":"2016-03-23T21:55:49.772582Z","radio":1,"source":"event 1606","data_id":127,"name":"lte_rrc_state_change","rrc_active_time":null,"num_rrc_setups":1,"rrc_setup":1})"
    "\n"
    R"({"time":"2016-03-23T21:55:49.772578Z","radio":1,"source":"event 1428","data_id":119,"name":"ims_sip_session_start","sip_call_id":67305985})"
    "\n"
    R"({"time":"2016-03-23T21:55:49.772584Z","radio":1,"source":"event 631","data_id":118,"name":"cm_call_end","num_calls":1,"cm_call_id":2})"
    "\n"
    R"({"time":"2016-03-23T21:55:50.080071Z","radio":1,"source":"event 1430","data_id":121,"name":"ims_sip_session_established","sip_call_id":10})"
    "\n";

const bytes radio_two = hex("98010000 02000000");
const bytes capture = diag_frame(cell_info) + diag_frame(hex("92 00*30")) +
                      diag_frame(radio_two + voice) + diag_frame(events);
const std::string capture_lines = cell_info_line + voice_line(2) + events_lines;

using tvk_decode = with_captures;

TEST_F(tvk_decode, a_capture_gives_the_same_records_in_every_form) {
  const bytes guid = hex("00*16");
  const bytes header = hex("4D000000 02 01 01000000") + guid + hex("01000000 05 41*30") + guid;
  const bytes stuffed = hex("AA*40 7E 7E") + capture;  // begins within a frame
  for (const auto& path :
       {made("a.bin", capture), made("a.qmdl.gz", gzip(capture)), made("a.zst", zstd(capture)),
        made("a.xz", xz(capture)), made("a.bz2", bzip2(capture)), made("a.qmdl2", header + capture),
        made("a.mi2log", stuffed)}) {
    const auto got = decode({"-f", "jsonl", path});
    EXPECT_EQ(got.output, capture_lines) << path;
    EXPECT_EQ(got.errors, "") << path;
    EXPECT_EQ(got.exit_status, 0) << path;
  }
  const auto inner = [](const bytes& log) { return bytes(log.begin() + 4, log.end()); };
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

TEST_F(tvk_decode, standard_input_is_a_capture) {
  if (TVK_CROSS_BUILD) GTEST_SKIP() << "the shell does not run programs of a cross build";
  const auto got = run(
      "/bin/sh", {"-c", "exec \"$0\" -f jsonl - < \"$1\"", TVK_DECODE_PROGRAM, made("a", capture)});
  EXPECT_EQ(records_in(got.output), capture_lines);
}

// A packet is numbered among all good frames of its capture, whatever is decoded.
TEST_F(tvk_decode, records_say_which_packet_of_which_file_they_are_from) {
  bytes damaged = diag_frame(voice);
  damaged[9] ^= 1;
  const auto first = made("first \"one\", here.qmdl", damaged + capture);
  const auto second = made("second.qmdl", capture);
  const auto got = run(TVK_DECODE_PROGRAM, {"-f", "jsonl", "--code", "1568", first, second});
  const auto json_name = [&](const char* name) { return "\"file\":\"" + file(name); };
  EXPECT_NE(got.output.find(json_name("first \\\"one\\\", here.qmdl\",\"packet\":2,")),
            std::string::npos)
      << got.output;
  EXPECT_NE(got.output.find(json_name("second.qmdl\",\"packet\":2,")), std::string::npos);
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

TEST_F(tvk_decode, what_was_lost_or_refused_is_told) {
  bytes version = cell_info;
  version[16] = 9;
  bytes invalid = cell_info;
  invalid[18] = 0x7F;  // a cell identity beyond 503
  bytes damaged = diag_frame(voice);
  damaged[9] ^= 1;
  const auto path = made("a", diag_frame(version) + diag_frame(invalid) + damaged + capture);
  const auto got = decode({"-f", "none", "--summary", "--strict", path});
  EXPECT_EQ(got.exit_status, 1);
  for (const char* line :
       {"\nframes                   6\n", "\nbad CRC                  1\n",
        "\nbytes skipped            44\n", "\nwith radio prefix        1\n",
        "\ntime                     2016-03-23T21:55:49.772578Z to "
        "2016-03-23T21:55:50.080071Z\n",
        "\nduration                 0.307 s\n", "\nradio 2                  1\n",
        "\nlog 0xB0C2 lte_rrc_serving_cell_info 3\n",
        "\n0xB0C2 lte_rrc_serving_cell_info version 3: 1 decoded, 1 value not valid\n",
        "\n0xB0C2 lte_rrc_serving_cell_info version 9: 1 version not supported\n",
        "\nevent 1429 ims_sip_session_ringing version 0: 1 too short\n",
        "\ncell LTE 976 PCI 289 radio 1: 0.000 s, 1 records\n"}) {
    EXPECT_NE(got.output.find(line), std::string::npos) << line << got.output;
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
                                                {"--data-id", "3", path}}) {
    const auto refused = decode(wrong);
    EXPECT_EQ(refused.exit_status, 2);
    EXPECT_TRUE(refused.errors.starts_with("tvk-decode: ")) << refused.errors;
  }
  EXPECT_EQ(decode({"-f", "xml", path}).errors,
            "tvk-decode: --format: 'xml' is not one of text, jsonl, csv, none; --help describes "
            "the options\n");
  EXPECT_EQ(decode({"--code", "lte_srv_mess", path}).errors,
            "tvk-decode: --code: 'lte_srv_mess' has no decoder; did you mean lte_srv_meas?; --help "
            "describes the options\n");
}

/// Answers as a modem with logs 0x1000 to 0x1FFF and 0xB000 to 0xBFFF and all events, of which some
/// are on already. It keeps its masks when its client goes, as a phone does.
class live_port {
 public:
  live_port() {
    port_.on_request([this](const bytes& request) { answer(request); });
  }

  std::vector<std::string> arguments(std::vector<std::string> more) const {
    more.insert(more.begin(), {"--live", port_.endpoint(), "-f", "jsonl"});
    return more;
  }
  hand_diag& port() { return port_; }

  /// Waits until the requests so far hold `count` that begin with `front`.
  bool wait_for(const bytes& front, std::size_t count) const {
    return eventually([&] { return beginning_with(front).size() >= count; });
  }

  std::vector<bytes> beginning_with(const bytes& front) const {
    auto all = port_.requests();
    std::erase_if(all, [&](const bytes& one) {
      return one.size() < front.size() || !std::equal(front.begin(), front.end(), one.begin());
    });
    return all;
  }

  static inline const bytes logs_before = hex("01 00*511");
  static inline const bytes events_before = hex("00*511 80");

  bytes logs(const bytes& equipment) const {
    const auto all = beginning_with(hex("73000000 03000000") + equipment);
    return all.empty() ? logs_before : bytes(all.back().begin() + 16, all.back().end());
  }
  bytes events() const {
    const auto all = beginning_with(hex("82"));
    return all.empty() ? events_before : bytes(all.back().begin() + 6, all.back().end());
  }

 private:
  bytes answer_to(const bytes& request) const {
    if (request[0] == 0x60) return hex("60 0000");
    if (request[0] == 0x81) return hex("81 00 0000 0010") + events();
    if (request[0] == 0x82)
      return hex("82 00 0000 0010") + bytes(request.begin() + 6, request.end());
    const auto done = bytes(request.begin(), request.begin() + 8) + hex("00000000");
    if (request[4] == 1) return done + hex("00*4 00100000 00*36 00100000 00*16");
    const bytes which(request.begin() + 8, request.begin() + 12);
    if (request[4] == 4) return done + which + hex("00100000") + logs(which);
    return done + bytes(request.begin() + 8, request.end());
  }

  void answer(const bytes& request) {
    const bytes wire = diag_frame(answer_to(request));
    port_.write(wire);
  }

  hand_diag port_;
};

const bytes reports_on = hex("60 01");
const bytes reports_off = hex("60 00");

TEST_F(tvk_decode, live_asks_saves_comes_back_and_takes_its_requests_back) {
  live_port modem;
  background_process live(TVK_DECODE_PROGRAM, modem.arguments({"--save", file("s.qmdl"), "-o",
                                                               file("lines"), "--summary"}));
  ASSERT_TRUE(modem.wait_for(reports_on, 1));
  const auto masks = modem.beginning_with(hex("73000000 03000000 0B000000"));
  ASSERT_EQ(masks.size(), 1U);
  EXPECT_EQ(masks[0][16 + 0x0C2 / 8], 0x04);  // 0xB0C2 and no neighbour
  EXPECT_EQ(masks[0][16], 0x01);              // what others asked for stays
  const auto wanted = modem.beginning_with(hex("82"));
  ASSERT_EQ(wanted.size(), 1U);
  EXPECT_EQ(wanted[0][6 + 1606 / 8] & 1 << 1606 % 8, 1 << 1606 % 8);
  EXPECT_EQ(wanted[0].back(), 0x80);

  modem.port().write(capture + hex("01020304057E"));
  EXPECT_TRUE(eventually([&] { return records_in(read_file(file("lines"))) == capture_lines; }));
  modem.port().close_connection();
  EXPECT_TRUE(live.wait_for_error_text("the port is lost; waiting for it"));
  EXPECT_TRUE(live.wait_for_error_text("the port is back"));
  ASSERT_TRUE(modem.wait_for(reports_on, 2));
  modem.port().write(diag_frame(voice));
  EXPECT_TRUE(eventually([&] { return records_in(read_file(file("lines"))) != capture_lines; }));
  live.send_signal(SIGINT);
  const auto ended = live.wait();
  EXPECT_EQ(ended.exit_status, 0);
  EXPECT_EQ(records_in(read_file(file("lines"))), capture_lines + voice_line());
  EXPECT_NE(ended.errors.find("\nbad CRC                  1\n"), std::string::npos) << ended.errors;

  EXPECT_EQ(modem.beginning_with(reports_off).size(), 1U);
  EXPECT_EQ(modem.beginning_with(hex("82")).back(), hex("82 00 0000 0010 00*511 80"));
  EXPECT_EQ(modem.beginning_with(hex("73000000 03000000 0B000000")).back(),
            hex("73000000 03000000 0B000000 00100000 01 00*511"));
  const auto saved = read_file(file("s.qmdl"));
  const std::string in_saved(capture.begin(), capture.end());
  EXPECT_NE(saved.find(in_saved), std::string::npos);
  EXPECT_EQ(decode({"-f", "jsonl", file("s.qmdl")}).output, capture_lines + voice_line());
}

/// A named pipe of one page and its reader, who need not read.
class slow_reader {
 public:
  explicit slow_reader(const std::string& path) {
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    file_ = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    size_ = fcntl(file_, F_SETPIPE_SZ, 4096);
  }
  slow_reader(const slow_reader&) = delete;
  slow_reader& operator=(const slow_reader&) = delete;
  ~slow_reader() { leave(); }

  void leave() {
    if (file_ >= 0) close(file_);
    file_ = -1;
  }
  bool wait_until_full() const {
    return eventually([this] {
      int waiting = 0;
      ioctl(file_, FIONREAD, &waiting);
      return waiting == size_;
    });
  }

 private:
  int file_ = -1;
  int size_ = 0;
};

struct live_session {
  live_port& modem;
  background_process& program;
  slow_reader& reader;
};

TEST_F(tvk_decode, live_gives_the_masks_back_however_it_ends) {
  const auto send = [](int signal) {
    return [signal](live_session on) { on.program.send_signal(signal); };
  };
  const auto many = [] {
    bytes all;
    for (int i = 0; i < 100; ++i) all = all + diag_frame(cell_info);
    return all;
  }();
  const std::string pipe = file("pipe");
  const struct {
    const char* what;
    std::vector<std::string> more;
    std::function<void(live_session)> end;
    int exit_status;
    const char* error;
  } rows[] = {
      {"SIGINT", {}, send(SIGINT), 0, ""},
      {"SIGTERM", {}, send(SIGTERM), 0, ""},
      {"SIGHUP", {}, send(SIGHUP), 0, ""},
      {"reader leaves, nothing comes",
       {"-o", pipe},
       [](live_session on) { on.reader.leave(); },
       1,
       "Broken pipe\n"},
      {"reader of --save leaves",
       {"--save", pipe},
       [](live_session on) {
         on.reader.leave();
         on.modem.port().write(diag_frame(cell_info));
       },
       1,
       "pipe: Broken pipe\n"},
      {"reader stalls, SIGINT",
       {"-o", pipe},
       [&](live_session on) {
         on.modem.port().write(many);
         EXPECT_TRUE(on.reader.wait_until_full());
         on.program.send_signal(SIGINT);
       },
       1,
       "the reader has stalled; the rest is lost\n"},
      {"full disk",
       {"-o", "/dev/full"},
       [](live_session on) { on.modem.port().write(diag_frame(cell_info)); },
       1,
       "No space left on device\n"},
      {"port lost and back",
       {},
       [](live_session on) {
         on.modem.port().close_connection();
         ASSERT_TRUE(on.modem.wait_for(reports_on, 2));
         on.program.send_signal(SIGINT);
       },
       0,
       "the port is back\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    std::filesystem::remove(pipe);
    slow_reader reader(pipe);
    live_port modem;
    background_process live(TVK_DECODE_PROGRAM, modem.arguments(row.more));
    ASSERT_TRUE(modem.wait_for(reports_on, 1));
    row.end({modem, live, reader});
    const auto ended = live.wait();
    EXPECT_EQ(ended.exit_status, row.exit_status);
    EXPECT_TRUE(ended.errors.ends_with(row.error)) << ended.errors;
    EXPECT_EQ(modem.logs(hex("01000000")), live_port::logs_before);
    EXPECT_EQ(modem.logs(hex("0B000000")), live_port::logs_before);
    EXPECT_EQ(modem.events(), live_port::events_before);
    EXPECT_FALSE(modem.beginning_with(reports_off).empty());
  }
}

TEST_F(tvk_decode, save_makes_its_file_when_there_is_a_port_and_replaces_none_unasked) {
  const auto kept = made("kept.qmdl", capture);
  const std::string content(capture.begin(), capture.end());
  const auto no_port = decode({"--live", "unix:" + file("none"), "--save", kept, "--force"});
  EXPECT_EQ(no_port.exit_status, 1);
  EXPECT_EQ(read_file(kept), content);
  live_port modem;
  const auto refused = decode(modem.arguments({"--save", kept}));
  EXPECT_EQ(refused.exit_status, 1);
  EXPECT_EQ(refused.errors, "tvk-decode: " + kept + ": the file exists; --force replaces it\n");
  EXPECT_EQ(read_file(kept), content);
  EXPECT_TRUE(modem.port().requests().empty());
  background_process live(TVK_DECODE_PROGRAM, modem.arguments({"--save", kept, "--force"}));
  ASSERT_TRUE(modem.wait_for(reports_on, 1));
  live.send_signal(SIGTERM);
  EXPECT_EQ(live.wait().exit_status, 0);
  EXPECT_TRUE(read_file(kept).starts_with("\x73"));  // the first answer
}

TEST_F(tvk_decode, standard_streams_that_take_nothing_are_errors_and_are_left_alone) {
  if (TVK_CROSS_BUILD) GTEST_SKIP() << "the shell does not run programs of a cross build";
  const auto path = made("a.qmdl", capture);
  const auto shell = [&](const std::string& rest) {
    return run("/bin/sh", {"-c", "exec \"$0\" " + rest, TVK_DECODE_PROGRAM, path, file("lines")});
  };
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

TEST_F(tvk_decode, live_from_a_simulated_modem_as_from_its_file) {
  bytes many;
  for (int i = 0; i < 300; ++i) many = many + diag_frame(cell_info) + diag_frame(events);
  const auto path = made("play.qmdl", many);
  const auto expected = decode({"-f", "jsonl", path}).output;
  simulated_modem modem({}, simulated_modem::begin::at_once, {"--play", path, "--rate", "0"});
  const auto diag =
      "unix:" + std::filesystem::path(modem.socket()).replace_filename("diag.sock").string();
  background_process live(TVK_DECODE_PROGRAM, {"--live", diag, "-f", "jsonl", "--save",
                                               file("s.qmdl"), "-o", file("lines")});
  EXPECT_TRUE(
      eventually([&] { return records_in(read_file(file("lines"))).size() >= expected.size(); }));
  live.send_signal(SIGTERM);
  EXPECT_EQ(live.wait().exit_status, 0);
  EXPECT_TRUE(records_in(read_file(file("lines"))) == expected);
  EXPECT_TRUE(decode({"-f", "jsonl", file("s.qmdl")}).output == expected);
}

}  // namespace
