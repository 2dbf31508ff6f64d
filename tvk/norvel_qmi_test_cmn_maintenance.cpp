// Modem restart and full dump, NV synchronisation, SAR state.
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "norvel_extend_qmi/norvel_extend_cmn_sar.h"
#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "platform/properties.h"
#include "qcril-common/utilities/checked.h"
#include "qcril-common/utilities/norvel_ril_log.h"
#include "qcril-common/utilities/pause.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "tvk/norvel_qmi_test_cmn.h"

namespace {

constexpr char restart_level[] = "persist.vendor.ssr.restart_level";
constexpr char restart_level_backup[] = "persist.vendor.ssr.restart_level_bak";
constexpr char wait_seconds[] = "persist.radio.ssr_wait_s";

/// Restart levels: a crash of the modem restarts it, or ends in a full dump.
constexpr char restart_on_crash[] = "ALL_ENABLE";
constexpr char dump_on_crash[] = "ALL_DISABLE";

/// Payload of the modem reset message.
enum class reset_kind : std::uint32_t { restart = 0x1000, full_dump = 0x2000 };

constexpr std::string_view ssr_update_count_file = "/nv/item_files/modem/norvel/ssr_update_count";

std::string read_property(const char* name, const char* default_value) {
  std::array<char, PROPERTY_VALUE_MAX> value{};
  property_get(name, value.data(), default_value);
  return value.data();
}

void send_message(norvel_common::message_number number, void* payload, unsigned int length) {
  std::array<unsigned char, norvel_common_msg_rsp_size> response{};
  norvel_send_common_qmi_msg(number, length, payload, response.data());
}

void reset_modem(reset_kind kind) {
  send_message(norvel_common::modem_reset, &kind, sizeof kind);
}

/// Waits; false when the configured wait is negative, which cancels the restart.
bool wait_for_restart_level() {
  if (norvel_cmn_test_ssr_wait_s() >= 0) return true;
  std::puts("wait_s < 0, ssr is stoped");  // sic
  return false;
}

std::uint32_t norvel_cmn_test_read_ssr_update_flag() {
  std::uint32_t count = 0;
  unsigned int length = sizeof count;
  const int ret = norvel_efs_read(0, ssr_update_count_file.data(),
                                  static_cast<unsigned int>(ssr_update_count_file.size()),
                                  reinterpret_cast<unsigned char*>(&count), &length);
  NORVEL_LOG("PROP_MODEM_SSR_UPDATE_COUNT read ret: %d, old update_cnt: %d, len: %d", ret,
             static_cast<int>(count), static_cast<int>(length));
  if (ret == 0) return count;
  NORVEL_LOG_ERROR("norvel_efs_read failed, maybe empty");
  return 0;
}

/// Increments a counter, stored on the modem, of switches of the restart level for a full dump.
void norvel_cmn_test_save_ssr_update_flag() {
  std::uint32_t count = checked_add(norvel_cmn_test_read_ssr_update_flag(), std::uint32_t{1});
  const int ret = norvel_efs_write(0, ssr_update_count_file.data(),
                                   static_cast<unsigned int>(ssr_update_count_file.size()),
                                   reinterpret_cast<unsigned char*>(&count), sizeof count);
  NORVEL_LOG("PROP_MODEM_SSR_UPDATE_COUNT write ret: %d, new update_cnt: %d", ret,
             static_cast<int>(count));
}

}  // namespace

int norvel_cmn_test_ssr_wait_s() {
  const int seconds = std::atoi(read_property(wait_seconds, "3").c_str());
  std::printf("ssr wait_s = %d\n", seconds);
  if (seconds == 0) {
    std::puts("modem ssr will not wait");
    return 0;
  }
  std::printf("modem ssr start to wait %ds to init\n", seconds);
  // A negative number becomes a wait of many years.
  pause_for(std::chrono::seconds(static_cast<unsigned int>(seconds)));
  std::printf("modem ssr end to wait %ds to init\n", seconds);
  return seconds;
}

void norvel_cmn_test_modem_ssr() {
  const std::string old_level = read_property(restart_level, dump_on_crash);
  NORVEL_LOG("Will trigger SSR of modem, the current state: %s\n", old_level.c_str());
  const bool is_open = old_level == restart_on_crash;
  if (!is_open) {
    std::puts("need to open ssr");
    property_set(restart_level, restart_on_crash);
    if (!wait_for_restart_level()) return;
  }
  reset_modem(reset_kind::restart);
  if (is_open || !wait_for_restart_level()) return;
  NORVEL_LOG("back to old ssr state\n");
  property_set(restart_level, old_level.c_str());
}

void norvel_cmn_test_full_dump() {
  const std::string level = read_property(restart_level, restart_on_crash);
  const std::string backup = read_property(restart_level_backup, "");
  if (backup.empty()) {
    std::puts("need to save ssr state");
    property_set(restart_level_backup, level.c_str());
  }
  std::printf("Will trigger Full Dump, the current state: %s, the default state: %s\n",
              level.c_str(), backup.c_str());
  if (level != dump_on_crash) {
    std::puts("need to close ssr");
    property_set(restart_level, dump_on_crash);
    norvel_cmn_test_save_ssr_update_flag();
  }
  reset_modem(reset_kind::full_dump);
}

void norvel_cmn_test_nv_sync() {
  print_note("Will trigger NV SYNC\n");
  send_message(norvel_common::nv_sync, nullptr, 0);
}

void norvel_cmn_test_get_sar_dsi() {
  std::printf("SAR DSI: %d\n", norvel_get_sar_dsi());
}
