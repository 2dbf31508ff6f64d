// A browser's connection. No wait outlasts the server or a browser that neither sends nor reads.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/file_descriptor.h"
#include "host/ip_address.h"

namespace decode::page {

class connection {
 public:
  using clock = std::chrono::steady_clock;

  /// `ending` is readable once the server ends.
  connection(int socket, int ending);
  connection(const connection&) = delete;
  connection& operator=(const connection&) = delete;
  ~connection();

  enum class happening : std::uint8_t { event, time_out, ending, closed };
  /// Waits for `event` to become readable. What the browser sends meanwhile is dropped.
  [[nodiscard]] happening wait(int event, clock::time_point until) const;

  /// This machine's side.
  [[nodiscard]] const std::optional<host::ip_address>& own_address() const { return own_address_; }

  /// Appends what comes; false when there is nothing more, or the time for a request is over.
  [[nodiscard]] bool read(std::string& to) const;
  /// False when the browser does not take it.
  [[nodiscard]] bool write(std::string_view text) const;

 private:
  [[nodiscard]] bool wait_for(short what, clock::time_point until) const;
  [[nodiscard]] bool discard_input() const;

  const host::file_descriptor socket_;
  const int ending_;
  const std::optional<host::ip_address> own_address_;
  const clock::time_point request_until_;
};

}  // namespace decode::page
