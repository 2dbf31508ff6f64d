// The DIAG library of a Linux host (platform/diag.h) over one connection to a modem's DIAG port.
//
// Callback mode delivers only answers to requests, one raw packet per call, so that a program that
// takes the first packet for its answer is not misled by logs. DCI answers arrive in pieces of at
// most 4096 bytes. There are no remote processors.
#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "platform/diag.h"
#include "platform/linux/diag/connection.h"
#include "platform/linux/diag/dci_filter.h"
#include "platform/mutex.h"
#include "protocol/hdlc.h"

namespace diag {
namespace {

enum dci_result : int {
  dci_not_registered = 1002,
  dci_no_memory = 1003,
  dci_not_supported = 1004,
  dci_too_large = 1005,
  dci_send_failed = 1006,  ///< also for a request that a DCI client may not send
};

constexpr int local_processor = 0;
constexpr int callback_mode_owner = 0;  ///< DCI clients are numbered from 1
constexpr int max_dci_clients = 10;
constexpr std::size_t max_dci_piece = 4096;

struct dci_client {
  std::uint16_t peripherals = 0;
  int signal = 0;
  int data_signal = 0;
  diag_dci_stream log = nullptr;
  diag_dci_stream event = nullptr;
};

struct library {
  platform::mutex lock;
  std::shared_ptr<connection> link TVK_GUARDED_BY(lock);
  diag_callback callback TVK_GUARDED_BY(lock) = nullptr;
  void* context TVK_GUARDED_BY(lock) = nullptr;
  int logging_mode TVK_GUARDED_BY(lock) = DIAG_USB_MODE;
  std::map<int, dci_client> clients TVK_GUARDED_BY(lock);

  [[nodiscard]] std::shared_ptr<connection> present_link() {
    const platform::mutex_lock hold(lock);
    return link;
  }
  [[nodiscard]] std::map<int, dci_client> present_clients() {
    const platform::mutex_lock hold(lock);
    return clients;
  }
};

/// Never destroyed: the connection's thread uses it until the process ends.
library& the_library() {
  static library& only = *new library;
  return only;
}

int fail(dci_result result, int error) {
  errno = error;
  return result;
}

/// Without a handler a real-time signal would end the process.
void raise_handled(int signal, int value) {
  struct sigaction action {};
  if (signal == 0 || ::sigaction(signal, nullptr, &action) != 0) return;
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-cstyle-cast,performance-no-int-to-ptr)
  if (action.sa_handler == SIG_DFL || action.sa_handler == SIG_IGN) return;
  sigval data{};
  data.sival_int = value;
  ::sigqueue(::getpid(), signal, data);
}

void forward_to_clients(diag_dci_stream dci_client::*listener, byte_view bytes) {
  for (const auto& [id, client] : the_library().present_clients()) {
    if (client.*listener == nullptr) continue;
    std::vector<unsigned char> data(bytes.begin(), bytes.end());
    (client.*listener)(data.data(), static_cast<int>(data.size()));
    raise_handled(client.data_signal, 0);
  }
}

void signal_port_change(bool is_open) {
  constexpr int opened = 0x10000;
  constexpr int closed = 0x20000;
  for (const auto& [id, client] : the_library().present_clients()) {
    if ((client.peripherals & DIAG_CON_MPSS) == 0) continue;
    raise_handled(client.signal, DIAG_CON_MPSS | (is_open ? opened : closed));
  }
}

void call_callback(byte_view answer) {
  diag_callback callback = nullptr;
  void* context = nullptr;
  {
    library& all = the_library();
    const platform::mutex_lock hold(all.lock);
    if (all.logging_mode != DIAG_CALLBACK_MODE) return;
    callback = all.callback;
    context = all.context;
  }
  if (callback == nullptr) return;
  std::vector<unsigned char> data(answer.begin(), answer.end());
  callback(data.data(), static_cast<int>(data.size()), context);
}

/// Delivers the answer to a DCI request.
struct dci_response {
  int client_id;
  unsigned char* room;
  std::size_t size;
  diag_dci_response handler;
  void* context;

  void operator()(byte_view answer) const {
    while (!answer.empty()) {
      const auto piece = answer.first(std::min({answer.size(), size, max_dci_piece}));
      answer = answer.subspan(piece.size());
      std::memcpy(room, piece.data(), piece.size());
      handler(room, static_cast<int>(piece.size()), context);
    }
    const auto clients = the_library().present_clients();
    if (const auto at = clients.find(client_id); at != clients.end()) {
      raise_handled(at->second.data_signal, 0);
    }
  }
};

/// Changes a registered client.
template <typename Change>
int change_client(int id, Change change) {
  library& all = the_library();
  const platform::mutex_lock hold(all.lock);
  const auto at = all.clients.find(id);
  if (at == all.clients.end()) return fail(dci_not_registered, ENOENT);
  change(at->second);
  return DIAG_DCI_NO_ERROR;
}

int add_client(library& all, const dci_client& client) TVK_REQUIRES(all.lock) {
  for (int id = 1; id <= max_dci_clients; ++id) {
    if (all.clients.try_emplace(id, client).second) return id;
  }
  return 0;
}

bool has_good_size(const unsigned char* request, int length) {
  return request != nullptr && length > 0 &&
         static_cast<std::size_t>(length) <= protocol::hdlc::max_packet_size;
}

}  // namespace
}  // namespace diag

