// `tvk 6 0 1` against a modem that comes later, and against what is no modem.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <string>
#include <utility>

#include "support/hand_diag.h"
#include "support/hand_modem.h"
#include "support/no_superuser.h"
#include "support/printed.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"

namespace {

using support::simulated_modem;

const std::vector<std::string> command = {"6", "0", "1"};
const std::vector<std::string> serve = {"serve", "--state", "/nowhere"};

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(transport, service_that_comes_later_is_waited_for) {
  support::hand_modem modem(std::vector<support::qmi_server>{});
  modem.answer_with_tlvs(support::hex("01 0400 00000000  02 0400 03000000"));
  const auto console = support::start_console(modem.endpoint(), command);
  const std::string none = "NORVEL_QMI_NV: qmi_client_get_service_list() returned -2 ";
  EXPECT_TRUE(console->wait_for_output_text(none + "num_services = 0\n"));
  EXPECT_TRUE(console->wait_for_error_text("until it comes\n"));
  modem.publish({});
  const auto got = console->wait();
  EXPECT_EQ(got.output,
            "nl_qmi req data(qmi_id: 0, len: 1[max: 500]):\n"
            "0x01 \n" +
                none + "num_services = 0\n" + support::client_made +
                "norvel_extend_qmi_send_sync resp_len:0\n"
                "norvel_extend_qmi_handle_req_cb result:0\n"
                "qmi_id = 0, result = 0\n"
                "nl_qmi rsp data(qmi_id: 0, len: 0[max: 500]):\n"
                "\n");
  EXPECT_EQ(got.exit_status, 0);
}

TEST(transport, modem_that_starts_later_is_named_once_and_waited_for) {
  for (const bool left_a_socket : {false, true}) {
    SCOPED_TRACE(left_a_socket);
    simulated_modem modem(
        {}, left_a_socket ? simulated_modem::begin::at_once : simulated_modem::begin::later);
    if (left_a_socket) modem.kill();
    const auto console = support::start_console(modem.endpoint(), command);
    ASSERT_TRUE(console->wait_for_error_text(modem.socket()));
    modem.start();
    const auto got = console->wait();
    EXPECT_TRUE(contains(got.output, "\nqmi_id = 0, result = 0\n")) << got.output;
    EXPECT_EQ(std::count(got.errors.begin(), got.errors.end(), '\n'), 1) << got.errors;
    EXPECT_EQ(got.exit_status, 0);
  }
}

TEST(transport, wait_names_service_endpoint_and_limit_once) {
  const struct {
    std::vector<std::string> arguments;
    const char* waits;
    const char* limit;
    const char* retries = "";
  } rows[] = {
      {{"6", "0", "1"}, "QMI service 0xFFE4", "until it comes"},
      {{"5", "10", "1", "1"}, "QMI service 0x0B", "for up to 4000 ms in each try"},
      {{"5", "8"}, "QMI service 0x11", "for up to 4 ms in each try"},
      {{"9", "0", "0"},
       "QMI service 0xE4",
       "for up to 4 ms in each try",
       "tvk: trying again for up to 9 s\n"},
      {{"10", "0", "1"},
       "QMI service 0x24",
       "for up to 4 ms in each try",
       "tvk: trying again for up to 100 s\n"},
  };
  const simulated_modem modem({}, simulated_modem::begin::later);
  for (const auto& row : rows) {
    const auto console = support::start_console(modem.endpoint(), row.arguments);
    const std::string line = std::string("tvk: waiting for ") + row.waits + " at " +
                             modem.endpoint() + " " + row.limit + "\n" + row.retries;
    EXPECT_TRUE(console->wait_for_error_text(line)) << line;
    console->send_signal(SIGKILL);
    EXPECT_EQ(console->wait().errors, line);
  }
}

/// Sockets that are there but are no modem.
class listener {
 public:
  listener(int type, const std::string& path) : socket_(socket(AF_UNIX, type | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(listen(socket_, 8), 0);
  }
  listener(const listener&) = delete;
  listener& operator=(const listener&) = delete;
  ~listener() { close(socket_); }

 private:
  int socket_;
};

/// The tool ends by itself, with one line on standard error that names the endpoint.
void expect_refused(const std::string& endpoint, const std::string& why = "") {
  SCOPED_TRACE(endpoint);
  const auto got = support::run_console(endpoint, command);
  EXPECT_FALSE(got.timed_out);
  EXPECT_EQ(got.exit_status, 0);
  EXPECT_TRUE(contains(got.output, "\nnorvel_extend_qmi_handle_req_cb result:-2\n")) << got.output;
  EXPECT_TRUE(contains(got.output, "\nqmi_id = 0, result = -2\n")) << got.output;
  EXPECT_TRUE(contains(got.errors, endpoint + ": " + why)) << got.errors;
  EXPECT_EQ(std::count(got.errors.begin(), got.errors.end(), '\n'), 1) << got.errors;
}

// On a pipe, as a script reads it: it need not wait for the end of the command, which may be
// killed.
TEST(transport, what_is_printed_before_a_wait_is_seen_during_it) {
  const support::temp_dir dir;
  const auto properties = dir.file("properties");
  std::ofstream(properties) << "persist.radio.ssr_wait_s=3600\n";
  const simulated_modem modem;
  support::hand_modem indicating;
  indicating.on_request([&](const support::datagram& request) {
    return std::vector<support::datagram>{
        {request.node, request.port,
         support::hex("04 0000 0300 0e00  01 0400 06000000  02 0400 00000000")}};
  });
  support::hand_diag silent;
  const std::string nowhere = "unix:" + dir.file("none.sock");
  const struct {
    std::vector<std::string> arguments;
    std::string modem;
    std::string printed;
  } rows[] = {
      {{"6", "0", "1"}, nowhere, "num_services = 0\n"},
      {{"10", "0", "1"}, nowhere, "g_pdc_init_status = -1, force_init = 0\n"},
      {{"5", "5"}, modem.endpoint(), "modem ssr start to wait 3600s to init\n"},
      {{"5", "0", "0", "0", "60000", "1"}, nowhere, "Command time = 600 * 100ms\n"},
      {{"5", "0", "1", "0", "60000", "1"}, nowhere, "Dci Command time = 600\n"},
      // A text without an end of line, in the time of an answer that does not come.
      {{"6", "0", "1"}, indicating.endpoint(), "handle indication: 6"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.printed);
    support::background_process run(TVK_PROGRAM, row.arguments,
                                    {{"TVK_MODEM", row.modem},
                                     {"TVK_DIAG", silent.endpoint()},
                                     {"TVK_PROPERTIES", properties}});
    EXPECT_TRUE(run.wait_for_output_text(row.printed));
    run.send_signal(SIGKILL);
    const auto got = run.wait();
    EXPECT_EQ(got.signal, SIGKILL);
    EXPECT_FALSE(contains(got.output, "send msg sync failed")) << "the wait is over";
  }
}

TEST(transport, endpoint_of_unknown_form_is_refused) {
  for (const auto* endpoint : {"tcp:1.2.3.4:5", "bogus", "UNIX:/tmp/x"}) {
    expect_refused(endpoint, "no such kind of endpoint; ");
  }
  for (const auto* endpoint : {"unix", "unix:"}) expect_refused(endpoint, "PATH is missing; ");
  expect_refused("unix:/tmp/" + std::string(300, 'x'));
}

TEST(transport, qmux_has_no_room_for_the_number_of_the_extension_service) {
  for (const auto* endpoint : {"qmux:/dev/null", "qmi-proxy:/dev/null"}) {
    expect_refused(endpoint,
                   "no way to QMI service 0xFFE4, because QMUX numbers services with 8 bits");
  }
}

TEST(transport, file_that_is_no_modem_socket_is_refused) {
  const support::temp_dir dir;
  std::ofstream(dir.file("regular")) << "text";
  expect_refused("unix:" + dir.file("regular"));
  expect_refused("unix:" + dir.path());
  const listener stream(SOCK_STREAM, dir.file("stream"));
  expect_refused("unix:" + dir.file("stream"));
}

TEST(transport, modem_socket_whose_owner_never_answers_is_given_up) {
  const support::temp_dir dir;
  const listener mute(SOCK_SEQPACKET, dir.file("mute"));
  expect_refused("unix:" + dir.file("mute"));
}

TEST(transport, runtime_directory_that_others_can_write_to_is_refused) {
  const support::temp_dir dir;
  mkdir(dir.file("tvk").c_str(), 0700);
  chmod(dir.file("tvk").c_str(), 0777);
  const listener theirs(SOCK_SEQPACKET, dir.file("tvk/modem.sock"));
  const support::environment runtime{{"XDG_RUNTIME_DIR", dir.path()}};
  for (const auto& [program, arguments] :
       {std::pair(TVK_PROGRAM, command), std::pair(TVK_MODEM_PROGRAM, serve)}) {
    support::environment here = runtime;
    here["TVK_MODEM"] = "unix:" + dir.file("tvk/modem.sock");
    const auto got = support::run(program, arguments, here);
    EXPECT_TRUE(contains(got.errors, dir.file("tvk") + " is not trusted: other users can write"))
        << got.errors;
    EXPECT_EQ(std::count(got.errors.begin(), got.errors.end(), '\n'), 1) << got.errors;
  }
}

TEST(transport, directory_without_permission_is_refused) {
  support::start_programs_without_superuser_rights();
  const support::temp_dir dir;
  mkdir(dir.file("closed").c_str(), 0000);
  expect_refused("unix:" + dir.file("closed") + "/modem.sock");
}

}  // namespace
