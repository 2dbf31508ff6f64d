// How a request goes through the DIAG library in either mode, and what differs between a request
// whose response is awaited and one whose response is dropped.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

#include "norvel_extend_qmi/norvel_diag_send.h"
#include "platform/diag.h"

namespace norvel_diag {

/// An open connection: registers, sends on the local processor, and closes. `after_send` gets the
/// library's send result and gives that of the exchange.
struct callback_exchange {
  const char* function;  ///< the name that the log lines carry
  norvel_diag_response_handler handler;
  std::function<int(int sent)> after_send;
  void (*close)();
};
int run(const callback_exchange& steps, std::span<unsigned char> request);

/// From the registration of a client to its release. `after_send` runs when the library has taken
/// the request and gives the result of the exchange, which is else 1.
struct dci_exchange {
  const char* function;
  diag_dci_response handler;
  diag_dci_stream log;
  diag_dci_stream event;
  std::function<int()> after_send;
  void (*close)();
};
int run(const dci_exchange& steps, std::span<unsigned char> request,
        std::span<unsigned char> response);

constexpr std::size_t dci_response_size = 16384;
/// The room for a DCI response; null, and logged, when there is no memory.
[[nodiscard]] std::unique_ptr<unsigned char[]> allocate_dci_response(const char* function);

}  // namespace norvel_diag
