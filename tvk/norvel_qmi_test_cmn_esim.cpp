// The eSIM switch test: switches the second slot between eUICC and physical SIM, reads the EID and
// the card states, and resets the eUICC's memory. The outcome is printed even when quiet.
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "norvel_extend_qmi/norvel_extend_cmn_text.h"
#include "norvel_extend_qmi/norvel_extend_cmn_uim.h"
#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "qcril-common/utilities/norvel_ril_log.h"
#include "qcril-common/utilities/pause.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "tvk/norvel_qmi_test_cmn.h"

namespace {

constexpr char command[] = "norvel_cmn_esim_test";

constexpr std::uint8_t esim_slot = 2;

using eid_bytes = std::array<std::uint8_t, norvel_eid_size>;

void print_failed() {
  std::puts("value=FAILED");
}

std::string hex_of(std::uint8_t* bytes, std::size_t count) {
  std::string text(2 * count, '\0');
  norvel_byte_to_hex(bytes, static_cast<int>(count), reinterpret_cast<unsigned char*>(text.data()));
  return text;
}

/// Verifies the check digits of a decimal EID (ISO 7064 MOD 97-10). A letter counts as its distance
/// from '0', so an EID with letters hardly ever passes.
bool is_eid_valid(const std::string& text) {
  NORVEL_LOG("check whether eid valid\n");
  int remainder = 0;
  for (const char digit : text) remainder = (remainder * 10 + (digit - '0')) % 97;
  if (remainder == 1) {
    NORVEL_LOG("eid validate pass\n");
    return true;
  }
  NORVEL_LOG("eid validate failed, result = %d\n", remainder);
  return false;
}

/// Set once the EID is known to be stored.
bool IS_EID_SAVE = false;  // NOLINT(readability-identifier-naming): the product's own name

void save_eid_to_efs(const eid_bytes& eid) {
  constexpr std::string_view path = "/nv/item_files/modem/uim/uimdrv/esim_eid";
  constexpr unsigned int subscription = 1;
  if (IS_EID_SAVE) {
    NORVEL_LOG("EID already saved, skip\n");
    return;
  }
  eid_bytes stored{};
  unsigned int length = stored.size();
  const int error = norvel_efs_read(subscription, path.data(), path.size(), stored.data(), &length);
  if (error == 0) {
    NORVEL_LOG("EID already exists, set IS_EID_SAVE TRUE\n");
    IS_EID_SAVE = true;
    return;
  }
  NORVEL_LOG("efs read failed and try save it. error_code : %d\n", error);
  const int result =
      norvel_efs_write(subscription, path.data(), path.size(), eid.data(), norvel_eid_size);
  print_note("save eid efs result = %d\n", result);
  if (result != 0) return;
  NORVEL_LOG("save eid successfully, set IS_EID_SAVE TRUE\n");
  IS_EID_SAVE = true;
}

bool set_power(bool up, bool ignore_hotswap) {
  const norvel_uicc_power params{
      .power_up = up ? 1 : 0, .slot = esim_slot, .ignore_hotswap = ignore_hotswap ? 1 : 0};
  const int result = norvel_uim_request_uicc_power_ex(&params);
  NORVEL_LOG_AS(command, "POWER_%s_UIM2 res = %d", up ? "UP" : "DOWN", result);
  return result == 0;
}

/// What the second slot can be switched to.
enum class second_slot : std::uint32_t { esim = 0, physical_sim = 1 };

/// Powers the slot down, notifies the modem, and powers it up again.
bool switch_to(second_slot wanted) {
  if (!set_power(false, false)) return false;
  std::array<std::uint32_t, 2> notice{static_cast<std::uint32_t>(wanted), 0};
  std::array<unsigned char, norvel_common_msg_rsp_size> response{};
  norvel_send_common_qmi_msg(norvel_common::sim_switch_notice, sizeof notice, notice.data(),
                             response.data());
  return set_power(true, wanted == second_slot::esim);
}

std::optional<eid_bytes> wait_for_eid(int attempts) {
  constexpr std::size_t checked_bytes = 8;  // all zero: no EID was read
  for (int loop = 0; loop < attempts; ++loop) {
    pause_for(std::chrono::milliseconds(100));
    NORVEL_LOG_AS(command, "try get eid loop = %d", loop);
    eid_bytes eid{};
    norvel_uim_request_eid(esim_slot, eid.data());
    for (std::size_t i = 0; i < checked_bytes; ++i) {
      if (eid[i] != 0) return eid;
    }
  }
  return std::nullopt;
}

void switch_to_esim() {
  NORVEL_LOG_AS(command, "switch to eSIM");
  if (!switch_to(second_slot::esim)) return print_failed();
  constexpr int attempts = 30;
  auto eid = wait_for_eid(attempts);
  if (!eid) {
    NORVEL_LOG_AS(command, "get eid timeout");
    return print_failed();
  }
  const std::string text = hex_of(eid->data(), eid->size());
  if (!is_eid_valid(text)) {
    std::printf("value=FAILED - %s\n", text.c_str());
    return;
  }
  save_eid_to_efs(*eid);
  std::printf("eID=%s\n", text.c_str());
}

void switch_to_physical_sim() {
  NORVEL_LOG_AS(command, "switch to SIM2");
  if (!switch_to(second_slot::physical_sim)) return print_failed();
  NORVEL_LOG_AS(command, "SIM2 Power Up successfully");
  std::puts("value=SUCCEED");
}

void read_eid() {
  NORVEL_LOG_AS(command, "norvel get eid");
  constexpr int attempts = 2;
  auto eid = wait_for_eid(attempts);
  if (!eid) return print_failed();
  std::printf("eID=%s\n", hex_of(eid->data(), eid->size()).c_str());
}

const char* name_of_state(std::uint8_t state) {
  constexpr std::array names = {"ABSENT", "PRESENT", "ERROR"};
  return state < names.size() ? names[state] : "UNKNOWN";
}

void map_sim_state(const norvel_card_states& states) {
  NORVEL_LOG("map_sim_state ...\n");
  std::printf("%s,%s\n", name_of_state(states[0]), name_of_state(states[1]));
}

void show_card_states() {
  NORVEL_LOG_AS(command, "try get simcard status");
  norvel_card_states states{norvel_card_unknown, norvel_card_unknown};
  if (!norvel_uim_get_card_status(states)) return print_failed();
  NORVEL_LOG_AS(command, "card_status, [%d, %d]", states[0], states[1]);
  map_sim_state(states);
}

/// The application to select: the eUICC's root security domain (ISD-R).
constexpr std::array<std::uint8_t, 16> isd_r = {0xA0, 0x00, 0x00, 0x05, 0x59, 0x10, 0x10, 0xFF,
                                                0xFF, 0xFF, 0xFF, 0x89, 0x00, 0x00, 0x01, 0x00};
/// STORE DATA with eUICCMemoryReset of profiles, test profiles and the default server address.
constexpr std::array<std::uint8_t, 13> memory_reset = {0x80, 0xE2, 0x91, 0x00, 0x07, 0xBF, 0x34,
                                                       0x04, 0x82, 0x02, 0x05, 0xE0, 0x00};

/// Whether the eUICC reports that it is empty now.
bool is_reset(norvel_apdu_response& response) {
  constexpr std::size_t telling_bytes = 8;
  const std::string text =
      hex_of(&response.length, 1) + hex_of(response.bytes.data(), telling_bytes);
  NORVEL_LOG_AS(command, "apdu=%s", text.c_str());
  if (text == "08bf34038001009000") {
    NORVEL_LOG_AS(command, "norvel_uim_send_apdu, delete profile successfully.");
    return true;
  }
  if (text == "08bf34038001019000") {
    NORVEL_LOG_AS(command, "norvel_uim_send_apdu, nothing to delete.");
    return true;
  }
  NORVEL_LOG_AS(command, "norvel_uim_send_apdu, apdu rsp check failed.");
  return false;
}

void reset_euicc() {
  NORVEL_LOG_AS(command, "Start eUICC Reset");
  std::uint8_t channel = norvel_no_channel;
  if (const int res = norvel_uim_open_channel(esim_slot, isd_r, channel); res != 0) {
    NORVEL_LOG_AS(command, "norvel_uim_open_channel res = %d, channel_id = %d", res, channel);
    return print_failed();
  }
  norvel_apdu_response response{};
  if (const int res = norvel_uim_send_apdu(esim_slot, channel, memory_reset, response); res != 0) {
    NORVEL_LOG_AS(command, "norvel_uim_send_apdu res = %d", res);
    return print_failed();
  }
  if (!is_reset(response)) return print_failed();
  const int res = norvel_uim_close_channel(esim_slot, channel);
  NORVEL_LOG_AS(command, "norvel_uim_close_channel res = %d", res);
  std::puts("value=SUCCEED");
}

/// Indexed by `esim_on` - 1.
constexpr std::array actions = {switch_to_esim, switch_to_physical_sim, read_eid, show_card_states,
                                reset_euicc};

}  // namespace

int norvel_cmn_esim_test(int argc, char** argv) {
  constexpr int least_argc = 5;
  if (argc < least_argc) {
    NORVEL_LOG("invalid input");
    return -1;
  }
  const int esim_on = std::atoi(argv[3]);
  const int debug_on = std::atoi(argv[4]);
  if (debug_on == 0) quiet_notes = 1;
  if (esim_on < 1 || esim_on > static_cast<int>(actions.size())) {
    NORVEL_LOG("invalid input skip");
    print_failed();
    return 0;
  }
  actions[static_cast<std::size_t>(esim_on) - 1]();
  return 0;
}
