// Stores a record in the form that its consumers expect: an id and an allocated block.
#pragma once

#include "modem_stats/packet.h"
#include "modem_stats/record.h"

namespace modem_stats {

/// Holds one record; the next one replaces it.
class record_slots final : public record_sink {
 public:
  record_slots() = default;
  record_slots(const record_slots&) = delete;
  record_slots& operator=(const record_slots&) = delete;
  ~record_slots() { modem_stats_free_single(record_); }

  void record(const record_schema& schema, const record_data& data) override;

  [[nodiscard]] modem_stats_data_id_e_type data_id() const { return data_id_; }
  /// Null before the first record.
  [[nodiscard]] const modem_stats_single_data_common_type* get() const { return record_; }

 private:
  modem_stats_data_id_e_type data_id_ = MODEM_STATS_DATA_ID_NONE;
  modem_stats_single_data_common_type* record_ = nullptr;
};

}  // namespace modem_stats
