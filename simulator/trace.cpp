#include "simulator/trace.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <iterator>

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qrtr::command;
namespace qmi = protocol::qmi;

constexpr const char* indent = "            ";

constexpr std::pair<command, const char*> command_names[] = {
    {command::new_server, "NEW_SERVER"}, {command::del_server, "DEL_SERVER"},
    {command::del_client, "DEL_CLIENT"}, {command::new_lookup, "NEW_LOOKUP"},
    {command::del_lookup, "DEL_LOOKUP"},
};

const char* command_name(command which) {
  return std::ranges::find(command_names, which, &std::pair<command, const char*>::first)->second;
}

const char* kind_name(qmi::message_kind kind) {
  if (kind == qmi::message_kind::request) return "request";
  return kind == qmi::message_kind::response ? "response" : "indication";
}

/// An answer without the service's own result is a standard response.
bool is_standard(const service_row& service, const qmi::message& message) {
  return message.head.kind == qmi::message_kind::response &&
         (service.result_tlv == no_result_tlv || !qmi::find_tlv(message.tlvs, service.result_tlv));
}

std::span<const tlv_row> names_of(const message_row* row, qmi::message_kind kind) {
  if (row == nullptr) return {};
  if (kind == qmi::message_kind::indication) return row->indication_tlvs;
  return kind == qmi::message_kind::response ? row->response_tlvs : row->request_tlvs;
}

tlv_row row_of(std::uint8_t type, std::span<const tlv_row> names) {
  const auto row = std::ranges::find(names, type, &tlv_row::type);
  return row == names.end() ? tlv_row{type, "?"} : *row;
}

std::string describe_bytes(byte_view bytes) {
  constexpr std::size_t zeros_worth_counting = 4;
  const auto last = std::find_if(bytes.rbegin(), bytes.rend(), [](auto byte) { return byte != 0; });
  const auto zeros = static_cast<std::size_t>(last - bytes.rbegin());
  if (zeros < zeros_worth_counting) return fmt::format("{:02x}", fmt::join(bytes, " "));
  if (zeros == bytes.size()) return fmt::format("{} zero bytes", zeros);
  return fmt::format("{:02x} ... {} zero bytes", fmt::join(bytes.first(bytes.size() - zeros), " "),
                     zeros);
}

template <typename T>
std::string describe_integer(byte_view value) {
  const T number = protocol::load_le<T>(value);
  return fmt::format("{} (0x{:0{}x})", number, number, 2 * sizeof(T));
}

std::string describe_standard_response(byte_view value) {
  protocol::byte_reader in(value);
  const auto result = in.take<std::uint16_t>();
  const auto error = in.take<std::uint16_t>();
  if (!error || !in.empty()) return describe_bytes(value);
  return *result == 0 ? "success" : fmt::format("failure, error {}", *error);
}

const char* arrow(trace::direction way) {
  return way == trace::direction::to_modem ? "->" : "<-";
}

std::string meaning_line(std::string_view meaning) {
  return meaning.empty() ? "" : fmt::format("{}{}\n", indent, meaning);
}

}  // namespace

std::string describe_value(byte_view value, shown_as small_value) {
  if (small_value == shown_as::bytes && !value.empty()) return describe_bytes(value);
  switch (value.size()) {
    case 0:
      return "empty";
    case 1:
      return describe_integer<std::uint8_t>(value);
    case 2:
      return describe_integer<std::uint16_t>(value);
    case 4:
      return describe_integer<std::uint32_t>(value);
    case 8:
      return describe_integer<std::uint64_t>(value);
    default:
      return describe_bytes(value);
  }
}

trace::trace(std::FILE* out, std::span<const service_row> services)
    : out_(out), services_(services) {}

void trace::client_connects(const client& who) {
  note(fmt::format("client {}:{} connects", who.at.node, who.at.port));
}

void trace::client_leaves(const client& who, std::string_view reason) {
  note(fmt::format("client {}:{} leaves: {}", who.at.node, who.at.port, reason));
}

void trace::control(direction way, const client& who,
                    const protocol::qrtr::control_packet& packet) {
  if (!on()) return;
  const auto& about = packet.about;
  std::string line = start_line(way, who, "control") + command_name(packet.cmd);
  auto out = std::back_inserter(line);
  if (packet.cmd == command::new_server && about.is_end_of_list()) {
    fmt::format_to(out, "  end of list");
  } else if (packet.cmd == command::del_client) {
    fmt::format_to(out, "  {}:{}", about.at.node, about.at.port);
  } else {
    fmt::format_to(out, "  {}", service_name(about.service));
    if (about.instance_word != 0) {
      fmt::format_to(out, "  version {}, instance {}", about.version(), about.instance());
    }
    if (way == direction::from_modem) {
      fmt::format_to(out, ", at {}:{}", about.at.node, about.at.port);
    }
  }
  write(line + '\n');
}

