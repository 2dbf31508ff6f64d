// The DIAG library of this host against a port written byte by byte.
#include <signal.h>
#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <tuple>

#include "platform/diag.h"
#include "protocol/diag_answer.h"
#include "support/eventually.h"
#include "support/hand_diag.h"
#include "support/limits.h"
#include "support/test.h"

namespace {

using namespace support;

/// What callbacks got, in order.
struct inbox {
  std::mutex lock;
  std::condition_variable changed;
  std::vector<bytes> all;

  void add(const unsigned char* data, int length) {
    const std::lock_guard hold(lock);
    all.emplace_back(data, data + length);
    changed.notify_all();
  }
  /// As soon as there are so many.
  std::vector<bytes> take(std::size_t count) {
    std::unique_lock hold(lock);
    changed.wait_for(hold, std::chrono::seconds(30), [&] { return all.size() >= count; });
    return std::exchange(all, {});
  }
};
inbox answers, logs, events;
std::atomic<int> data_signals{0}, port_signal{0};

bool send(bytes request) {
  return diag_callback_send_data(0, request.data(), static_cast<int>(request.size())) == 0;
}

/// The library on this port, while this lives.
struct open_library {
  open_library(const hand_diag& port, int logging_mode) {
    setenv("TVK_DIAG", port.endpoint().c_str(), 1);
    EXPECT_NE(Diag_LSM_Init(nullptr), 0);
    const auto keep_answer = [](unsigned char* data, int length, void*) {
      answers.add(data, length);
      return 0;
    };
    diag_register_callback(keep_answer, nullptr);
    diag_switch_logging(logging_mode, nullptr);
  }
  ~open_library() { Diag_LSM_DeInit(); }
};

bool modem_is_up() {
  std::uint16_t peripherals = 0;
  EXPECT_EQ(diag_get_dci_support_list_proc(0, &peripherals), DIAG_DCI_NO_ERROR);
  return (peripherals & DIAG_CON_MPSS) != 0;
}

/// A client of every stream.
struct dci_client {
  int id = 0;

  explicit dci_client(int signal = 0, int data_signal = 0) {
    std::uint16_t peripherals = DIAG_CON_MPSS;
    EXPECT_EQ(diag_register_dci_client(&id, &peripherals, 0, &signal), DIAG_DCI_NO_ERROR);
    EXPECT_EQ(diag_register_dci_signal_data(id, data_signal), DIAG_DCI_NO_ERROR);
    EXPECT_EQ(diag_register_dci_stream_proc(
                  id, [](unsigned char* data, int length) { logs.add(data, length); },
                  [](unsigned char* data, int length) { events.add(data, length); }),
              DIAG_DCI_NO_ERROR);
  }
  int ask(bytes request, bytes& room) const {
    return diag_send_dci_async_req(
        id, request.data(), static_cast<int>(request.size()), room.data(),
        static_cast<int>(room.size()),
        [](unsigned char* data, int length, void*) { answers.add(data, length); }, nullptr);
  }
};

const bytes log_packet = hex("1000 0E00 0E00 62B0 28B79C9C34DDD400 7E7D");
const bytes inner_log = hex("0E00 62B0 28B79C9C34DDD400 7E7D");

TEST(diag_library, every_kind_of_port_carries_every_byte_of_an_answer_and_nothing_else) {
  bytes damaged = diag_frame(hex("1D EE"));
  damaged[1] ^= 0x01;
  const bytes before =
      hex("31 32 7E 7E 7D 7E") +  // from the middle of a frame, an empty one, a broken escape
      damaged + diag_frame(log_packet) +
      diag_frame(hex("60 0B00 4A26 BE0C0A9E34DDD400 06")) +  // event report
      diag_frame(hex("79 00 00 00 0000000000000000 0100 0200 04000000 6100 6200")) +
      diag_frame(hex("92 00 00 00 0000000000000000 0100 0200 04000000 11223344")) +
      diag_frame(hex("99 00 00 00 0000000000000000 0100 0200 11223344")) +
      diag_frame(hex("98010000 02000000 1D EE")) +  // another radio's
      diag_frame(hex("13 1C"));
  bytes every;
  for (unsigned i = 0; i < 512; ++i) every.push_back(static_cast<std::uint8_t>(i));
  for (const auto kind :
       {hand_diag::kind::unix_socket, hand_diag::kind::tcp, hand_diag::kind::tty}) {
    hand_diag port(kind);
    SCOPED_TRACE(port.endpoint());
    port.on_request(
        [&](const bytes& request) { port.write(before + diag_frame(request + every)); });
    const open_library library(port, DIAG_CALLBACK_MODE);
    EXPECT_TRUE(send(hex("1D") + every));
    EXPECT_EQ(answers.take(1), std::vector<bytes>{hex("1D") + every + every});
    EXPECT_NE(Diag_LSM_DeInit(), 0);
    EXPECT_FALSE(send(hex("1D")));
  }
}

TEST(diag_library, port_that_cannot_be_opened_or_read_is_named) {
  const temp_dir dir;
  const std::pair<std::string, std::string> rows[] = {
      {"unix:" + dir.file("none.sock"), "No such file or directory"},
      {"unix:" + std::string(200, 'x'), "File name too long"},
      {"tty:/dev/null", "Inappropriate ioctl for device"},
      {"unix", "PATH is missing"},
      {"tty:", "PATH is missing"},
      {"unix-packet:", "PATH or @NAME is missing"},
      {"unix-packet:@", "NAME is missing"},
      {"unix-packet:@" + std::string(108, 'x'), "File name too long"},
      {"tcp:", "HOST:PORT is missing"},
      {"tcp::2500", "HOST is missing"},
      {"tcp:localhost:", "PORT is missing"},
      {"tcp:127.0.0.1:0", "not a numeric address (or localhost) and a port number"},
      {"tcp:localhost:1", "Connection refused"},
      {"tcp:[127.0.0.1]:1", "Connection refused"},
      {"usb:1", "no such kind of port"},
  };
  for (const auto& [endpoint, error] : rows) {
    setenv("TVK_DIAG", endpoint.c_str(), 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Diag_LSM_Init(nullptr), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "tvk: DIAG port " + endpoint + ": " + error +
                  "; expected one of a modem, as TVK_DIAG=unix:PATH, unix-packet:PATH, "
                  "unix-packet:@NAME, tcp:HOST:PORT or tty:PATH\n");
  }
  const hand_diag port;
  setenv("TVK_DIAG", port.endpoint().c_str(), 1);
  no_more_threads();
  testing::internal::CaptureStderr();
  EXPECT_EQ(Diag_LSM_Init(nullptr), 0) << "without a thread nothing would be read";
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "tvk: cannot start a thread: Resource temporarily unavailable\n");
}

