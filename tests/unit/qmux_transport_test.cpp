// The QMI client library over QMUX, against a device of hand-written frames:
//   01 | length u16 of the rest | flags | service | client | message
#include <algorithm>
#include <atomic>
#include <utility>

#include "support/eventually.h"
#include "support/hand_diag.h"
#include "unit/qmi_client_fixture.h"

namespace qmi_test {
namespace {

using qmux_transport = qmi_library;

std::optional<bytes> take_frame(bytes& come) {
  if (come.size() < 3 || come.size() <= come[1]) return {};
  const auto frame = slice(come, 0, come[1] + 1U);
  come = slice(come, frame.size());
  return frame;
}

/// CTL and the service of the tests, which is SAR's here, are answered; `before_answers` are sent
/// ahead of the latter.
struct hand_device {
  bool in_pieces = false;
  std::atomic<bool> has_sar = true;
  std::atomic<bool> gives_ids = true;
  bytes before_answers;
  hand_port port{hand_port::kind::unix_socket, take_frame};
  const std::string name = "qmux:" + port.endpoint().substr(5);  // after "unix:"

  hand_device() {
    setenv("TVK_MODEM", name.c_str(), 1);
    port.on_request([this](const bytes& frame) { answer(frame); });
  }

  /// How many of this CTL message have come.
  [[nodiscard]] std::size_t count(std::uint8_t message) const {
    std::size_t found = 0;
    for (const bytes& each : port.requests()) found += each.at(4) == 0 && each.at(8) == message;
    return found;
  }

 private:
  [[nodiscard]] bytes control_tlvs(const bytes& frame) const {
    if (frame[8] == 0x21) {
      // CTL 1.5, DMS 1.4 and, if it is there, SAR 1.3.
      return no_error + (has_sar ? hex("01 1000 03  00 0100 0500  02 0100 0400  11 0100 0300")
                                 : hex("01 0b00 02  00 0100 0500  02 0100 0400"));
    }
    if (frame[8] != 0x22) return no_error + hex("01 0200") + bytes{frame[15], frame[16]};
    return gives_ids ? no_error + hex("01 0200") + bytes{frame[15], 9} : hex("02 0400 0100 0500");
  }