void trace::bad_control(const client& who, byte_view datagram) {
  if (!on()) return;
  write(fmt::format("{}ignored, not a control packet\n{}{}\n",
                    start_line(direction::to_modem, who, "control"), indent,
                    describe_bytes(datagram)));
}

void trace::message(direction way, const client& who, const service_row& service,
                    byte_view datagram, std::string_view meaning) {
  if (!on()) return;
  std::string lines = start_line(way, who, service.name);
  auto out = std::back_inserter(lines);
  const auto message = qmi::parse_message(datagram);
  if (!message) {
    fmt::format_to(out, "malformed, {} bytes\n{}{}\n", datagram.size(), indent,
                   describe_bytes(datagram));
    return write(lines);
  }
  const message_row* const row = service.find(message->head.message_id);
  fmt::format_to(out, "{:<10}  message 0x{:04x} {}, transaction {}, {} TLV bytes\n",
                 kind_name(message->head.kind), message->head.message_id,
                 row == nullptr ? "?" : row->name, message->head.transaction,
                 message->head.tlv_length);
  qmi::tlv_reader reader(message->tlvs);
  std::size_t shown = 0;
  const auto names = names_of(row, message->head.kind);
  const bool is_request = message->head.kind == qmi::message_kind::request;
  const bool is_standard_response = is_standard(service, *message);
  while (const auto tlv = reader.next()) {
    const tlv_row known = row_of(tlv->type, names);
    const bool is_result = is_standard_response && tlv->type == qmi::standard_response_tlv;
    fmt::format_to(out, "{}0x{:02x} {:<17} {:>5}  {}\n", indent, tlv->type,
                   is_result ? "standard response" : known.name, tlv->value.size(),
                   is_result ? describe_standard_response(tlv->value)
                             : describe_value(tlv->value, known.small_value));
    shown += qmi::tlv_header_size + tlv->value.size();
  }
  if (reader.malformed()) {
    fmt::format_to(out, "{}malformed  {}\n", indent, describe_bytes(message->tlvs.subspan(shown)));
  } else if (is_request && row != nullptr && row->describe_request != nullptr) {
    lines += meaning_line(row->describe_request(message->tlvs));
  }
  lines += meaning_line(meaning);
  write(lines);
}

void trace::dropped(const client& who, protocol::qrtr::address to, std::size_t size) {
  if (!on()) return;
  const std::string there = fmt::format("{}:{}", to.node, to.port);
  write(start_line(direction::to_modem, who, there) +
        fmt::format("dropped, nothing is there, {} bytes\n", size));
}

void trace::note(std::string_view text) {
  if (on()) write(fmt::format("{}{}\n", seconds(), text));
}

void trace::fault(std::string_view rule) {
  note(fmt::format("fault {}", rule));
}

void trace::diag(direction way, unsigned number, std::string_view name, byte_view packet) {
  if (!on()) return;
  note(fmt::format("diag {} {} {}  {} bytes\n{}{}", number, arrow(way), name, packet.size(), indent,
                   describe_bytes(packet)));
}

void trace::diag_note(unsigned number, std::string_view text) {
  note(fmt::format("diag {} {}", number, text));
}

void trace::at(direction way, std::string_view text) {
  std::string shown;
  for (const char each : text) {
    if (each == '\n') {
      shown += " | ";
    } else if (each != '\r') {
      shown += std::isprint(static_cast<unsigned char>(each)) != 0 ? each : '?';
    }
  }
  note(fmt::format("AT {} {}", arrow(way), shown));
}

std::string trace::meaning_of_answer(const service_row& service, const qmi::message& request,
                                     byte_view answer) const {
  const message_row* const row = service.find(request.head.message_id);
  if (!on() || row == nullptr || row->describe_answer == nullptr) return {};
  const byte_view tlvs = answer.subspan(qmi::header_size);
  return row->describe_answer(request.tlvs, tlvs);
}

void trace::write(const std::string& lines) const {
  std::fwrite(lines.data(), 1, lines.size(), out_);
}

std::string trace::start_line(direction way, const client& who, std::string_view other) const {
  return fmt::format("{}{} {} {:<10} ", seconds(), fmt::format("{}:{}", who.at.node, who.at.port),
                     arrow(way), other);
}

std::string trace::service_name(std::uint32_t id) const {
  if (id == 0) return "any service";
  const auto row = std::ranges::find(services_, id, &service_row::id);
  return row == services_.end() ? fmt::format("service 0x{:04x}", id)
                                : fmt::format("{} (0x{:04x})", row->name, id);
}

std::string trace::seconds() const {
  const std::chrono::duration<double> since = std::chrono::steady_clock::now() - start_;
  return fmt::format("{:10.3f}  ", since.count());
}

}  // namespace sim
