#include "modem_stats/record_schema.h"

#include <bit>
#include <cstring>

namespace modem_stats {

static_assert(std::endian::native == std::endian::little, "records are copied as they lie");

namespace {

template <typename T>
T load(std::span<const u8> bytes) {
  T value;
  std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

field_value unsigned_value(field_type type, u64 number) {
  return {.type = type, .unsigned_number = number};
}

field_value signed_value(field_type type, std::int64_t number) {
  return {.type = type, .signed_number = number};
}

}  // namespace

field_value load_field(const field_row& row, std::span<const u8> bytes) {
  switch (row.type) {
    case field_type::uint8:
      return unsigned_value(row.type, load<u8>(bytes));
    case field_type::uint16:
      return unsigned_value(row.type, load<u16>(bytes));
    case field_type::uint32:
      return unsigned_value(row.type, load<u32>(bytes));
    case field_type::uint64:
      return unsigned_value(row.type, load<u64>(bytes));
    case field_type::int8:
      return signed_value(row.type, load<i8>(bytes));
    case field_type::int16:
      return signed_value(row.type, load<i16>(bytes));
    case field_type::int32:
      return signed_value(row.type, load<i32>(bytes));
    case field_type::float32:
      break;
  }
  return {.type = row.type, .real = load<f32>(bytes)};
}

std::size_t repetitions(const record_schema& schema, const record_part& part,
                        std::span<const u8> data) {
  u64 sum = 0;
  for (const auto& row : schema.parts().front().rows) {
    for (const char* const count : part.counts) {
      if (count != nullptr && std::string_view(count) == row.name) {
        sum += load_field(row, data).unsigned_number;
      }
    }
    data = data.subspan(size_of(row.type));
  }
  return sum;
}

}  // namespace modem_stats
