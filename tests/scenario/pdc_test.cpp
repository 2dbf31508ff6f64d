// The wait slots of the PDC client, through a requester that follows their protocol, against the
// simulated modem and against indications written byte by byte.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "pdc/pdc_utils.h"
#include "qcril-common/utilities/qcril_memory_management.h"
#include "support/eventually.h"
#include "support/hand_modem.h"
#include "support/pauses.h"
#include "support/printed.h"
#include "support/simulated_modem.h"
#include "tvk/commands.h"

namespace {

using namespace std::chrono_literals;
using support::bytes;
using support::hex;
using support::printed_by;
using support::operator+;

constexpr std::uint32_t software = 1;
constexpr std::uint32_t token = 0x70;
const bytes generic = hex("09d27b61e834af501c9386fd2a4eb705c81972d6");
const bytes nordvik = hex("41c715ea920b6df3882e57b409da63fc1e70a538");

pdc_config_v01 config(const bytes& id) {
  pdc_config_v01 out{.config_type = software,
                     .config_id_len = static_cast<std::uint32_t>(id.size()),
                     .config_id = {}};
  std::ranges::copy(id, out.config_id);
  return out;
}

pdc_config_type_req_v01 of_type() {
  return {.config_type = software, .ind_token_valid = 1, .ind_token = token};
}

pdc_config_req_v01 of_config(const bytes& id) {
  return {.config = config(id), .ind_token_valid = 1, .ind_token = token};
}

pdc_list_configs_req_v01 of_list() {
  return {
      .ind_token_valid = 1, .ind_token = token, .config_type_valid = 1, .config_type = software};
}

pdc_delete_config_req_v01 of_deletion(const bytes& id) {
  pdc_delete_config_req_v01 out{.config_type = software,
                                .ind_token_valid = 1,
                                .ind_token = token,
                                .config_id_valid = 1,
                                .config_id_len = static_cast<std::uint32_t>(id.size()),
                                .config_id = {}};
  std::ranges::copy(id, out.config_id);
  return out;
}

/// What a send comes to when the modem refuses at once.
constexpr std::int32_t refused = 1000;

template <typename Request>
std::int32_t send(std::uint16_t message_id, Request request) {
  pdc_resp_v01 response{};
  const auto error = qmi_client_send_msg_sync(pdc_client_handle(), message_id, &request,
                                              sizeof request, &response, sizeof response, 5000);
  if (error != QMI_NO_ERR) return error;
  return response.resp.result == 0 ? 0 : refused + response.resp.error;
}

void open_slot(pdc_wait_slot& slot) {
  slot.is_done = 0;
  slot.is_waiting = 0;
}

/// The result, once the slot is done.
std::int32_t wait_for(pdc_wait_slot& slot) {
  std::unique_lock hold(g_pdc_info.mutex);
  slot.is_waiting = 1;
  EXPECT_TRUE(slot.finished.wait_for(hold, 30s, [&] { return slot.is_done != 0; }));
  slot.is_waiting = 0;
  return slot.result;
}

template <typename Request>
std::int32_t ask(pdc_wait_slot& slot, std::uint16_t message_id, const Request& request) {
  {
    const std::lock_guard hold(g_pdc_info.mutex);
    open_slot(slot);
  }
  if (const auto error = send(message_id, request); error != 0) return error;
  return wait_for(slot);
}

/// A list that its elements are freed with.
struct config_list {
  ~config_list() {
    while (head != nullptr) {
      pdc_config_element* const next = head->next;
      qcril_free_adv(head);
      head = next;
    }
  }
  [[nodiscard]] std::vector<bytes> ids() const {
    std::vector<bytes> out;
    for (const auto* at = head; at != nullptr; at = at->next) {
      out.emplace_back(at->config_id, at->config_id + at->config_id_len);
    }
    return out;
  }
  void hold_in_slot() {
    const std::lock_guard hold(g_pdc_info.mutex);
    auto& slot = g_pdc_info.list_configs;
    slot.is_pdc_list_handling = 1;
    slot.config_list_holder = &head;
    slot.num_of_configs = &count;
  }

