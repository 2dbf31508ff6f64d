// What tvk-modem keeps: items and files through kills, full disks and concurrent clients, restarts,
// and the programs that show and change a state directory.
#include <sys/resource.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

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

constexpr std::size_t largest = 102410;
constexpr std::uint8_t extension_port = 1;

bytes ask(const connection& client, std::uint32_t type, const bytes& payload) {
  return client.ask(extension_port, "0200", extension_tlvs(type, payload));
}
template <typename Request>
nvefs_answer ask(const connection& client, const Request& asked) {
  return nvefs_answer(ask(client, 2, asked.payload()));
}
/// The message's own result.
std::uint32_t ask_common(const connection& client, std::uint32_t number, const bytes& payload) {
  return u32_at(ask(client, 4, common_message(number, payload)), 21);
}

std::uint32_t write(const connection& client, const bytes& file) {
  for (std::size_t at = 0; at < file.size(); at += 414) {
    if (const auto result = ask(client, chunk_write(file, at)).result; result != 0) return result;
  }
  return 0;
}

bytes read(const connection& client) {
  bytes file;
  nvefs_answer chunk(ask(client, file_request{}));
  const std::uint32_t total = chunk.total;
  while (!chunk.data.empty()) {
    EXPECT_EQ(chunk.total, total);
    file = file + chunk.data;
    if (file.size() >= total) break;
    chunk = ask(client, file_request{.offset = static_cast<std::uint32_t>(file.size())});
  }
  EXPECT_EQ(file.size(), total);
  return file;
}

process_result program(std::vector<std::string> arguments, const std::string& state) {
  arguments.insert(arguments.end(), {"--state", state});
  return run(TVK_MODEM_PROGRAM, arguments);
}

/// Files that this process and its children write end here, as on a full disk.
class file_size_limit {
 public:
  explicit file_size_limit(rlim_t most) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limited{most, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limited);
  }
  file_size_limit(const file_size_limit&) = delete;
  file_size_limit& operator=(const file_size_limit&) = delete;
  ~file_size_limit() { ::setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  rlimit before_{};
};

TEST(tvk_modem_state, killed_write_leaves_the_old_file_or_the_new_one) {
  constexpr int exchanges = 248;
  simulated_modem modem;
  ASSERT_EQ(write(connection(modem.socket()), bytes(largest, 0xEE)), 0U);
  modem.kill();
  std::string before(largest, '\xEE');
  std::uint8_t fill = 0;
  for (const int last : {1, 2, 100, 247, 248, 248, 248, 248}) {
    modem.start();
    const bytes file(largest, ++fill);
    {
      const connection client(modem.socket());
      for (int i = 0; i < last; ++i) {
        const bytes chunk = chunk_write(file, 414 * static_cast<std::size_t>(i)).payload();
        ASSERT_TRUE(client.send(service + hex("00 0100 0200 1102") + extension_tlvs(2, chunk)));
        // The modem dies with the last chunk on its way.
        if (i + 1 < last) {
          ASSERT_FALSE(client.receive().empty());
        }
      }
      modem.kill();
    }
    const auto after = program({"efs", "cat", "/f"}, modem.state()).output;
    const bool is_new = after == std::string(file.begin(), file.end());
    ASSERT_TRUE(after == before || (is_new && last == exchanges)) << "killed at exchange " << last;
    before = after;
  }
}

TEST(tvk_modem_state, acknowledged_changes_survive_a_kill) {
  simulated_modem modem;
  const bytes file(largest, 0x77);
  {
    const connection client(modem.socket());
    ASSERT_EQ(write(client, file), 0U);
    ASSERT_EQ(ask(client, item_request{.operation = 2, .item = 71, .data = hex("0102")}).result,
              0U);
    ASSERT_EQ(ask(client, item_request{.operation = 3, .item = 85}).result, 0U);
    ASSERT_EQ(ask_common(client, 57, u32(1) + u32(0) + u32(0)), 0U);
    EXPECT_EQ(client.ask(sar_port, "0100", hex("01 0400 14000000")), done);
    EXPECT_EQ(client.ask(sar_port, "0100", hex("01 0400 15000000")), failed("3000"));
  }
  modem.kill();
  modem.start();
  const connection client(modem.socket());
  EXPECT_EQ(read(client), file);
  EXPECT_EQ(ask(client, item_request{.item = 71}).data, hex("0102"));
  EXPECT_EQ(ask(client, item_request{.item = 85}).result, 2U) << "seeded only once";
  EXPECT_EQ(ask(client, 4, common_message(56)).at(25), 1);
  EXPECT_EQ(client.ask(sar_port, "0200"), done + hex("10 0400 14000000"));
}

