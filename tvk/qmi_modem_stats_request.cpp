#include "tvk/qmi_modem_stats_request.h"

#include <algorithm>
#include <cstdio>

#include "modem_api/modem_api.h"
#include "qcril-common/utilities/checked.h"

qmi_modem_stats_state g_qmi_modem_stats;

namespace {

constexpr std::uint32_t no_data = 1;

bool fail(std::uint32_t result, int number, int sub, int id) {
  std::printf("Fail to get data fail, number = %d, ret = %d, sub = %d, id = %d\n", number,
              static_cast<int>(result), sub, id);
  return false;
}

/// Whether the answer holds exactly the requested record; prints what is wrong otherwise.
bool is_usable(const vendor_stats_get_resp_v01& answer, int number, int sub, int id) {
  if (answer.entries_valid != 1) return fail(no_data, number, sub, id);
  const int count = static_cast<int>(std::min(answer.entries_len, vendor_stats_max_ids_v01));
  if (count != 1) {
    std::printf("Fail to get data, %s, number = %d, sub = %d, ret id_num = %d, id = %d\n",
                count == 0 ? "empty" : "id num error", number, sub, count, id);
    return false;
  }
  const vendor_stats_entry_v01& entry = answer.entries[0];
  const auto refuse = [&](const char* what, std::uint32_t value) {
    std::printf(
        "Fail to get data, %s(%d) is invalid, number = %d, sub = %d, ret id_num = %d, id = %d\n",
        what, static_cast<int>(value), number, sub, count, id);
    return false;
  };
  if (entry.id != static_cast<std::uint32_t>(id)) return refuse("ret_id", entry.id);
  if (entry.sub != static_cast<std::uint32_t>(sub)) return refuse("ret_sub", entry.sub);
  if (entry.data_len == 0 || entry.data_len > modem_stats_max_data_len) {
    std::printf(
        "Fail to get data, data_len(%d) is invalid, should be in (0, %d], number = %d, sub = %d, "
        "ret id_num = %d, id = %d\n",
        static_cast<int>(entry.data_len), static_cast<int>(modem_stats_max_data_len), number, sub,
        count, id);
    return false;
  }
  return true;
}

}  // namespace

int norvel_test_qmi_modem_stats_get(int sub, std::uint32_t id) {
  qmi_modem_stats_state& state = g_qmi_modem_stats;
  state.data.fill(0);
  if (state.client_id == -1) {
    std::puts("orvax qmi is not yet inited");
    return 1;
  }
  constexpr unsigned subscriptions = 2;
  if (static_cast<unsigned>(sub) >= subscriptions) {
    std::printf("modem_api_get_stats_parameter, sub(%d) is invalid\n", sub);
    return 1;
  }
  state.number = checked_add(state.number, 1);
  const int printed_id = static_cast<int>(id);

  vendor_stats_get_resp_v01 answer;
  const auto result = modem_api_get_stats_parameter(
      static_cast<std::uint32_t>(state.client_id), static_cast<std::uint16_t>(sub),
      static_cast<std::uint16_t>(state.number), id, answer);
  if (result != MODEM_API_SUCCESS) {
    fail(result, state.number, sub, printed_id);
    return 1;
  }
  if (!is_usable(answer, state.number, sub, printed_id)) return 1;

  const vendor_stats_entry_v01& entry = answer.entries[0];
  const int length = static_cast<int>(entry.data_len);
  std::printf(
      "Success to get data, number = %d, sub = %d, ret id_num = %d, id = %d, data_len = %d\n",
      state.number, sub, 1, printed_id, length);
  std::copy_n(entry.data, entry.data_len, state.data.begin());
  state.data_left = length;
  state.cursor = 0;
  state.id = id;
  return 0;
}