  pdc_config_element* head = nullptr;
  std::uint32_t count = 0;
};

std::int32_t load(const bytes& id, const bytes& data, std::size_t chunk_size,
                  std::vector<std::uint32_t>* remaining = nullptr) {
  auto& slot = g_pdc_info.load_config;
  for (std::size_t at = 0; at < data.size(); at += chunk_size) {
    static pdc_load_config_req_v01 request;
    request = {
        .config = config(id),
        .total_size = static_cast<std::uint32_t>(data.size()),
        .config_frame_len = static_cast<std::uint32_t>(std::min(chunk_size, data.size() - at)),
        .config_frame = {},
        .ind_token_valid = 1,
        .ind_token = token};
    std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(at), request.config_frame_len,
                request.config_frame);
    if (const auto result = ask(slot, pdc_load_config_v01, request); result != 0) return result;
    EXPECT_EQ(slot.received_size + slot.remaining_size, data.size());
    if (remaining != nullptr) remaining->push_back(slot.remaining_size);
  }
  return 0;
}

std::int32_t selected(pdc_selected_config& holder) {
  {
    const std::lock_guard hold(g_pdc_info.mutex);
    g_pdc_info.get_selected_config.holder = &holder;
  }
  return ask(g_pdc_info.get_selected_config, pdc_get_selected_config_v01, of_type());
}

bytes id_of(const pdc_selected_config& holder) {
  return {holder.active_id, holder.active_id + holder.active_id_len};
}

class pdc : public testing::Test {
 protected:
  pdc() {
    setenv("TVK_ANDROID_LOG", log_file().c_str(), 1);
    log_before_ = log().size();
  }
  ~pdc() override { pdc_clean(); }

  static int connect(const std::string& endpoint) {
    setenv("TVK_MODEM", endpoint.c_str(), 1);
    return pdc_init();
  }
  /// What this test logged so far.
  [[nodiscard]] std::string log() const {
    std::ifstream in(log_file());
    return std::string(std::istreambuf_iterator(in), {}).substr(log_before_);
  }

 private:
  /// One for the process, which opens it once.
  static std::string log_file() {
    static const support::temp_dir directory;
    return directory.file("log");
  }

  std::size_t log_before_ = 0;
};

TEST_F(pdc, every_operation_of_the_simulated_modem_fills_its_slot) {
  const support::simulated_modem modem({}, support::simulated_modem::begin::at_once,
                                       {"--restart-time", "200"});
  ASSERT_EQ(connect(modem.endpoint()), 0);
  config_list list;
  list.hold_in_slot();
  EXPECT_EQ(ask(g_pdc_info.list_configs, pdc_list_configs_v01, of_list()), 0);
  EXPECT_EQ(list.count, 4U);
  ASSERT_EQ(list.ids().size(), 4U);
  EXPECT_EQ(list.ids()[2], nordvik);
  EXPECT_EQ(list.ids()[3], generic) << "the newest is the head";

  pdc_config_info info{};
  g_pdc_info.get_config_info.holder = &info;
  EXPECT_EQ(ask(g_pdc_info.get_config_info, pdc_get_config_info_v01, of_config(nordvik)), 0);
  EXPECT_EQ(std::string(info.description, info.description + info.description_len),
            "Nordvik Mobile, commercial");
  EXPECT_EQ(info.version, 0x02010A04U);
  EXPECT_EQ(info.size, 53U);

  // Of the longest id, in the longest chunks.
  const bytes longest_id(124, 0xA5);
  const bytes data(70000, 0x3C);
  std::vector<std::uint32_t> remaining;
  EXPECT_EQ(load(longest_id, data, 32768, &remaining), 0);
  EXPECT_EQ(remaining, (std::vector<std::uint32_t>{37232, 4464, 0}));
  EXPECT_EQ(load(longest_id, data, 32768), -4) << "there is one of this name";
  EXPECT_EQ(load(hex("01"), bytes(4 << 20), 100), -5);

  pdc_selected_config now{};
  EXPECT_EQ(selected(now), 0);
  EXPECT_EQ(id_of(now), generic);
  EXPECT_EQ(ask(g_pdc_info.select_config, pdc_set_selected_config_v01, of_config(hex("0102"))), -1);
  EXPECT_EQ(ask(g_pdc_info.activate_config, pdc_activate_config_v01, of_type()), -1)
      << "nothing is pending";
  EXPECT_EQ(send(pdc_register_v01, pdc_register_req_v01{1, 1, 1, 1}), 0);
  EXPECT_EQ(ask(g_pdc_info.select_config, pdc_set_selected_config_v01, of_config(longest_id)), 0);
  EXPECT_EQ(selected(now), 0);
  EXPECT_EQ(id_of(now), generic) << "only pending so far";
  EXPECT_EQ(ask(g_pdc_info.activate_config, pdc_activate_config_v01, of_type()), 0);

  // The modem restarts now.
  while (send(pdc_get_selected_config_v01, of_type()) == 0) std::this_thread::yield();
  pdc_clean();
  while (pdc_init() != 0) {
  }
  EXPECT_EQ(selected(now), 0);
  EXPECT_EQ(id_of(now), longest_id);
  EXPECT_EQ(log().find("failed to"), std::string::npos) << "what was registered for is ignored";
  EXPECT_EQ(ask(g_pdc_info.delete_config, pdc_delete_config_v01, of_deletion(longest_id)),
            refused + 23)
      << "it is active";
  EXPECT_EQ(ask(g_pdc_info.deactivate_config, pdc_deactivate_config_v01, of_type()), 0);
  EXPECT_EQ(selected(now), -1) << "nothing is provisioned";
  EXPECT_EQ(ask(g_pdc_info.delete_config, pdc_delete_config_v01, of_deletion(longest_id)), 0);
  EXPECT_EQ(ask(g_pdc_info.delete_config, pdc_delete_config_v01, of_deletion(longest_id)),
            refused + 41);
  EXPECT_EQ(ask(g_pdc_info.set_feature, pdc_set_feature_v01,
                pdc_set_feature_req_v01{.ind_token_valid = 1, .ind_token = token}),
            0);
}

