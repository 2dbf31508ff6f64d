#include "decode/packet_name.h"

#include "decode/signalling/reader.h"
#include "modem_stats/dispatch.h"

namespace decode {

std::string_view packet_name(modem_stats::packet_kind kind, std::uint16_t id) {
  const auto name = modem_stats::packet_name(kind, id);
  const bool is_log = kind == modem_stats::packet_kind::log;
  return name.empty() && is_log ? signalling::log_name(id) : name;
}

}  // namespace decode
