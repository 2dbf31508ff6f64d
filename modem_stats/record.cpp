#include "modem_stats/record.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "modem_stats/record_slots.h"

bool modem_stats_new_single_ex(modem_stats_data_id_e_type data_id, unsigned data_len,
                               unsigned char /*flag*/, modem_stats_single_data_common_type** out) {
  if (data_len - 1 >= modem_stats_max_data_len) {
    std::printf("data_len(%u) should be in (0, %u]", data_len, modem_stats_max_data_len);
    return false;
  }
  auto* record = static_cast<modem_stats_single_data_common_type*>(
      std::malloc(sizeof(modem_stats_single_data_common_type)));
  *out = record;
  record->data = static_cast<unsigned char*>(std::malloc(data_len));
  record->data_len = data_len;
  record->data_id = data_id;
  return true;
}

void modem_stats_free_single(modem_stats_single_data_common_type* record) {
  if (record == nullptr) return;
  std::free(record->data);
  std::free(record);
}

namespace modem_stats {

void record_slots::record(const record_schema& schema, const record_data& data) {
  modem_stats_single_data_common_type* made = nullptr;
  if (!modem_stats_new_single_ex(schema.id, static_cast<unsigned>(data.bytes.size()), 0, &made))
    return;
  std::memcpy(made->data, data.bytes.data(), data.bytes.size());
  modem_stats_free_single(record_);
  record_ = made;
  data_id_ = schema.id;
}

}  // namespace modem_stats