TEST_F(pdc, list_in_parts_keeps_its_slot_open_until_the_last) {
  const support::simulated_modem modem;
  ASSERT_EQ(connect(modem.endpoint()), 0);
  for (std::uint8_t i = 0; i < 30; ++i) ASSERT_EQ(load({0xEE, i}, {1, 2, 3}, 2), 0);

  config_list list;
  list.hold_in_slot();
  auto& slot = g_pdc_info.list_configs;
  open_slot(slot);
  const auto first_part = printed_by([&] {
    ASSERT_EQ(send(pdc_list_configs_v01, of_list()), 0);
    support::wait_until_printed("\n");  // nothing wakes a requester here
    const std::lock_guard hold(g_pdc_info.mutex);
  });
  EXPECT_EQ(first_part, "RIL[norvel_qcril_setup_timed_callback:#]: setup_timed_callback test\n");
  EXPECT_EQ(list.count, 25U);
  EXPECT_EQ(slot.is_done, 0U);
  EXPECT_NE(log().find("PDC_SUCCESS, more_available_valid 1, ind_token_valid 1, more_available 1, "
                       "get_list_complete 0"),
            std::string::npos);

  ASSERT_EQ(send(pdc_list_configs_v01, of_list()), 0);
  EXPECT_EQ(wait_for(slot), 0);
  EXPECT_EQ(list.count, 34U);
  const auto ids = list.ids();
  EXPECT_EQ(ids.front(), (bytes{0xEE, 29}));
  EXPECT_EQ(ids.back(), generic);
  EXPECT_EQ(std::set<bytes>(ids.begin(), ids.end()).size(), 34U) << "each of them once";
}

// Indications of a modem that keeps to no rule. `message`: its id on the wire.
class pdc_by_hand : public pdc {
 protected:
  pdc_by_hand() {
    modem_.on_request([this](const support::datagram& request) {
      const std::lock_guard hold(mutex_);
      const bytes head = {0x04,
                          0,
                          0,
                          request.data.at(3),
                          request.data.at(4),
                          static_cast<std::uint8_t>(indication_.size()),
                          static_cast<std::uint8_t>(indication_.size() >> 8)};
      return std::vector<support::datagram>{
          {request.node, request.port,
           support::qmi_response(request.data, hex("02 0400 00000000"))},
          {request.node, request.port, head + indication_}};
    });
  }

  template <typename Request>
  std::int32_t result_of(bytes indication, pdc_wait_slot& slot, std::uint16_t message_id,
                         const Request& request) {
    {
      const std::lock_guard hold(mutex_);
      indication_ = std::move(indication);
    }
    return ask(slot, message_id, request);
  }

  std::mutex mutex_;
  bytes indication_;
  support::hand_modem modem_{{{.service = 0x24, .instance_word = 0x0101}}};
};