TEST(tvk_modem_state, full_disk_is_result_5_and_keeps_the_old) {
  simulated_modem modem({}, {}, simulated_modem::begin::later);
  ASSERT_EQ(program({"nv", "list"}, modem.state()).exit_status, 0);
  {
    const file_size_limit limit(80'000);
    modem.start();
  }
  const connection client(modem.socket());
  const bytes old(700, 0x01);
  ASSERT_EQ(write(client, old), 0U);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(write(client, bytes(largest, 0x02)), 5U);
  EXPECT_EQ(read(client), old);
  // Until nothing fits any more; then it must still be what it was.
  bytes item = hex("00");
  std::uint32_t result = 0;
  for (int i = 0; i < 200 && result == 0; ++i) {
    const bytes next = bytes(300, static_cast<std::uint8_t>(i + 1));
    result = ask(client, item_request{.operation = 2, .item = 71, .data = next}).result;
    if (result == 0) item = next;
  }
  EXPECT_EQ(result, 5U);
  EXPECT_EQ(ask(client, item_request{.item = 71}).data, item);
  EXPECT_EQ(ask_common(client, 57, u32(0) + u32(0) + u32(0)), 5U);
  EXPECT_EQ(client.ask(sar_port, "0100", hex("01 0400 05000000")), failed("0300"));
  EXPECT_EQ(client.ask(echo()), echo_answer());

  modem.kill();
  modem.start();
  EXPECT_EQ(read(connection(modem.socket())), old);
}

TEST(tvk_modem_state, start_on_a_full_disk_is_refused_and_changes_nothing) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "ThreadSanitizer writes a file of its own before the program starts";
#endif
  const temp_dir dir;
  const std::string state = dir.file("state");
  ASSERT_EQ(program({"nv", "list"}, state).exit_status, 0);
  const auto size = std::filesystem::file_size(state + "/modem.db");
  for (const rlim_t limit : {0U, 1000U, 4096U}) {
    const file_size_limit limited(limit);
    for (const std::string& directory : {state, dir.file("new")}) {
      const auto refused = program({"serve", "--socket", dir.file("modem.sock")}, directory);
      EXPECT_EQ(refused.exit_status, 1);
      EXPECT_EQ(refused.signal, 0);
      EXPECT_PRED2(contains, refused.errors, directory + "/modem.db");
    }
  }
  EXPECT_EQ(std::filesystem::file_size(state + "/modem.db"), size);
  EXPECT_EQ(program({"nv", "get", "550"}, state).output, "08 0a 10 10 07 10 32 54 96\n");
}

