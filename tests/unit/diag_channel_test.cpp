// The DIAG channel over a library that is the test's.
#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <thread>
#include <tuple>

#include "norvel_extend_qmi/norvel_diag_send.h"
#include "norvel_extend_qmi/norvel_diag_send_connection.h"
#include "norvel_extend_qmi/norvel_diag_send_response.h"
#include "norvel_extend_qmi/norvel_diag_thread.h"
#include "norvel_extend_qmi/norvel_diag_wait.h"
#include "platform/diag.h"
#include "support/pauses.h"
#include "support/printed.h"
#include "support/test.h"

namespace {

using namespace support;
using namespace std::chrono_literals;

/// What the library was asked, and what it answers; by one thread at a time.
struct fake_library {
  std::string made;
  std::string failing;  ///< this call fails
  std::uint16_t remote_mask = 0;
  std::uint16_t peripherals = DIAG_CON_APSS | DIAG_CON_MPSS;
  std::function<void()> when_sent;
  diag_callback callback = nullptr;
  void* context = nullptr;

  /// The call's result, as DCI has it.
  template <typename... Arguments>
  int record(const std::string& name, Arguments... arguments) {
    made += (name + ... + (" " + std::to_string(arguments))) + "; ";
    return name == failing ? 1006 : DIAG_DCI_NO_ERROR;
  }
  std::string take_calls() { return std::exchange(made, {}); }
};
fake_library library;

/// Threads of the channel that run. Never destroyed, like them.
norvel_diag::thread_count& threads = *new norvel_diag::thread_count;

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
  library.record("init");
  return 1;
}
unsigned char Diag_LSM_DeInit() {
  library.record("deinit");
  return 1;
}
void diag_switch_logging(int mode, char*) {
  library.record("mode", mode);
}
int diag_register_callback(diag_callback callback, void* context) {
  library.callback = callback;
  library.context = context;
  library.record("callback", *static_cast<int*>(context));
  return 0;
}
int diag_register_remote_callback(diag_callback, int processor, void* context) {
  library.record("remote", processor, *static_cast<int*>(context));
  return 0;
}
int diag_has_remote_device(std::uint16_t* mask) {
  *mask = library.remote_mask;
  return 1;
}
int diag_callback_send_data(int processor, unsigned char*, int length) {
  if (library.record("send", processor, length) != DIAG_DCI_NO_ERROR) return -1;
  if (library.when_sent) library.when_sent();
  return 0;
}
int diag_register_dci_client(int* client_id, std::uint16_t* peripherals, int processor,
                             int* signal) {
  *client_id = 7;
  return library.record("client", *peripherals, processor, *signal);
}
int diag_register_dci_signal_data(int client_id, int signal) {
  return library.record("signal", client_id, signal - 32);
}
int diag_get_dci_support_list_proc(int, std::uint16_t* peripherals) {
  *peripherals = library.peripherals;
  return library.record("support");
}
int diag_register_dci_stream_proc(int, diag_dci_stream, diag_dci_stream) {
  return library.record("stream");
}
int diag_send_dci_async_req(int, unsigned char*, int length, unsigned char*, int response_size,
                            diag_dci_response, void*) {
  return library.record("send", length, response_size);
}
int diag_release_dci_client(int* client_id) {
  return library.record("release", *client_id);
}

