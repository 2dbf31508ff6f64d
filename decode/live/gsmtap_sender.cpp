#include "decode/live/gsmtap_sender.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "decode/messages.h"
#include "decode/output/beside.h"
#include "decode/signalling/gsmtap.h"
#include "host/file_descriptor.h"
#include "host/ip_address.h"
#include "host/uninterrupted.h"

namespace decode {

namespace {

using signalling::carrier;

class sender final : public store_beside {
 public:
  sender(std::unique_ptr<record_store> beside, const std::string& address)
      : store_beside(std::move(beside)), name_(address) {
    const auto to = host::ip_address::parse(address);
    if (!to) {
      throw output_error(
          fmt::format("{}: not a numeric address (or localhost) and a port number", name_));
    }
    to_ = *to;
    // Not connected: with nobody listening it would fail every other time.
    socket_ = host::file_descriptor(::socket(to_.family(), SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socket_.valid()) fail();
  }

  std::unique_ptr<record_writer> make_writer(const std::string& file) override;

  void send(const signalling::message& one) const {
    std::array<char, signalling::gsmtap_header_size> header;
    signalling::write_gsmtap_header(one, header.data());
    // The system call only reads what these point to, constant or not.
    std::array<iovec, 2> pieces{
        {{.iov_base = header.data(), .iov_len = header.size()},
         {.iov_base = const_cast<std::uint8_t*>(one.bytes.data()), .iov_len = one.bytes.size()}}};
    msghdr datagram{};
    datagram.msg_name = const_cast<sockaddr*>(to_.get());
    datagram.msg_namelen = to_.size();
    datagram.msg_iov = pieces.data();
    datagram.msg_iovlen = pieces.size();
    if (host::uninterrupted([&] { return ::sendmsg(socket_.get(), &datagram, 0); }) >= 0) return;
    report_once(fmt::format("{}: {}", name_, std::generic_category().message(errno)));
  }

 private:
  [[noreturn]] void fail() const {
    throw output_error(fmt::format("{}: {}", name_, std::generic_category().message(errno)));
  }

  const std::string name_;
  host::ip_address to_;
  host::file_descriptor socket_;
};

/// Sends at once; in live decoding nothing is taken back.
class sending_writer final : public writer_beside {
 public:
  sending_writer(const sender& to, std::unique_ptr<record_writer> other)
      : writer_beside(std::move(other)), to_(to) {}

  void message(const packet_source& source, const signalling::message& one) override {
    if (row_of(one.what.of).by == carrier::gsmtap) to_.send(one);
    writer_beside::message(source, one);
  }

 private:
  const sender& to_;
};

std::unique_ptr<record_writer> sender::make_writer(const std::string& file) {
  return std::make_unique<sending_writer>(*this, other_writer(file));
}

}  // namespace

std::unique_ptr<record_store> gsmtap_store(std::unique_ptr<record_store> beside,
                                           const std::string& address) {
  return std::make_unique<sender>(std::move(beside), address);
}

}  // namespace decode
