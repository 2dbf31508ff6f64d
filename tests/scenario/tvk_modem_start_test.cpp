// tvk-modem as its user meets it: starting and stopping, what it refuses, exec, the trace.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <list>
#include <sstream>

#include "support/extension_packets.h"
#include "support/modem_connection.h"
#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;
using namespace support::packets;
using connection = modem_connection;

std::vector<std::string> serve(const std::string& socket, const std::string& state) {
  return {"serve", "--socket", socket, "--state", state};
}

TEST(tvk_modem_serve, removes_its_socket_and_lock_when_a_signal_ends_it) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    const temp_dir dir;
    const std::string socket = dir.file("run/modem.sock");
    background_process modem(TVK_MODEM_PROGRAM, serve(socket, dir.file("state")));
    ASSERT_TRUE(modem.wait_for_error_text("tvk-modem: listening on unix:" + socket + "\n"));
    EXPECT_EQ(std::filesystem::status(socket).permissions(), std::filesystem::perms(0600));
    EXPECT_EQ(std::filesystem::status(dir.file("run")).permissions(), std::filesystem::perms(0700));
    const connection client(socket);
    modem.send_signal(signal);
    EXPECT_EQ(modem.wait().exit_status, 0);
    EXPECT_EQ(client.receive(), bytes());
    EXPECT_TRUE(std::filesystem::is_empty(dir.file("run")));
  }
}

TEST(tvk_modem_serve, one_of_many_simultaneous_starts_wins) {
  const temp_dir dir;
  const std::string socket = dir.file("modem.sock");
  std::list<background_process> starts;
  while (starts.size() < 8)
    starts.emplace_back(TVK_MODEM_PROGRAM, serve(socket, dir.file("state")));
  const auto listening = std::ranges::count_if(
      starts, [](auto& each) { return each.wait_for_error_text("listening on"); });
  EXPECT_EQ(listening, 1);
  const connection client(socket);
  const auto late = run(TVK_MODEM_PROGRAM, serve(socket, "/nowhere"));
  EXPECT_EQ(late.exit_status, 1);
  EXPECT_EQ(late.errors, "tvk-modem: another modem already listens on " + socket + "\n");
  EXPECT_EQ(client.ask(echo()), echo_answer());
  EXPECT_EQ(connection(socket).ask(echo()), echo_answer());
}

TEST(tvk_modem_serve, what_others_have_at_the_path_stays) {
  const temp_dir dir;
  const std::string path = dir.file("modem.sock");
  const auto refusal = [&] {
    return run(TVK_MODEM_PROGRAM, serve(path, dir.file("state"))).errors;
  };
  std::ofstream(path) << "mine";
  EXPECT_EQ(refusal(), "tvk-modem: " + path + " exists and is not a socket\n");
  EXPECT_EQ(std::filesystem::file_size(path), 4U);
  std::filesystem::remove(path);

  for (const int type : {SOCK_SEQPACKET, SOCK_STREAM, SOCK_DGRAM}) {
    const open_socket theirs(socket_at(path, type, ::bind));
    if (type != SOCK_DGRAM) {
      ASSERT_EQ(::listen(theirs.descriptor(), 1), 0);
    }
    EXPECT_EQ(refusal(), "tvk-modem: another program already listens on " + path + "\n");
    EXPECT_TRUE(std::filesystem::remove(path));
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
  }
}

