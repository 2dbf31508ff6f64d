// `tvk 6` and other commands at the modem socket: a modem that comes later, endpoints that are not
// modems, and the bytes of an exchange.
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <tuple>
#include <utility>

#include "support/hand_diag.h"
#include "support/hand_modem.h"
#include "support/limits.h"
#include "support/printed.h"
#include "support/simulated_modem.h"
#include "support/sockets.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

const std::vector<std::string> command = {"6", "0", "1"};

std::vector<datagram> echo(const datagram& request) {
  return reply(request, hex("01 0400 00000000  02 0400 03000000  10 0002 aabbcc 00*509"));
}

TEST(transport, modem_that_starts_later_is_named_once_and_waited_for) {
  for (const bool left_a_socket : {false, true}) {
    SCOPED_TRACE(left_a_socket);
    simulated_modem modem({}, {}, simulated_modem::begin::later);
    if (left_a_socket) {
      modem.start();
      modem.kill();
    }
    auto console = start_console(modem.endpoint(), command);
    ASSERT_TRUE(console.wait_for_error_text(modem.socket()));
    modem.start();
    const auto got = console.wait();
    EXPECT_PRED2(contains, got.output, "\nqmi_id = 0, result = 0\n");
    EXPECT_EQ(std::count(got.errors.begin(), got.errors.end(), '\n'), 1) << got.errors;
    EXPECT_EQ(got.exit_status, 0);
  }
}

TEST(transport, wait_names_service_endpoint_and_limit_once) {
  const simulated_modem modem({}, {}, simulated_modem::begin::later);
  const std::string at = " at " + modem.endpoint();
  const std::pair<std::vector<std::string>, std::string> rows[] = {
      {command, "0xFFE4" + at + " until it comes\n"},
      {{"5", "10", "1", "1"}, "0x0B" + at + " for up to 4000 ms in each try\n"},
      {{"10", "0", "1"},
       "0x24" + at + " for up to 4 ms in each try\ntvk: trying again for up to 100 s\n"},
  };
  for (const auto& [arguments, wait] : rows) {
    auto console = start_console(modem.endpoint(), arguments);
    EXPECT_TRUE(console.wait_for_error_text(wait)) << wait;
    console.send_signal(SIGKILL);
    EXPECT_EQ(console.wait().errors, "tvk: waiting for QMI service " + wait);
  }
}

// On a pipe, as a script reads it.
TEST(transport, what_is_printed_before_a_wait_is_seen_during_it) {
  const temp_dir dir;
  hand_modem indicating;
  indicating.on_request([&](const datagram& request) {
    return std::vector<datagram>{
        {request.node, request.port, hex("04 0000 0300 0e00  01 0400 06000000  02 0400 00000000")}};
  });
  hand_diag silent;
  const std::string nowhere = "unix:" + dir.file("none.sock");
  const std::tuple<std::vector<std::string>, std::string, std::string> rows[] = {
      {{"10", "0", "1"}, nowhere, "g_pdc_init_status = -1, force_init = 0\n"},
      {{"5", "0", "1", "0", "60000", "1"}, nowhere, "Dci Command time = 600\n"},
      // A text without an end of line, while the answer does not come.
      {command, indicating.endpoint(), "handle indication: 6"},
  };
  for (const auto& [arguments, modem, printed] : rows) {
    SCOPED_TRACE(printed);
    background_process run(TVK_PROGRAM, arguments,
                           {{"TVK_MODEM", modem}, {"TVK_DIAG", silent.endpoint()}});
    EXPECT_TRUE(run.wait_for_output_text(printed));
    run.send_signal(SIGKILL);
    const auto got = run.wait();
    EXPECT_EQ(got.signal, SIGKILL);
    EXPECT_FALSE(contains(got.output, "send msg sync failed")) << "the wait is over";
  }
}