// NOLINTEND(readability-non-const-parameter)
namespace {

bytes request = hex("4B0B0000");

struct exchanged {
  int result = -1;
  int reply_len = 0;
  std::string printed;
};

/// Returns when the watcher has ended too; `then` runs before it must.
exchanged send(
    bool by_dci, int time_out, int room = 10240, const std::function<void()>& then = [] {}) {
  bytes reply(10240);
  exchanged got;
  got.reply_len = room;
  auto* const function = by_dci ? norvel_diag_cmd_send_with_result_by_dci_mode
                                : norvel_diag_cmd_send_with_result_by_callback_mode;
  got.printed = printed_by([&] {
    got.result = function(request.data(), 4, reply.data(), &got.reply_len, time_out);
    then();
    threads.wait_for_none();
  });
  return got;
}

/// What a worker prints, and what starting it does.
std::string send_by_worker(bool by_dci, unsigned length = 4, int result = 0) {
  return printed_by([&] {
    const int mode = by_dci ? 1 : 0;
    EXPECT_EQ(norvel_diag_cmd_send_without_result_start_thread(request.data(), length, mode),
              result);
    norvel_diag_cmd_send_without_result_wait();
  });
}

TEST(diag_channel, callback_is_registered_for_every_remote_processor) {
  library.remote_mask = 0x8005;
  const auto printed = printed_by(
      [] { norvel_diag_register_callback(norvel_diag_cmd_response_by_callback_no_handle); });
  EXPECT_EQ(printed,
            log_lines("norvel_diag_register_callback",
                      {"register call back, g_diag_channel = [0]MSM, data_primary = 0, remote_mask "
                       "= [32773] APSS",
                       "register remote call back, data_remote = 1",
                       "register remote call back, data_remote = 3",
                       "register remote call back, data_remote = 16"}));
  EXPECT_EQ(library.take_calls(), "callback 0; remote 1 1; remote 3 3; remote 16 16; ");
}

TEST(diag_channel, response_that_is_no_good_is_refused_and_pieces_are_joined) {
  int other = 3;
  bytes data = hex("4B0102");
  EXPECT_EQ(
      printed_by([&] {
        EXPECT_EQ(norvel_diag_cmd_response_check(data.data(), 0, &other), 1);
        EXPECT_EQ(norvel_diag_cmd_response_check(nullptr, 3, nullptr), 1);
      }),
      log_lines("norvel_diag_cmd_response_check",
                {"================ response from 3[Unknown], len = 0 ========================",
                 "Invalid parameter, len = 0", "context_data is null",
                 "================ response from -1[Unknown], len = 3 ========================",
                 "ptr is null"}));
  bytes piece(4096, 0x11);
  norvel_diag_init_with_result();
  EXPECT_EQ(norvel_diag_cmd_response_by_dci(piece.data(), 4096, nullptr), 0);
  EXPECT_EQ(norvel_diag_cmd_response_by_dci(piece.data(), 10241, nullptr), 1);
  EXPECT_EQ(norvel_diag_cmd_response_by_dci(data.data(), 3, nullptr), 0);
  bytes joined(4099);
  EXPECT_EQ(norvel_diag::copy_response(joined), 4099);
  EXPECT_EQ(joined, piece + data);
  norvel_diag_deinit_with_result();
  norvel_diag::drop_response();
}

TEST(diag_channel, every_step_that_fails_is_logged_and_what_was_opened_is_closed) {
  const std::string start = "init; client 2 0 18; ";
  const std::string end = "deinit; release 7; ";
  const std::tuple<bool, std::string, std::string, std::string> rows[] = {
      {false, "send", "Fail to send diag cmd\n",
       "init; callback 0; mode 6; send 0 4; mode 1; deinit; "},
      {true, "client", "Could not register with DCI, err: 1006, errno: ", start + "deinit; "},
      {true, "signal", "Could not register signal for DCI Data for ch:0, err: 1006, errno: ",
       start + "signal 7 30; " + end},
      {true, "support", "Could not get support list for ch 0, err: 1006, errno: ",
       start + "signal 7 30; support; " + end},
      {true, "stream", "Unable to register DCI stream for ch:0, err: 1006, errno: ",
       start + "signal 7 30; support; stream; " + end},
      {true, "send", "Error sending SEND_REQUEST_ASYNC to peripheral 1006 for ch:0\n",
       start + "signal 7 30; support; stream; send 4 16384; " + end},
  };
  for (const auto& [is_dci, failing, printed, made] : rows) {
    SCOPED_TRACE(printed);
    library.failing = failing;
    const auto got = send(is_dci, 100);
    EXPECT_EQ(got.result, 1);
    EXPECT_PRED2(contains, got.printed, printed);
    EXPECT_FALSE(contains(got.printed, "wait_create_thread"));
    EXPECT_EQ(library.take_calls(), made);
    const auto worker = send_by_worker(is_dci);
    EXPECT_EQ(contains(worker, printed), is_dci) << worker;
    EXPECT_EQ(library.take_calls(), made);
  }
  EXPECT_TRUE(contains(send(true, 100, 0).printed, "Invalid output parameter, reply_len = 0\n"));
  EXPECT_EQ(library.take_calls(), "");
}

TEST(diag_channel, worker_is_waited_for_sends_though_the_modem_is_down_and_may_fail_to_start) {
  library.peripherals = DIAG_CON_APSS;
  const auto printed = send_by_worker(true);
  EXPECT_PRED2(contains, printed, "MPSS on ch:0: DOWN\n");
  EXPECT_PRED2(contains, printed, "Releasing DCI connection, err: 1001, errno: ");
  EXPECT_TRUE(library.take_calls().ends_with("send 4 16384; deinit; release 7; "));
  EXPECT_TRUE(contains(send_by_worker(false, 0, 1), "norvel_diag_comand_input_check fail\n"));
  library.failing = "thread";
  EXPECT_TRUE(contains(send_by_worker(false, 4, 1),
                       "norvel daig is created, conf = 11, diag_work_mode = 0\n"));
  EXPECT_EQ(library.take_calls(), "");
}

TEST(diag_channel, watcher_takes_a_tick_of_100_ms_at_a_time_and_gives_up_after_the_last) {
  const std::string own = "RIL[norvel_diag_cmd_send_with_result_by_callback_mode:#]: ";
  const std::string invalid =
      own + "Time out is invalid, set default\n" + own + "Command time = 30 * 100ms\n";
  const std::tuple<bool, int, std::string, std::size_t> rows[] = {
      {true, 0, "Dci Command time = 0\n", 1},
      {true, 3000, "Dci Command time = 30\n", 30},
      {false, 99, "callback\n" + own + "Command time = 0 * 100ms\n", 1},
      {false, 60000, "callback\n" + own + "Command time = 600 * 100ms\n", 600},
      {false, 60001, invalid, 30},
      {false, -1, invalid, 30},
  };
  for (const auto& [by_dci, time_out, printed, ticks] : rows) {
    SCOPED_TRACE(time_out);
    const auto got = send(by_dci, time_out);
    EXPECT_EQ(got.result, 1);
    EXPECT_EQ(take_pauses(), std::vector<std::chrono::milliseconds>(ticks, 100ms));
    EXPECT_PRED2(contains, got.printed, printed);
    EXPECT_PRED2(contains, got.printed, "cnt_of_100ms = " + std::to_string(ticks) + "\n");
  }
  // Full pieces say nothing of the end: there may be more until the time is over.
  for (const int pieces : {1, 2}) {
    int ticks = 0;
    during_pauses([&] {
      bytes piece(4096, 0x4B);
      if (++ticks <= pieces) norvel_diag_cmd_response_by_dci(piece.data(), 4096, nullptr);
    });
    const auto got = send(true, 300);
    EXPECT_EQ(got.result, 0);
    EXPECT_PRED2(contains, got.printed, "stop waiting, receive success, length is times of 4096\n");
    EXPECT_EQ(got.reply_len, 4096 * pieces);
    EXPECT_EQ(take_pauses().size(), 3U);
  }
  during_pauses({});
  // A worker gives the response that it drops some time to come.
  for (const bool by_dci : {false, true}) {
    send_by_worker(by_dci);
    EXPECT_EQ(take_pauses(), std::vector{by_dci ? 1000ms : 200ms});
  }
}

// One tick is the whole time. The response comes after it, in the next request; in the instant in
// which the watcher gives up, when either may win; or before.
TEST(diag_channel, response_after_in_and_before_the_instant_of_the_time_out) {
  enum { after, instant, before, count };
  std::atomic<int> may_respond = 0;
  std::atomic<int> over = 0;
  const auto await = [](const std::atomic<int>& milestone, int round) {
    while (milestone < round) std::this_thread::yield();
  };
  std::vector<std::thread> responders;
  for (int round = 1; round < 333 * count; ++round) {
    const int comes = round % count;
    norvel_diag::drop_response();  // of full pieces the next request would be content with the last
    library.when_sent = [&] {
      const auto callback = library.callback;
      auto* const context = library.context;
      responders.emplace_back([=, &may_respond] {
        await(may_respond, round);
        bytes data(4096, 0x4B);
        callback(data.data(), round % 7 == 0 ? 4096 : 100, context);
      });
    };
    during_pauses([&] {
      if (comes != after) may_respond = round;
      if (comes == before) await(over, round);
    });
    const auto got = send(false, 100, 10240, [&] { over = round; });
    if (comes != instant) {
      ASSERT_EQ(got.result, comes == before ? 0 : 1) << round;
    }
    ASSERT_TRUE(got.reply_len == 0 || got.reply_len == 100 || got.reply_len == 4096);
    if (comes == after) continue;
    for (auto& each : responders) each.join();
    responders.clear();
  }
}

}  // namespace