  void answer(const bytes& frame) {
    const bool is_control = frame[4] == 0;
    const bytes tlvs =
        is_control ? control_tlvs(frame) : no_error + hex("10 0400") + slice(frame, 16);
    const bytes head =
        is_control ? hex("01") + slice(frame, 7, 10) : hex("02") + slice(frame, 7, 11);
    const bytes message = slice(frame, 4, 6) + head + u16(tlvs.size()) + tlvs;
    const bytes out = (is_control ? bytes() : before_answers) + hex("01") +
                      u16(message.size() + 3) + hex("80") + message;
    if (!in_pieces) return port.write(out);
    for (const std::uint8_t each : out) port.write({each});
  }
};

TEST_F(qmux_transport, exchange_takes_and_gives_back_a_client_id_frame_by_frame) {
  for (const bool in_pieces : {false, true}) {
    hand_device device;
    device.in_pieces = in_pieces;
    // A broadcast, an indication for the client, one for another's, another's answer, one of
    // another service.
    device.before_answers = hex(
        "01 0c00 80 11 ff  04 0000 0300 0000   01 0c00 80 11 09  04 0000 0400 0000"
        "01 0c00 80 11 08  04 0000 0500 0000   01 1300 80 11 08  02 0100 0100 0700 02 0400 01000300"
        "01 0c00 80 02 09  04 0000 0600 0000");
    auto* handle = connect();
    answer got{};
    EXPECT_EQ(send(handle, 0x12345678, long_enough, &got), 0);
    EXPECT_EQ(got.number, 0x12345678U);
    EXPECT_EQ(std::exchange(log_.indications, {}),
              (std::vector<bytes>{hex("03000000"), hex("04000000")}));
    release(handle);
    EXPECT_EQ(device.port.requests(),
              (std::vector<bytes>{hex("01 0b00 00 00 00  00 01 2100 0000"),
                                  hex("01 0f00 00 00 00  00 02 2200 0400  01 0100 11"),
                                  hex("01 1300 00 11 09  00 0100 0100 0700  01 0400 78563412"),
                                  hex("01 1000 00 00 00  00 03 2300 0500  01 0200 11 09")}));
  }
}

TEST_F(qmux_transport, control_transactions_wrap_from_255_to_1) {
  hand_device device;
  connect();  // keeps the link
  for (int i = 0; i < 130; ++i) {
    auto* handle = connect();
    ASSERT_EQ(send(handle, 1), 0);
    release(handle);
  }
  std::uint8_t last = 0;
  for (const bytes& each : device.port.requests()) {
    if (each.at(4) != 0) continue;
    ASSERT_EQ(each.at(7), last == 255 ? 1 : last + 1);
    last = each.at(7);
  }
  EXPECT_EQ(last, 261 - 255);
  EXPECT_EQ(device.count(0x22), device.count(0x23));
}

TEST_F(qmux_transport, device_may_be_lost_and_found_a_hundred_times) {
  hand_device device;
  auto* notifier = make_notifier();
  ASSERT_EQ(qmi_client_register_notify_cb(notifier, on_notify, &log_), 0);
  for (std::size_t round = 1; round <= 100; ++round) {
    auto* handle = connect();
    ASSERT_EQ(qmi_client_register_error_cb(handle, on_error, &log_), 0);
    ASSERT_EQ(send(handle, 1), 0);
    if (round % 2 == 0) {
      device.port.close_connection();
    } else {
      device.port.write(hex("01 0b00 80 00 00  02 01 2700 0000"));  // the modem starts anew
    }
    ASSERT_TRUE(eventually([&] { return log_.count(log_.errors) == round; }));
    EXPECT_EQ(send(handle, 1), QMI_SERVICE_ERR);
    release(handle);
    ASSERT_TRUE(eventually([&] { return log_.count(log_.events) == 2 * round + 1; }));
  }
  release(notifier);
  EXPECT_EQ(std::ranges::count(log_.events, QMI_CLIENT_SERVICE_COUNT_INC), 101);
}

TEST_F(qmux_transport, service_that_is_not_there_yet_is_asked_for_again) {
  hand_device device;
  device.has_sar = false;
  std::uint32_t services = 0;
  EXPECT_EQ(qmi_client_get_service_list(service, nullptr, nullptr, &services), QMI_SERVICE_ERR);
  auto* notifier = make_notifier();
  device.has_sar = true;
  qmi_cci_os_signal_wait(&signal_, long_enough);
  EXPECT_EQ(signal_.timed_out, 0U);
  release(notifier);
}

TEST_F(qmux_transport, refused_client_id_is_a_lost_service_and_named) {
  hand_device device;
  device.gives_ids = false;
  auto* handle = connect();
  testing::internal::CaptureStderr();
  EXPECT_EQ(send(handle, 1), QMI_SERVICE_ERR);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "tvk: QMI service 0x11 at " + device.name + " gives out no client id: QMI error 5\n");
  release(handle);
  EXPECT_EQ(device.count(0x23), 0U);
}

TEST_F(qmux_transport, peer_that_does_not_speak_qmux_is_named) {
  for (const auto& sent : {hex("7e 00"), hex("01 0400 80 00")}) {  // a length below the header's
    hand_device device;
    auto* handle = connect();
    testing::internal::CaptureStderr();
    device.port.write(sent);
    EXPECT_TRUE(eventually([&] { return send(handle, 1) == QMI_SERVICE_ERR; }));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "tvk: TVK_MODEM=" + device.name +
                  ": sent something that is not a QMUX frame; expected a modem\n");
    release(handle);
  }
}

}  // namespace
}  // namespace qmi_test
