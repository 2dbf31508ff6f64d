// `tvk 5 0` against a DIAG port written byte by byte.
#include <algorithm>
#include <sstream>

#include "support/hand_diag.h"
#include "support/printed.h"
#include "support/process.h"
#include "support/test.h"

namespace {

using namespace support;

const std::string callback_mode = "0";
const std::string dci_mode = "1";
const std::vector<std::string> request_arguments{"0x4b", "0x0b", "0x00", "0x00"};
const bytes answer = hex("4B0B0000 7E7D01");

process_result run_diag(const std::string& endpoint, const std::string& mode,
                        const std::string& time_out,
                        const std::vector<std::string>& request = request_arguments,
                        const std::string& type = "0") {
  std::vector<std::string> arguments{"5", "0", mode, type, time_out};
  arguments.insert(arguments.end(), request.begin(), request.end());
  auto got = run(TVK_PROGRAM, arguments, {{"TVK_DIAG", endpoint}});
  EXPECT_EQ(got.exit_status, 0);
  got.output = masked(got.output);
  return got;
}

/// The program's output against a port that answers with these bytes.
process_result run_answered(const bytes& wire, const std::string& mode,
                            const std::string& time_out = "60000",
                            hand_diag::kind kind = hand_diag::kind::unix_socket) {
  hand_diag port(kind);
  port.on_request([&](const bytes&) { port.write(wire); });
  auto got = run_diag(port.endpoint(), mode, time_out);
  EXPECT_EQ(port.requests(), std::vector<bytes>{hex("4B0B0000")});
  EXPECT_EQ(got.errors, "");
  return got;
}

/// Every line is the next one of some thread's, and no thread has lines left; the watcher's, which
/// prints until the process ends, may come at any place once a tick has passed.
void expect_threads(const std::string& output, std::vector<std::string> threads) {
  std::istringstream in(output);
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("RIL[norvel_diag_cmd_send_with_result_wait_thread_proc:")) continue;
    line += '\n';
    const auto next =
        std::ranges::find_if(threads, [&](const auto& rest) { return rest.starts_with(line); });
    EXPECT_NE(next, threads.end()) << line;
    if (next != threads.end()) next->erase(0, line.size());
  }
  for (const auto& rest : threads) EXPECT_EQ(rest, "") << "is missing";
}

const std::string start_of_both =
    log_lines("norvel_diag_comand_input_check", {"diag_comand, data_len = 4"}) +
    log_lines("norvel_print_data_with_hex", {"data hex show, len(4), data: 4B 0B 00 00"}) +
    log_lines("norvel_diag_comand_output_check", {"reply_len = 10240"}) +
    log_lines("norvel_diag_init_with_result", {function_entry, function_exit});
const std::string watched =
    log_lines("norvel_diag_cmd_send_with_result_wait_create_thread",
              {function_entry, "norvel daig is created, conf = 0", function_exit});
const std::string req_end =
    "req end, data_size = 7, g_qcril_diag_rsp_buf.length = 7, reply_len = 10240";
const std::string closed =
    log_lines("norvel_diag_deinit_with_result", {function_entry, function_exit});
const std::string result = "\nrsp data len(7)\nrsp data: 0x4B 0x0B 0x00 0x00 0x7E 0x7D 0x01\n";
const std::string data_shown =
    log_lines("norvel_print_data_with_hex", {"data hex show, len(7), data: 4B 0B 00 00 7E 7D 01"});

TEST(diag_command, dci_transcript) {
  const std::string own = "norvel_diag_cmd_send_with_result_by_dci_mode";
  expect_threads(
      run_answered(diag_frame(answer), dci_mode).output,
      {"diag cmd:\n0x4B 0x0B 0x00 0x00 \ndci mode with result\n" + start_of_both +
           log_lines(own, {"Successfully registered with DCI for ch:0, client ID = 1",
                           "DCI Status on Processors for ch0:", "MPSS on ch:0: UP",
                           "Opening Data Stream, registering listeners for ch:0",
                           "Sending Asynchronous Command for ch:0", "Dci Command time = 600"}) +
           watched + log_lines(own, {req_end}) + closed +
           log_lines(own, {"Releasing DCI connection, err: 1002, errno: 2"}) + result,
       log_lines("norvel_diag_cmd_response_check",
                 {"context_data is null",
                  "================ response from -1[Unknown], len = 7 "
                  "========================"}) +
           data_shown +
           log_lines("norvel_diag_cmd_response_by_dci",
                     {"response, cmd_code = 0x4b, data_size = 7"})});
}

