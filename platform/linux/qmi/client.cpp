#include "platform/linux/qmi/client.h"

#include <algorithm>

#include "platform/linux/idl/codec.h"

namespace qmi {
namespace {

using protocol::qmi::header_size;
using protocol::qmi::message_kind;

/// Limits how many datagrams are received before callbacks run: a modem may never stop sending.
constexpr int max_batch = 64;

std::size_t receive_buffer_size(qmi_idl_service_object_type service) {
  return (service->max_msg_len + header_size + 3) / 4 * 4;
}

}  // namespace

client::client(qmi_idl_service_object_type service, indication_receiver indications)
    : service_(service), indications_(indications), buffer_(receive_buffer_size(service)) {}

qmi_client_error_type client::start(qmi_client_type handle, address at) {
  handle_ = handle;
  server_ = at;
  found here = find_servers(service_->service_id);
  const bool is_up = std::ranges::any_of(
      here.servers, [&](const server& candidate) { return candidate.at == server_; });
  if (!is_up) return QMI_SERVICE_ERR;
  port_ = std::move(here.port);
  wakes_.emplace(port_->descriptor(), stop_);
  if (!wakes_->is_valid()) return QMI_INTERNAL_ERR;
  return thread_.start([self = shared_from_this()] { self->run(); }) ? QMI_NO_ERR
                                                                     : QMI_INTERNAL_ERR;
}

void client::stop() {
  stop_.set();
  thread_.wait();
}

void client::run() {
  while (!is_over()) {
    wakes_->wait();
    receive_pending();
    deliver_indications();
  }
  end();
}

bool client::is_over() {
  const platform::mutex_lock hold(lock_);
  return stop_.is_set() || (ended_ && undelivered_.empty());
}

void client::receive_pending() {
  {
    const platform::mutex_lock hold(lock_);
    if (!begin_receiving()) return;
  }
  bool is_up = true;
  for (int count = 0; is_up && count < max_batch && !stop_.is_set(); ++count) {
    const received got = port_->receive(buffer_);
    if (got.result == io_result::would_block) break;
    is_up = got.result != io_result::gone;
    if (is_up && got.size <= buffer_.size()) sort(got.from, std::span(buffer_).first(got.size));
  }
  const platform::mutex_lock hold(lock_);
  if (!is_up) end_requests(QMI_SERVICE_ERR);
  end_receiving();
}

void client::deliver_indications() {
  while (!stop_.is_set()) {
    indication next;
    {
      const platform::mutex_lock hold(lock_);
      if (undelivered_.empty()) return;
      next = std::move(undelivered_.front());
      undelivered_.pop_front();
    }
    indications_.callback(handle_, next.message_id, next.tlvs.empty() ? nullptr : next.tlvs.data(),
                          static_cast<unsigned>(next.tlvs.size()), indications_.data);
    const platform::mutex_lock hold(lock_);
    ++delivered_;
    announce_change();
  }
}

void client::end() {
  qmi_client_error_cb callback = nullptr;
  void* data = nullptr;
  {
    const platform::mutex_lock hold(lock_);
    end_requests(QMI_CLIENT_INVALID_CLNT);  // no effect if the server was lost first
    delivered_ = queued_;
    announce_change();
    if (!stop_.is_set()) callback = error_callback_;
    data = error_data_;
  }
  if (callback != nullptr) callback(handle_, QMI_SERVICE_ERR, data);
}

bool client::begin_receiving() {
  if (is_receiving_) return false;
  is_receiving_ = true;
  wakes_->ignore_port();
  return true;
}

void client::end_receiving() {
  is_receiving_ = false;
  // Pending datagrams now wake the client's thread. It may be busy in a callback, so threads that
  // wait for answers get the chance to receive as well.
  wakes_->watch_port();
  announce_change();
}

bool client::is_answered(const exchange& request) {
  const platform::mutex_lock hold(lock_);
  return request.result.has_value();
}

void client::receive_until_answered(exchange& request, clock::time_point deadline) {
  if (is_answered(request)) return;
  const auto take = [&](address from, byte_view datagram) {
    sort(from, datagram);
    return !is_answered(request);
  };
  const loop_end end = receive_loop(*port_, stop_, buffer_, take, deadline);
  const platform::mutex_lock hold(lock_);
  if (end == loop_end::gone) end_requests(QMI_SERVICE_ERR);
  if (end == loop_end::stopped) finish(request, QMI_CLIENT_INVALID_CLNT);
  if (end == loop_end::deadline) finish(request, QMI_TIMEOUT_ERR);
}

void client::sort(address from, byte_view datagram) {
  if (const auto event = parse_server_event(from, datagram)) {
    if (!event->ends(service_->service_id, server_)) return;
    const platform::mutex_lock hold(lock_);
    return end_requests(QMI_SERVICE_ERR);
  }
  const auto message = protocol::qmi::parse_message(datagram);
  if (!message || from != server_) return;
  if (message->head.kind == message_kind::response) handle_response(*message);
  if (message->head.kind == message_kind::indication) queue(*message);
}

void client::queue(const protocol::qmi::message& message) {
  if (indications_.callback == nullptr) return;
  const platform::mutex_lock hold(lock_);
  undelivered_.push_back({message.head.message_id, {message.tlvs.begin(), message.tlvs.end()}});
  ++queued_;
  wakes_->wake();
}

void client::handle_response(const protocol::qmi::message& answer) {
  const platform::mutex_lock hold(lock_);
  const auto at = pending_.find(answer.head.transaction);
  if (at == pending_.end()) return;
  exchange& request = *at->second;
  if (request.message_id != answer.head.message_id) return finish(request, QMI_INVALID_TXN);
  finish(request, idl::decode(service_, QMI_IDL_RESPONSE, request.message_id, answer.tlvs,
                              request.response));
}

/// Every later request fails with the first error; the client's thread reports it to the program.
void client::end_requests(qmi_client_error_type error) {
  if (!ended_) ended_ = error;
  for (const auto& [transaction, request] : pending_) finish(*request, *ended_);
  wakes_->wake();
}

void client::finish(exchange& request, qmi_client_error_type result) const {
  if (request.result) return;
  request.result = result;
  request.indications_before = queued_;
  request.changed.notify_one();
}

void client::announce_change() {
  for (const auto& [transaction, request] : pending_) request->changed.notify_one();
}

std::uint16_t client::next_transaction() {
  do {
    ++last_transaction_;
  } while (last_transaction_ == 0 || pending_.contains(last_transaction_));
  return last_transaction_;
}

qmi_client_error_type client::send_sync(std::uint16_t message_id,
                                        std::span<const std::uint8_t> request,
                                        std::span<std::uint8_t> response,
                                        std::optional<std::chrono::milliseconds> timeout) {
  const auto deadline = timeout ? clock::now() + *timeout : clock::time_point::max();
  const auto* row = idl::find_message(service_, QMI_IDL_REQUEST, message_id);
  if (row == nullptr) return QMI_IDL_MESSAGE_ID_NOT_FOUND;
  std::vector<std::uint8_t> datagram(header_size + row->max_msg_len);
  std::size_t tlv_length = 0;
  if (!request.empty()) {
    const auto error = idl::encode(service_, QMI_IDL_REQUEST, message_id, request,
                                   std::span(datagram).subspan(header_size), tlv_length);
    if (error != QMI_NO_ERR) return error;
  }
  datagram.resize(header_size + tlv_length);

  exchange exchanged{.message_id = message_id, .response = response};
  std::uint16_t transaction = 0;
  bool is_receiver = false;
  {
    const platform::mutex_lock hold(lock_);
    if (ended_) return *ended_;
    transaction = next_transaction();
    pending_.emplace(transaction, &exchanged);
    // Before sending, so that the answer does not needlessly wake the client's thread.
    is_receiver = begin_receiving();
  }
  protocol::qmi::write_header(
      {message_kind::request, transaction, message_id, static_cast<std::uint16_t>(tlv_length)},
      datagram);
  const io_result sent = send_by(*port_, server_, datagram, deadline);
  if (sent != io_result::done) {
    const platform::mutex_lock hold(lock_);
    finish(exchanged, sent == io_result::gone ? QMI_SERVICE_ERR : QMI_TIMEOUT_ERR);
  }
  for (;;) {
    if (is_receiver) receive_until_answered(exchanged, deadline);
    const platform::mutex_lock hold(lock_);
    if (is_receiver) end_receiving();
    is_receiver = wait_to_receive(exchanged, deadline);
    if (is_receiver) continue;
    wait_for_indications(exchanged, deadline);
    pending_.erase(transaction);
    return *exchanged.result;
  }
}

bool client::wait_to_receive(exchange& request, clock::time_point deadline) {
  while (!request.result) {
    if (begin_receiving()) return true;
    if (!wait_for_change(request, deadline)) finish(request, QMI_TIMEOUT_ERR);
  }
  return false;
}

void client::wait_for_indications(exchange& request, clock::time_point deadline) {
  if (thread_.is_current()) return;
  while (delivered_ < request.indications_before && wait_for_change(request, deadline)) continue;
}

bool client::wait_for_change(exchange& request, clock::time_point deadline) {
  if (deadline != clock::time_point::max()) {
    return request.changed.wait_until(lock_, deadline) == std::cv_status::no_timeout;
  }
  request.changed.wait(lock_);
  return true;
}

qmi_client_error_type client::set_error_callback(qmi_client_error_cb callback, void* data) {
  {
    const platform::mutex_lock hold(lock_);
    const bool is_lost = ended_ == QMI_SERVICE_ERR;
    error_callback_ = is_lost ? nullptr : callback;  // called below, so not by the thread again
    error_data_ = data;
    if (!is_lost) return QMI_NO_ERR;
  }
  if (callback != nullptr) callback(handle_, QMI_SERVICE_ERR, data);
  return QMI_SERVICE_ERR;
}

}  // namespace qmi
