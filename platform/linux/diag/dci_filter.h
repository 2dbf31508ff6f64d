// Requests that a DCI client may not send, because they change the masks of all clients.
#pragma once

#include "protocol/bytes.h"

namespace diag {

[[nodiscard]] bool is_refused_to_dci(protocol::byte_view request);

}  // namespace diag