TEST_F(pdc_by_hand, list_is_refused_when_it_is_too_long_unexpected_or_has_no_holder) {
  ASSERT_EQ(connect(modem_.endpoint()), 0);
  auto& slot = g_pdc_info.list_configs;
  const auto list = [&](const std::string& tlvs) {
    return result_of(hex("01 0200 0000  10 0400 70000000") + hex(tlvs), slot, pdc_list_configs_v01,
                     of_list());
  };
  const std::string one_entry = "11 0800  01  01000000 02 aabb";
  EXPECT_EQ(list(one_entry), -1);
  EXPECT_NE(log().find("g_pdc_info.num_of_configs is null"), std::string::npos);

  config_list wanted;
  wanted.hold_in_slot();
  EXPECT_EQ(list(one_entry), 0);
  EXPECT_EQ(wanted.ids(), (std::vector<bytes>{{0xAA, 0xBB}}));
  EXPECT_EQ(list("11 0100 00"), -6);
  EXPECT_EQ(list(""), -6);
  // 26 entries of an empty id: 131 bytes.
  EXPECT_EQ(list("11 8300 1a" +
                 [] {
                   std::string entries;
                   for (int i = 0; i < 26; ++i) entries += " 01000000 00";
                   return entries;
                 }()),
            -1);
  EXPECT_NE(log().find("PDC_ERROR, more_available_valid 0, ind_token_valid 1, more_available 0, "
                       "config_list_len 26"),
            std::string::npos);
  EXPECT_EQ(wanted.count, 1U);
  slot.config_list_holder = nullptr;
  EXPECT_EQ(list(one_entry), -1);
  EXPECT_EQ(result_of(hex("01 0200 0300"), slot, pdc_list_configs_v01, of_list()), -1);

  // Nobody lists: it is done, and nobody is woken.
  {
    const std::lock_guard hold(g_pdc_info.mutex);
    slot.is_pdc_list_handling = 0;
    open_slot(slot);
  }
  ASSERT_EQ(send(pdc_list_configs_v01, of_list()), 0);
  EXPECT_TRUE(support::eventually([&] {
    const std::lock_guard hold(g_pdc_info.mutex);
    return slot.is_done == 1;
  }));
  EXPECT_EQ(slot.result, -1);
}

TEST_F(pdc_by_hand, outcomes_of_select_and_load_have_results_of_their_own) {
  ASSERT_EQ(connect(modem_.endpoint()), 0);
  pdc_selected_config now{};
  g_pdc_info.get_selected_config.holder = &now;
  const bytes ok = hex("01 0200 0000");
  struct row {
    bytes indication;
    std::int32_t result;
    std::size_t id_size;
  };
  const row selections[] = {
      {ok + hex("11 7d00 7c aa*124"), 0, 124},
      {ok + hex("11 7e00 7d aa*125"), -1, 0},
      {ok + hex("12 0200 01 aa"), -6, 0},
      {ok, -6, 0},
      {hex("01 0200 1000"), -1, 0},
  };
  for (const row& each : selections) {
    now = {};
    EXPECT_EQ(result_of(each.indication, g_pdc_info.get_selected_config,
                        pdc_get_selected_config_v01, of_type()),
              each.result);
    EXPECT_EQ(id_of(now), bytes(each.id_size, 0xAA));
  }
  g_pdc_info.get_selected_config.holder = nullptr;
  EXPECT_EQ(result_of(ok, g_pdc_info.get_selected_config, pdc_get_selected_config_v01, of_type()),
            -1);

  static pdc_load_config_req_v01 chunk{};
  chunk.config = config(generic);
  const std::pair<bytes, std::int32_t> loads[] = {
      {hex("01 0200 2900"), -4},
      {hex("01 0200 0200"), -5},
      {hex("01 0200 0300"), -1},
      {ok + hex("11 0400 00000000  13 0100 01"), -3},
      {ok + hex("11 0400 05000000  12 0400 07000000"), 0},
  };
  for (const auto& [indication, result] : loads) {
    EXPECT_EQ(result_of(indication, g_pdc_info.load_config, pdc_load_config_v01, chunk), result);
  }
  EXPECT_EQ(g_pdc_info.load_config.received_size, 5U);
  EXPECT_EQ(g_pdc_info.load_config.remaining_size, 7U);
}

