// A QRTR port on this host, or what stands for one: exchanges datagrams with the services of a
// modem.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "host/file_descriptor.h"
#include "protocol/bytes.h"
#include "protocol/qrtr.h"

namespace qmi {

using protocol::byte_view;
using protocol::qrtr::address;
using clock = std::chrono::steady_clock;

enum class io_result : std::uint8_t { done, would_block, gone };

struct received {
  io_result result = io_result::would_block;
  address from;
  std::size_t size = 0;  ///< the whole datagram's, even when the buffer was too small for it
};

/// One thread may receive while any number of threads send.
class transport {
 public:
  explicit transport(host::file_descriptor socket) : socket_(std::move(socket)) {}
  virtual ~transport() = default;
  transport(const transport&) = delete;
  transport& operator=(const transport&) = delete;

  /// Neither blocks.
  [[nodiscard]] virtual io_result send(address to, byte_view datagram) = 0;
  [[nodiscard]] virtual received receive(std::span<std::uint8_t> buffer) = 0;

  /// Where lookups are sent.
  [[nodiscard]] virtual address name_service() const = 0;

  [[nodiscard]] int descriptor() const { return socket_.get(); }

 private:
  host::file_descriptor socket_;
};

enum class open_result : std::uint8_t {
  open,
  absent,   ///< nothing listens there yet
  refused,  ///< not a modem's endpoint; has been reported
};

struct opened {
  open_result result = open_result::refused;
  std::unique_ptr<transport> port;
};

/// The endpoint named by TVK_MODEM, or the default: `qrtr` or `unix:PATH`.
[[nodiscard]] std::string endpoint_name();

/// False when the endpoint has no room for the service's number, so that no modem there can have
/// it.
[[nodiscard]] bool endpoint_reaches(std::uint32_t service);

/// Opens a new port at that endpoint.
[[nodiscard]] opened open_transport();

// The kinds of endpoint.
[[nodiscard]] opened open_modem_socket(const std::string& path);
[[nodiscard]] opened open_qrtr();
[[nodiscard]] opened open_qmux(const std::string& path);
[[nodiscard]] opened open_qmi_proxy(const std::string& device);
[[nodiscard]] bool have_qrtr();

}  // namespace qmi
