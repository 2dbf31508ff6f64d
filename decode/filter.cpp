#include "decode/filter.h"

#include "modem_stats/dispatch.h"

namespace decode {

filter filter::all() {
  using modem_stats::packet_kind;
  filter every;
  every.data_ids.set();
  for (std::size_t code = 0; code < every.logs.size(); ++code) {
    every.logs[code] = modem_stats::has_parser(packet_kind::log, static_cast<std::uint16_t>(code));
  }
  for (std::size_t id = 0; id < every.events.size(); ++id) {
    every.events[id] = modem_stats::has_parser(packet_kind::event, static_cast<std::uint16_t>(id));
  }
  return every;
}

}  // namespace decode
