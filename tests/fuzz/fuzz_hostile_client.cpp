// Whatever clients send: no message crashes the modem. The input chooses services and messages,
// most of them known ones, and makes their TLVs, most of them with types that messages have.
#include <fuzzer/FuzzedDataProvider.h>

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "protocol/qmi_message.h"
#include "simulator/dispatcher.h"
#include "simulator/services/services.h"
#include "support/temp_dir.h"

namespace {

struct deaf_port : sim::port {
  void send(protocol::qrtr::address /*to*/, protocol::qrtr::address /*from*/,
            protocol::byte_view /*datagram*/) override {}
};

/// What the modem keeps passes from one input to the next, as from one client to the next.
struct fuzzed_modem {
  support::temp_dir directory;
  asio::io_context io;
  sim::modem state{io, directory.path()};
  sim::trace trace{nullptr, sim::all_services()};
  sim::node node{sim::all_services(), trace};
  sim::dispatcher dispatcher{io, state, node, sim::faults({}), std::chrono::milliseconds(0), trace};
  deaf_port port;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto& modem = *new fuzzed_modem;
  FuzzedDataProvider input(data, size);
  const auto any_of = [&](const auto& rows) -> const auto& {
    return rows[input.ConsumeIntegralInRange<std::size_t>(0, rows.size() - 1)];
  };
  const sim::client clients[] = {{&modem.port, {1, 1}}, {&modem.port, {1, 2}}};
  while (input.remaining_bytes() != 0) {
    const sim::client& from = clients[input.ConsumeBool() ? 1 : 0];
    const sim::service_row& service = any_of(sim::all_services());
    std::uint16_t message = any_of(service.messages).id;
    if (input.ConsumeIntegral<std::uint8_t>() == 0xFF)
      message = input.ConsumeIntegral<std::uint16_t>();
    protocol::qmi::tlv_writer tlvs;
    while (tlvs.view().size() < 1000 && input.ConsumeBool()) {
      const auto type = input.ConsumeIntegral<std::uint8_t>();
      const auto most = input.ConsumeBool() ? 8U : 600U;
      tlvs.bytes(type, input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange(0U, most)));
    }
    modem.dispatcher.receive(from, modem.node.address_of(service),
                             protocol::qmi::build_message(protocol::qmi::message_kind::request, 1,
                                                          message, tlvs.view()));
    modem.io.poll();
    modem.io.restart();
  }
  for (const sim::client& each : clients) modem.dispatcher.client_gone(each);
  return 0;
}
