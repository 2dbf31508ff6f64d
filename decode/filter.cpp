#include "decode/filter.h"

#include "modem_stats/dispatch.h"
#include "modem_stats/record_table.h"

namespace decode {

filter filter::all() {
  using modem_stats::packet_kind;
  filter every;
  for (const auto* const schema : modem_stats::record_table()) every.data_ids.set(schema->id);
  for (std::size_t code = 0; code < every.logs.size(); ++code) {
    every.logs[code] = modem_stats::has_parser(packet_kind::log, static_cast<std::uint16_t>(code));
  }
  for (std::size_t id = 0; id < every.events.size(); ++id) {
    every.events[id] = modem_stats::has_parser(packet_kind::event, static_cast<std::uint16_t>(id));
  }
  return every;
}

}  // namespace decode
