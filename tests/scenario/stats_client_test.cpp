// The statistics clients and group 9 against a modem written by hand.
#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

#include "modem_api/client_table.h"
#include "modem_api/modem_api.h"
#include "modem_api/response.h"
#include "modem_api/vs_client.h"
#include "qcril-common/utilities/orvax_memory.h"
#include "support/android_log.h"
#include "support/eventually.h"
#include "support/hand_modem.h"
#include "support/pauses.h"
#include "support/printed.h"
#include "support/test.h"
#include "tvk/commands.h"
#include "tvk/qmi_modem_stats_readers.h"
#include "tvk/qmi_modem_stats_request.h"

namespace {

using namespace std::chrono_literals;
using namespace support;

const std::vector<std::chrono::milliseconds> seconds_between_tries(9, 1s);
constexpr qmi_server statistics{.service = 0xE4};
const bytes done = hex("02 0400 0000 0000");

std::atomic<int> went_down = 0;
std::atomic<int> came_up = 0;
void count_status(std::uint32_t event, std::uint32_t type) {
  EXPECT_EQ(type, 0U);
  if (event == 0x10001) ++went_down;
  if (event == 0x10002) ++came_up;
}

class stats_client : public testing::Test {
 protected:
  stats_client() {
    went_down = came_up = 0;
    setenv("TVK_MODEM", modem_.endpoint().c_str(), 1);
    answer(done);
    EXPECT_EQ(modem_api_init(), 0U);
  }
  ~stats_client() override { modem_api_release(); }

  [[nodiscard]] int logged(const std::string& line) const { return log_.count(line); }

  void answer(const bytes& record) {
    modem_.on_request([=](const datagram& request) {
      return reply(request, request.data.at(3) == 0x03 ? done : record);
    });
  }

  hand_modem modem_{{statistics}};

