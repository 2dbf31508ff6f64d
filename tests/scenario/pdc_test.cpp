// The wait slots of the PDC client, through a requester that follows their protocol, against a
// modem whose answers are written byte by byte.
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <mutex>
#include <utility>

#include "pdc/pdc_utils.h"
#include "qcril-common/utilities/qcril_memory_management.h"
#include "support/android_log.h"
#include "support/eventually.h"
#include "support/hand_modem.h"
#include "support/pauses.h"
#include "support/printed.h"
#include "support/test.h"
#include "tvk/commands.h"

namespace {

using namespace std::chrono_literals;
using namespace support;

constexpr std::uint32_t software = 1;
constexpr std::uint32_t token = 0x70;
const bytes ok = hex("01 0200 0000");
const bytes with_token = ok + hex("10 0400 70000000");

pdc_global_info& slots = g_pdc_info;

template <typename Request>
std::int32_t send(std::uint16_t message_id, Request request) {
  pdc_resp_v01 response{};
  return qmi_client_send_msg_sync(pdc_client_handle(), message_id, &request, sizeof request,
                                  &response, sizeof response, 5000);
}

void open_slot(pdc_wait_slot& slot) {
  const std::lock_guard hold(slots.mutex);
  slot.is_done = 0;
  slot.is_waiting = 0;
}

/// The result, once the slot is done. Fails when nothing wakes the waiting thread.
std::int32_t wait_for(pdc_wait_slot& slot) {
  std::unique_lock hold(slots.mutex);
  slot.is_waiting = 1;
  bool woken = true;
  while (slot.is_done == 0 && woken) {
    woken = slot.finished.wait_for(hold, 30s) == std::cv_status::no_timeout;
  }
  EXPECT_TRUE(woken);
  slot.is_waiting = 0;
  return slot.result;
}

/// Sends the request and waits for the result of its slot.
template <typename Request>
auto asking(pdc_wait_slot& slot, std::uint16_t message_id, const Request& request) {
  return [&slot, message_id, &request] {
    open_slot(slot);
    const auto error = send(message_id, request);
    return error != 0 ? error : wait_for(slot);
  };
}

const pdc_config_v01 config{.config_type = software, .config_id_len = 2, .config_id = {0xAA, 0xBB}};
const pdc_config_type_req_v01 of_type{
    .config_type = software, .ind_token_valid = 1, .ind_token = token};
const pdc_config_req_v01 of_config{.config = config, .ind_token_valid = 1, .ind_token = token};
const pdc_list_configs_req_v01 of_list{
    .ind_token_valid = 1, .ind_token = token, .config_type_valid = 1, .config_type = software};
const pdc_load_config_req_v01 of_frame{.config = config,
                                       .total_size = 1,
                                       .config_frame_len = 1,
                                       .config_frame = {0x3C},
                                       .ind_token_valid = 1,
                                       .ind_token = token};
const pdc_delete_config_req_v01 of_id{.config_type = software,
                                      .ind_token_valid = 1,
                                      .ind_token = token,
                                      .config_id_valid = 1,
                                      .config_id_len = 2,
                                      .config_id = {0xAA, 0xBB}};
const pdc_set_feature_req_v01 of_feature{.ind_token_valid = 1, .ind_token = token};

const auto list = asking(slots.list_configs, pdc_list_configs_v01, of_list);
const auto selected = asking(slots.get_selected_config, pdc_get_selected_config_v01, of_type);
const auto info = asking(slots.get_config_info, pdc_get_config_info_v01, of_config);
const auto load = asking(slots.load_config, pdc_load_config_v01, of_frame);

/// Message id, length and TLVs of the request.
const std::pair<const char*, std::function<std::int32_t()>> operations[] = {
    {"2400 0e00  10 0400 70000000  11 0400 01000000", list},
    {"2200 0e00  01 0400 01000000  10 0400 70000000", selected},
    {"2800 1100  01 0700 01000000 02aabb  10 0400 70000000", info},
    {"2600 1800  01 0e00 01000000 02aabb 01000000 0100 3c  10 0400 70000000", load},
    {"2300 1100  01 0700 01000000 02aabb  10 0400 70000000",
     asking(slots.select_config, pdc_set_selected_config_v01, of_config)},
    {"2700 0e00  01 0400 01000000  10 0400 70000000",
     asking(slots.activate_config, pdc_activate_config_v01, of_type)},
    {"2b00 0e00  01 0400 01000000  10 0400 70000000",
     asking(slots.deactivate_config, pdc_deactivate_config_v01, of_type)},
    {"2500 1400  01 0400 01000000  10 0400 70000000  11 0300 02aabb",
     asking(slots.delete_config, pdc_delete_config_v01, of_id)},
    {"2e00 0700  10 0400 70000000", asking(slots.set_feature, pdc_set_feature_v01, of_feature)},
};

class pdc : public testing::Test {
 protected:
  ~pdc() override {
    pdc_clean();
    while (head_ != nullptr) qcril_free_adv(std::exchange(head_, head_->next));
  }

