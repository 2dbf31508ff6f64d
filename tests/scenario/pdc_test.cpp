// The wait slots of the PDC client, through a requester that follows their protocol, against the
// simulated modem and against indications written byte by byte.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "pdc/pdc_utils.h"
#include "qcril-common/utilities/qcril_memory_management.h"
#include "support/android_log.h"
#include "support/eventually.h"
#include "support/hand_modem.h"
#include "support/pauses.h"
#include "support/printed.h"
#include "support/simulated_modem.h"
#include "tvk/commands.h"

namespace {

using namespace std::chrono_literals;
using namespace support;

constexpr std::uint32_t software = 1;
constexpr std::uint32_t token = 0x70;
const bytes generic = hex("09d27b61e834af501c9386fd2a4eb705c81972d6");
const bytes nordvik = hex("41c715ea920b6df3882e57b409da63fc1e70a538");

pdc_global_info& slots = g_pdc_info;

/// The result of a request that the modem refuses at once.
constexpr std::int32_t refused = 1000;

template <typename Request>
std::int32_t send(std::uint16_t message_id, Request request) {
  pdc_resp_v01 response{};
  const auto error = qmi_client_send_msg_sync(pdc_client_handle(), message_id, &request,
                                              sizeof request, &response, sizeof response, 5000);
  if (error != QMI_NO_ERR) return error;
  return response.resp.result == 0 ? 0 : refused + response.resp.error;
}

/// The result, once the slot is done. Fails when nothing wakes the waiting thread.
std::int32_t wait_for(pdc_wait_slot& slot) {
  std::unique_lock hold(slots.mutex);
  slot.is_waiting = 1;
  while (slot.is_done == 0) {
    EXPECT_EQ(slot.finished.wait_for(hold, 30s), std::cv_status::no_timeout);
  }
  slot.is_waiting = 0;
  return slot.result;
}

void open_slot(pdc_wait_slot& slot) {
  const std::lock_guard hold(slots.mutex);
  slot.is_done = 0;
  slot.is_waiting = 0;
}

template <typename Request>
std::int32_t ask(pdc_wait_slot& slot, std::uint16_t message_id, const Request& request) {
  open_slot(slot);
  if (const auto error = send(message_id, request); error != 0) return error;
  return wait_for(slot);
}

// The operations.

const pdc_config_type_req_v01 of_type{
    .config_type = software, .ind_token_valid = 1, .ind_token = token};
const pdc_list_configs_req_v01 of_list{
    .ind_token_valid = 1, .ind_token = token, .config_type_valid = 1, .config_type = software};

pdc_config_req_v01 of_config(const bytes& id) {
  pdc_config_req_v01 out{.config = {.config_type = software,
                                    .config_id_len = static_cast<std::uint32_t>(id.size()),
                                    .config_id = {}},
                         .ind_token_valid = 1,
                         .ind_token = token};
  std::ranges::copy(id, out.config.config_id);
  return out;
}

const auto list = [] { return ask(slots.list_configs, pdc_list_configs_v01, of_list); };
const auto info = [](const bytes& id) {
  return ask(slots.get_config_info, pdc_get_config_info_v01, of_config(id));
};
const auto select_config = [](const bytes& id) {
  return ask(slots.select_config, pdc_set_selected_config_v01, of_config(id));
};
const auto selected = [] {
  return ask(slots.get_selected_config, pdc_get_selected_config_v01, of_type);
};
const auto activate = [] { return ask(slots.activate_config, pdc_activate_config_v01, of_type); };
const auto deactivate = [] {
  return ask(slots.deactivate_config, pdc_deactivate_config_v01, of_type);
};
const auto set_feature = [] {
  return ask(slots.set_feature, pdc_set_feature_v01,
             pdc_set_feature_req_v01{.ind_token_valid = 1, .ind_token = token});
};

std::int32_t remove(const bytes& id) {
  pdc_delete_config_req_v01 request{.config_type = software,
                                    .ind_token_valid = 1,
                                    .ind_token = token,
                                    .config_id_valid = 1,
                                    .config_id_len = static_cast<std::uint32_t>(id.size()),
                                    .config_id = {}};
  std::ranges::copy(id, request.config_id);
  return ask(slots.delete_config, pdc_delete_config_v01, request);
}

/// `remaining` gets what is left after each chunk.
std::int32_t load(const bytes& id, std::size_t size, std::size_t chunk_size,
                  std::vector<std::uint32_t>* remaining = nullptr) {
  for (std::size_t at = 0; at < size; at += chunk_size) {
    static pdc_load_config_req_v01 request;
    request = {.config = of_config(id).config,
               .total_size = static_cast<std::uint32_t>(size),
               .config_frame_len = static_cast<std::uint32_t>(std::min(chunk_size, size - at)),
               .config_frame = {0x3C},
               .ind_token_valid = 1,
               .ind_token = token};
    const auto result = ask(slots.load_config, pdc_load_config_v01, request);
    if (result != 0) return result;
    if (remaining == nullptr) continue;
    EXPECT_EQ(slots.load_config.received_size + slots.load_config.remaining_size, size);
    remaining->push_back(slots.load_config.remaining_size);
  }
  return 0;
}

class pdc : public testing::Test {
 protected:
  ~pdc() override {
    pdc_clean();
    while (head_ != nullptr) qcril_free_adv(std::exchange(head_, head_->next));
  }