 private:
  android_log log_;
};

std::uint32_t add_client(std::uint32_t type, std::uint32_t* id) {
  return modem_api_init_client(type, nullptr, count_status, id);
}

TEST_F(stats_client, table_has_ten_slots) {
  std::uint32_t id = 99;
  for (std::uint32_t i = 0; i < 10; ++i) {
    ASSERT_EQ(add_client(MODEM_API_CLIENT_SAR, &id), 0U);
    EXPECT_EQ(id, i);
  }
  EXPECT_EQ(add_client(MODEM_API_CLIENT_SAR, &id), 1U);
  modem_api_free_client(3);
  modem_api_free_client(3);
  modem_api_free_client(10);
  EXPECT_EQ(logged("modem_api_free_client: client already freed\n"), 2);
  ASSERT_EQ(modem_api_init_client(7, nullptr, nullptr, &id), 0U);
  EXPECT_EQ(id, 3U);
  modem_api_operational_status_cb(7, 3);
  EXPECT_EQ(modem_api_set_orvax_feature_status(3), 7U) << "operational, but of another type";
  for (id = 0; id < 10; ++id) modem_api_free_client(id);
}

TEST_F(stats_client, qmi_results_become_results_of_the_library) {
  const struct {
    int transport, result, error;
    std::uint32_t mapped;
  } rows[] = {{-5, 0, 0, 12}, {-1, 0, 0, 12}, {-3, 0, 0, 11}, {-4, 0, 0, 1},  {-6, 0, 0, 1},
              {1, 0, 0, 1},   {0, 0, 94, 0},  {-2, 0, 0, 0},  {0, 2, 0, 1},   {0, 1, 0, 0},
              {-2, 1, 26, 0}, {0, 1, 4, 10},  {0, 1, 17, 5},  {0, 1, 19, 5},  {0, 1, 48, 5},
              {0, 1, 49, 5},  {0, 1, 24, 4},  {0, 1, 42, 4},  {0, 1, 77, 4},  {0, 1, 94, 4},
              {0, 1, 52, 8},  {0, 1, 95, 1},  {0, 1, 3, 1},   {0, 1, 102, 1}, {-2, 1, 94, 4}};
  for (const auto& row : rows) {
    const qmi_response_type_v01 response{row.result, row.error};
    EXPECT_EQ(modem_api_map_qmi_error_to_modem_api(row.transport, &response), row.mapped)
        << row.transport << ", " << row.result << ", " << row.error;
  }
}

TEST_F(stats_client, response_that_comes_later_is_copied_unless_cancelled) {
  static std::uint32_t last_status;
  struct answer {
    qmi_response_type_v01 resp;
    std::int32_t value;
  };
  const std::tuple<bool, qmi_response_type_v01, std::uint32_t, std::int32_t> rows[] = {
      {false, {0, 0}, 2, 5}, {true, {1, 26}, 2, 0}, {false, {1, 94}, 4, 0}};
  for (const auto& [cancelled, resp, wanted, value] : rows) {
    answer copied{};
    auto* context =
        static_cast<modem_api_cb_struct_type*>(orvax_malloc_adv(sizeof(modem_api_cb_struct_type)));
    *context = {[](int, int, void*, std::uint32_t status) { last_status = status; }, &copied};
    auto* response = static_cast<answer*>(orvax_malloc_adv(sizeof(answer)));
    *response = {resp, 5};
    modem_api_process_response(cancelled, response, sizeof(answer), context, 0);
    EXPECT_EQ(last_status, wanted);
    EXPECT_EQ(copied.value, value);
  }
}

TEST_F(stats_client, service_that_comes_late_is_tried_for_and_one_that_does_not_is_given_up) {
  modem_.withdraw(statistics);
  std::uint32_t id = 99;
  EXPECT_EQ(add_client(MODEM_API_CLIENT_VS, &id), 1U);
  EXPECT_EQ(take_pauses(), seconds_between_tries);
  EXPECT_EQ(id, 99U);
  int tries = 0;
  std::string said;
  testing::internal::CaptureStderr();
  during_pauses([&] {
    if (++tries == 1) said = testing::internal::GetCapturedStderr();
    if (tries == 2) modem_.publish(statistics);
  });
  EXPECT_EQ(add_client(MODEM_API_CLIENT_VS, &id), 0U);
  during_pauses({});
  EXPECT_EQ(said, "tvk: trying again for up to 9 s\n") << "before the first pause";
  EXPECT_EQ(logged("Trying qmi_client_init_instance() try # 2 port[0]\n"), 2);
  EXPECT_EQ(logged("Trying qmi_client_init_instance() try # 3 port[0]\n"), 1);
  EXPECT_EQ(id, 0U) << "the slot of the client that failed";
  std::uint32_t second = 99;
  EXPECT_EQ(add_client(MODEM_API_CLIENT_VS, &second), 0U);
  modem_api_free_client(0);  // closes the connection, which the next client needs again
  EXPECT_EQ(add_client(MODEM_API_CLIENT_VS, &id), 0U);
  EXPECT_EQ(modem_api_set_orvax_feature_status(id), 0U);
  modem_.withdraw(statistics);
  EXPECT_TRUE(eventually([] { return went_down == 2; }));
  EXPECT_EQ(add_client(MODEM_API_CLIENT_VS, &second), 1U);
  modem_api_free_client(0);
  modem_api_free_client(1);
}

/// What a callback of client 0 gets from the library; complete once it has called.
std::vector<std::uint32_t> results;
std::atomic<bool> has_called = false;

void call_back(std::uint32_t event, std::uint32_t /*type*/) {
  if (event != MODEM_API_EVENT_OPERATIONAL || has_called) return;
  vendor_stats_get_resp_v01 answer;
  std::uint32_t id = 0;
  results = {modem_api_get_stats_parameter(0, 1, 1, 100, answer), modem_api_init(),
             add_client(MODEM_API_CLIENT_VS, &id), modem_api_free_client(0)};
  has_called = true;
}

TEST_F(stats_client, callbacks_may_send_requests_but_not_make_or_free_clients) {
  std::uint32_t id = 99;
  static std::atomic<int> indications = 0;
  const auto count = [](std::uint32_t event, const void* /*data*/, std::uint32_t length) {
    if (event == 3 && length == 4) ++indications;
  };
  ASSERT_EQ(modem_api_init_client(MODEM_API_CLIENT_VS, count, call_back, &id), 0U);
  modem_.withdraw(statistics);
  modem_.publish(statistics);
  ASSERT_TRUE(eventually([] { return has_called.load(); }));
  EXPECT_EQ(results, (std::vector<std::uint32_t>{0, 4, 4, 4}));
  modem_.send({0, 0x101, hex("04 0000 0300 0000")});  // lacks its mandatory field
  modem_.send({0, 0x101, hex("04 0000 0300 0700 01 0400 01000000")});
  EXPECT_TRUE(eventually([] { return indications == 1; }));
  EXPECT_EQ(modem_api_free_client(id), 0U);
}

bytes entries(std::uint8_t count, const bytes& list) {
  return done + hex("10") + u16(list.size() + 1) + bytes{count} + list;
}

bytes entry(const std::string& sub_and_id, const bytes& data) {
  return hex(sub_and_id) + u16(data.size()) + data;
}

TEST_F(stats_client, group_9_says_what_is_wrong_with_an_answer) {
  const auto nr_rssi = [](const bytes& data) { return entry("0000 0000 5e000000", data); };
  const auto one = [&](const bytes& data) { return entries(1, nr_rssi(data)); };
  const bytes nr_20 = hex("01000000 0000a0c2 33b3a0c2 000000c3 0000803f");
  const std::string nr_line =
      "ASDIV DATA: rssi_rx0: -80.00, rssi_rx1: -80.35, rssi_rx2: -128.00, rssi_rx3: 1.00";
  const std::string start = "number = 1, sub = 0, ret id_num = ";
  const std::string request = start + "1, id = 94";
  const std::string success = "Success to get data, " + request + ", data_len = ";
  const std::string fail = "Fail to get data";
  bytes eleven;
  for (int i = 0; i < 11; ++i) eleven = eleven + nr_rssi({0});
  const std::pair<bytes, std::string> rows[] = {
      {one(nr_20), success + "20\n" + nr_line},
      {one(nr_20 + fill(680)), success + "700\n" + nr_line},
      {one(fill(19)), success + "19\ng_orvax_data_left(3) is not enough for rssi3, id(0x5e)"},
      {one({}), fail + ", data_len(0) is invalid, should be in (0, 700], " + request},
      {one(fill(701)), fail + ", data_len(701) is invalid, should be in (0, 700], " + request},
      {entries(0, {}), fail + ", empty, " + start + "0, id = 94"},
      {entries(2, nr_rssi(nr_20) + nr_rssi(nr_20)),
       fail + ", id num error, " + start + "2, id = 94"},
      {entries(11, eleven), fail + ", id num error, " + start + "10, id = 94"},
      {entries(1, entry("0100 0000 5f000000", nr_20)),
       fail + ", ret_id(95) is invalid, " + request},
      {entries(1, entry("0100 0000 5e000000", nr_20)),
       fail + ", ret_sub(1) is invalid, " + request},
      {done, fail + " fail, number = 1, ret = 1, sub = 0, id = 94"},
      {hex("02 0400 0100 5e00"), fail + " fail, number = 1, ret = 4, sub = 0, id = 94"},
  };
  char words[4][4] = {"tvk", "9", "7", "0"};
  char* argv[] = {words[0], words[1], words[2], words[3], nullptr};
  for (const auto& [record, printed] : rows) {
    answer(record);
    g_qmi_modem_stats.number = 0;
    EXPECT_EQ(printed_by([&] { norvel_test_qmi_modem_stats_do(4, argv); }),
              "opt = 7, sub = 0, g_orvax_client_id = 0\n" + printed + "\n");
    EXPECT_EQ(g_qmi_modem_stats.client_id, -1) << "freed";
  }
  const auto sent = modem_.requests();
  ASSERT_GE(sent.size(), 2U);
  EXPECT_EQ(sent[0].data, hex("00 0100 0300 0f00  01 0400 02000000  10 0100 01  11 0100 00"));
  EXPECT_EQ(sent[1].data,
            hex("00 0200 0702 1200  01 0200 0000  02 0200 0100  03 0500 01 5e000000"));
  g_qmi_modem_stats.cursor = -1;
  EXPECT_EQ(printed_by([] { read_and_print(g_antenna_info); }),
            "g_pK_DATA_CNT(-1) is can not < 0 for version, id(0x5e)\n");
}

TEST_F(stats_client, service_that_goes_again_at_once_is_followed_when_it_comes_to_stay) {
  std::uint32_t id = 0;
  ASSERT_EQ(add_client(MODEM_API_CLIENT_VS, &id), 0U);
  EXPECT_EQ(modem_api_set_orvax_feature_status(id), 0U);
  modem_.withdraw(statistics);
  for (int round = 1; round <= 2; ++round) {
    ASSERT_TRUE(eventually([&] { return logged("qmi_client_register_notify_cb 0\n") == round; }));
    EXPECT_EQ(modem_api_set_orvax_feature_status(id), 7U);
    modem_.flap(statistics);
    ASSERT_TRUE(eventually(
        [&] { return logged("qmi_client_init_instance returned failure(-3)") == round; }));
    EXPECT_EQ(take_pauses(), seconds_between_tries);
  }
  modem_.publish(statistics);
  ASSERT_TRUE(eventually([] { return came_up == 1; }));
  EXPECT_EQ(went_down, 1);
  EXPECT_EQ(modem_api_set_orvax_feature_status(id), 0U);
  modem_api_free_client(id);
}

std::size_t open_files() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

// The service goes and comes after each request that succeeds, or after a while if none does. A
// client that another one's end has cut off succeeds no more: each makes ten requests.
TEST_F(stats_client, service_that_comes_and_goes_under_two_threads_leaves_nothing_behind) {
  answer(entries(1, entry("0100 0000 64000000", {9})));
  const auto before = open_files();
  std::atomic<bool> over = false;
  std::atomic<int> good = 0;
  std::thread service([&] {
    while (!over) {
      modem_.withdraw(statistics);
      modem_.publish(statistics);
      const int seen = good;
      for (int spins = 0; good == seen && spins < 3000; ++spins) std::this_thread::yield();
    }
  });
  const auto request = [&](std::uint32_t id) {
    vendor_stats_get_resp_v01 answer{};
    for (const auto result : {modem_api_set_orvax_feature_status(id),
                              modem_api_get_stats_parameter(id, 1, 1, 100, answer)}) {
      EXPECT_TRUE(result == 0 || result == 1 || result == 7) << result;
    }
    if (answer.entries_valid != 1) return std::this_thread::yield();
    EXPECT_EQ(answer.entries[0].data[0], 9);
    ++good;
  };
  const auto use_clients = [&] {
    for (int i = 0; i < 40 || good == 0 || came_up == 0;) {
      std::uint32_t id = 0;
      if (add_client(MODEM_API_CLIENT_VS, &id) != 0) continue;
      ++i;
      for (int requests = 0; requests < 10; ++requests) request(id);
      modem_api_free_client(id);
    }
  };
  std::thread other(use_clients);
  use_clients();
  other.join();
  over = true;
  service.join();
  EXPECT_GT(went_down, 0);
  // The threads that follow the service may still be at work.
  EXPECT_TRUE(eventually([&] { return open_files() == before; })) << open_files() - before;
  std::uint32_t id = 99;
  EXPECT_EQ(add_client(MODEM_API_CLIENT_VS, &id), 0U);
  EXPECT_EQ(id, 0U) << "all slots are free";
  EXPECT_EQ(modem_api_set_orvax_feature_status(id), 0U);
  modem_api_free_client(id);
}

}  // namespace