  /// Connects, and lends the slots their holders.
  void SetUp() override {
    setenv("TVK_MODEM", modem_.endpoint().c_str(), 1);
    ASSERT_EQ(pdc_init(), 0);
    const std::lock_guard hold(slots.mutex);
    slots.list_configs.is_pdc_list_handling = 1;
    slots.list_configs.config_list_holder = &head_;
    slots.list_configs.num_of_configs = &count_;
    slots.get_config_info.holder = &info_;
    slots.get_selected_config.holder = &now_;
  }

  /// What every request gets after its response.
  void indicate(const bytes& tlvs) {
    modem_.on_request([tlvs](const datagram& request) {
      auto indication = qmi_response(request.data, tlvs);
      indication[0] = 0x04;
      return std::vector<datagram>{
          {request.node, request.port, qmi_response(request.data, hex("02 0400 00000000"))},
          {request.node, request.port, indication}};
    });
  }

  [[nodiscard]] std::vector<bytes> listed() const {
    std::vector<bytes> ids;
    for (const auto* at = head_; at != nullptr; at = at->next) {
      ids.emplace_back(at->config_id, at->config_id + at->config_id_len);
    }
    return ids;
  }

  android_log log_;
  hand_modem modem_{{{.service = 0x24, .instance_word = 0x0101}}};
  pdc_config_element* head_ = nullptr;
  std::uint32_t count_ = 0;
  pdc_config_info info_{};
  pdc_selected_config now_{};
};

TEST_F(pdc, every_operation_is_sent_and_fills_its_slot) {
  // Of the fields of all indications, each takes its own: 0x11 is an id, a list or a size.
  const char* indicated[] = {"11 0800 01 01000000 02aabb", "11 0300 02aabb", "11 0400 35000000"};
  for (std::size_t i = 0; i < std::size(operations); ++i) {
    indicate(with_token + hex(indicated[std::min<std::size_t>(i, 2)]));
    EXPECT_EQ(operations[i].second(), 0) << operations[i].first;
    EXPECT_EQ(slice(modem_.requests().back().data, 3), hex(operations[i].first));
  }
  EXPECT_EQ(listed(), (std::vector<bytes>{hex("aabb")}));
  EXPECT_EQ(bytes(now_.active_id, now_.active_id + now_.active_id_len), hex("aabb"));
  EXPECT_EQ(info_.size, 0x35U);
  EXPECT_EQ(slots.load_config.received_size, 0x35U);

  indicate(ok + hex("12 0400 03 616263  13 0400 040a0102"));
  EXPECT_EQ(info(), 0);
  EXPECT_EQ(std::string(info_.description, info_.description + info_.description_len), "abc");
  EXPECT_EQ(info_.version, 0x02010A04U);
  EXPECT_EQ(info_.size_valid, 0);
  pdc_clean();
  EXPECT_EQ(pdc_client_handle(), nullptr);
}

TEST_F(pdc, list_in_parts_keeps_its_slot_open_until_the_last) {
  auto& slot = slots.list_configs;
  open_slot(slot);
  indicate(with_token + hex("11 0d00 02 01000000 01 01 01000000 01 02  e0 0100 01"));
  EXPECT_EQ(printed_by([&] {
              ASSERT_EQ(send(pdc_list_configs_v01, of_list), 0);
              wait_until_printed("\n");  // nothing wakes a requester here
              const std::lock_guard hold(slots.mutex);
            }),
            "RIL[norvel_qcril_setup_timed_callback:#]: setup_timed_callback test\n");
  EXPECT_EQ(count_, 2U);
  EXPECT_EQ(slot.is_done, 0U);
  indicate(with_token + hex("11 0700 01 01000000 01 03"));
  ASSERT_EQ(send(pdc_list_configs_v01, of_list), 0);
  EXPECT_EQ(wait_for(slot), 0);
  EXPECT_EQ(count_, 3U);
  EXPECT_EQ(listed(), (std::vector<bytes>{{3}, {2}, {1}})) << "the newest is the head";
}

TEST_F(pdc, outcomes_of_list_select_and_load_have_results_of_their_own) {
  const bytes one_entry = with_token + hex("11 0800  01  01000000 02 aabb");
  bytes too_many = with_token + hex("11 8300 1a");
  for (int i = 0; i < 26; ++i) too_many = too_many + hex("01000000 00");
  const std::tuple<std::function<std::int32_t()>, bytes, std::int32_t> rows[] = {
      {list, one_entry, 0},
      // Incomplete, but without a token to request more with.
      {list, ok + hex("11 0800  01  01000000 02 ccdd  e0 0100 01"), 0},
      {list, with_token + hex("11 0100 00"), -6},
      {list, with_token, -6},
      {list, too_many, -1},
      {list, ok + hex("11 8900 02  01000000 7d aa*125 01000000 01bb"), -1},
      {list, hex("01 0200 0300"), -1},
      {selected, ok + hex("12 0200 01 aa"), -6},
      {selected, hex("01 0200 1000"), -1},
      {selected, ok + hex("12 7e00 7d aa*125 11 0200 01bb"), -1},
      {selected, ok + hex("11 7e00 7d aa*125"), -1},
      {load, hex("01 0200 2900"), -4},
      {load, hex("01 0200 0200"), -5},
      {load, ok + hex("11 0400 00000000  13 0100 01"), -3},
      {load, ok + hex("11 0400 05000000  12 0400 07000000"), 0},
  };
  for (const auto& [run, indication, result] : rows) {
    indicate(indication);
    EXPECT_EQ(run(), result);
  }
  EXPECT_EQ(listed(), (std::vector<bytes>{{0xCC, 0xDD}, {0xAA, 0xBB}}));
  EXPECT_EQ(count_, 2U);
  EXPECT_EQ(log_.count("PDC_ERROR, more_available_valid 0, ind_token_valid 1, more_available 0, "
                       "config_list_len 26"),
            1);
  EXPECT_EQ(slots.load_config.received_size, 5U);
  EXPECT_EQ(slots.load_config.remaining_size, 7U);
  EXPECT_EQ(now_.active_id_len, 0U);
  indicate(ok + hex("11 7d00 7c aa*124"));
  EXPECT_EQ(selected(), 0);
  EXPECT_EQ(now_.active_id_len, 124U);
}

TEST_F(pdc, answer_for_nobody_is_an_error) {
  auto& slot = slots.list_configs;
  indicate(with_token + hex("11 0800  01  01000000 02 aabb"));
  slot.num_of_configs = nullptr;
  EXPECT_EQ(list(), -1);
  slot.num_of_configs = &count_;
  slot.config_list_holder = nullptr;
  EXPECT_EQ(list(), -1);
  slots.get_selected_config.holder = nullptr;
  EXPECT_EQ(selected(), -1);

  // No list is running: the slot is done, but nothing is woken.
  slot.is_pdc_list_handling = 0;
  open_slot(slot);
  ASSERT_EQ(send(pdc_list_configs_v01, of_list), 0);
  EXPECT_TRUE(eventually([&] {
    const std::lock_guard hold(slots.mutex);
    return slot.is_done == 1;
  }));
  EXPECT_EQ(slot.result, -1);
}

TEST_F(pdc, indication_that_cannot_be_decoded_fails_its_slot) {
  const std::pair<const char*, bytes> damaged[] = {
      {"no error field", hex("10 0400 70000000")},
      {"two tokens", with_token + hex("10 0400 70000000")},
      {"unknown mandatory field", ok + hex("02 0100 00")},
      {"a header without its bytes", ok + hex("7f 0400 00")},
  };
  for (const auto& [what, indication] : damaged) {
    indicate(indication);
    for (const auto& [request, run] : operations) EXPECT_EQ(run(), -1) << request << ": " << what;
  }
}

TEST_F(pdc, service_that_is_not_there_is_tried_twenty_times) {
  pdc_clean();
  setenv("TVK_MODEM", "unix:/nowhere/modem.sock", 1);
  const auto ends = {static_cast<pdc_wait_slot*>(&slots.list_configs), &slots.set_feature};
  for (auto* const slot : ends) slot->is_done = slot->is_waiting = 1;
  testing::internal::CaptureStderr();
  EXPECT_EQ(pdc_init(), -1);
  EXPECT_TRUE(
      contains(testing::internal::GetCapturedStderr(), "tvk: trying again for up to 100 s\n"));
  for (auto* const slot : ends) EXPECT_EQ(slot->is_done + slot->is_waiting, 0U);
  EXPECT_EQ(take_pauses(), std::vector<std::chrono::milliseconds>(20, 5s));
  EXPECT_EQ(pdc_client_handle(), nullptr);
  EXPECT_EQ(log_.count("for PDC, retry times 0\n"), 1);
  EXPECT_EQ(log_.count("for PDC, retry times 19\n"), 1);

  char words[4][4] = {"tvk", "10", "0", "3"};
  char* arguments[] = {words[0], words[1], words[2], words[3], nullptr};
  const auto printed = printed_by([&] { norvel_test_mbn_do(4, arguments); });
  EXPECT_PRED2(contains, printed, "RIL[norvel_test_mbn_do:#]: pdc init failed, do nothing\n\n");
}

}  // namespace
