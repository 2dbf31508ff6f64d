// The QMI client library over QMUX, against a device of hand-written frames:
//   01 | length u16 of the rest | flags | service | client | message
#include <stdlib.h>

#include <atomic>

#include "platform/qmi_client.h"
#include "services/sar_v01.h"
#include "support/eventually.h"
#include "support/hand_diag.h"
#include "support/test.h"

namespace {

using namespace support;

std::optional<bytes> take_frame(bytes& come) {
  if (come.size() < 3 || come.size() <= come[1]) return {};
  const auto frame = slice(come, 0, come[1] + 1U);
  come = slice(come, frame.size());
  return frame;
}

/// CTL and SAR's state are answered; `before_answers` are sent ahead of SAR's.
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
    const bytes success = hex("02 0400 00000000");
    if (frame[8] == 0x21) {
      // CTL 1.5, DMS 1.4 and, if it is there, SAR 1.3.
      return success + (has_sar ? hex("01 1000 03  00 0100 0500  02 0100 0400  11 0100 0300")
                                : hex("01 0b00 02  00 0100 0500  02 0100 0400"));
    }
    if (frame[8] != 0x22) return success + hex("01 0200") + bytes{frame[15], frame[16]};
    return gives_ids ? success + hex("01 0200") + bytes{frame[15], 9} : hex("02 0400 0100 0500");
  }

  void answer(const bytes& frame) {
    const bool is_control = frame[4] == 0;
    const bytes tlvs = is_control ? control_tlvs(frame) : hex("02 0400 00000000  10 0400 07000000");
    const bytes head =
        is_control ? bytes{1, frame[7], frame[8], frame[9]} : bytes{2, frame[7], frame[8], 2, 0};
    const bytes message = head + u16(tlvs.size()) + tlvs;
    const bytes out = (is_control ? bytes() : before_answers) + hex("01") +
                      u16(message.size() + 5) + bytes{0x80, frame[4], frame[5]} + message;
    if (!in_pieces) return port.write(out);
    for (const std::uint8_t each : out) port.write({each});
  }
};

qmi_idl_service_object_type sar_object() {
  return sar_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION);
}

qmi_client_error_type connect(qmi_client_type& handle, qmi_client_ind_cb indications = nullptr,
                              void* data = nullptr) {
  return qmi_client_init_instance(sar_object(), QMI_CLIENT_INSTANCE_ANY, indications, data, nullptr,
                                  30000, &handle);
}

qmi_client_error_type ask(qmi_client_type handle) {
  sar_rf_get_state_resp_v01 got{};
  const auto error =
      qmi_client_send_msg_sync(handle, sar_rf_get_state_v01, nullptr, 0, &got, sizeof got, 30000);
  EXPECT_TRUE(error != QMI_NO_ERR || got.sar_rf_state == 7);
  return error;
}

TEST(qmux_transport, exchange_takes_and_gives_back_a_client_id_frame_by_frame) {
  for (const bool in_pieces : {false, true}) {
    hand_device device;
    device.in_pieces = in_pieces;
    // A broadcast, an indication for the client, one for another's, another's answer, one of
    // another service.
    device.before_answers = hex(
        "01 0c00 80 11 ff  04 0000 0300 0000   01 0c00 80 11 09  04 0000 0400 0000"
        "01 0c00 80 11 08  04 0000 0500 0000   01 1300 80 11 08  02 0100 0200 0700 02 0400 01000300"
        "01 0c00 80 02 09  04 0000 0600 0000");
    qmi_client_type handle = nullptr;
    std::atomic<unsigned> seen = 0;
    const auto note = [](qmi_client_type, unsigned int id, void*, unsigned int, void* data) {
      auto& all = *static_cast<std::atomic<unsigned>*>(data);
      all = all * 0x10 + id;
    };
    ASSERT_EQ(connect(handle, note, &seen), QMI_NO_ERR);
    EXPECT_EQ(ask(handle), QMI_NO_ERR);
    EXPECT_EQ(seen, 0x34U);
    EXPECT_EQ(qmi_client_release(handle), QMI_NO_ERR);
    EXPECT_EQ(device.port.requests(),
              (std::vector<bytes>{hex("01 0b00 00 00 00  00 01 2100 0000"),
                                  hex("01 0f00 00 00 00  00 02 2200 0400  01 0100 11"),
                                  hex("01 0c00 00 11 09  00 0100 0200 0000"),
                                  hex("01 1000 00 00 00  00 03 2300 0500  01 0200 11 09")}));
  }
}

