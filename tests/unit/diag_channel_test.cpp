// The DIAG channel over a library that is the test's: which calls it makes in which order, what it
// does when one fails, and a response and a time-out that come at the same time.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "norvel_extend_qmi/norvel_diag_send.h"
#include "norvel_extend_qmi/norvel_diag_send_connection.h"
#include "norvel_extend_qmi/norvel_diag_send_response.h"
#include "norvel_extend_qmi/norvel_diag_thread.h"
#include "norvel_extend_qmi/norvel_diag_wait.h"
#include "platform/diag.h"
#include "support/bytes.h"
#include "support/pauses.h"
#include "support/printed.h"

namespace {

using support::bytes;
using support::printed_by;
using namespace std::chrono_literals;

/// What the library was asked, and what it answers.
struct fake_library {
  std::mutex lock;
  std::vector<std::string> calls;
  std::string failing;  ///< this call fails
  std::uint16_t remote_mask = 0;
  std::uint16_t peripherals = DIAG_CON_APSS | DIAG_CON_MPSS;
  std::function<void()> when_sent;
  diag_callback callback = nullptr;
  void* context = nullptr;

  bool record(const std::string& name, const std::string& arguments = "") {
    const std::lock_guard hold(lock);
    calls.push_back(name + arguments);
    return name != failing;
  }
  std::vector<std::string> take_calls() {
    const std::lock_guard hold(lock);
    return std::exchange(calls, {});
  }
  void reset() {
    const std::lock_guard hold(lock);
    calls.clear();
    failing.clear();
    remote_mask = 0;
    peripherals = DIAG_CON_APSS | DIAG_CON_MPSS;
    when_sent = nullptr;
  }
};
fake_library library;

/// Threads of the channel that run. Never destroyed, like them.
norvel_diag::thread_count& threads = *new norvel_diag::thread_count;

int dci(bool done) {
  return done ? DIAG_DCI_NO_ERROR : 1006;
}

}  // namespace

int norvel_diag::start_thread(void* (*body)(void*), void* argument) {
  if (library.failing == "thread") return EAGAIN;
  threads.add();
  std::thread([=] {
    body(argument);
    threads.remove();
  }).detach();
  return 0;
}

// NOLINTBEGIN(readability-non-const-parameter): the library's signatures.
unsigned char Diag_LSM_Init(unsigned char*) {
  return library.record("init") ? 1 : 0;
}
unsigned char Diag_LSM_DeInit() {
  return library.record("deinit") ? 1 : 0;
}
void diag_switch_logging(int mode, char*) {
  library.record("mode ", std::to_string(mode));
}
int diag_register_callback(diag_callback callback, void* context) {
  library.callback = callback;
  library.context = context;
  library.record("callback ", std::to_string(*static_cast<int*>(context)));
  return 0;
}
int diag_register_remote_callback(diag_callback, int processor, void* context) {
  library.record("remote ",
                 std::to_string(processor) + " " + std::to_string(*static_cast<int*>(context)));
  return 0;
}
int diag_has_remote_device(std::uint16_t* mask) {
  *mask = library.remote_mask;
  return 1;
}
int diag_callback_send_data(int processor, unsigned char*, int length) {
  const bool done =
      library.record("send", " " + std::to_string(processor) + " " + std::to_string(length));
  if (done && library.when_sent) library.when_sent();
  return done ? 0 : -1;
}
int diag_register_dci_client(int* client_id, std::uint16_t* peripherals, int processor,
                             int* signal) {
  *client_id = 7;
  return dci(library.record("client", " " + std::to_string(*peripherals) + " " +
                                          std::to_string(processor) + " " +
                                          std::to_string(*signal)));
}
int diag_register_dci_signal_data(int client_id, int signal) {
  return dci(library.record(
      "signal", " " + std::to_string(client_id) + " " + std::to_string(signal - 32)));
}
int diag_get_dci_support_list_proc(int, std::uint16_t* peripherals) {
  *peripherals = library.peripherals;
  return dci(library.record("support"));
}
int diag_register_dci_stream_proc(int, diag_dci_stream, diag_dci_stream) {
  return dci(library.record("stream"));
}
int diag_send_dci_async_req(int, unsigned char*, int length, unsigned char*, int response_size,
                            diag_dci_response, void*) {
  return dci(
      library.record("send", " " + std::to_string(length) + " " + std::to_string(response_size)));
}
int diag_release_dci_client(int* client_id) {
  return dci(library.record("release", " " + std::to_string(*client_id)));
}

// NOLINTEND(readability-non-const-parameter)

