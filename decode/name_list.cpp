#include "decode/name_list.h"

#include <fmt/format.h>

#include "decode/filter.h"
#include "decode/packet_name.h"
#include "decode/signalling/reader.h"
#include "modem_stats/record_table.h"

namespace decode {

using modem_stats::packet_kind;

std::string name_list() {
  const auto every = filter::all();
  std::string text;
  const auto logs = every.logs | signalling::logs();
  for (std::size_t code = 0; code < logs.size(); ++code) {
    if (!logs[code]) continue;
    text += fmt::format("log 0x{:04X} {}\n", code,
                        packet_name(packet_kind::log, static_cast<std::uint16_t>(code)));
  }
  for (std::size_t id = 0; id < every.events.size(); ++id) {
    if (!every.events[id]) continue;
    text += fmt::format("event {} {}\n", id,
                        packet_name(packet_kind::event, static_cast<std::uint16_t>(id)));
  }
  for (const auto* const schema : modem_stats::record_table()) {
    text += fmt::format("record {} {}\n", static_cast<unsigned>(schema->id), schema->name);
  }
  return text;
}

}  // namespace decode