TEST(tvk_modem_state, restart_answers_first_and_forgets_what_is_unfinished) {
  simulated_modem modem({"extension/3@1=delay:300", "sar/0x0009=down"},
                        {"--hold-time", "--restart-time", "150"});
  const connection client(modem.socket());
  EXPECT_EQ(client.look_up(look_up_all), listed(all_up));
  const bytes file(500, 0x33);
  ASSERT_EQ(ask(client, chunk_write(file, 0)).result, 0U);
  ASSERT_EQ(ask_common(client, 80, u32(1) + u32(9) + u32(9) + u32(9)), 0U);
  bytes delayed = echo();
  delayed[11] = 0x03;
  ASSERT_TRUE(client.send(delayed));

  EXPECT_EQ(ask_common(client, 31, u32(0x1000)), 0U);
  EXPECT_EQ(client.receive_many(all_down.size()), all_down);
  modem.let_pass(149);
  EXPECT_EQ(connection(modem.socket()).look_up(look_up_all), listed({}));
  modem.let_pass(1);
  EXPECT_TRUE(std::ranges::is_permutation(client.receive_many(all_down.size()), all_up));
  modem.let_pass(1000);
  EXPECT_EQ(ask(client, chunk_write(file, 414)).result, 29U) << "also no answer from before";
  EXPECT_EQ(ask(client, 4, common_message(55, u32(0))).at(25), 1) << "the hot-swap run has ended";

  // A service that is down for good stays so.
  EXPECT_EQ(client.ask(sar + hex("00 0100 0900 0000")), sar_down);
  EXPECT_EQ(ask_common(client, 31, u32(0x1000)), 0U);
  modem.let_pass(150);
  auto all_but_sar = all_down;
  all_but_sar.insert(all_but_sar.end(), all_up.begin(), all_up.end());
  std::erase_if(all_but_sar, [](const bytes& each) { return each == sar_down || each == sar_up; });
  EXPECT_TRUE(std::ranges::is_permutation(client.receive_many(all_but_sar.size()), all_but_sar));
  EXPECT_EQ(client.ask(echo()), echo_answer());
}

TEST(tvk_modem_state, full_dump_is_a_readable_file_of_its_own) {
  const simulated_modem modem({}, {"--restart-time", "0"});
  const connection client(modem.socket());
  EXPECT_EQ(client.look_up(look_up_extension), listed({service_up}));
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(ask_common(client, 31, u32(0x2000)), 0U);
    EXPECT_EQ(client.receive_many(2), (std::vector{service_down, service_up}));
  }
  EXPECT_EQ(ask_common(client, 31, u32(0x1000)), 0U);
  EXPECT_FALSE(std::filesystem::exists(modem.state() + "/dump-3.bin")) << "of a plain restart";
  std::ifstream in(modem.state() + "/dump-2.bin");
  const std::string text((std::istreambuf_iterator(in)), {});
  EXPECT_TRUE(text.starts_with("tvk-modem dump 2\ntime 2")) << text.substr(0, 100);
  for (const char* line : {"\nboots 1\nreason full dump asked for by a client\n",
                           "\nnv 0 550 9: 08 0a 10 10 07 10 32 54 96\n",
                           "\nefs 1 /nv/item_files/modem/lte/rrc/cap/fgi 4: 7f ff fe 1e\n"}) {
    EXPECT_PRED2(contains, text, line);
  }
  EXPECT_TRUE(std::filesystem::exists(modem.state() + "/dump-1.bin"));
  EXPECT_FALSE(std::filesystem::exists(modem.state() + "/dump-2.bin.part"));
}

TEST(tvk_modem_state, programs_and_a_running_modem_see_each_others_changes) {
  const simulated_modem modem;
  const connection client(modem.socket());
  const std::string& state = modem.state();
  EXPECT_EQ(program({"nv", "set", "71", "0x41", "66", "--sub", "1"}, state).exit_status, 0);
  EXPECT_EQ(ask(client, item_request{.item = 71, .subscription = 1}).data, hex("4142"));
  const auto listed = program({"nv", "list", "--sub", "1"}, state).output;
  EXPECT_PRED2(contains, listed, "\n  71  Banner                                 2  41 42\n");

  const temp_dir dir;
  std::ofstream(dir.file("in")) << std::string(500, 'z');
  EXPECT_EQ(program({"efs", "put", "/f", dir.file("in")}, state).exit_status, 0);
  EXPECT_EQ(read(client), bytes(500, 'z'));
  ASSERT_EQ(write(client, bytes{'a', 0, 'b'}), 0U);
  EXPECT_EQ(program({"efs", "cat", "/f"}, state).output, std::string("a\0b", 3));
  EXPECT_PRED2(contains, program({"efs", "ls"}, state).output, "     3  /f\n");
}

}  // namespace
