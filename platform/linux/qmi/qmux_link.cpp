#include "platform/linux/qmi/qmux_link.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "host/uninterrupted.h"
#include "host/wait.h"
#include "host/write_all.h"
#include "platform/linux/qmi/lookup.h"
#include "platform/linux/report.h"
#include "protocol/modem_socket.h"
#include "protocol/qmi_message.h"

namespace qmi {
namespace {

namespace qmux = protocol::qmux;
using protocol::qmi::find_tlv;
using protocol::qrtr::command;

/// How long a modem may take to confirm that client ids are free again.
constexpr std::chrono::seconds release_limit{1};
constexpr std::chrono::seconds ask_again_after{1};
/// Frames that the device has not taken; then senders have to wait.
constexpr std::size_t most_unwritten = 64;
constexpr std::size_t read_size = 65536;

/// A service has its number for a port.
address address_of(std::uint8_t service) {
  return {protocol::modem_socket::modem_node, service};
}

address name_service() {
  return {protocol::modem_socket::local_node, protocol::qrtr::control_port};
}

/// The value of the answer to get version info: a count, then service u8, major u16 and minor u16
/// each. CTL, which is no service for ports, is left out.
std::vector<server> parse_versions(byte_view value) {
  std::vector<server> services;
  protocol::byte_reader in(value);
  static_cast<void>(in.take<std::uint8_t>());
  for (;;) {
    const auto service = in.take<std::uint8_t>();
    const auto major = in.take<std::uint16_t>();
    const auto minor = in.take<std::uint16_t>();
    if (!minor) return services;
    if (*service == qmux::control_service) continue;
    services.push_back({*service, static_cast<std::uint8_t>(*major), address_of(*service)});
  }
}

std::vector<std::uint8_t> path_tlv(const std::string& device) {
  protocol::qmi::tlv_writer path;
  path.bytes(qmux::control_value_tlv,
             byte_view(reinterpret_cast<const std::uint8_t*>(device.data()), device.size()));
  return path.take();
}

bool is_any_of(const server& asked, const std::vector<server>& known) {
  return std::ranges::any_of(
      known, [&](const server& each) { return protocol::qrtr::lookup_matches(asked, each); });
}

bool is_success(byte_view tlvs) {
  constexpr std::size_t size = 4;
  const auto standard = find_tlv(tlvs, protocol::qmi::standard_response_tlv);
  return standard && standard->size() == size && protocol::load_le<std::uint16_t>(*standard) == 0;
}

}  // namespace

std::shared_ptr<qmux_link> qmux_link::start(host::file_descriptor stream,
                                            const std::string& device) {
  auto made = std::shared_ptr<qmux_link>(new qmux_link(std::move(stream)));
  if (!made->wake_.is_valid()) return nullptr;
  {
    const platform::mutex_lock hold(made->lock_);
    if (device.empty()) {
      made->ask_for_services();
    } else {
      made->ask_control({.id = control_id::open_through_proxy}, path_tlv(device));
    }
  }
  // Not shared: the link ends when its last port has closed, and waits for its thread.
  return made->thread_.start([link = made.get()] { link->run(); }) ? made : nullptr;
}

qmux_link::~qmux_link() {
  stop_.set();
  thread_.wait();
}

void qmux_link::run() {
  std::vector<std::uint8_t> buffer(read_size);
  for (;;) {
    const int timeout = wait_time();
    std::array<pollfd, 3> waits{pollfd{stop_.descriptor(), POLLIN, 0},
                                pollfd{wake_.descriptor(), POLLIN, 0},
                                pollfd{stream_.get(), POLLIN, 0}};
    {
      const platform::mutex_lock hold(lock_);
      if (is_gone_) waits[2].fd = -1;
      if (!unwritten_.empty()) waits[2].events |= POLLOUT;
    }
    if (::poll(waits.data(), waits.size(), timeout) < 0) continue;
    if (stop_.is_set()) return;
    wake_.take();
    if ((waits[2].revents & ~POLLOUT) != 0) read_some(buffer);
    const platform::mutex_lock hold(lock_);
    write_waiting();
    if (clock::now() >= ask_again_) ask_for_services();
  }
}

int qmux_link::wait_time() {
  const platform::mutex_lock hold(lock_);
  return host::poll_timeout(ask_again_);
}

void qmux_link::read_some(std::span<std::uint8_t> buffer) {
  const ssize_t got =
      host::uninterrupted([&] { return ::read(stream_.get(), buffer.data(), buffer.size()); });
  const platform::mutex_lock hold(lock_);
  if (got <= 0) {
    if (got == 0 || errno != EAGAIN) fail();
    return;
  }
  frames_.add(buffer.first(static_cast<std::size_t>(got)));
  while (const auto frame = frames_.next()) {
    if (is_gone_) return;
    take(*frame);
  }
  if (!frames_.broken()) return;
  platform::report_once("TVK_MODEM=" + endpoint_name() +
                        ": sent something that is not a QMUX frame; expected a modem");
  fail();
}

void qmux_link::take(const qmux::frame& frame) {
  if (frame.service == qmux::control_service) return take_control(frame.message);
  for (const auto& each : ports_) {
    const auto found = each->clients.find(frame.service);
    if (found == each->clients.end() || found->second.id == 0) continue;
    if (frame.client != qmux::all_clients && frame.client != found->second.id) continue;
    deliver(*each, address_of(frame.service), frame.message);
  }
}

void qmux_link::take_control(byte_view message) {
  const auto got = qmux::parse_control(message);
  if (!got) return;
  // The modem has started anew: it knows no clients any more.
  if (got->kind == qmux::control_kind::indication && got->id == control_id::sync) return fail();
  if (got->kind != qmux::control_kind::response) return;
  const auto answered = pending_.find(got->transaction);
  if (answered == pending_.end() || answered->second.id != got->id) return;
  const control_request asked = std::move(answered->second);
  pending_.erase(answered);
  switch (asked.id) {
    case control_id::open_through_proxy:
      return is_success(got->tlvs) ? ask_for_services() : fail();
    case control_id::get_version_info:
      return take_services(got->tlvs);
    case control_id::allocate_client:
      return allocated(asked, got->tlvs);
    case control_id::release_client:
      // Also when the modem refuses: it then does not know the id.
      asked.about->clients.erase(asked.service);
      return changed_.notify_all();
    default:
      return;
  }
}

void qmux_link::ask_for_services() {
  ask_again_ = clock::time_point::max();
  ask_control({.id = control_id::get_version_info}, {});
}

void qmux_link::take_services(byte_view tlvs) {
  const auto value = find_tlv(tlvs, qmux::control_value_tlv);
  const auto before = std::exchange(
      services_, is_success(tlvs) && value ? parse_versions(*value) : std::vector<server>());
  bool is_one_missing = false;
  for (const auto& each : ports_) {
    for (const server& asked : each->lookups) {
      is_one_missing = is_one_missing || !is_any_of(asked, *services_);
      if (!before) {
        look_up(*each, asked);
      } else if (!is_any_of(asked, *before)) {
        for (const server& now : *services_) {
          if (protocol::qrtr::lookup_matches(asked, now)) {
            announce(*each, command::new_server, now);
          }
        }
      }
    }
  }
  if (is_one_missing) ask_again_ = clock::now() + ask_again_after;
}

void qmux_link::look_up(port& from, const server& asked) {
  for (const server& each : *services_) {
    if (protocol::qrtr::lookup_matches(asked, each)) announce(from, command::new_server, each);
  }
  announce(from, command::new_server, {});
  if (is_any_of(asked, *services_) || ask_again_ != clock::time_point::max()) return;
  ask_again_ = clock::now() + ask_again_after;
  wake_.wake();
}

void qmux_link::allocate(const std::shared_ptr<port>& to, std::uint8_t service) {
  protocol::qmi::tlv_writer which;
  which.integer(qmux::control_value_tlv, service);
  ask_control({control_id::allocate_client, service, to}, which.view());
}

void qmux_link::allocated(const control_request& asked, byte_view tlvs) {
  constexpr std::size_t size = 2;
  port& to = *asked.about;
  port::client& made = to.clients[asked.service];
  const auto value = find_tlv(tlvs, qmux::control_value_tlv);
  if (is_success(tlvs) && value && value->size() == size) {
    made.id = (*value)[1];
    for (const auto& message : made.waiting) write({asked.service, made.id, message});
    made.waiting.clear();
    if (to.is_closing) release(asked.about, asked.service);
    return;
  }
  const auto refusal = find_tlv(tlvs, protocol::qmi::standard_response_tlv);
  const unsigned code =
      refusal && refusal->size() == 4 ? protocol::load_le<std::uint16_t>(refusal->subspan(2)) : 0;
  platform::report_once(service_name(asked.service) + " at " + endpoint_name() +
                        " gives out no client id: QMI error " + std::to_string(code));
  to.clients.erase(asked.service);
  announce(to, command::del_server, {asked.service, 0, address_of(asked.service)});
  changed_.notify_all();
}

void qmux_link::release(const std::shared_ptr<port>& from, std::uint8_t service) {
  protocol::qmi::tlv_writer which;
  which.bytes(qmux::control_value_tlv, std::array{service, from->clients.at(service).id});
  ask_control({control_id::release_client, service, from}, which.view());
}

void qmux_link::start_closing(const std::shared_ptr<port>& closed) {
  if (std::exchange(closed->is_closing, true)) return;
  for (auto& [service, client] : closed->clients) {
    client.waiting.clear();
    if (client.id != 0) release(closed, service);
  }
}

void qmux_link::ask_control(const control_request& what, byte_view tlvs) {
  constexpr std::size_t most_pending = 200;
  if (pending_.size() >= most_pending) return fail();  // a modem that does not answer
  do {
    ++last_transaction_;
  } while (last_transaction_ == 0 || pending_.contains(last_transaction_));
  pending_.emplace(last_transaction_, what);
  const auto message =
      qmux::build_control({qmux::control_kind::request, last_transaction_, what.id, tlvs});
  write({qmux::control_service, 0, message});
}

void qmux_link::write(const qmux::frame& frame) {
  if (is_gone_) return;
  unwritten_.push_back(qmux::build_frame(qmux::sender::client, frame));
  write_waiting();
  if (!unwritten_.empty()) wake_.wake();
}

/// Each frame in a call of its own: a device takes what is written at once for one message.
void qmux_link::write_waiting() {
  while (!is_gone_ && !unwritten_.empty()) {
    const byte_view rest = byte_view(unwritten_.front()).subspan(written_);
    const ssize_t put = host::send_some(stream_.get(), rest);
    if (put < 0) {
      if (errno != EAGAIN) fail();
      return;
    }
    written_ += static_cast<std::size_t>(put);
    if (written_ < unwritten_.front().size()) continue;
    unwritten_.pop_front();
    written_ = 0;
  }
}

void qmux_link::deliver(port& to, address from, byte_view datagram) {
  to.received.push_back({from, {datagram.begin(), datagram.end()}});
  ::eventfd_write(to.event, 1);
}

void qmux_link::announce(port& to, command change, const server& about) {
  deliver(to, name_service(), protocol::qrtr::build_control({change, about}));
}

void qmux_link::fail() {
  if (std::exchange(is_gone_, true)) return;
  pending_.clear();
  unwritten_.clear();
  for (const auto& each : ports_) {
    each->clients.clear();
    ::eventfd_write(each->event, 1);
  }
  changed_.notify_all();
}

bool qmux_link::is_gone() {
  const platform::mutex_lock hold(lock_);
  return is_gone_;
}

void qmux_link::add(const std::shared_ptr<port>& added) {
  const platform::mutex_lock hold(lock_);
  ports_.insert(added);
}

void qmux_link::close(const std::shared_ptr<port>& closed) {
  const auto deadline = clock::now() + release_limit;
  const platform::mutex_lock hold(lock_);
  start_closing(closed);
  while (!closed->clients.empty() &&
         changed_.wait_until(lock_, deadline) == std::cv_status::no_timeout) {
  }
  ports_.erase(closed);
}

void qmux_link::release_all() {
  const auto deadline = clock::now() + release_limit;
  const platform::mutex_lock hold(lock_);
  for (const auto& each : ports_) start_closing(each);
  while (has_clients() && changed_.wait_until(lock_, deadline) == std::cv_status::no_timeout) {
  }
}

bool qmux_link::has_clients() const {
  return std::ranges::any_of(ports_, [](const auto& each) { return !each->clients.empty(); });
}

io_result qmux_link::send(const std::shared_ptr<port>& from, address to, byte_view datagram) {
  const platform::mutex_lock hold(lock_);
  if (is_gone_) return io_result::gone;
  if (from->is_closing) return io_result::done;  // the process ends
  if (to.port == protocol::qrtr::control_port) {
    const auto packet = protocol::qrtr::parse_control(datagram);
    if (!packet || packet->cmd != command::new_lookup) return io_result::done;
    from->lookups.push_back({packet->about.service, packet->about.instance_word, address{}});
    if (services_) look_up(*from, from->lookups.back());
    return io_result::done;
  }
  if (datagram.size() > qmux::longest_message) return io_result::gone;
  if (unwritten_.size() >= most_unwritten) return io_result::would_block;
  const auto service = static_cast<std::uint8_t>(to.port);
  auto found = from->clients.find(service);
  if (found == from->clients.end()) {
    found = from->clients.emplace(service, port::client{}).first;
    allocate(from, service);
    if (is_gone_) return io_result::gone;
  }
  if (found->second.id == 0) {
    found->second.waiting.emplace_back(datagram.begin(), datagram.end());
  } else {
    write({service, found->second.id, datagram});
  }
  return is_gone_ ? io_result::gone : io_result::done;
}

received qmux_link::receive(port& at, std::span<std::uint8_t> buffer) {
  const platform::mutex_lock hold(lock_);
  if (at.received.empty()) {
    if (is_gone_) return {io_result::gone, {}, 0};
    eventfd_t count = 0;
    ::eventfd_read(at.event, &count);
    return {};
  }
  const port::datagram next = std::move(at.received.front());
  at.received.pop_front();
  std::copy_n(next.bytes.begin(), std::min(next.bytes.size(), buffer.size()), buffer.begin());
  return {io_result::done, next.from, next.bytes.size()};
}

}  // namespace qmi