namespace {

using calls = std::vector<std::string>;

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class diag_channel : public testing::Test {
 protected:
  diag_channel() { library.reset(); }
  ~diag_channel() override {
    threads.wait_for_none();
    static_cast<void>(support::take_pauses());
    support::during_pauses({});
  }
};

/// A process-wide response: what a test leaves in it is the next one's.
int send(bool by_dci, int time_out, bytes& reply, int& reply_len) {
  bytes request = support::hex("4B0B0000");
  return by_dci ? norvel_diag_cmd_send_with_result_by_dci_mode(request.data(), 4, reply.data(),
                                                               &reply_len, time_out)
                : norvel_diag_cmd_send_with_result_by_callback_mode(request.data(), 4, reply.data(),
                                                                    &reply_len, time_out);
}

TEST_F(diag_channel, opens_are_counted_and_one_close_closes) {
  EXPECT_EQ(printed_by([] {
              norvel_diag_init_with_result();
              norvel_diag_init_with_result();
              norvel_diag_init_with_result();
            }),
            "RIL[norvel_diag_init_with_result:#]: function entry ------------->\n"
            "RIL[norvel_diag_init_with_result:#]: function exit <-------------\n"
            "RIL[norvel_diag_init_with_result:#]: function entry ------------->\n"
            "RIL[norvel_diag_init_with_result:#]: diag init done, g_diag_init_status = 1\n"
            "RIL[norvel_diag_init_with_result:#]: function exit <-------------\n"
            "RIL[norvel_diag_init_with_result:#]: function entry ------------->\n"
            "RIL[norvel_diag_init_with_result:#]: diag init done, g_diag_init_status = 2\n"
            "RIL[norvel_diag_init_with_result:#]: function exit <-------------\n");
  norvel_diag_deinit_with_result();
  library.failing = "init";
  EXPECT_TRUE(contains(printed_by([] { norvel_diag_init_with_result(); }), "LSM init failed\n"));
  norvel_diag_deinit_with_result();
  EXPECT_EQ(library.take_calls(), (calls{"init", "deinit", "init", "deinit"}));
}

TEST_F(diag_channel, callback_is_registered_for_every_remote_processor) {
  library.remote_mask = 0b101;
  EXPECT_EQ(printed_by([] {
              norvel_diag_register_callback(norvel_diag_cmd_response_by_callback_no_handle);
            }),
            "RIL[norvel_diag_register_callback:#]: register call back, g_diag_channel = [0]MSM, "
            "data_primary = 0, remote_mask = [5] APSS\n"
            "RIL[norvel_diag_register_callback:#]: register remote call back, data_remote = 1\n"
            "RIL[norvel_diag_register_callback:#]: register remote call back, data_remote = 3\n");
  EXPECT_EQ(library.take_calls(), (calls{"callback 0", "remote 1 1", "remote 3 3"}));
}

TEST_F(diag_channel, response_that_is_no_good_is_refused_and_one_without_context_is_kept) {
  int mdm = 1;
  int other = 3;
  bytes data = support::hex("4B0102");
  int result = -1;
  EXPECT_EQ(
      printed_by([&] {
        result = norvel_diag_cmd_response_by_callback(data.data(), 3, nullptr);
        result += norvel_diag_cmd_response_check(data.data(), 0, &mdm);
        result += norvel_diag_cmd_response_check(nullptr, 3, &other);
      }),
      "RIL[norvel_diag_cmd_response_by_callback:#]: function entry ------------->\n"
      "RIL[norvel_diag_cmd_response_check:#]: context_data is null\n"
      "RIL[norvel_diag_cmd_response_check:#]: ================ response from -1[Unknown], "
      "len = 3 ========================\n"
      "RIL[norvel_print_data_with_hex:#]: data hex show, len(3), data: 4B 01 02\n"
      "RIL[norvel_diag_cmd_response_by_callback:#]: callback, cmd_code = 0x4b, data_size = 3\n"
      "RIL[norvel_diag_cmd_response_check:#]: ================ response from 1[MDM], "
      "len = 0 ========================\n"
      "RIL[norvel_diag_cmd_response_check:#]: Invalid parameter, len = 0\n"
      "RIL[norvel_diag_cmd_response_check:#]: ================ response from 3[Unknown], "
      "len = 3 ========================\n"
      "RIL[norvel_diag_cmd_response_check:#]: ptr is null\n");
  EXPECT_EQ(result, 2);
  EXPECT_EQ(norvel_diag::response_length(), 3);
  norvel_diag::drop_response();
  // A failed piece is not kept, a full one ends no wait, and the next is joined to it.
  bytes piece(4096, 0x11);
  norvel_diag_init_with_result();
  EXPECT_EQ(norvel_diag_cmd_response_by_dci(piece.data(), 4096, nullptr), 0);
  EXPECT_EQ(norvel_diag_cmd_response_by_dci(piece.data(), 10241, nullptr), 1);
  EXPECT_EQ(norvel_diag_cmd_response_by_dci(data.data(), 3, nullptr), 0);
  bytes joined(5000);
  EXPECT_EQ(norvel_diag::copy_response(joined), 4099);
  piece.insert(piece.end(), data.begin(), data.end());
  piece.resize(5000);
  EXPECT_EQ(joined, piece);
  norvel_diag_deinit_with_result();
  norvel_diag::drop_response();
}

TEST_F(diag_channel, every_step_that_fails_is_told_and_what_was_opened_is_closed) {
  const struct {
    bool by_dci;
    std::string failing;
    std::string printed;
    calls made;
  } rows[] = {
      {false,
       "send",
       "Fail to send diag cmd\n",
       {"init", "callback 0", "mode 6", "send 0 4", "mode 1", "deinit"}},
      {true,
       "client",
       "Could not register with DCI, err: 1006, errno: ",
       {"init", "client 2 0 18", "deinit"}},
      {true,
       "signal",
       "Could not register signal for DCI Data for ch:0, err: 1006, errno: ",
       {"init", "client 2 0 18", "signal 7 30", "deinit", "release 7"}},
      {true,
       "support",
       "Could not get support list for ch 0, err: 1006, errno: ",
       {"init", "client 2 0 18", "signal 7 30", "support", "deinit", "release 7"}},
      {true,
       "stream",
       "Unable to register DCI stream for ch:0, err: 1006, errno: ",
       {"init", "client 2 0 18", "signal 7 30", "support", "stream", "deinit", "release 7"}},
      {true,
       "send",
       "Error sending SEND_REQUEST_ASYNC to peripheral 1006 for ch:0\n",
       {"init", "client 2 0 18", "signal 7 30", "support", "stream", "send 4 16384", "deinit",
        "release 7"}},
  };
  bytes request = support::hex("4B0B0000");
  for (const auto& row : rows) {
    SCOPED_TRACE((row.by_dci ? "dci " : "callback ") + row.failing);
    library.failing = row.failing;
    bytes reply(16);
    int reply_len = 16;
    const auto printed = printed_by([&] { EXPECT_EQ(send(row.by_dci, 100, reply, reply_len), 1); });
    EXPECT_TRUE(contains(printed, row.printed)) << printed;
    EXPECT_FALSE(contains(printed, "wait_create_thread"));
    EXPECT_EQ(library.take_calls(), row.made);
    // The worker makes the same calls and says the same.
    const auto worker = printed_by([&] {
      EXPECT_EQ(norvel_diag_cmd_send_without_result_start_thread(request.data(), 4, row.by_dci), 0);
      norvel_diag_cmd_send_without_result_wait();
    });
    EXPECT_EQ(contains(worker, row.printed), row.by_dci) << worker;
    EXPECT_TRUE(contains(worker, "norvel daig is created, conf = 0, diag_work_mode = ")) << worker;
    EXPECT_EQ(library.take_calls(), row.made);
  }
  int reply_len = 0;
  bytes reply(1);
  EXPECT_TRUE(contains(printed_by([&] { EXPECT_EQ(send(true, 100, reply, reply_len), 1); }),
                       "Invalid output parameter, reply_len = 0\n"));
  EXPECT_EQ(library.take_calls(), calls{});
}

TEST_F(diag_channel, worker_is_waited_for_sends_though_the_modem_is_down_and_may_fail_to_start) {
  library.peripherals = DIAG_CON_APSS;
  bytes request = support::hex("4B0B0000");
  const auto printed = printed_by([&] {
    EXPECT_EQ(norvel_diag_cmd_send_without_result_start_thread(request.data(), 4, 1), 0);
    norvel_diag_cmd_send_without_result_wait();
  });
  EXPECT_TRUE(contains(printed, "MPSS on ch:0: DOWN\n")) << printed;
  EXPECT_TRUE(contains(printed, "Releasing DCI connection, err: 1001, errno: ")) << printed;
  EXPECT_EQ(library.take_calls(), (calls{"init", "client 2 0 18", "signal 7 30", "support",
                                         "stream", "send 4 16384", "deinit", "release 7"}));
  EXPECT_TRUE(contains(
      printed_by([&] {
        EXPECT_EQ(norvel_diag_cmd_send_without_result_start_thread(request.data(), 0, 0), 1);
      }),
      "norvel_diag_comand_input_check fail\n"));
  library.failing = "thread";
  EXPECT_TRUE(contains(
      printed_by([&] {
        EXPECT_EQ(norvel_diag_cmd_send_without_result_start_thread(request.data(), 4, 0), 1);
        norvel_diag_cmd_send_without_result_wait();
      }),
      "norvel daig is created, conf = 11, diag_work_mode = 0\n"));
  EXPECT_TRUE(contains(
      printed_by([&] { norvel_diag_cmd_send_without_result_by_dci_mode_thread_proc(nullptr); }),
      "param is null\n"));
  EXPECT_EQ(library.take_calls(), calls{});
}

TEST_F(diag_channel, watcher_takes_a_tick_of_100_ms_at_a_time_and_gives_up_after_the_last) {
  const std::string own = "RIL[norvel_diag_cmd_send_with_result_by_callback_mode:#]: ";
  const std::string invalid =
      own + "Time out is invalid, set default\n" + own + "Command time = 30 * 100ms\n";
  const struct {
    bool by_dci;
    int time_out;
    std::string printed;
    std::size_t ticks;
  } rows[] = {
      {true, 0, "Dci Command time = 0\n", 1},
      {true, -500, "Dci Command time = -5\n", 1},
      {true, 3000, "Dci Command time = 30\n", 30},
      {false, 99, "callback\n" + own + "Command time = 0 * 100ms\n", 1},
      {false, 399, "callback\n" + own + "Command time = 3 * 100ms\n", 3},
      {false, 60000, "callback\n" + own + "Command time = 600 * 100ms\n", 600},
      {false, 60001, invalid, 30},
      {false, 0, invalid, 30},
      {false, -1, invalid, 30},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.time_out);
    bytes reply(16);
    int reply_len = 16;
    const auto printed =
        printed_by([&] { EXPECT_EQ(send(row.by_dci, row.time_out, reply, reply_len), 1); });
    threads.wait_for_none();
    EXPECT_EQ(support::take_pauses(), std::vector<std::chrono::milliseconds>(row.ticks, 100ms));
    EXPECT_TRUE(contains(printed, row.printed)) << printed;
    EXPECT_TRUE(contains(printed, "cnt_of_100ms = " + std::to_string(row.ticks) + "\n"));
  }
  // Full pieces say nothing of the end: there may be more until the time is over.
  for (const int pieces : {1, 2}) {
    int ticks = 0;
    support::during_pauses([&] {
      bytes piece(4096, 0x4B);
      if (++ticks <= pieces) norvel_diag_cmd_response_by_dci(piece.data(), 4096, nullptr);
    });
    bytes reply(10240);
    int reply_len = 10240;
    const auto printed = printed_by([&] { EXPECT_EQ(send(true, 300, reply, reply_len), 0); });
    threads.wait_for_none();
    EXPECT_TRUE(contains(printed, "stop waiting, receive success, length is times of 4096\n"));
    EXPECT_EQ(reply_len, 4096 * pieces);
    EXPECT_EQ(support::take_pauses().size(), 3U);
  }
  support::during_pauses({});
  // A worker gives the response that it drops some time to come.
  bytes request = support::hex("4B0B0000");
  for (const bool by_dci : {false, true}) {
    printed_by([&] {
      EXPECT_EQ(norvel_diag_cmd_send_without_result_start_thread(request.data(), 4, by_dci), 0);
      norvel_diag_cmd_send_without_result_wait();
    });
    EXPECT_EQ(support::take_pauses(), std::vector{by_dci ? 1000ms : 200ms});
  }
}