unsigned char Diag_LSM_Init(unsigned char* /*environment*/) {
  diag::library& all = diag::the_library();
  const platform::mutex_lock hold(all.lock);
  if (all.link) return 1;
  auto link = std::make_shared<diag::connection>(diag::listeners{
      .log = [](diag::byte_view inner) { diag::forward_to_clients(&diag::dci_client::log, inner); },
      .event =
          [](diag::byte_view event) { diag::forward_to_clients(&diag::dci_client::event, event); },
      .port = diag::signal_port_change});
  if (!link->start()) return 0;
  all.link = std::move(link);
  return 1;
}

unsigned char Diag_LSM_DeInit(void) {
  std::shared_ptr<diag::connection> link;
  {
    diag::library& all = diag::the_library();
    const platform::mutex_lock hold(all.lock);
    link = std::exchange(all.link, nullptr);
    all.callback = nullptr;
    all.logging_mode = DIAG_USB_MODE;
    all.clients.clear();
  }
  if (!link) return 0;
  link->stop();
  return 1;
}

void diag_switch_logging(int mode, char* /*directory*/) {
  diag::library& all = diag::the_library();
  const platform::mutex_lock hold(all.lock);
  all.logging_mode = mode;
}

int diag_register_callback(diag_callback callback, void* context) {
  diag::library& all = diag::the_library();
  const platform::mutex_lock hold(all.lock);
  all.callback = callback;
  all.context = context;
  return 0;
}

int diag_register_remote_callback(diag_callback /*callback*/, int /*processor*/,
                                  void* /*context*/) {
  return -1;
}

int diag_has_remote_device(std::uint16_t* mask) {
  if (mask == nullptr) return 0;
  *mask = 0;
  return 1;
}

// NOLINTBEGIN(readability-non-const-parameter): the library's own signatures.
int diag_callback_send_data(int processor, unsigned char* request, int length) {
  const auto link = diag::the_library().present_link();
  if (!link || processor != diag::local_processor || !diag::has_good_size(request, length)) {
    return -1;
  }
  const diag::byte_view bytes(request, static_cast<std::size_t>(length));
  return link->send(bytes, diag::callback_mode_owner, diag::call_callback) ? 0 : -1;
}

int diag_register_dci_client(int* client_id, std::uint16_t* peripherals, int processor,
                             int* signal) {
  if (client_id == nullptr || peripherals == nullptr || processor != diag::local_processor) {
    return diag::fail(diag::dci_not_supported, EINVAL);
  }
  diag::library& all = diag::the_library();
  const platform::mutex_lock hold(all.lock);
  if (!all.link) return diag::fail(diag::dci_not_registered, ENODEV);
  const int id = diag::add_client(
      all, {.peripherals = *peripherals, .signal = signal == nullptr ? 0 : *signal});
  if (id == 0) return diag::fail(diag::dci_no_memory, ENOMEM);
  *client_id = id;
  return DIAG_DCI_NO_ERROR;
}

int diag_register_dci_signal_data(int client_id, int signal) {
  return diag::change_client(client_id, [&](auto& client) { client.data_signal = signal; });
}

int diag_get_dci_support_list_proc(int processor, std::uint16_t* peripherals) {
  if (peripherals == nullptr || processor != diag::local_processor) {
    return diag::fail(diag::dci_not_supported, EINVAL);
  }
  const auto link = diag::the_library().present_link();
  if (!link) return diag::fail(diag::dci_not_registered, ENODEV);
  *peripherals = DIAG_CON_APSS | (link->has_port() ? DIAG_CON_MPSS : 0);
  return DIAG_DCI_NO_ERROR;
}

int diag_register_dci_stream_proc(int client_id, diag_dci_stream log, diag_dci_stream event) {
  return diag::change_client(client_id, [&](auto& client) {
    client.log = log;
    client.event = event;
  });
}

int diag_send_dci_async_req(int client_id, unsigned char* request, int length,
                            unsigned char* response, int response_size, diag_dci_response handler,
                            void* context) {
  using namespace diag;  // NOLINT(google-build-using-namespace): this file's own namespace
  if (response == nullptr || response_size <= 0 || handler == nullptr) {
    return fail(dci_not_supported, EINVAL);
  }
  if (!has_good_size(request, length)) return fail(dci_too_large, EMSGSIZE);
  const auto link = the_library().present_link();
  if (!link || !the_library().present_clients().contains(client_id)) {
    return fail(dci_not_registered, ENOENT);
  }
  const byte_view bytes(request, static_cast<std::size_t>(length));
  if (is_refused_to_dci(bytes)) return fail(dci_send_failed, EACCES);
  const auto size = static_cast<std::size_t>(response_size);
  if (!link->send(bytes, client_id, dci_response{client_id, response, size, handler, context})) {
    return fail(dci_send_failed, ENODEV);
  }
  return DIAG_DCI_NO_ERROR;
}

int diag_release_dci_client(int* client_id) {
  if (client_id == nullptr) return diag::fail(diag::dci_not_supported, EINVAL);
  diag::library& all = diag::the_library();
  std::shared_ptr<diag::connection> link;
  {
    const platform::mutex_lock hold(all.lock);
    // A release after the library was closed finds no client: closing dropped them all.
    if (all.clients.erase(*client_id) == 0) return diag::fail(diag::dci_not_registered, ENOENT);
    link = all.link;
  }
  if (link) link->forget(*client_id);
  *client_id = 0;
  return DIAG_DCI_NO_ERROR;
}
// NOLINTEND(readability-non-const-parameter)
