// tvk-modem as its user meets it: starting and stopping, what it refuses, exec, the trace.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/extension_packets.h"
#include "support/modem_connection.h"
#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"

namespace {

using namespace support;
using namespace support::packets;
using connection = modem_connection;

const bytes closed = {};

process_result run_modem(const std::vector<std::string>& arguments,
                         const environment& additions = {}) {
  return run(TVK_MODEM_PROGRAM, arguments, additions);
}

std::vector<std::string> names_in(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  return names;
}

TEST(tvk_modem_serve, removes_its_socket_and_lock_when_told_to_stop) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    const temp_dir dir;
    const std::string socket = dir.file("run/modem.sock");
    background_process modem(TVK_MODEM_PROGRAM,
                             {"serve", "--socket", socket, "--state", dir.file("state")});
    ASSERT_TRUE(modem.wait_for_error_text("tvk-modem: listening on unix:" + socket + "\n"));
    struct stat status {};
    ASSERT_EQ(::stat(socket.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    ASSERT_EQ(::stat(dir.file("run").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);

    const connection client(socket);
    modem.send_signal(signal);
    EXPECT_EQ(modem.wait().exit_status, 0);
    EXPECT_EQ(client.receive(), closed);
    EXPECT_EQ(names_in(dir.file("run")), std::vector<std::string>{});
  }
}

TEST(tvk_modem_serve, second_start_on_a_socket_is_refused) {
  const simulated_modem modem;
  const connection client(modem.socket());
  const auto second = run_modem({"serve", "--socket", modem.socket(), "--state", "/nowhere"});
  EXPECT_EQ(second.exit_status, 1);
  EXPECT_EQ(second.errors, "tvk-modem: another modem already listens on " + modem.socket() + "\n");
  EXPECT_EQ(client.ask(echo()), echo_answer());
  EXPECT_EQ(connection(modem.socket()).ask(echo()), echo_answer());
}

TEST(tvk_modem_serve, one_of_many_simultaneous_starts_wins) {
  const temp_dir dir;
  const std::string socket = dir.file("modem.sock");
  constexpr std::size_t many = 8;
  std::vector<std::unique_ptr<background_process>> starts;
  starts.reserve(many);
  while (starts.size() < many) {
    starts.push_back(std::make_unique<background_process>(
        TVK_MODEM_PROGRAM,
        std::vector<std::string>{"serve", "--socket", socket, "--state", dir.file("state")}));
  }
  int listening = 0;
  for (auto& each : starts) listening += each->wait_for_error_text("listening on") ? 1 : 0;
  EXPECT_EQ(listening, 1);
  EXPECT_EQ(connection(socket).ask(echo()), echo_answer());
}

TEST(tvk_modem_serve, what_others_have_at_the_path_stays) {
  const temp_dir dir;
  const std::string path = dir.file("modem.sock");
  const auto refusal = [&] {
    const auto result = run_modem({"serve", "--socket", path, "--state", dir.file("state")});
    EXPECT_EQ(result.exit_status, 1);
    return result.errors;
  };
  std::ofstream(path) << "mine";
  EXPECT_EQ(refusal(), "tvk-modem: " + path + " exists and is not a socket\n");
  EXPECT_EQ(std::filesystem::file_size(path), 4U);

  for (const int type : {SOCK_SEQPACKET, SOCK_STREAM, SOCK_DGRAM}) {
    std::filesystem::remove(path);
    const int theirs = ::socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    const sockaddr_un address = address_of(path);
    ASSERT_EQ(::bind(theirs, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    if (type != SOCK_DGRAM) {
      ASSERT_EQ(::listen(theirs, 1), 0);
    }
    EXPECT_EQ(refusal(), "tvk-modem: another program already listens on " + path + "\n");
    EXPECT_TRUE(std::filesystem::exists(path));
    ::close(theirs);
  }
  EXPECT_EQ(names_in(dir.path()), std::vector<std::string>{"modem.sock"});
}

TEST(tvk_modem_serve, what_cannot_be_used_is_named) {
  const temp_dir dir;
  std::ofstream(dir.file("file")) << "not a directory, and not a database either";
  std::filesystem::create_directory(dir.file("bad"));
  std::filesystem::copy(dir.file("file"), dir.file("bad/modem.db"));
  for (const char* name : {"open", "led"}) std::filesystem::create_directory(dir.file(name));
  std::filesystem::permissions(dir.file("open"), std::filesystem::perms::all);
  std::filesystem::create_symlink("led", dir.file("link"));
  std::filesystem::create_symlink("../new", dir.file("led/modem.db"));
  std::filesystem::create_symlink("new", dir.file("locked.lock"));
  const std::string socket = dir.file("modem.sock");
  const std::string state = dir.file("state");
  const std::string too_long = "/tmp/" + std::string(103, 'x');
  struct row {
    std::vector<std::string> options;
    int exit_status;
    std::vector<std::string> said;
  };
  const row rows[] = {
      {{"--socket", too_long}, 1, {too_long, "108 bytes, at most 107"}},
      {{"--socket", dir.file("file/a/modem.sock")}, 1, {dir.file("file/a"), "Not a directory"}},
      {{"--socket", ""}, 2, {"--socket"}},
      {{"--state", dir.file("file/state")}, 1, {dir.file("file/state"), "Not a directory"}},
      {{"--state", dir.file("bad")}, 1, {dir.file("bad/modem.db"), "not a database"}},
      {{"--state", dir.file("open")}, 1, {dir.file("open"), "other users can write to it"}},
      {{"--state", dir.file("link")}, 1, {dir.file("link"), "it is a symbolic link"}},
      {{"--state", dir.file("led")}, 1, {dir.file("led/modem.db"), "it is a symbolic link"}},
      {{"--socket", dir.file("locked")}, 1, {dir.file("locked.lock"), "it is a symbolic link"}},
      {{"--fault", "extension=loud"}, 2, {"extension=loud", "SERVICE[/MESSAGE[@N]]"}},
      {{"--colour"}, 2, {"--colour"}},
      {{"--", "true"}, 2, {"--"}},
  };
  for (const row& each : rows) {
    std::vector<std::string> arguments{"serve"};
    if (each.options[0] != "--socket") arguments.insert(arguments.end(), {"--socket", socket});
    if (each.options[0] != "--state") arguments.insert(arguments.end(), {"--state", state});
    arguments.insert(arguments.end(), each.options.begin(), each.options.end());
    const auto result = run_modem(arguments);
    SCOPED_TRACE(result.errors);
    EXPECT_EQ(result.exit_status, each.exit_status);
    EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1);
    EXPECT_TRUE(result.errors.starts_with("tvk-modem: "));
    for (const auto& text : each.said) EXPECT_NE(result.errors.find(text), std::string::npos);
  }
}

TEST(tvk_modem_exec, returns_the_status_and_leaves_nothing_behind) {
  const temp_dir dir;
  const temp_dir state;
  struct row {
    std::vector<std::string> command;
    int exit_status;
    std::string output;
  };
  const row rows[] = {
      {{"sh", "-c", "echo \"$1\"; exit 3", "sh", "--help -- serve"}, 3, "--help -- serve\n"},
      {{"sh", "-c", "kill -9 $$"}, 137, ""},
      {{"sh", "-c", "test -S \"${TVK_MODEM#unix:}\""}, 0, ""},
      {{"sh", "-c", "kill -TERM $PPID; exec sleep 20"}, 143, ""},
      {{"sh", "-c", "kill -HUP $PPID; exec sleep 20"}, 129, ""},
      {{"sh", "-c", "trap 'exit 5' INT; kill -INT $PPID; while :; do sleep 0.01; done"}, 5, ""},
  };
  for (const row& each : rows) {
    std::vector<std::string> arguments{"exec", "--state", state.path(), "--"};
    arguments.insert(arguments.end(), each.command.begin(), each.command.end());
    const auto result = run_modem(arguments, {{"TMPDIR", dir.path()}});
    EXPECT_EQ(result.exit_status, each.exit_status) << each.command[2];
    EXPECT_EQ(result.output, each.output);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(names_in(dir.path()), std::vector<std::string>{});
  }
  const auto missing =
      run_modem({"exec", "--state", state.path(), "--", "/no/such"}, {{"TMPDIR", dir.path()}});
  EXPECT_EQ(missing.exit_status, 127);
  EXPECT_EQ(missing.errors, "tvk-modem: cannot run /no/such: No such file or directory\n");
  EXPECT_EQ(names_in(dir.path()), std::vector<std::string>{});
  EXPECT_EQ(run_modem({"exec", "--state", state.path()}).exit_status, 2);
}

TEST(tvk_modem, standard_streams_that_are_closed_or_full) {
  if (TVK_CROSS_BUILD) GTEST_SKIP() << "a shell cannot run the program";
  const temp_dir dir;
  const std::string full = "tvk-modem: cannot write to standard output: No space left on device\n";
  const std::string not_open = "tvk-modem: cannot write to standard output: Bad file descriptor\n";
  struct row {
    const char* command;  ///< $0 the program, $1 a state directory
    int exit_status;
    std::string errors;
    std::string output;
  };
  const row rows[] = {
      {R"("$0" nv list --state "$1" >/dev/full)", 1, full, ""},
      {R"("$0" nv list --state "$1" >&-)", 1, not_open, ""},
      {R"("$0" nv get --state "$1" 550 >/dev/full)", 1, full, ""},
      {R"("$0" efs ls --state "$1" >/dev/full)", 1, full, ""},
      {R"("$0" efs cat --state "$1" /nv/item_files/modem/geran/vamos_support >&-)", 1, not_open,
       ""},
      {R"("$0" efs put --state "$1" /a <&-)", 1,
       "tvk-modem: cannot read standard input: Bad file descriptor\n", ""},
      {R"("$0" --help >/dev/full)", 1, full, ""},
      // Nobody can be told.
      {R"("$0" nv get --state "$1" 7000 2>/dev/full)", 1, "", ""},
      {R"("$0" --colour 2>&-)", 2, "", ""},
      {R"("$0" exec --state "$1" --trace -- /no/such 2>/dev/full)", 127, "", ""},
      {R"("$0" serve --socket "$1/s" --state "$1" --trace --diag-pty "$1/tty" 2>/dev/full &
          until test -L "$1/tty" -a -S "$1/s"; do sleep 0.01; done; kill $!; wait $!)",
       0, "", ""},
      {R"("$0" exec --state "$1" --trace -- \
          sh -c 'readlink /proc/$PPID/fd/0 /proc/$PPID/fd/2' <&- 2>&-)",
       0, "", "/dev/null\n/dev/null\n"},
  };
  for (const row& each : rows) {
    SCOPED_TRACE(each.command);
    const auto ended = run("sh", {"-c", each.command, TVK_MODEM_PROGRAM, dir.path()});
    EXPECT_EQ(ended.exit_status, each.exit_status);
    EXPECT_EQ(ended.errors, each.errors);
    EXPECT_EQ(ended.output, each.output);
  }
}

TEST(tvk_modem_trace, names_what_passes) {
  simulated_modem modem({"extension/2@2=silent"}, simulated_modem::begin::at_once, {"--trace"});
  {
    const connection client(modem.socket());
    EXPECT_EQ(client.look_up(look_up_all), listed(all_up));
    EXPECT_EQ(client.ask(echo()), echo_answer());
    ASSERT_TRUE(client.send(echo()));
    const bytes head = service + hex("00 0100 0200 1102");
    EXPECT_FALSE(
        client.ask(head + extension_tlvs(2, file_request{.path = "/none"}.payload())).empty());
    const auto query = common_message(55, u32(1));
    EXPECT_FALSE(client.ask(head + extension_tlvs(4, query)).empty());
  }
  ASSERT_TRUE(modem.process().wait_for_error_text("leaves"));
  const std::string errors = modem.stop();
  for (const char* text :
       {"client 1:16384 connects\n", "NEW_LOOKUP  any service",
        "NEW_SERVER  extension (0xffe4)  version 1, instance 1, at 0:1\n", "end of list\n",
        "message 0x0002 exchange, transaction 1", "0x10 payload             512  aa bb cc ... 509",
        "fault extension/2@2=silent\n", "  EFS read, subscription 0, /none, from 0\n",
        "  EFS read: 2 (not found)\n", "  common message 55, card status get: 1\n",
        "  common message 55, card status get: 0 (ok), value 1\n", "client 1:16384 leaves"}) {
    EXPECT_NE(errors.find(text), std::string::npos) << text << " not in\n" << errors;
  }
}

}  // namespace