TEST(tvk_modem_serve, what_cannot_be_used_is_named) {
  const temp_dir dir;
  constexpr const char* make_them = R"(cd "$0" && mkdir -m 777 open && mkdir bad led &&
      echo 'not a directory, and not a database either' >file && cp file bad/modem.db &&
      ln -s led link && ln -s ../new led/modem.db && ln -s new locked.lock &&
      head -c 102411 /dev/zero >large)";
  ASSERT_EQ(run("sh", {"-c", make_them, dir.path()}).exit_status, 0);
  const std::string too_long = "/tmp/" + std::string(103, 'x');
  const struct {
    std::vector<std::string> arguments;
    int exit_status;
    std::vector<std::string> said;
  } rows[] = {
      {{"serve", "--socket", too_long}, 1, {too_long, "108 bytes, at most 107"}},
      {{"serve", "--socket", dir.file("file/a/s")}, 1, {dir.file("file/a"), "Not a directory"}},
      {{"serve", "--socket", dir.file("locked")}, 1, {"locked.lock", "it is a symbolic link"}},
      {{"serve", "--socket", ""}, 2, {"--socket"}},
      {{"serve", "--state", dir.file("file/state")}, 1, {"file/state", "Not a directory"}},
      {{"serve", "--state", dir.file("bad")}, 1, {dir.file("bad/modem.db"), "not a database"}},
      {{"serve", "--state", dir.file("open")}, 1, {"open", "other users can write to it"}},
      {{"serve", "--state", dir.file("link")}, 1, {"link", "it is a symbolic link"}},
      {{"serve", "--state", dir.file("led")}, 1, {"led/modem.db", "it is a symbolic link"}},
      {{"serve", "--set", "sar.dsi=21"}, 2, {"expected sar.dsi from 0 to 20"}},
      {{"serve", "--set", "lte.rsrp=-141"}, 2, {"expected lte.rsrp from -140 to -40"}},
      {{"serve", "--set", "volume=1"}, 2, {"expected one of sar.dsi=0..20"}},
      {{"serve", "--colour"}, 2, {"--colour"}},
      {{"serve", "--", "true"}, 2, {"--"}},
      {{"exec"}, 2, {"exec needs -- before its command"}},
      {{"nv", "get", "7000"}, 1, {"no NV item 7000 of subscription 0"}},
      {{"nv", "get", "7233"}, 2, {"NV item 7233: expected a number up to 7232"}},
      {{"nv", "set", "71", "256"}, 2, {"byte 256: expected a number up to 255"}},
      {{"nv", "list", "--sub", "2"}, 2, {"--sub 2: expected a number up to 1"}},
      {{"nv", "set", "71"}, 2, {"BYTE is required"}},
      {{"efs", "cat", "/none"}, 1, {"no EFS file /none of subscription 0"}},
      {{"efs", "rm", "/none", "--sub", "1"}, 1, {"no EFS file /none of subscription 1"}},
      {{"efs", "put", "/f"}, 1, {"- has no bytes, an EFS file has 1 to 102410"}},
      {{"efs", "put", "/f", dir.file("large")}, 1, {"has too many bytes"}},
      {{"efs", "put", "/f", "/none"}, 1, {"cannot read /none: No such file"}},
      {{"efs", "put", std::string(72, 'p')}, 2, {"an EFS path has 1 to 71 bytes"}},
  };
  for (const auto& each : rows) {
    const auto result = run(TVK_MODEM_PROGRAM, each.arguments,
                            {{"XDG_RUNTIME_DIR", dir.path()}, {"XDG_STATE_HOME", dir.path()}});
    SCOPED_TRACE(result.errors);
    EXPECT_EQ(result.exit_status, each.exit_status);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1);
    EXPECT_TRUE(result.errors.starts_with("tvk-modem: "));
    for (const auto& text : each.said) EXPECT_PRED2(contains, result.errors, text);
  }
}

TEST(tvk_modem_serve, fault_rule_that_cannot_be_read_is_named_with_the_form) {
  std::istringstream rules(
      "extension =silent extension= extension=Silent nobody=silent 0xFFE5=silent "
      "extension/=silent extension/0x=silent extension/65536=silent extension/2@0=silent "
      "extension/2@=silent extension@2=silent extension=silent:1 extension=delay extension=delay: "
      "extension=delay:-1 extension=delay:1x extension=error:0 extension=error:65536 "
      "extension=result:4294967296 sar=result:1 diag/1C=silent diag/0x1=silent diag=down "
      "diag=split:0");
  for (std::string rule; rules >> rule;) {
    const auto result = run(TVK_MODEM_PROGRAM, {"serve", "--fault", rule});
    EXPECT_EQ(result.exit_status, 2) << rule;
    EXPECT_TRUE(result.errors.starts_with("tvk-modem: --fault " + rule + ": ")) << result.errors;
    EXPECT_PRED2(contains, result.errors, "SERVICE[/MESSAGE[@N]]=ACTION[:VALUE]");
    EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1);
  }
}

TEST(tvk_modem_exec, returns_the_status_and_removes_its_files) {
  const temp_dir dir;
  const temp_dir state;
  const struct {
    std::vector<std::string> command;
    int exit_status;
    std::string output = {};
    std::string errors = {};
  } rows[] = {
      {{"sh", "-c", "echo \"$1\"; exit 3", "sh", "--help -- serve"}, 3, "--help -- serve\n"},
      {{"sh", "-c", "kill -9 $$"}, 137},
      {{"sh", "-c", "test -S \"${TVK_MODEM#unix:}\" -a -S \"${TVK_DIAG#unix:}\""}, 0},
      {{"sh", "-c", "kill -TERM $PPID; exec sleep 20"}, 143},
      {{"sh", "-c", "kill -HUP $PPID; exec sleep 20"}, 129},
      {{"sh", "-c", "trap 'exit 5' INT; kill -INT $PPID; while :; do sleep 0.01; done"}, 5},
      {{"/no/such"}, 127, "", "tvk-modem: cannot run /no/such: No such file or directory\n"},
  };
  for (const auto& each : rows) {
    std::vector<std::string> arguments{"exec", "--state", state.path(), "--"};
    arguments.insert(arguments.end(), each.command.begin(), each.command.end());
    const auto result = run(TVK_MODEM_PROGRAM, arguments, {{"TMPDIR", dir.path()}});
    EXPECT_EQ(result.exit_status, each.exit_status) << each.command.back();
    EXPECT_EQ(result.output, each.output);
    EXPECT_EQ(result.errors, each.errors);
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
  }
}