TEST_F(pdc_by_hand, indication_that_cannot_be_decoded_fails_its_slot) {
  ASSERT_EQ(connect(modem_.endpoint()), 0);
  config_list list;
  list.hold_in_slot();
  pdc_selected_config now{};
  g_pdc_info.get_selected_config.holder = &now;
  pdc_config_info info{};
  g_pdc_info.get_config_info.holder = &info;
  static pdc_load_config_req_v01 chunk{};
  chunk.config = config(generic);
  pdc_global_info& slots = g_pdc_info;
  const auto ask_for = [&](pdc_wait_slot& slot, std::uint16_t message_id, const auto& request) {
    return std::function([&slot, message_id, request, this](const bytes& indication) {
      return result_of(indication, slot, message_id, request);
    });
  };
  const std::pair<const char*, std::function<std::int32_t(const bytes&)>> operations[] = {
      {"list", ask_for(slots.list_configs, pdc_list_configs_v01, of_list())},
      {"load", ask_for(slots.load_config, pdc_load_config_v01, chunk)},
      {"info", ask_for(slots.get_config_info, pdc_get_config_info_v01, of_config(generic))},
      {"deactivate", ask_for(slots.deactivate_config, pdc_deactivate_config_v01, of_type())},
      {"delete", ask_for(slots.delete_config, pdc_delete_config_v01, of_deletion(generic))},
      {"selected", ask_for(slots.get_selected_config, pdc_get_selected_config_v01, of_type())},
      {"select", ask_for(slots.select_config, pdc_set_selected_config_v01, of_config(generic))},
      {"activate", ask_for(slots.activate_config, pdc_activate_config_v01, of_type())},
      {"feature", ask_for(slots.set_feature, pdc_set_feature_v01,
                          pdc_set_feature_req_v01{.ind_token_valid = 1, .ind_token = token})},
  };
  const std::pair<const char*, bytes> damaged[] = {
      {"no error field", hex("10 0400 70000000")},
      {"half an error field", hex("01 0100 00")},
      {"half a token", hex("01 0200 0000  10 0200 7000")},
      {"two tokens", hex("01 0200 0000  10 0400 70000000  10 0400 70000000")},
      {"unknown mandatory field", hex("01 0200 0000  02 0100 00")},
      {"a header without its bytes", hex("01 0200 0000  7f 0400 00")},
  };
  for (const auto& [operation, outcome] : operations) {
    for (const auto& [what, indication] : damaged) {
      EXPECT_EQ(outcome(indication), -1) << operation << ": " << what;
    }
  }
  // Only what is too long for its room goes on, to handlers that refuse it.
  const bytes ok = hex("01 0200 0000");
  const bytes long_id = hex("7d aa*125");
  EXPECT_EQ(operations[0].second(ok + hex("11 8900 02  01000000") + long_id + hex("01000000 01bb")),
            -1);
  EXPECT_EQ(list.count, 0U);
  EXPECT_EQ(operations[5].second(ok + hex("12 7e00") + long_id + hex("11 0200 01bb")), -1);
}

TEST_F(pdc, service_that_is_not_there_is_tried_twenty_times) {
  EXPECT_EQ(connect("unix:/nowhere/modem.sock"), -1);
  EXPECT_EQ(support::take_pauses(), std::vector<std::chrono::milliseconds>(20, 5s));
  EXPECT_EQ(pdc_client_handle(), nullptr);
  const std::string lines = log();
  EXPECT_NE(lines.find("for PDC, retry times 0\n"), std::string::npos) << lines;
  EXPECT_NE(lines.find("for PDC, retry times 19\n"), std::string::npos);
  EXPECT_EQ(lines.find("retry times 20"), std::string::npos);

  char program[] = "tvk";
  char group[] = "10";
  char index[] = "0";
  char mask[] = "3";
  char* arguments[] = {program, group, index, mask, nullptr};
  const auto printed = printed_by([&] { norvel_test_mbn_do(4, arguments); });
  EXPECT_EQ(printed.substr(0, printed.find("\n=====")),
            "RIL[norvel_test_mbn_pdc_init:#]: function entry ------------->\n"
            "RIL[norvel_test_mbn_pdc_init:#]: start norvel pdc init, g_pdc_init_status = -1, "
            "force_init = 0\n"
            "RIL[norvel_test_mbn_pdc_init:#]: pdc init failed\n"
            "RIL[norvel_test_mbn_pdc_init:#]: function exit <-------------\n"
            "RIL[norvel_test_mbn_do:#]: pdc init failed, do nothing\n");
  EXPECT_NE(printed.find("10: norvel mbn test\n"), std::string::npos);
}

}  // namespace
