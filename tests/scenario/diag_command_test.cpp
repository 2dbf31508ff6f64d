// `tvk 5 0` against a DIAG port written byte by byte.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <deque>
#include <regex>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/hand_diag.h"
#include "support/printed.h"
#include "support/process.h"

namespace {

using support::bytes;
using support::diag_frame;
using support::hand_diag;
using support::hex;
using support::operator+;

using lines = std::deque<std::string>;

const std::string callback_mode = "0";
const std::string dci_mode = "1";
const std::vector<std::string> request_arguments{"0x4b", "0x0b", "0x00", "0x00"};
const bytes answer = hex("4B0B0000 7E7D01");

std::vector<std::string> arguments_of(const std::string& mode, const std::string& time_out,
                                      const std::vector<std::string>& request = request_arguments,
                                      const std::string& type = "0") {
  std::vector<std::string> arguments{"5", "0", mode, type, time_out};
  arguments.insert(arguments.end(), request.begin(), request.end());
  return arguments;
}

support::process_result run_diag(const std::string& endpoint, const std::string& mode,
                                 const std::string& time_out,
                                 const std::vector<std::string>& request = request_arguments,
                                 const std::string& type = "0") {
  auto got = support::run(TVK_PROGRAM, arguments_of(mode, time_out, request, type),
                          {{"TVK_DIAG", endpoint}});
  EXPECT_EQ(got.exit_status, 0);
  EXPECT_FALSE(got.timed_out);
  got.output = support::masked(got.output);
  return got;
}

/// The program's output against a port that answers with these bytes.
support::process_result run_answered(const bytes& wire, const std::string& mode,
                                     const std::string& time_out = "60000") {
  hand_diag port;
  port.on_request([&](const bytes&) { port.write(wire); });
  auto got = run_diag(port.endpoint(), mode, time_out);
  EXPECT_EQ(port.requests(), std::vector<bytes>{hex("4B0B0000")});
  EXPECT_EQ(got.errors, "");
  return got;
}

/// The watcher prints on a thread of its own until the process ends: at any place once a tick has
/// passed.
std::string without_ticks(const std::string& output) {
  static const std::regex line(
      R"(RIL\[norvel_diag_cmd_send_with_result_wait_thread_proc:[^\n]*\n)");
  return std::regex_replace(output, line, "");
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

bytes answer_of(std::size_t size) {
  bytes packet = hex("4B0B0000");
  packet.resize(size, 0x5A);
  return diag_frame(packet);
}

/// Every line is the next one of some thread, and no thread has lines left.
void expect_threads(const std::string& output, std::vector<lines> threads) {
  std::size_t start = 0;
  for (std::size_t end = 0; (end = output.find('\n', start)) != std::string::npos;
       start = end + 1) {
    const auto line = output.substr(start, end - start);
    bool known = contains(line, "RIL[norvel_diag_cmd_send_with_result_wait_thread_proc:");
    for (auto& thread : threads) {
      if (known || thread.empty() || thread.front() != line) continue;
      thread.pop_front();
      known = true;
    }
    EXPECT_TRUE(known) << line;
  }
  for (const auto& thread : threads) EXPECT_TRUE(thread.empty()) << "missing: " << thread.front();
}

const lines start_of_both{
    "RIL[norvel_diag_comand_input_check:#]: diag_comand, data_len = 4",
    "RIL[norvel_print_data_with_hex:#]: data hex show, len(4), data: 4B 0B 00 00",
    "RIL[norvel_diag_comand_output_check:#]: reply_len = 10240",
    "RIL[norvel_diag_init_with_result:#]: function entry ------------->",
    "RIL[norvel_diag_init_with_result:#]: function exit <-------------",
};

lines joined(lines first, const lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST(diag_command, dci_transcript) {
  const auto got = run_answered(diag_frame(answer), dci_mode);
  const std::string own = "RIL[norvel_diag_cmd_send_with_result_by_dci_mode:#]: ";
  const std::string create = "RIL[norvel_diag_cmd_send_with_result_wait_create_thread:#]: ";
  expect_threads(
      got.output,
      {joined(joined({"diag cmd:", "0x4B 0x0B 0x00 0x00 ", "dci mode with result"}, start_of_both),
              {own + "Successfully registered with DCI for ch:0, client ID = 1",
               own + "DCI Status on Processors for ch0:", own + "MPSS on ch:0: UP",
               own + "Opening Data Stream, registering listeners for ch:0",
               own + "Sending Asynchronous Command for ch:0", own + "Dci Command time = 600",
               create + "function entry ------------->",
               create + "norvel daig is created, conf = 0", create + "function exit <-------------",
               own + "req end, data_size = 7, g_qcril_diag_rsp_buf.length = 7, reply_len = 10240",
               "RIL[norvel_diag_deinit_with_result:#]: function entry ------------->",
               "RIL[norvel_diag_deinit_with_result:#]: function exit <-------------",
               own + "Releasing DCI connection, err: 1002, errno: 2", "", "rsp data len(7)",
               "rsp data: 0x4B 0x0B 0x00 0x00 0x7E 0x7D 0x01"}),
       {"RIL[norvel_diag_cmd_response_check:#]: context_data is null",
        "RIL[norvel_diag_cmd_response_check:#]: ================ response from -1[Unknown], len = "
        "7 "
        "========================",
        "RIL[norvel_print_data_with_hex:#]: data hex show, len(7), data: 4B 0B 00 00 7E 7D 01",
        "RIL[norvel_diag_cmd_response_by_dci:#]: response, cmd_code = 0x4b, data_size = 7"}});
}

TEST(diag_command, callback_transcript_with_default_time) {
  const auto got = run_answered(diag_frame(answer), callback_mode, "0");
  const std::string own = "RIL[norvel_diag_cmd_send_with_result_by_callback_mode:#]: ";
  const std::string registered =
      "RIL[norvel_diag_register_callback:#]: register call back, g_diag_channel = [0]MSM, "
      "data_primary = 0, remote_mask = [0]";
  const std::string create = "RIL[norvel_diag_cmd_send_with_result_wait_create_thread:#]: ";
  expect_threads(
      got.output,
      {joined(joined({"diag cmd:", "0x4B 0x0B 0x00 0x00 ", "callback mode with result"},
                     start_of_both),
              {registered, own + "ret_send = 0, will wait callback",
               own + "Time out is invalid, set default", own + "Command time = 30 * 100ms",
               create + "function entry ------------->",
               create + "norvel daig is created, conf = 0", create + "function exit <-------------",
               own + "req end, data_size = 7, g_qcril_diag_rsp_buf.length = 7, reply_len = 10240",
               "RIL[norvel_diag_deinit_with_result:#]: function entry ------------->",
               "RIL[norvel_diag_deinit_with_result:#]: function exit <-------------", "",
               "rsp data len(7)", "rsp data: 0x4B 0x0B 0x00 0x00 0x7E 0x7D 0x01"}),
       {"RIL[norvel_diag_cmd_response_by_callback:#]: function entry ------------->",
        "RIL[norvel_diag_cmd_response_check:#]: ================ response from 0[MSM], len = 7 "
        "========================",
        "RIL[norvel_print_data_with_hex:#]: data hex show, len(7), data: 4B 0B 00 00 7E 7D 01",
        "RIL[norvel_diag_cmd_response_by_callback:#]: callback, cmd_code = 0x4b, data_size = 7"}});
}

TEST(diag_command, request_without_result_is_sent_before_the_process_ends) {
  const struct {
    std::string mode, worker;
  } rows[] = {
      {callback_mode, "norvel_diag_cmd_send_without_result_by_callback_mode_thread_proc"},
      {dci_mode, "norvel_diag_cmd_send_without_result_by_dci_mode_thread_proc"},
  };
  for (const auto& [mode, worker] : rows) {
    hand_diag port;
    const auto got = run_diag(port.endpoint(), mode, "0", request_arguments, "1");
    EXPECT_TRUE(contains(got.output, "\ndone without rsp data\n")) << got.output;
    // The last that a worker does, after it has closed the connection.
    EXPECT_TRUE(got.output.ends_with("RIL[" + worker + ":#]: function exit <-------------\n"))
        << got.output;
    EXPECT_EQ(port.requests(), std::vector<bytes>{hex("4B0B0000")});
  }
}

TEST(diag_command, request_of_this_many_bytes) {
  const std::vector<std::string> most(4096, "0x7e");
  for (const auto& mode : {callback_mode, dci_mode}) {
    hand_diag port;
    port.on_request([&](const bytes& request) {
      port.write(diag_frame({request.begin(), request.begin() + (request.size() > 1 ? 4 : 1)}));
    });
    EXPECT_EQ(run_diag(port.endpoint(), mode, "60000", {}).output,
              "\nnote: Too few inputs, Pls refer to the following cmd:\n");
    EXPECT_TRUE(contains(run_diag(port.endpoint(), mode, "60000", {"0x1c"}).output,
                         "\nrsp data len(1)\nrsp data: 0x1C\n"));
    EXPECT_TRUE(contains(run_diag(port.endpoint(), mode, "60000", most).output,
                         "\nrsp data len(4)\nrsp data: 0x7E 0x7E 0x7E 0x7E\n"));
    auto too_many = most;
    too_many.emplace_back("1");
    const auto refused = run_diag(port.endpoint(), mode, "60000", too_many).output;
    EXPECT_TRUE(contains(refused, "Invalid input parameter, data_len = 4097\n"));
    EXPECT_TRUE(contains(refused,
                         "norvel_diag_comand_param_check fail\nnorvel_diag_cmd_send fail\n"
                         "\nnote: Error happen! error_code(1)\n"));
    EXPECT_EQ(port.requests(), (std::vector<bytes>{hex("1C"), bytes(4096, 0x7E)}));
  }
}

TEST(diag_command, answer_of_this_many_bytes) {
  const struct {
    std::string mode;
    std::size_t size;
    std::string req_end, printed;
  } rows[] = {
      {callback_mode, 4096, "4096, g_qcril_diag_rsp_buf.length = 4096", "(4096)"},
      {callback_mode, 4196, "4196, g_qcril_diag_rsp_buf.length = 4196", "(4196)"},
      {callback_mode, 10240, "10240, g_qcril_diag_rsp_buf.length = 10240", "(10240)"},
      {dci_mode, 4196, "4196, g_qcril_diag_rsp_buf.length = 4196", "(4196)"},
      {dci_mode, 10241, "10240, g_qcril_diag_rsp_buf.length = 10241", "(10240)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE("mode " + row.mode + ", " + std::to_string(row.size) + " bytes");
    const auto got = run_answered(answer_of(row.size), row.mode);
    EXPECT_TRUE(contains(got.output, "req end, data_size = " + row.req_end)) << got.output;
    EXPECT_TRUE(contains(got.output, "\nrsp data len" + row.printed + "\nrsp data: 0x4B 0x0B"));
    EXPECT_FALSE(contains(got.output, "stop waiting")) << got.output;
  }
}

TEST(diag_command, what_is_not_the_answer_is_passed_over) {
  bytes damaged = diag_frame(hex("4B0B0000 EE"));
  damaged[4] ^= 0x01;
  const bytes before =
      hex("31 32 7E 7E 7D 7E") +  // from the middle of a frame, an empty one, a broken escape
      damaged + diag_frame(hex("1000 0C00 0C00 01B0 0000000000000000")) +  // log
      diag_frame(hex("60 0B00 4A26 BE0C0A9E34DDD400 06")) +                // event report
      diag_frame(hex("79 00 00 00 0000000000000000 0100 0200 04000000 6100 6200")) +
      diag_frame(hex("92 00 00 00 0000000000000000 0100 0200 04000000 11223344")) +
      diag_frame(hex("99 00 00 00 0000000000000000 0100 0200 11223344")) +
      diag_frame(hex("98010000 01000000 1000 0C00 0C00 01B0 0000000000000000")) +
      diag_frame(hex("98010000 02000000 4B0B0000 EE")) +  // another radio's
      diag_frame(hex("4B0B0100 EE")) + diag_frame(hex("4B")) + diag_frame(hex("13 4B0C0000"));
  for (const auto& mode : {callback_mode, dci_mode}) {
    const auto got = run_answered(before + diag_frame(answer), mode);
    EXPECT_TRUE(without_ticks(got.output)
                    .ends_with("\nrsp data len(7)\nrsp data: 0x4B 0x0B 0x00 0x00 0x7E 0x7D 0x01\n"))
        << got.output;
    // Streams are DCI's alone: the plain log and the wrapped one, and the event by itself.
    const bool dci = mode == dci_mode;
    EXPECT_EQ(contains(got.output, "len(12), data: 0C 00 01 B0 00 00 00 00 00 00 00 00\n"), dci);
    EXPECT_EQ(contains(got.output, "len(13), data: 0B 00 4A 26 BE 0C 0A 9E 34 DD D4 00 06\n"), dci);
    const auto refused = run_answered(diag_frame(hex("13 4B0B0000")), mode);
    EXPECT_TRUE(without_ticks(refused.output).ends_with("\nrsp data: 0x13 0x4B 0x0B 0x00 0x00\n"));
  }
}

TEST(diag_command, late_answer_ends_the_wait_and_a_lost_port_does_not_hang) {
  for (const auto& mode : {callback_mode, dci_mode}) {
    hand_diag port;
    support::background_process late(TVK_PROGRAM, arguments_of(mode, "60000"),
                                     {{"TVK_DIAG", port.endpoint()}});
    EXPECT_TRUE(late.wait_for_output_text("cnt_of_100ms = 2\n"));
    port.write(diag_frame(answer));
    const auto got = late.wait();
    EXPECT_TRUE(contains(got.output, "rsp data len(7)")) << got.output;
    EXPECT_FALSE(contains(got.output, "stop waiting"));

    port.on_request([&](const bytes&) {
      port.write(hex("4B0B"));
      port.close_connection();
    });
    const auto lost = run_diag(port.endpoint(), mode, "100");
    EXPECT_TRUE(contains(lost.output, "norvel_diag_cmd_send fail\n")) << lost.output;
    EXPECT_EQ(lost.signal, 0);
  }
}

/// The router's way: an abstract name with zeros to its end, and packets without framing.
TEST(diag_command, packets_pass_as_they_are_through_a_packet_socket) {
  const std::string name = "tvk-test-" + std::to_string(::getpid());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  name.copy(&address.sun_path[1], name.size());
  const int router = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
  ASSERT_EQ(::bind(router, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(::listen(router, 1), 0);
  support::background_process console(TVK_PROGRAM, arguments_of(callback_mode, "60000"),
                                      {{"TVK_DIAG", "unix-packet:@" + name}});
  const int client = ::accept(router, nullptr, nullptr);
  bytes request(100);
  request.resize(static_cast<std::size_t>(::recv(client, request.data(), request.size(), 0)));
  EXPECT_EQ(request, hex("4B0B0000"));
  EXPECT_EQ(::send(client, answer.data(), answer.size(), MSG_NOSIGNAL), 7);
  const auto got = console.wait();
  EXPECT_TRUE(contains(got.output, "rsp data: 0x4B 0x0B 0x00 0x00 0x7E 0x7D 0x01")) << got.output;
  EXPECT_EQ(got.errors, "");
  ::close(client);
  ::close(router);
}

TEST(diag_command, missing_port_is_named_and_the_command_fails) {
  const support::temp_dir dir;
  const struct {
    std::string endpoint;
    std::string error;
  } rows[] = {
      {"unix:" + dir.file("none.sock"), "No such file or directory"},
      {"unix:" + std::string(200, 'x'), "File name too long"},
      {"tty:" + dir.path(), "Is a directory"},
      {"tty:/dev/null", "Inappropriate ioctl for device"},
      {"unix", "PATH is missing"},
      {"unix:", "PATH is missing"},
      {"tty:", "PATH is missing"},
      {"unix-packet:", "PATH or @NAME is missing"},
      {"unix-packet:@", "NAME is missing"},
      {"unix-packet:@" + std::string(108, 'x'), "File name too long"},
      {"tcp:", "HOST:PORT is missing"},
      {"tcp::2500", "HOST is missing"},
      {"tcp:127.0.0.1", "PORT is missing"},
      {"tcp:localhost:", "PORT is missing"},
      {"tcp:127.0.0.1:0", "not a numeric address (or localhost) and a port number"},
      {"tcp:localhost:1", "Connection refused"},
      {"usb:1", "no such kind of port"},
  };
  for (const auto& row : rows) {
    for (const auto& mode : {callback_mode, dci_mode}) {
      const auto got = run_diag(row.endpoint, mode, "60000");
      EXPECT_EQ(got.errors, "tvk: DIAG port " + row.endpoint + ": " + row.error +
                                "; expected one of a modem, as TVK_DIAG=unix:PATH, "
                                "unix-packet:PATH, unix-packet:@NAME, tcp:HOST:PORT or tty:PATH\n");
      EXPECT_TRUE(contains(got.output, "LSM init failed\n"));
      EXPECT_TRUE(contains(got.output, "norvel_diag_cmd_send fail\n"));
      EXPECT_EQ(contains(got.output, "ret_send = -1, will wait callback\n"), mode == callback_mode);
      EXPECT_EQ(contains(got.output, "Could not register with DCI, err: "), mode == dci_mode);
    }
  }
}

}  // namespace
