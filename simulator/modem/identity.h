// Who the modem says it is.
#pragma once

#include <string>

#include "simulator/modem/item_store.h"

namespace sim {

inline constexpr const char* modem_manufacturer = "TVK";
inline constexpr const char* modem_model = "tvk-modem";
inline constexpr const char* operator_name = "Brightwater";
inline constexpr const char* subscriber_number = "15550100";

/// The digits of NV item 550; empty when it has been deleted.
[[nodiscard]] std::string imei_of(nv_store& items);

}  // namespace sim