TEST(qmux_transport, control_transactions_wrap_from_255_to_1) {
  hand_device device;
  qmi_client_type keeps_the_link = nullptr;
  ASSERT_EQ(connect(keeps_the_link), QMI_NO_ERR);
  for (int i = 0; i < 130; ++i) {
    qmi_client_type handle = nullptr;
    ASSERT_EQ(connect(handle), QMI_NO_ERR);
    ASSERT_EQ(ask(handle), QMI_NO_ERR);
    ASSERT_EQ(qmi_client_release(handle), QMI_NO_ERR);
  }
  std::uint8_t last = 0;
  for (const bytes& each : device.port.requests()) {
    if (each.at(4) != 0) continue;
    ASSERT_EQ(each.at(7), last == 255 ? 1 : last + 1);
    last = each.at(7);
  }
  EXPECT_EQ(last, 261 - 255);
  EXPECT_EQ(device.count(0x22), device.count(0x23));
  EXPECT_EQ(qmi_client_release(keeps_the_link), QMI_NO_ERR);
}

TEST(qmux_transport, device_may_be_lost_and_found_a_hundred_times) {
  struct watched {
    std::atomic<int> up = 0;
    std::atomic<int> down = 0;
    std::atomic<int> errors = 0;
  } seen;
  hand_device device;
  qmi_client_os_params signal{};
  qmi_client_type notifier = nullptr;
  ASSERT_EQ(qmi_client_notifier_init(sar_object(), &signal, &notifier), QMI_NO_ERR);
  const auto count = [](qmi_client_type, qmi_idl_service_object_type,
                        qmi_client_notify_event_type event, void* data) {
    auto& all = *static_cast<watched*>(data);
    ++(event == QMI_CLIENT_SERVICE_COUNT_INC ? all.up : all.down);
  };
  ASSERT_EQ(qmi_client_register_notify_cb(notifier, count, &seen), QMI_NO_ERR);
  const auto note = [](qmi_client_type, qmi_client_error_type, void* data) {
    ++static_cast<watched*>(data)->errors;
  };
  for (int round = 1; round <= 100; ++round) {
    qmi_client_type handle = nullptr;
    ASSERT_EQ(connect(handle), QMI_NO_ERR);
    ASSERT_EQ(qmi_client_register_error_cb(handle, note, &seen), QMI_NO_ERR);
    ASSERT_EQ(ask(handle), QMI_NO_ERR);
    if (round % 2 == 0) {
      device.port.close_connection();
    } else {
      device.port.write(hex("01 0b00 80 00 00  02 01 2700 0000"));  // the modem starts anew
    }
    ASSERT_TRUE(eventually([&] { return seen.errors == round; }));
    EXPECT_EQ(ask(handle), QMI_SERVICE_ERR);
    ASSERT_EQ(qmi_client_release(handle), QMI_NO_ERR);
    ASSERT_TRUE(eventually([&] { return seen.down == round && seen.up == round + 1; }));
  }
  EXPECT_EQ(qmi_client_release(notifier), QMI_NO_ERR);
}

TEST(qmux_transport, service_that_is_not_there_yet_is_asked_for_again) {
  hand_device device;
  device.has_sar = false;
  std::uint32_t services = 0;
  EXPECT_EQ(qmi_client_get_service_list(sar_object(), nullptr, nullptr, &services),
            QMI_SERVICE_ERR);
  qmi_client_os_params signal{};
  qmi_client_type notifier = nullptr;
  ASSERT_EQ(qmi_client_notifier_init(sar_object(), &signal, &notifier), QMI_NO_ERR);
  device.has_sar = true;
  qmi_cci_os_signal_wait(&signal, 30000);
  EXPECT_EQ(signal.timed_out, 0U);
  EXPECT_EQ(qmi_client_release(notifier), QMI_NO_ERR);
}

TEST(qmux_transport, refused_client_id_is_a_lost_service_and_named) {
  hand_device device;
  device.gives_ids = false;
  qmi_client_type handle = nullptr;
  ASSERT_EQ(connect(handle), QMI_NO_ERR);
  testing::internal::CaptureStderr();
  EXPECT_EQ(ask(handle), QMI_SERVICE_ERR);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "tvk: QMI service 0x11 at " + device.name + " gives out no client id: QMI error 5\n");
  EXPECT_EQ(qmi_client_release(handle), QMI_NO_ERR);
  EXPECT_EQ(device.count(0x23), 0U);
}

TEST(qmux_transport, peer_that_does_not_speak_qmux_is_named) {
  hand_device device;
  qmi_client_type handle = nullptr;
  ASSERT_EQ(connect(handle), QMI_NO_ERR);
  testing::internal::CaptureStderr();
  device.port.write(hex("7e 00"));
  EXPECT_TRUE(eventually([&] { return ask(handle) == QMI_SERVICE_ERR; }));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "tvk: TVK_MODEM=" + device.name +
                ": sent something that is not a QMUX frame; expected a modem\n");
  EXPECT_EQ(qmi_client_release(handle), QMI_NO_ERR);
}

}  // namespace