TEST(diag_library, port_that_goes_takes_its_requests_and_half_a_frame_with_it) {
  hand_diag port;
  const open_library library(port, DIAG_CALLBACK_MODE);
  port.on_request([&](const bytes&) {
    port.write(hex("1D 4B0B"));
    port.close_connection();
  });
  EXPECT_TRUE(send(hex("1D")));
  ASSERT_TRUE(eventually([] { return !modem_is_up(); }));
  port.on_request(
      [&](const bytes& request) { port.write(diag_frame(request) + diag_frame(hex("1D"))); });
  EXPECT_TRUE(send(hex("1C")));
  EXPECT_TRUE(send(hex("1E")));
  EXPECT_EQ(answers.take(2), (std::vector<bytes>{hex("1C"), hex("1E")}));
}

TEST(diag_library, oldest_of_33_requests_without_an_answer_is_given_up) {
  hand_diag port;
  const open_library library(port, DIAG_CALLBACK_MODE);
  bytes all_answers;
  std::vector<bytes> expected;
  for (std::uint8_t i = 0; i < 33; ++i) {
    const bytes request = hex("4B 12") + bytes{i, 0};
    EXPECT_TRUE(send(request));
    all_answers = all_answers + diag_frame(request);
    if (i > 0) expected.push_back(request);
  }
  ASSERT_TRUE(eventually([&] { return port.requests().size() == 33; }));
  // One that is answered in two parts, the first with the id of what is to follow.
  const bytes first_part = hex("80 12 0100 00000000 0500 0000");
  const bytes last_part = hex("80 12 0100 00000000 0500 0100");
  port.on_request([&](const bytes&) {
    port.write(all_answers + diag_frame(first_part) + diag_frame(last_part));
  });
  EXPECT_TRUE(send(hex("80 12 0100")));
  expected.erase(expected.begin());  // for this one
  expected.insert(expected.end(), {first_part, last_part});
  EXPECT_EQ(answers.take(33), expected);
}

