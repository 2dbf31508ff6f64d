// RRC messages of the scenario, encoded in unaligned PER. What they say of the cell is what the
// radio measures.
#pragma once

#include <cstdint>

#include "simulator/diag/nas_messages.h"
#include "simulator/modem/radio.h"

namespace sim::diag {

[[nodiscard]] message_bytes lte_master_information(const radio_values& seen, std::uint16_t frame);
[[nodiscard]] message_bytes nr_master_information(const radio_values& seen, std::uint16_t frame);

[[nodiscard]] message_bytes system_information_1(const radio_values& seen);
[[nodiscard]] message_bytes paging(const radio_values& seen);
[[nodiscard]] message_bytes connection_request_to_attach(const radio_values& seen);
[[nodiscard]] message_bytes connection_request_when_paged(const radio_values& seen);
[[nodiscard]] message_bytes connection_setup(const radio_values& seen);
[[nodiscard]] message_bytes security_mode_command(const radio_values& seen);
[[nodiscard]] message_bytes security_mode_complete(const radio_values& seen);
[[nodiscard]] message_bytes reconfiguration(const radio_values& seen);
[[nodiscard]] message_bytes reconfiguration_complete(const radio_values& seen);
[[nodiscard]] message_bytes measurement_report(const radio_values& seen);
/// To the cell itself if it is the only one that the radio has.
[[nodiscard]] message_bytes handover_command(const radio_values& seen);
[[nodiscard]] message_bytes connection_release(const radio_values& seen);

// With a NAS message in them.
[[nodiscard]] message_bytes setup_complete(const message_bytes& nas);
[[nodiscard]] message_bytes downlink_nas(const message_bytes& nas);
[[nodiscard]] message_bytes uplink_nas(const message_bytes& nas);
[[nodiscard]] message_bytes reconfiguration_with(const message_bytes& nas);

}  // namespace sim::diag
