// A browser's connection as a stream of the HTTP library. No wait outlasts the server or a browser
// that neither sends nor reads.
#pragma once

#include <httplib.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "host/file_descriptor.h"
#include "host/ip_address.h"

namespace decode::page {

class connection final : public httplib::Stream {
 public:
  using clock = std::chrono::steady_clock;

  /// `ending` is readable once the server ends.
  connection(int socket, int ending);
  ~connection() override;

  enum class happening : std::uint8_t { event, time_out, ending, closed };
  /// Waits for `event` to become readable.
  [[nodiscard]] happening wait(int event, clock::time_point until);

  [[nodiscard]] const std::optional<host::ip_address>& own_address() const { return own_address_; }

  // What the library calls.
  [[nodiscard]] bool is_readable() const override { return true; }
  [[nodiscard]] bool is_writable() const override { return true; }
  ssize_t read(char* bytes, std::size_t size) override;
  ssize_t write(const char* bytes, std::size_t size) override;
  void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
  void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
  [[nodiscard]] socket_t socket() const override { return socket_.get(); }

 private:
  [[nodiscard]] bool wait_for(short what, clock::time_point until) const;
  [[nodiscard]] bool discard_input() const;

  const host::file_descriptor socket_;
  const int ending_;
  const std::optional<host::ip_address> own_address_;
  clock::time_point request_until_;
};

}  // namespace decode::page
