// The exchange for a human reader: a line for each message or control packet and one for each TLV,
// with the names from the service rows.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>

#include "protocol/qrtr.h"
#include "simulator/service.h"

namespace sim {

class trace {
 public:
  enum class direction : std::uint8_t { to_modem, from_modem };

  /// Writes to `out`; null traces nothing.
  trace(std::FILE* out, std::span<const service_row> services);

  void client_connects(const client& who);
  void client_leaves(const client& who, std::string_view reason);
  void control(direction way, const client& who, const protocol::qrtr::control_packet& packet);
  void bad_control(const client& who, protocol::byte_view datagram);
  /// An answer comes with its meaning, which its bytes alone do not show.
  void message(direction way, const client& who, const service_row& service,
               protocol::byte_view datagram, std::string_view meaning = {});
  void dropped(const client& who, protocol::qrtr::address to, std::size_t size);
  /// About what the modem does of its own accord.
  void note(std::string_view text);
  void fault(std::string_view rule);
  /// A packet of the DIAG port's client `number`.
  void diag(direction way, unsigned number, std::string_view name, protocol::byte_view packet);
  void diag_note(unsigned number, std::string_view text);
  /// A line of the AT channel.
  void at(direction way, std::string_view text);

  /// What the answer to a request says, where its row has words for it.
  [[nodiscard]] std::string meaning_of_answer(const service_row& service,
                                              const protocol::qmi::message& request,
                                              protocol::byte_view answer) const;

  [[nodiscard]] bool on() const { return out_ != nullptr; }

 private:
  void write(const std::string& lines) const;
  [[nodiscard]] std::string start_line(direction way, const client& who,
                                       std::string_view other) const;
  [[nodiscard]] std::string service_name(std::uint32_t id) const;
  [[nodiscard]] std::string seconds() const;

  std::FILE* out_;
  std::span<const service_row> services_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// The value of a TLV: an integer in decimal and hexadecimal, else bytes.
[[nodiscard]] std::string describe_value(protocol::byte_view value,
                                         shown_as small_value = shown_as::number);

}  // namespace sim