  /// Connects, and lends the slots their holders.
  void connect(const std::string& endpoint) {
    setenv("TVK_MODEM", endpoint.c_str(), 1);
    ASSERT_EQ(pdc_init(), 0);
    const std::lock_guard hold(slots.mutex);
    slots.list_configs.is_pdc_list_handling = 1;
    slots.list_configs.config_list_holder = &head_;
    slots.list_configs.num_of_configs = &count_;
    slots.get_config_info.holder = &info_;
    slots.get_selected_config.holder = &now_;
  }

  [[nodiscard]] std::vector<bytes> listed() const {
    std::vector<bytes> ids;
    for (const auto* at = head_; at != nullptr; at = at->next) {
      ids.emplace_back(at->config_id, at->config_id + at->config_id_len);
    }
    return ids;
  }
  [[nodiscard]] bytes active() const {
    return {now_.active_id, now_.active_id + now_.active_id_len};
  }

  android_log log_;
  pdc_config_element* head_ = nullptr;
  std::uint32_t count_ = 0;
  pdc_config_info info_{};
  pdc_selected_config now_{};
};

TEST_F(pdc, every_operation_of_the_simulated_modem_fills_its_slot) {
  const simulated_modem modem({}, simulated_modem::begin::at_once, {"--restart-time", "200"});
  connect(modem.endpoint());
  EXPECT_EQ(list(), 0);
  EXPECT_EQ(count_, 4U);
  ASSERT_EQ(listed().size(), 4U);
  EXPECT_EQ(listed()[2], nordvik);
  EXPECT_EQ(listed()[3], generic) << "the newest is the head";

  EXPECT_EQ(info(nordvik), 0);
  EXPECT_EQ(std::string(info_.description, info_.description + info_.description_len),
            "Nordvik Mobile, commercial");
  EXPECT_EQ(info_.version, 0x02010A04U);
  EXPECT_EQ(info_.size, 53U);

  const bytes longest_id(124, 0xA5);
  std::vector<std::uint32_t> remaining;
  EXPECT_EQ(load(longest_id, 70000, 32768, &remaining), 0);
  EXPECT_EQ(remaining, (std::vector<std::uint32_t>{37232, 4464, 0}));
  EXPECT_EQ(load(longest_id, 70000, 32768), -4) << "there is one of this name";
  EXPECT_EQ(load(hex("01"), 4 << 20, 100), -5);

  EXPECT_EQ(selected(), 0);
  EXPECT_EQ(active(), generic);
  EXPECT_EQ(select_config(hex("0102")), -1);
  EXPECT_EQ(activate(), -1) << "nothing is pending";
  EXPECT_EQ(send(pdc_register_v01, pdc_register_req_v01{1, 1, 1, 1}), 0);
  EXPECT_EQ(select_config(longest_id), 0);
  EXPECT_EQ(selected(), 0);
  EXPECT_EQ(active(), generic) << "the new one is only pending";
  EXPECT_EQ(activate(), 0);

  // The modem restarts now.
  while (send(pdc_get_selected_config_v01, of_type) == 0) std::this_thread::yield();
  pdc_clean();
  EXPECT_EQ(pdc_client_handle(), nullptr);
  while (pdc_init() != 0) {
  }
  slots.get_selected_config.holder = &now_;
  EXPECT_EQ(selected(), 0);
  EXPECT_EQ(active(), longest_id);
  EXPECT_EQ(log_.count("failed to"), 0) << "indications without a slot are ignored";
  EXPECT_EQ(remove(longest_id), refused + 23) << "it is active";
  EXPECT_EQ(deactivate(), 0);
  EXPECT_EQ(selected(), -1) << "nothing is provisioned";
  EXPECT_EQ(remove(longest_id), 0);
  EXPECT_EQ(remove(longest_id), refused + 41);
  EXPECT_EQ(set_feature(), 0);
}

TEST_F(pdc, list_in_parts_keeps_its_slot_open_until_the_last) {
  const simulated_modem modem;
  connect(modem.endpoint());
  for (std::uint8_t i = 0; i < 30; ++i) ASSERT_EQ(load({0xEE, i}, 3, 2), 0);

  auto& slot = slots.list_configs;
  open_slot(slot);
  EXPECT_EQ(printed_by([&] {
              ASSERT_EQ(send(pdc_list_configs_v01, of_list), 0);
              wait_until_printed("\n");  // nothing wakes a requester here
              const std::lock_guard hold(slots.mutex);
            }),
            "RIL[norvel_qcril_setup_timed_callback:#]: setup_timed_callback test\n");
  EXPECT_EQ(count_, 25U);
  EXPECT_EQ(slot.is_done, 0U);
  EXPECT_EQ(log_.count("PDC_SUCCESS, more_available_valid 1, ind_token_valid 1, more_available 1, "
                       "get_list_complete 0"),
            1);

  ASSERT_EQ(send(pdc_list_configs_v01, of_list), 0);
  EXPECT_EQ(wait_for(slot), 0);
  EXPECT_EQ(count_, 34U);
  const auto ids = listed();
  EXPECT_EQ(ids.front(), (bytes{0xEE, 29}));
  EXPECT_EQ(ids.back(), generic);
  EXPECT_EQ(std::set<bytes>(ids.begin(), ids.end()).size(), 34U) << "each of them once";
}

// A modem whose indications follow no rules.
class pdc_by_hand : public pdc {
 protected:
  void SetUp() override { connect(modem_.endpoint()); }

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