TEST(diag_library, dci_client_gets_pieces_streams_and_signals_with_a_handler) {
  hand_diag port;
  const open_library library(port, DIAG_USB_MODE);
  // Nobody handles the signals yet: raised, they would end this process.
  dci_client client(SIGRTMIN + 4, SIGRTMIN + 5);
  bytes room(16384);
  const bytes report = hex("60 1900 4A46 BE0C0A9E34DDD400 0689 B7A6 0C0A 1A 01E0 0C0A 03 5A5B5C");
  port.on_request([&](const bytes& request) {
    port.write(diag_frame(log_packet) + diag_frame(hex("98010000 02000000") + log_packet) +
               diag_frame(report) + diag_frame(request + bytes(8188, 0x11)));
  });
  EXPECT_EQ(client.ask(hex("4B0B0000"), room), DIAG_DCI_NO_ERROR);
  EXPECT_EQ(answers.take(2),
            (std::vector<bytes>{hex("4B0B0000") + bytes(4092, 0x11), bytes(4096, 0x11)}));
  EXPECT_EQ(logs.take(2), (std::vector<bytes>{inner_log, inner_log}));
  // Times that were cut are whole again; each event is alone, with its length.
  EXPECT_EQ(events.take(3), (std::vector<bytes>{hex("0C00 4A46 BE0C0A9E34DDD400 0689"),
                                                hex("0B00 B726 000C0A9E34DDD400 1A"),
                                                hex("0E00 0160 000C0A9E34DDD400 03 5A5B5C")}));

  // A release waits for what runs: the signals of this answer are over before there is a handler.
  dci_client other;
  ASSERT_EQ(diag_release_dci_client(&other.id), DIAG_DCI_NO_ERROR);

  struct sigaction action {};
  action.sa_sigaction = [](int number, siginfo_t* info, void*) {
    if (number == SIGRTMIN + 4) port_signal = info->si_value.sival_int;
    if (number == SIGRTMIN + 5) ++data_signals;
  };
  action.sa_flags = SA_SIGINFO | SA_RESTART;
  sigaction(SIGRTMIN + 4, &action, nullptr);
  sigaction(SIGRTMIN + 5, &action, nullptr);
  port.on_request([&](const bytes& request) { port.write(diag_frame(request)); });
  bytes small_room(2);
  EXPECT_EQ(client.ask(hex("1C0800"), small_room), DIAG_DCI_NO_ERROR);
  EXPECT_EQ(answers.take(2), (std::vector<bytes>{hex("1C08"), hex("00")}));
  EXPECT_TRUE(eventually([] { return data_signals == 1; }));
  EXPECT_EQ(client.ask(bytes(16384, 0x1C), room), DIAG_DCI_NO_ERROR);
  EXPECT_EQ(answers.take(4).size(), 4U);
  port.close_connection();
  EXPECT_TRUE(eventually([] { return port_signal == 0x20002; }));
  EXPECT_FALSE(modem_is_up());

  // Masks belong to all clients.
  for (const auto* refused : {"60 01", "73 000000 00000000", "7D 05 0000 00000000", "4B12 1802"}) {
    EXPECT_EQ(client.ask(hex(refused), room), 1006) << refused;
  }
  EXPECT_EQ(client.ask(bytes(16385, 0x1C), room), 1005);
  EXPECT_EQ(diag_release_dci_client(&client.id), DIAG_DCI_NO_ERROR);
  EXPECT_EQ(diag_release_dci_client(&client.id), 1002);
}

TEST(diag_library, answer_to_a_client_that_has_gone_or_in_another_mode_is_dropped) {
  hand_diag port;
  const open_library library(port, DIAG_USB_MODE);
  const dci_client listener;
  dci_client leaver;
  bytes room(16);
  EXPECT_EQ(leaver.ask(hex("1E"), room), DIAG_DCI_NO_ERROR);
  ASSERT_TRUE(eventually([&] { return port.requests().size() == 1; }));
  EXPECT_EQ(diag_release_dci_client(&leaver.id), DIAG_DCI_NO_ERROR);
  port.on_request([&](const bytes& request) {
    port.write(diag_frame(hex("1E")) + diag_frame(request) + diag_frame(log_packet));
  });
  EXPECT_TRUE(send(hex("1D"))) << "the log is not for callbacks now";
  EXPECT_EQ(logs.take(1), std::vector<bytes>{inner_log});
  EXPECT_EQ(answers.take(0), std::vector<bytes>{});
}

TEST(diag_library, answers_by_their_leading_bytes) {
  const std::tuple<const char*, const char*, bool> rows[] = {
      {"60 01", "60 0B00 4A26 BE0C0A9E34DDD400 06", false},
      {"4B 12 51 00", "4B 12 51 00 01", true},
      {"4B 12 51 00", "4B 12 51 01 01", false},
      {"4B 12 51 00", "4B 12 51", false},
      {"26 2602 00*130", "26 2602 01", true},
      {"73 000000 01000000", "73 000000 03000000 00000000", false},
      {"4B 12 51 00", "47 4B 12 51 00", true},
      {"4B 12 51 00", "96 4B", true},
      {"13", "13 13", true},
      {"10", "10 00 0C00 0C00 01B0 0000000000000000", false},
      {"98010000 02000000 1C", "98010000 02000000 1C 08 00", true},
      {"98010000 02000000 1C", "98010000 01000000 1C 08 00", false},
      {"1C", "98010000 01000000 1C 08 00", false},
  };
  for (const auto& [request, packet, expected] : rows) {
    EXPECT_EQ(protocol::diag::is_answer(hex(request), hex(packet)), expected)
        << request << " / " << packet;
  }
  // status u32, delayed id u16, count u16: the last has id 0 or a count up to 0FFF.
  EXPECT_TRUE(protocol::diag::is_last_answer(hex("80 12 0100 00000000 0000 0000")));
  EXPECT_FALSE(protocol::diag::is_last_answer(hex("80 12 0100 00000000 0500 0010")));
}

}  // namespace
