// The messages of each service, a row for each.
#pragma once

#include <span>

#include "simulator/service.h"

namespace sim {

[[nodiscard]] std::span<const message_row> extension_messages();
[[nodiscard]] std::span<const message_row> sar_messages();
[[nodiscard]] std::span<const message_row> uim_messages();
[[nodiscard]] std::span<const message_row> uim_file_messages();
[[nodiscard]] std::span<const message_row> pdc_messages();
[[nodiscard]] std::span<const message_row> nas_messages();
[[nodiscard]] std::span<const message_row> nas_signal_messages();
[[nodiscard]] std::span<const message_row> statistics_messages();
[[nodiscard]] std::span<const message_row> dms_messages();
[[nodiscard]] std::span<const message_row> wds_messages();
[[nodiscard]] std::span<const message_row> wda_messages();

}  // namespace sim