  hand_modem modem_{{{.service = 0x24, .instance_word = 0x0101}}};
};

const bytes ok = hex("01 0200 0000");

TEST_F(pdc_by_hand, list_is_refused_when_it_is_too_long_unexpected_or_has_no_holder) {
  const bytes with_token = ok + hex("10 0400 70000000");
  const bytes one_entry = with_token + hex("11 0800  01  01000000 02 aabb");
  auto& slot = slots.list_configs;
  slot.num_of_configs = nullptr;
  indicate(one_entry);
  EXPECT_EQ(list(), -1);
  EXPECT_EQ(log_.count("g_pdc_info.num_of_configs is null"), 1);
  slot.num_of_configs = &count_;

  bytes too_many = with_token + hex("11 8300 1a");
  for (int i = 0; i < 26; ++i) too_many = too_many + hex("01000000 00");
  const std::pair<bytes, std::int32_t> rows[] = {
      {one_entry, 0},
      // Incomplete, but without a token to ask for more with.
      {ok + hex("11 0800  01  01000000 02 ccdd  e0 0100 01"), 0},
      {with_token + hex("11 0100 00"), -6},
      {with_token, -6},
      {too_many, -1},
      {hex("01 0200 0300"), -1},
  };
  for (const auto& [indication, result] : rows) {
    indicate(indication);
    EXPECT_EQ(list(), result);
  }
  EXPECT_EQ(listed(), (std::vector<bytes>{{0xCC, 0xDD}, {0xAA, 0xBB}}));
  EXPECT_EQ(count_, 2U);
  EXPECT_EQ(log_.count("PDC_ERROR, more_available_valid 0, ind_token_valid 1, more_available 0, "
                       "config_list_len 26"),
            1);
  slot.config_list_holder = nullptr;
  indicate(one_entry);
  EXPECT_EQ(list(), -1);

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

TEST_F(pdc_by_hand, outcomes_of_select_and_load_have_results_of_their_own) {
  const struct {
    bytes indication;
    std::int32_t result;
    std::size_t id_size;
  } selections[] = {
      {ok + hex("11 7d00 7c aa*124"), 0, 124},
      {ok + hex("11 7e00 7d aa*125"), -1, 0},
      {ok + hex("12 7e00 7d aa*125 11 0200 01bb"), -1, 0},
      {ok + hex("12 0200 01 aa"), -6, 0},
      {ok, -6, 0},
      {hex("01 0200 1000"), -1, 0},
  };
  for (const auto& row : selections) {
    now_ = {};
    indicate(row.indication);
    EXPECT_EQ(selected(), row.result);
    EXPECT_EQ(active(), bytes(row.id_size, 0xAA));
  }
  slots.get_selected_config.holder = nullptr;
  EXPECT_EQ(selected(), -1);

  const std::pair<bytes, std::int32_t> loads[] = {
      {hex("01 0200 2900"), -4},
      {hex("01 0200 0200"), -5},
      {hex("01 0200 0300"), -1},
      {ok + hex("11 0400 00000000  13 0100 01"), -3},
      {ok + hex("11 0400 05000000  12 0400 07000000"), 0},
  };
  for (const auto& [indication, result] : loads) {
    indicate(indication);
    EXPECT_EQ(load(generic, 1, 1), result);
  }
  EXPECT_EQ(slots.load_config.received_size, 5U);
  EXPECT_EQ(slots.load_config.remaining_size, 7U);
}

TEST_F(pdc_by_hand, indication_that_cannot_be_decoded_fails_its_slot) {
  const std::pair<const char*, std::function<std::int32_t()>> operations[] = {
      {"list", list},
      {"load", [] { return load(generic, 1, 1); }},
      {"info", [] { return info(generic); }},
      {"deactivate", deactivate},
      {"remove", [] { return remove(generic); }},
      {"selected", selected},
      {"select", [] { return select_config(generic); }},
      {"activate", activate},
      {"feature", set_feature},
  };
  const std::pair<const char*, bytes> damaged[] = {
      {"no error field", hex("10 0400 70000000")},
      {"half an error field", hex("01 0100 00")},
      {"half a token", ok + hex("10 0200 7000")},
      {"two tokens", ok + hex("10 0400 70000000  10 0400 70000000")},
      {"unknown mandatory field", ok + hex("02 0100 00")},
      {"a header without its bytes", ok + hex("7f 0400 00")},
  };
  for (const auto& [what, indication] : damaged) {
    indicate(indication);
    for (const auto& [name, run] : operations) EXPECT_EQ(run(), -1) << name << ": " << what;
  }
  // What is too long for its room goes to a handler, which refuses it.
  indicate(ok + hex("11 8900 02  01000000 7d aa*125 01000000 01bb"));
  EXPECT_EQ(list(), -1);
  EXPECT_EQ(count_, 0U);
}

TEST_F(pdc, service_that_is_not_there_is_tried_twenty_times) {
  setenv("TVK_MODEM", "unix:/nowhere/modem.sock", 1);
  for (auto* const slot : {static_cast<pdc_wait_slot*>(&slots.list_configs), &slots.set_feature}) {
    slot->is_done = slot->is_waiting = 1;
    slot->result = -1;
  }
  testing::internal::CaptureStderr();
  EXPECT_EQ(pdc_init(), -1);
  EXPECT_TRUE(
      contains(testing::internal::GetCapturedStderr(), "tvk: trying again for up to 100 s\n"));
  for (const auto* const slot :
       {static_cast<pdc_wait_slot*>(&slots.list_configs), &slots.set_feature}) {
    EXPECT_EQ(slot->is_done + slot->is_waiting, 0U);
    EXPECT_EQ(slot->result, 0);
  }
  EXPECT_EQ(take_pauses(), std::vector<std::chrono::milliseconds>(20, 5s));
  EXPECT_EQ(pdc_client_handle(), nullptr);
  EXPECT_EQ(log_.count("for PDC, retry times 0\n"), 1);
  EXPECT_EQ(log_.count("for PDC, retry times 19\n"), 1);
  EXPECT_EQ(log_.count("retry times 20"), 0);

  char words[4][4] = {"tvk", "10", "0", "3"};
  char* arguments[] = {words[0], words[1], words[2], words[3], nullptr};
  const auto printed = printed_by([&] { norvel_test_mbn_do(4, arguments); });
  EXPECT_TRUE(printed.starts_with(
      log_lines("norvel_test_mbn_pdc_init",
                {function_entry, "start norvel pdc init, g_pdc_init_status = -1, force_init = 0",
                 "pdc init failed", function_exit}) +
      log_lines("norvel_test_mbn_do", {"pdc init failed, do nothing"})))
      << printed;
  EXPECT_TRUE(contains(printed, "10: norvel mbn test\n"));
}

}  // namespace
