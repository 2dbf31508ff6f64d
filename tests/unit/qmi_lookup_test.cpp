// Finding servers with the QMI client library: notifiers, service lists, clients of an instance.
#include <algorithm>

#include "support/eventually.h"
#include "support/printed.h"
#include "unit/qmi_client_fixture.h"

namespace qmi_test {
namespace {

TEST_F(qmi_client, notifier_is_signalled_when_a_server_of_its_version_is_there_comes_and_goes) {
  make_notifier();
  const auto signalled_within = [&](unsigned int timeout_ms) {
    qmi_cci_os_signal_wait(&signal_, timeout_ms);
    const bool signalled = signal_.timed_out == 0;
    EXPECT_EQ(signal_.sig_set != 0, signalled);
    qmi_cci_os_signal_clear(&signal_);
    return signalled;
  };
  EXPECT_TRUE(signalled_within(forever));
  EXPECT_FALSE(signalled_within(50));
  modem_->publish(server(5, 0x204));
  EXPECT_TRUE(signalled_within(long_enough));
  modem_->withdraw(server(5, 0x204));
  EXPECT_TRUE(signalled_within(forever));
}

TEST_F(qmi_client, notify_callback_reports_the_servers_known_and_those_to_come) {
  auto* notifier = make_notifier();
  const auto reported = [&](std::size_t count) {
    return eventually([&] { return log_.count(log_.events) >= count; });
  };
  ASSERT_EQ(qmi_client_register_notify_cb(notifier, on_notify, &log_), 0);
  ASSERT_EQ(log_.events.size(), 1U);  // inside the call
  EXPECT_EQ(log_.thread, std::this_thread::get_id());
  modem_->publish(server());             // known already
  modem_->publish(server(0, 0x202, 2));  // of another version
  modem_->publish({.service = 0x12, .instance_word = 1, .port = 0x203});
  modem_->withdraw(server());
  ASSERT_TRUE(reported(2));
  modem_->publish(server());
  ASSERT_TRUE(reported(3));
  modem_->close_connections();  // and the library connects again
  ASSERT_TRUE(reported(5));
  release(notifier);
  EXPECT_NE(log_.thread, std::this_thread::get_id());
  constexpr auto up = QMI_CLIENT_SERVICE_COUNT_INC;
  constexpr auto down = QMI_CLIENT_SERVICE_COUNT_DEC;
  EXPECT_EQ(log_.events, (std::vector{up, down, up, down, up}));
}

TEST_F(qmi_client, service_list_fills_no_more_than_its_room) {
  const std::vector<qmi_server> ours = {server(0, 0x201), server(1, 0x202), server(2, 0x203, 2)};
  start_modem(ours);
  modem_->publish({.service = 0x12, .instance_word = 1, .port = 0x204});
  std::uint32_t services = 77;
  for (const std::uint32_t room : {0U, 2U, 3U, 5U}) {
    SCOPED_TRACE(room);
    std::vector<qmi_service_info> info(8, {{7, 7, 7, 7, 7}});
    std::uint32_t entries = room;
    EXPECT_EQ(qmi_client_get_service_list(service, info.data(), &entries, &services), 0);
    EXPECT_EQ(entries, std::min(room, 3U));
    EXPECT_EQ(services, 3U);
    EXPECT_EQ(info[entries].info[0], 7U) << "not more than there was room for";
  }
  for (const auto& each : ours) modem_->withdraw(each);
  ASSERT_TRUE(eventually(
      [&] { return qmi_client_get_service_list(service, nullptr, nullptr, &services) == -2; }));
  EXPECT_EQ(services, 0U);
}

TEST_F(qmi_client, init_takes_a_listed_server_unless_it_has_gone) {
  auto info = first_server();
  qmi_client_type handle = nullptr;
  EXPECT_EQ(qmi_client_init(&info, service, on_indication, &log_, nullptr, &handle), 0);
  EXPECT_EQ(send(handle, 1), 0);
  modem_->send({0, 0x201, hex("04 0000 0300 0000")});
  EXPECT_TRUE(eventually([&] { return log_.count(log_.indications) == 1; }));
  EXPECT_EQ(qmi_client_release(handle), 0);
  modem_->withdraw(server());
  testing::internal::CaptureStderr();
  EXPECT_EQ(qmi_client_init(&info, service, on_indication, nullptr, nullptr, &handle), -2);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "tvk: QMI service 0x11 has gone from " + modem_->endpoint() + "\n");
}

TEST_F(qmi_client, init_instance_takes_the_server_of_that_instance_and_waits_for_it) {
  start_modem({server(1, 0x201), server(3, 0x203)});
  qmi_client_type handle = nullptr;
  const auto init = [&](std::uint32_t instance, unsigned int timeout_ms) {
    return qmi_client_init_instance(service, instance, on_indication, nullptr, &signal_, timeout_ms,
                                    &handle);
  };
  for (const std::uint32_t instance : {3U, 1U, QMI_CLIENT_INSTANCE_ANY}) {
    ASSERT_EQ(init(instance, long_enough), 0);
    EXPECT_EQ(send(handle, 1), 0);
    if (instance != QMI_CLIENT_INSTANCE_ANY) {
      EXPECT_EQ(modem_->requests().back().port, 0x200 + instance);
    }
    EXPECT_EQ(qmi_client_release(handle), 0);
  }
  testing::internal::CaptureStderr();
  EXPECT_EQ(init(2, 50), -3);
  EXPECT_EQ(init(2, 50), -3);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "tvk: waiting for QMI service 0x11 at " +
                                                        modem_->endpoint() +
                                                        " for up to 50 ms in each try\n");
  testing::internal::CaptureStderr();
  std::thread later([&] {
    wait_until_captured(STDERR_FILENO, "for up to 30000 ms");
    modem_->publish(server(2, 0x202));
  });
  EXPECT_EQ(init(2, long_enough), 0);
  later.join();
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(qmi_client_release(handle), 0);
}

}  // namespace
}  // namespace qmi_test
