// The signal object of the QMI client library, as the library uses it.
#pragma once

#include "platform/qmi_client.h"

namespace qmi {

/// Initialises the caller's block as an unset signal whose waits use the monotonic clock.
void init_signal(qmi_client_os_params& signal);

void set_signal(qmi_client_os_params& signal);

}  // namespace qmi
