#include "tvk/modem_stats_debug_info.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "norvel_extend_qmi/norvel_extend_cmn.h"

namespace {

struct field {
  const char* name;
  int width;  ///< in bytes; fields are little-endian and packed
};

constexpr field version_field{"version", 1};
constexpr std::array support_fields = std::to_array<field>({
    version_field,
    {"modem_stats_feature_enable_status", 1},
    {"version_not_support_num", 8},
    {"modem_stats_cmd_ok_count", 8},
    {"modem_stats_cmd_fail_count", 8},
});
constexpr std::array main_fields = std::to_array<field>({
    {"g_modem_stats_feature_enable_status", 1},
    {"g_pk_version_not_support_num", 8},
    {"g_modem_stats_cmd_ok_count", 8},
    {"g_modem_stats_cmd_fail_count", 8},
});
constexpr std::array diag_fields = std::to_array<field>({
    {"init_state", 1},
    {"listener_event_num", 4},
    {"listener_event_state", 1},
    {"listener_event_call_num", 4},
    {"listener_event_parse_num", 4},
    {"listener_log_num", 4},
    {"listener_log_state", 1},
    {"listener_log_call_num", 8},
    {"listener_log_parse_num", 8},
    {"poll_update_call_num", 4},
    {"poll_update_parse_num", 4},
});
constexpr std::array cm_fields = std::to_array<field>({
    {"init_state", 1},
    {"listener_state", 1},
    {"listener_call_event_call_num", 4},
    {"listener_call_event_parse_num", 4},
    {"listener_subs_event_call_num", 4},
    {"listener_subs_event_parse_num", 4},
    {"listener_ss_event_call_num", 4},
    {"listener_ss_event_parse_num", 4},
    {"listener_stats_event_call_num", 4},
    {"listener_stats_event_parse_num", 4},
    {"poll_update_rf_call_num", 4},
    {"poll_update_rf_parse_num", 4},
    {"poll_update_lte_call_num", 4},
    {"poll_update_lte_parse_num", 4},
    {"poll_update_nr5g_call_num", 4},
    {"poll_update_nr5g_parse_num", 4},
});
constexpr std::array uim_fields = std::to_array<field>({
    {"init_state", 1},
    {"listener_state", 1},
    {"listener_event_call_num", 4},
    {"listener_event_parse_num", 4},
});

constexpr int size_of(std::span<const field> fields) {
  int size = 0;
  for (const field& each : fields) size += each.width;
  return size;
}
static_assert(size_of(main_fields) == 25);
static_assert(size_of(diag_fields) == 43);
static_assert(size_of(cm_fields) == 58);
static_assert(size_of(uim_fields) == 10);

std::uint64_t value_at(const unsigned char* p, int width) {
  std::uint64_t value = 0;
  for (int i = 0; i < width; ++i) value |= std::uint64_t{p[i]} << (8 * i);
  return value;
}

void print_field(const field& each, std::uint64_t value) {
  std::printf("UNPK[size:%d], %s = %lu\n", each.width, each.name,
              static_cast<unsigned long>(value));
}

int unpack(const unsigned char* p, std::span<const field> fields) {
  if (p == nullptr) {
    std::puts("ptr is null");
    return 0;
  }
  for (const field& each : fields) {
    print_field(each, value_at(p, each.width));
    p += each.width;
  }
  return size_of(fields);
}

struct block {
  int mask;
  const char* name;
  int (*unpack)(unsigned char* p);
};
constexpr std::array blocks = std::to_array<block>({
    {1, "main", norvel_modem_stats_info_unpk},
    {2, "diag", norvel_modem_stats_diag_info_unpk},
    {4, "cm", norvel_modem_stats_cm_info_unpk},
    {8, "uim", norvel_modem_stats_uim_info_unpk},
});

/// `p` starts with the version. sic: a block is read right after the last one printed, not at its
/// own offset, so a mask that skips a block shows another block's bytes.
void print_blocks(unsigned char* p, int mask) {
  unpack(p, std::span(&version_field, 1));
  std::uint8_t count = 1;
  for (const block& each : blocks) {
    if ((mask & each.mask) == 0) continue;
    std::printf("-------- stats %s info start --------\n", each.name);
    count = static_cast<std::uint8_t>(count + each.unpack(p + count));
    std::printf("-------- stats %s info end, cnt(%d) --------\n", each.name, count);
  }
}

}  // namespace

int norvel_modem_stats_info_unpk(unsigned char* p) {
  return unpack(p, main_fields);
}
int norvel_modem_stats_diag_info_unpk(unsigned char* p) {
  return unpack(p, diag_fields);
}
int norvel_modem_stats_cm_info_unpk(unsigned char* p) {
  return unpack(p, cm_fields);
}
int norvel_modem_stats_uim_info_unpk(unsigned char* p) {
  return unpack(p, uim_fields);
}

void norvel_modem_stats_support_status_check(unsigned char* p) {
  if (p == nullptr) {
    std::puts("norvel_modem_stats_support_status_check, ptr is null");
    return;
  }
  unpack(p, support_fields);
  const bool is_enabled = value_at(p + 1, 1) != 0;
  const bool has_unknown_versions = value_at(p + 2, 8) != 0;
  constexpr char rule[] = "===========================================";
  std::puts(rule);
  std::puts(has_unknown_versions || !is_enabled ? "================= FAIL ===================="
                                                : "================ SUCCES ===================");
  std::puts(rule);
}

void norvel_test_modem_stats_get_debug_info_do(int mask) {
  std::printf("Get the debug info of modem_stats, mask = 0x%x\n", static_cast<unsigned>(mask));
  norvel_common::answer answer{};
  const int result = norvel_common_qmi_req(norvel_common::kind::stats_debug_info, answer);
  if (result != 0) {
    std::printf("norvel_common_qmi_req fail, REQUEST_ID_COMMON, result = %d, rsp.result = %d\n",
                result, answer.result);
    return;
  }
  if (answer.result != 0) {
    // sic: prints the modem's result twice
    std::printf("qmi response fail, result = %d, rsp.result = %d\n", answer.result, answer.result);
    return;
  }
  if (mask == 0) {
    norvel_modem_stats_support_status_check(answer.data.data());
  } else {
    print_blocks(answer.data.data(), mask);
  }
}

bool norvel_test_modem_stats_get_debug_info(int argc, char** argv) {
  if (argc < 4) {
    std::puts("\nnote: Too few parameters, Pls refer to the following cmd:");
    return false;
  }
  norvel_test_modem_stats_get_debug_info_do(std::atoi(argv[3]));
  return true;
}