TEST(transport, endpoint_that_is_not_a_modem_is_refused) {
  start_programs_without_superuser_rights();
  const temp_dir dir;
  const auto at = [&](const char* name) { return "unix:" + dir.file(name); };
  std::ofstream(dir.file("regular")) << "text";
  mkdir(dir.file("closed").c_str(), 0000);
  mkdir(dir.file("tvk").c_str(), 0700);
  chmod(dir.file("tvk").c_str(), 0777);
  const std::string distrust = dir.file("tvk") + " is not trusted: other users can write";
  const open_socket stream(listening_at(dir.file("stream"), SOCK_STREAM));
  const open_socket mute(listening_at(dir.file("mute"), SOCK_SEQPACKET));
  const open_socket theirs(listening_at(dir.file("tvk/modem.sock"), SOCK_SEQPACKET));
  const std::pair<std::string, std::string> rows[] = {
      {"tcp:1.2.3.4:5", "no such kind of endpoint; "},
      {"unix", "PATH is missing; "},
      {"unix:/tmp/" + std::string(300, 'x'), "longer than the 107 bytes of a socket path; "},
      {at("regular"), "not a socket; "},
      {at("stream"), "Protocol wrong type for socket; "},
      {at("mute"), "the program listening there does not answer service lookups; "},
      {at("closed/modem.sock"), "Permission denied; "},
      {at("tvk/modem.sock"), distrust},
      {"qmux:/dev/null", "no way to QMI service 0xFFE4, because QMUX numbers services with 8 bits"},
      {"qmi-proxy:/dev/null", "no way to QMI service 0xFFE4, because QMUX numbers services "},
  };
  for (const auto& [endpoint, why] : rows) {
    SCOPED_TRACE(endpoint);
    const auto got =
        run(TVK_PROGRAM, command, {{"TVK_MODEM", endpoint}, {"XDG_RUNTIME_DIR", dir.path()}});
    EXPECT_EQ(got.exit_status, 0);
    EXPECT_PRED2(contains, got.output, "\nnorvel_extend_qmi_handle_req_cb result:-2\n");
    EXPECT_PRED2(contains, got.output, "\nqmi_id = 0, result = -2\n");
    EXPECT_TRUE(got.errors.starts_with("tvk: TVK_MODEM=" + endpoint + ": " + why)) << got.errors;
    EXPECT_EQ(std::count(got.errors.begin(), got.errors.end(), '\n'), 1) << got.errors;
  }
  const auto got =
      run(TVK_MODEM_PROGRAM, {"serve", "--state", "/nowhere"}, {{"XDG_RUNTIME_DIR", dir.path()}});
  EXPECT_PRED2(contains, got.errors, distrust);
}

const std::string up_to_the_exchange =
    "nl_qmi req data(qmi_id: 0, len: 3[max: 500]):\n0x1F 0xFF 0x00 \n";
const std::string success =
    exchanged(0) + "qmi_id = 0, result = 0\nnl_qmi rsp data(qmi_id: 0, len: 0[max: 500]):\n\n";

// A message of the extension service: flags u8, transaction u16, message id u16, TLV bytes u16,
// then TLV 0x01 u32 type or result, TLV 0x02 u32 number of payload bytes, TLV 0x10 512 payload
// bytes.
TEST(transport, first_server_gets_the_request_and_indications_before_its_answer_are_printed) {
  const std::pair<const char*, std::string> rows[] = {
      {"04 0100 0300 0e00  01 0400 06000000  02 0400 00000000",  // our transaction
       "0x3 buf_len=14 \nNo function defined to handle indication: 6"},
      {"04 0000 0300 0000", "0x3 buf_len=0 \nNo function defined to handle indication: 0"},
      {"04 0000 cdab 0e00  01 0400 09000000  02 0400 00000000",  // unknown message
       "0xabcd buf_len=14 \nNo function defined to handle indication: 0"},
      {"04 0000 0300 0a00  01 0400 09000000  02 0400",  // damaged after the number
       "0x3 buf_len=10 \nIndicaion: 9 greater than maximum known indication."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.first);
    hand_modem modem({{.instance_word = 0x0301, .port = 0x4007}, {.instance_word = 0x0201}});
    modem.on_request([&](const datagram& request) {
      return std::vector<datagram>{{request.node, request.port, hex(row.first)}, echo(request)[0]};
    });
    const auto got = run_console(modem.endpoint(), {"6", "0", "0x1f", "255", "0x100"});
    EXPECT_EQ(got.output,
              up_to_the_exchange +
                  "NORVEL_QMI_NV: qmi_client_get_service_list() returned 0 num_services = 2\n"
                  "NORVEL_QMI_NV: qmi_client_get_service_list() returned 0 num_entries = 2 "
                  "num_services = 2\nQMI client inited\nNORVEL__EXTEND_QMI: Indication msg_id=" +
                  row.second + success);
    EXPECT_EQ(got.errors, "");
    ASSERT_EQ(modem.requests().size(), 1U);
    EXPECT_EQ(modem.requests()[0].port, 0x4007U);
    EXPECT_EQ(modem.requests()[0].data,
              hex("00 0100 0200 1102  01 0400 00000000  02 0400 03000000  10 0002 1fff00 00*509"));
  }
}

TEST(transport, no_socket_takes_the_place_of_a_closed_standard_descriptor) {
  if (TVK_CROSS_BUILD) GTEST_SKIP() << "a shell does not run the programs of a cross build";
  const std::pair<std::string, bool> rows[] = {
      {"<&-", true}, {">&-", false}, {"2>&-", true}, {"<&- >&- 2>&-", false}};
  for (const auto& [closed, prints] : rows) {
    SCOPED_TRACE(closed);
    hand_modem modem;
    modem.on_request(echo);
    const auto got = run("sh", {"-c", "exec \"$0\" 6 0 0x1f 255 0x100 " + closed, TVK_PROGRAM},
                         {{"TVK_MODEM", modem.endpoint()}});
    EXPECT_EQ(got.output, prints ? up_to_the_exchange + client_made + success : "");
    EXPECT_EQ(got.exit_status, 0);
    EXPECT_EQ(modem.requests().size(), 1U) << "and nothing that was printed";
  }
}

}  // namespace