/// A count that threads wait for.
class milestone {
 public:
  void reach(int count) {
    count_ = count;
    count_.notify_all();
  }
  void await(int count) const {
    for (int now = count_; now < count; now = count_) count_.wait(now);
  }

 private:
  std::atomic<int> count_ = 0;
};

// One tick is the whole time. The response comes after it, in the next request; in the instant in
// which the watcher gives up, when either may win; or before.
TEST_F(diag_channel, response_after_in_and_before_the_instant_of_the_time_out) {
  enum { after, instant, before, count };
  milestone may_respond;
  milestone over;
  std::vector<std::thread> responders;
  for (int round = 1; round < 333 * count; ++round) {
    const int comes = round % count;
    norvel_diag::drop_response();  // of full pieces the next request would be content with the last
    library.when_sent = [&] {
      const auto callback = library.callback;
      auto* const context = library.context;
      responders.emplace_back([=, &may_respond] {
        may_respond.await(round);
        bytes data(4096, 0x4B);
        callback(data.data(), round % 7 == 0 ? 4096 : 100, context);
      });
    };
    support::during_pauses([&] {
      if (comes != after) may_respond.reach(round);
      if (comes == before) over.await(round);
    });
    bytes reply(10240);
    int reply_len = 10240;
    int result = 0;
    printed_by([&] {
      result = send(false, 100, reply, reply_len);
      over.reach(round);
      threads.wait_for_none();
    });
    if (comes != instant) {
      ASSERT_EQ(result, comes == before ? 0 : 1) << round;
    }
    ASSERT_TRUE(reply_len == 0 || reply_len == 100 || reply_len == 4096);
    if (comes == after) continue;
    for (auto& each : responders) each.join();
    responders.clear();
  }
}

}  // namespace
