// NAS messages of the scenario, as the device and its network exchange them: EPS mobility and
// session management, protected where they would be. Keys and checksums are made up.
#pragma once

#include <cstdint>
#include <vector>

#include "simulator/modem/radio.h"

namespace sim::diag {

using message_bytes = std::vector<std::uint8_t>;

[[nodiscard]] message_bytes attach_request(const radio_values& seen);
[[nodiscard]] message_bytes pdn_connectivity_request(const radio_values& seen);
[[nodiscard]] message_bytes authentication_request(const radio_values& seen);
[[nodiscard]] message_bytes authentication_response(const radio_values& seen);
[[nodiscard]] message_bytes nas_security_mode_command(const radio_values& seen);
[[nodiscard]] message_bytes nas_security_mode_complete(const radio_values& seen);
[[nodiscard]] message_bytes attach_accept(const radio_values& seen);
[[nodiscard]] message_bytes default_bearer_request(const radio_values& seen);
[[nodiscard]] message_bytes default_bearer_accept(const radio_values& seen);
[[nodiscard]] message_bytes attach_complete(const radio_values& seen);
[[nodiscard]] message_bytes service_request(const radio_values& seen);

/// The same within a security header; the payload is not ciphered (EEA0).
[[nodiscard]] message_bytes protected_security_mode_command(const radio_values& seen);
[[nodiscard]] message_bytes protected_security_mode_complete(const radio_values& seen);
[[nodiscard]] message_bytes protected_attach_accept(const radio_values& seen);
[[nodiscard]] message_bytes protected_attach_complete(const radio_values& seen);

/// The identity that the network gives the device.
constexpr std::uint8_t mme_code = 1;
constexpr std::uint32_t m_tmsi = 0xC0A81234;

}  // namespace sim::diag
