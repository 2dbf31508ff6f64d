// Builds service objects: what the objects of all services have in common.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "platform/qmi_idl.h"

namespace services {

using rows = std::span<const qmi_idl_service_message_table_entry>;
using entries = std::span<const qmi_idl_type_table_entry>;

/// A table that refers to itself as table 0 and to the common types as table 1. It must be static,
/// because it holds its own address.
class type_table {
 public:
  constexpr type_table(entries types, entries messages)
      : referenced_{&object_, &common_qmi_idl_type_table_object_v01},
        object_{.n_types = static_cast<std::uint16_t>(types.size()),
                .n_messages = static_cast<std::uint16_t>(messages.size()),
                .n_referenced_tables = 1,
                .types = types.data(),
                .messages = messages.data(),
                .referenced_tables = referenced_,
                .range_checkers = nullptr} {}
  type_table(const type_table&) = delete;
  type_table& operator=(const type_table&) = delete;

  [[nodiscard]] constexpr const qmi_idl_type_table_object* get() const { return &object_; }

 private:
  const qmi_idl_type_table_object* referenced_[2];
  qmi_idl_type_table_object object_;
};

/// Placeholder for a message that is not used here and whose id is unknown.
constexpr std::uint16_t reserved_message_id = 0xFFFF;

/// The rows in use, padded with reserved rows to the service's number of messages. `empty_message`
/// is the index of a message without TLVs.
template <std::size_t count>
[[nodiscard]] consteval std::array<qmi_idl_service_message_table_entry, count> with_reserved(
    rows used, std::uint16_t empty_message) {
  std::array<qmi_idl_service_message_table_entry, count> all{};
  all.fill({reserved_message_id, empty_message, 0});
  std::ranges::copy(used, all.begin());
  return all;
}

struct message_rows {
  rows requests;
  rows responses;
  rows indications;
};

/// Fills in IDL version 1.1 and library version 6, which all our services have.
constexpr qmi_idl_service_object make_object(std::uint32_t service_id, std::uint32_t max_message,
                                             const message_rows& messages,
                                             const type_table& types) {
  return {
      .library_version = QMI_IDL_LIBRARY_VERSION,
      .idl_version = 1,
      .service_id = service_id,
      .max_msg_len = max_message,
      .n_msgs = {static_cast<std::uint16_t>(messages.requests.size()),
                 static_cast<std::uint16_t>(messages.responses.size()),
                 static_cast<std::uint16_t>(messages.indications.size())},
      .msgs = {messages.requests.data(), messages.responses.data(), messages.indications.data()},
      .p_type_table = types.get(),
      .idl_minor_version = 1,
      .parent_service_obj = nullptr,
  };
}

/// The object, or null unless the version numbers are the ones it was made for.
inline qmi_idl_service_object_type if_version(const qmi_idl_service_object& object,
                                              std::int32_t idl_major, std::int32_t idl_minor,
                                              std::int32_t library_version) {
  const bool is_same = object.idl_version == static_cast<std::uint32_t>(idl_major) &&
                       object.idl_minor_version == static_cast<std::uint32_t>(idl_minor) &&
                       object.library_version == static_cast<std::uint32_t>(library_version);
  return is_same ? &object : nullptr;
}

}  // namespace services
