// A QMI service of one message, made of byte strings that a test writes in hexadecimal.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "platform/qmi_idl.h"
#include "support/bytes.h"

namespace support {

/// "8: 01; 12: 02000000": numbers with what belongs to each.
inline std::vector<std::pair<std::size_t, std::string>> numbered(const std::string& text) {
  std::vector<std::pair<std::size_t, std::string>> out;
  std::istringstream in(text);
  for (std::string each; std::getline(in, each, ';');) {
    const auto colon = each.find(':');
    out.emplace_back(std::stoul(each.substr(0, colon)), each.substr(colon + 1));
  }
  return out;
}

/// A service whose request, response and indication `id` all have the same layout. The text
/// holds the size of the C structure and its byte string, then the same for each type.
class test_service {
 public:
  static constexpr std::uint16_t id = 0x0207;

  explicit test_service(const std::string& text) {
    for (const auto& [size, layout] : numbered(text)) {
      layouts_.push_back(std::make_unique<bytes>(hex(layout)));
      types_.push_back({static_cast<std::uint32_t>(size),
                        layouts_.back()->empty() ? nullptr : layouts_.back()->data()});
    }
    message_ = types_.at(0);
    types_.erase(types_.begin());
    table_.n_types = static_cast<std::uint16_t>(types_.size());
    table_.n_messages = 1;
    table_.n_referenced_tables = 1;
    table_.types = types_.data();
    table_.messages = &message_;
    table_.referenced_tables = tables_.data();
    service_.library_version = 6;
    service_.idl_version = 1;
    service_.service_id = 0xE4;
    service_.max_msg_len = 10672;
    for (auto& rows : service_.msgs) rows = &row_;
    for (auto& count : service_.n_msgs) count = 1;
    service_.p_type_table = &table_;
  }
  test_service(const test_service&) = delete;
  test_service& operator=(const test_service&) = delete;

  [[nodiscard]] qmi_idl_service_object_type get() const { return &service_; }
  [[nodiscard]] std::size_t size() const { return message_.c_struct_size; }
  void set_library_version(std::uint32_t version) { service_.library_version = version; }

 private:
  std::vector<std::unique_ptr<bytes>> layouts_;
  std::vector<qmi_idl_type_table_entry> types_;
  qmi_idl_message_table_entry message_{};
  qmi_idl_type_table_object table_{};
  std::array<const qmi_idl_type_table_object*, 2> tables_{&table_,
                                                          &common_qmi_idl_type_table_object_v01};
  qmi_idl_service_message_table_entry row_{id, 0, 10672};
  qmi_idl_service_object service_{};
};

}  // namespace support
