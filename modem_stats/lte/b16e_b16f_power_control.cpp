// Logs 0xB16E and 0xB16F, LTE PUSCH and PUCCH power control: a record of the last entry.
// Layout: docs/formats/lte.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/lte.h"

namespace modem_stats {
namespace {

namespace at {
constexpr auto num_records = at_byte<u8>("num_records", 3);
constexpr unsigned records = 4;  // byte
}  // namespace at

struct entry_layout {
  unsigned version;
  bit_field<i8> tx_power;
  bit_field<u8> dl_path_loss;
};
constexpr entry_layout pusch_layouts[] = {
    {4, {"pusch_tx_power", 14}, {"dl_path_loss", 46}},
    {5, {"pusch_tx_power", 14}, {"dl_path_loss", 54}},
    {25, {"pusch_tx_power", 17}, {"dl_path_loss", 54}},
};
constexpr entry_layout pucch_layouts[] = {
    {4, {"pucch_tx_power", 14}, {"dl_path_loss", 43, 7}},
    {24, {"pucch_tx_power", 14}, {"dl_path_loss", 43}},
};

constexpr unsigned stride = 12;  // bytes
constexpr unsigned max_records = 50;

template <field_name tx_power_name, std::size_t n, const auto& list>
void power_control(packet_decoder& in, const entry_layout (&layouts)[n],
                   const fixed_record<list>& record) {
  const auto version = in.next<u8>("version");
  const auto& layout = in.layout_for(version, layouts);
  const auto num_records = in.bits(at::num_records);
  if (!in.check_count(num_records, max_records, "num_records")) return;
  i8 tx_power = 0;
  u8 dl_path_loss = 0;
  if (num_records > 0) {
    in.block_at(at::records + (num_records - 1U) * stride);
    tx_power = in.bits(layout.tx_power);
    dl_path_loss = in.bits(layout.dl_path_loss);
  }
  in.print("version = %d, num_records = %d, %s %d, dl_path_loss %d", version, num_records,
           tx_power_name.text, tx_power, dl_path_loss);
  in.check_valid(num_records > 0, num_records, "num_records");
  in.publish(record, "version"_f = version, "num_records"_f = num_records,
             value_name<tx_power_name>() = tx_power, "dl_path_loss"_f = dl_path_loss);
}

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b16e_diag_log_lte_pusch_power_control(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  power_control<"pusch_tx_power">(in, pusch_layouts, lte_pusch_power_record);
}

void modem_stats_parse_b16f_diag_log_lte_pucch_power_control(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  power_control<"pucch_tx_power">(in, pucch_layouts, lte_pucch_power_record);
}
