#include "simulator/services/kept_rows.h"

#include "simulator/modem/byte_strings.h"

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qmi::error;

bool fits(const kept_row& row, byte_view value) {
  if (row.set_size != 0) return value.size() == row.set_size;
  return !value.empty() && value.size() == std::size_t{1} + value[0];
}

}  // namespace

reply tell_kept(std::span<const kept_row> rows, const kept_values& kept) {
  reply out = error::none;
  for (const kept_row& row : rows) {
    const auto chosen = kept.find(row.get);
    out.tlvs.bytes(row.get, chosen == kept.end() ? bytes_of_hex(row.at_first) : chosen->second);
  }
  return out;
}

error set_kept(std::span<const kept_row> rows, byte_view request, kept_values& kept) {
  kept_values chosen;
  for (const kept_row& row : rows) {
    const auto value = row.set == 0 ? std::nullopt : protocol::qmi::find_tlv(request, row.set);
    if (!value) continue;
    if (!fits(row, *value)) return error::malformed_message;
    if (row.is_known != nullptr && !row.is_known(*value)) return error::invalid_argument;
    const std::size_t size = row.set_size == 0 ? value->size() : bytes_of_hex(row.at_first).size();
    chosen[row.get] = copied(value->first(size));
  }
  for (auto& [tlv, value] : chosen) kept[tlv] = std::move(value);
  return error::none;
}

}  // namespace sim
