// Messages that set and get values which the modem only keeps: a row for each.
#pragma once

#include <span>

#include "simulator/modem/data_service.h"
#include "simulator/service.h"

namespace sim {

struct kept_row {
  std::uint8_t get;      ///< the TLV that answers carry
  std::uint8_t set;      ///< the one of requests; 0: the value cannot be set
  std::size_t set_size;  ///< 0: a count and so many bytes
  const char* at_first;  ///< as it is got, which may be the beginning of what is set
  bool (*is_known)(protocol::byte_view value) = nullptr;  ///< null: any value may be set
};

[[nodiscard]] reply tell_kept(std::span<const kept_row> rows, const kept_values& kept);

/// All of what the request sets, or nothing and the error.
[[nodiscard]] protocol::qmi::error set_kept(std::span<const kept_row> rows,
                                            protocol::byte_view request, kept_values& kept);

}  // namespace sim