TEST(diag_command, callback_transcript_with_default_time) {
  const std::string own = "norvel_diag_cmd_send_with_result_by_callback_mode";
  const std::string handler = "norvel_diag_cmd_response_by_callback";
  expect_threads(
      run_answered(diag_frame(answer), callback_mode, "0").output,
      {"diag cmd:\n0x4B 0x0B 0x00 0x00 \ncallback mode with result\n" + start_of_both +
           log_lines("norvel_diag_register_callback",
                     {"register call back, g_diag_channel = [0]MSM, data_primary = 0, "
                      "remote_mask = [0]"}) +
           log_lines(own, {"ret_send = 0, will wait callback", "Time out is invalid, set default",
                           "Command time = 30 * 100ms"}) +
           watched + log_lines(own, {req_end}) + closed + result,
       log_lines(handler, {function_entry}) +
           log_lines("norvel_diag_cmd_response_check",
                     {"================ response from 0[MSM], len = 7 ========================"}) +
           data_shown + log_lines(handler, {"callback, cmd_code = 0x4b, data_size = 7"})});
}

TEST(diag_command, request_without_result_is_sent_before_the_process_ends) {
  for (const auto& mode : {callback_mode, dci_mode}) {
    const hand_diag port;
    const auto got = run_diag(port.endpoint(), mode, "0", request_arguments, "1");
    EXPECT_PRED2(contains, got.output, "\ndone without rsp data\n");
    // The last that a worker does, after it has closed the connection.
    EXPECT_TRUE(got.output.ends_with("_thread_proc:#]: function exit <-------------\n"))
        << got.output;
    EXPECT_EQ(port.requests(), std::vector<bytes>{hex("4B0B0000")});
  }
}

TEST(diag_command, request_of_this_many_bytes) {
  const std::vector<std::string> most(4096, "0x7e");
  const std::vector<std::string> too_many(4097, "0x7e");
  const std::pair<std::vector<std::string>, std::string> rows[] = {
      {{"0x1c"}, "\nrsp data len(1)\nrsp data: 0x1C\n"},
      {most, "\nrsp data len(4)\nrsp data: 0x7E 0x7E 0x7E 0x7E\n"},
      {too_many, "Invalid input parameter, data_len = 4097\n"},
      {too_many,
       "norvel_diag_comand_param_check fail\nnorvel_diag_cmd_send fail\n"
       "\nnote: Error happen! error_code(1)\n"},
  };
  for (const auto& mode : {callback_mode, dci_mode}) {
    hand_diag port;
    port.on_request([&](const bytes& request) { port.write(diag_frame(slice(request, 0, 4))); });
    for (const auto& [request, printed] : rows) {
      EXPECT_PRED2(contains, run_diag(port.endpoint(), mode, "60000", request).output, printed);
    }
    EXPECT_EQ(port.requests(), (std::vector<bytes>{hex("1C"), bytes(4096, 0x7E)}));
  }
}

TEST(diag_command, answer_of_this_many_bytes) {
  const std::tuple<std::string, std::size_t, std::string> rows[] = {{callback_mode, 4096, "4096"},
                                                                    {callback_mode, 10240, "10240"},
                                                                    {dci_mode, 4196, "4196"},
                                                                    {dci_mode, 10241, "10240"}};
  for (const auto& [mode, size, printed] : rows) {
    SCOPED_TRACE("mode " + mode + ", " + std::to_string(size) + " bytes");
    const auto got = run_answered(diag_frame(hex("4B0B0000") + bytes(size - 4, 0x5A)), mode);
    EXPECT_PRED2(contains, got.output,
                 "req end, data_size = " + printed +
                     ", g_qcril_diag_rsp_buf.length = " + std::to_string(size));
    EXPECT_PRED2(contains, got.output, "\nrsp data len(" + printed + ")\nrsp data: 0x4B 0x0B");
    EXPECT_FALSE(contains(got.output, "stop waiting")) << got.output;
  }
}

/// The router's way: an abstract name with zeros to its end, and packets without framing.
TEST(diag_command, packets_pass_as_they_are_through_a_packet_socket) {
  for (const auto kind : {hand_diag::kind::packet_path, hand_diag::kind::packet_name}) {
    const auto got = run_answered(diag_frame(answer), callback_mode, "60000", kind);
    EXPECT_PRED2(contains, got.output, "rsp data: 0x4B 0x0B 0x00 0x00 0x7E 0x7D 0x01");
  }
}

}  // namespace
