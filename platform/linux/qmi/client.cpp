#include "platform/linux/qmi/client.h"

#include <algorithm>

#include "platform/linux/idl/codec.h"

namespace qmi {
namespace {

using protocol::qmi::header_size;
using protocol::qmi::message_kind;

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
  thread_.start([this] { run(); });
  return QMI_NO_ERR;
}

void client::stop() {
  stop_.set();
  thread_.wait();
}

void client::run() {
  while (!work_is_over()) wakes_->wait();
  end_all(stop_.is_set() ? QMI_CLIENT_INVALID_CLNT : QMI_SERVICE_ERR);
}

/// Does all the work there is; true when there will be no more.
bool client::work_is_over() {
  // With the turn, nothing is left over behind what is received next: the order stays.
  const bool has_turn = take_turn();
  bool goes_on = handle_left_overs();
  if (has_turn) {
    goes_on = goes_on && receive_what_is_there();
    end_turn();
  }
  return !goes_on || stop_.is_set();
}

bool client::handle_left_overs() {
  for (;;) {
    left_over next;
    {
      const platform::mutex_lock hold(lock_);
      if (left_overs_.empty()) return true;
      next = std::move(left_overs_.front());
      left_overs_.pop_front();
    }
    if (!handle_datagram(next.from, next.datagram)) return false;
  }
}

bool client::receive_what_is_there() {
  while (!stop_.is_set()) {
    const received got = port_->receive(buffer_);
    if (got.result == io_result::gone) return false;
    if (got.result == io_result::would_block) return true;
    if (got.size > buffer_.size()) continue;
    if (!handle_datagram(got.from, std::span(buffer_).first(got.size))) return false;
  }
  return true;
}

bool client::take_turn() {
  const platform::mutex_lock hold(lock_);
  if (is_receiving_) return false;
  is_receiving_ = true;
  wakes_->leave_out_port();
  return true;
}

void client::end_turn() {
  const platform::mutex_lock hold(lock_);
  is_receiving_ = false;
  // Whatever is there now, the end of the connection too, wakes the client's thread.
  wakes_->take_in_port();
}

bool client::is_answered(const exchange& request) {
  const platform::mutex_lock hold(lock_);
  return request.result.has_value();
}

void client::leave_over(address from, byte_view datagram) {
  {
    const platform::mutex_lock hold(lock_);
    left_overs_.push_back({from, {datagram.begin(), datagram.end()}});
  }
  wakes_->wake();
}

void client::receive_until_answered(const exchange& request, clock::time_point deadline) {
  const auto take = [&](address from, byte_view datagram) {
    const auto message = protocol::qmi::parse_message(datagram);
    if (message && from == server_ && message->head.kind == message_kind::response) {
      handle_response(*message);
      return !is_answered(request);
    }
    leave_over(from, datagram);
    // News of servers may be the end of this one, which the client's thread then tells.
    return from.port != protocol::qrtr::control_port;
  };
  static_cast<void>(receive_loop(*port_, stop_, buffer_, take, deadline));
}

bool client::handle_datagram(address from, byte_view datagram) {
  if (const auto event = parse_server_event(from, datagram)) {
    return !event->ends(service_->service_id, server_);
  }
  const auto message = protocol::qmi::parse_message(datagram);
  if (!message || from != server_) return true;
  if (message->head.kind == message_kind::response) handle_response(*message);
  if (message->head.kind == message_kind::indication) handle_indication(*message);
  return true;
}

void client::handle_indication(const protocol::qmi::message& indication) {
  if (indications_.callback == nullptr) return;
  // The callback's type has no const; what it points to is this thread's own.
  auto* tlvs = const_cast<std::uint8_t*>(indication.tlvs.data());
  indications_.callback(handle_, indication.head.message_id,
                        indication.tlvs.empty() ? nullptr : tlvs,
                        static_cast<unsigned>(indication.tlvs.size()), indications_.data);
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

void client::finish(exchange& request, qmi_client_error_type result) {
  if (request.result) return;
  request.result = result;
  request.answered.notify_one();
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

  exchange exchanged{.message_id = message_id, .response = response, .result = {}, .answered = {}};
  std::uint16_t transaction = 0;
  {
    const platform::mutex_lock hold(lock_);
    if (ended_) return *ended_;
    transaction = next_transaction();
    pending_.emplace(transaction, &exchanged);
  }
  protocol::qmi::write_header(
      {message_kind::request, transaction, message_id, static_cast<std::uint16_t>(tlv_length)},
      datagram);
  // Before it is sent, so that its answer cannot wake the client's thread.
  const bool has_turn = take_turn();
  const io_result sent = send_by(*port_, server_, datagram, deadline);
  if (has_turn) {
    if (sent == io_result::done) receive_until_answered(exchanged, deadline);
    end_turn();
  }

  const platform::mutex_lock hold(lock_);
  if (sent == io_result::gone) finish(exchanged, QMI_SERVICE_ERR);
  if (sent == io_result::would_block) finish(exchanged, QMI_TIMEOUT_ERR);
  const auto result = wait_for_answer(exchanged, deadline);
  pending_.erase(transaction);
  return result;
}

qmi_client_error_type client::wait_for_answer(exchange& request, clock::time_point deadline) {
  while (!request.result) {
    if (deadline == clock::time_point::max()) {
      request.answered.wait(lock_);
    } else if (request.answered.wait_until(lock_, deadline) == std::cv_status::timeout) {
      finish(request, QMI_TIMEOUT_ERR);
    }
  }
  return *request.result;
}

void client::end_all(qmi_client_error_type error) {
  qmi_client_error_cb callback = nullptr;
  void* data = nullptr;
  {
    const platform::mutex_lock hold(lock_);
    ended_ = error;
    for (const auto& [transaction, request] : pending_) finish(*request, error);
    callback = error_callback_;
    data = error_data_;
  }
  if (error == QMI_SERVICE_ERR && callback != nullptr) callback(handle_, error, data);
}

qmi_client_error_type client::set_error_callback(qmi_client_error_cb callback, void* data) {
  {
    const platform::mutex_lock hold(lock_);
    error_callback_ = callback;
    error_data_ = data;
    if (ended_ != QMI_SERVICE_ERR) return QMI_NO_ERR;
  }
  if (callback != nullptr) callback(handle_, QMI_SERVICE_ERR, data);
  return QMI_SERVICE_ERR;
}

}  // namespace qmi