TEST(tvk_modem, standard_streams_that_are_closed_or_full) {
  if (TVK_CROSS_BUILD) GTEST_SKIP() << "a shell cannot run the program";
  const temp_dir dir;
  const std::string full = "tvk-modem: cannot write to standard output: No space left on device\n";
  const std::string not_open = "tvk-modem: cannot write to standard output: Bad file descriptor\n";
  const struct {
    const char* command;  ///< $0 the program, $1 a state directory
    int exit_status;
    std::string errors = {};
    std::string output = {};
  } rows[] = {
      {R"("$0" nv list --state "$1" >/dev/full)", 1, full},
      {R"("$0" efs cat --state "$1" /nv/item_files/modem/geran/vamos_support >&-)", 1, not_open},
      {R"("$0" efs put --state "$1" /a <&-)", 1,
       "tvk-modem: cannot read standard input: Bad file descriptor\n"},
      {R"("$0" --help >/dev/full)", 1, full},
      // The message has nowhere to go.
      {R"("$0" nv get --state "$1" 7000 2>/dev/full)", 1},
      {R"("$0" --colour 2>&-)", 2},
      {R"("$0" exec --state "$1" --trace -- /no/such 2>/dev/full)", 127},
      {R"("$0" serve --socket "$1/s" --state "$1" --trace --diag-pty "$1/tty" 2>/dev/full &
          until test -L "$1/tty" -a -S "$1/s"; do sleep 0.01; done; kill $!; wait $!)",
       0},
      {R"("$0" exec --state "$1" --trace -- \
          sh -c 'readlink /proc/$PPID/fd/0 /proc/$PPID/fd/2' <&- 2>&-)",
       0, "", "/dev/null\n/dev/null\n"},
  };
  for (const auto& each : rows) {
    SCOPED_TRACE(each.command);
    const auto ended = run("sh", {"-c", each.command, TVK_MODEM_PROGRAM, dir.path()});
    EXPECT_EQ(ended.exit_status, each.exit_status);
    EXPECT_EQ(ended.errors, each.errors);
    EXPECT_EQ(ended.output, each.output);
  }
}

TEST(tvk_modem_trace, names_what_passes) {
  simulated_modem modem({"extension/2@2=silent", "extension/3=truncate:4"}, {"--trace"});
  const bytes head = service + hex("00 0100 0200 1102");
  bytes cut = echo();
  cut[11] = 3;
  {
    const connection client(modem.socket());
    EXPECT_EQ(client.look_up(look_up_all), listed(all_up));
    EXPECT_EQ(client.ask(echo()), echo_answer());
    ASSERT_TRUE(client.send(echo()));
    for (const bytes& asked :
         {head + extension_tlvs(2, file_request{.path = "/none"}.payload()),
          head + extension_tlvs(4, common_message(55, u32(1))), head + extension_tlvs(0, {}), cut,
          service + hex("00 0700 9900 0000"), service + hex("00 0700 02"),
          uim + hex("00 0700 4200 0f00  01 0100 02  10 0800 07a0000005591010"),
          pdc + hex("00 0700 2900 0f00  01 0400 01000000  20 0500 0100000000")}) {
      EXPECT_FALSE(client.ask(asked).empty());
    }
  }
  ASSERT_TRUE(modem.process().wait_for_error_text("leaves"));
  const std::string errors = modem.stop();
  for (const char* text : {
           "client 1:16384 connects\n",
           "NEW_SERVER  extension (0xffe4)  version 1, instance 1, at 0:1\n",
           "-> extension  request     message 0x0002 exchange, transaction 1, 532 TLV bytes\n",
           "0x10 payload             512  aa bb cc dd ... 508 zero bytes\n",
           "0x11 ?                     0  empty\n",
           "fault extension/2@2=silent\n",
           "  EFS read, subscription 0, /none, from 0\n",
           "  common message 55, card status get: 1\n",
           "  common message 55, card status get: 0 (ok), value 1\n",
           "            malformed  01 04 00 00\n",
           R"(<- extension  response    message 0x0099 ?, transaction 7, 7 TLV bytes
            0x02 standard response     4  failure, error 71
)",
           "-> extension  malformed, 4 bytes\n            00 07 00 02\n",
           R"(message 0x0042 open logical channel, transaction 7, 15 TLV bytes
            0x01 slot                  1  2 (0x02)
            0x10 AID                   8  07 a0 00 00 05 59 10 10
)",
           R"(            0x02 standard response     4  success
            0x10 channel               1  1 (0x01)
            0x11 card result           2  90 00
)",
           "            0x20 ?                     5  01 ... 4 zero bytes\n",
           "client 1:16384 leaves",
       }) {
    EXPECT_PRED2(contains, errors, text);
  }
}

}  // namespace
