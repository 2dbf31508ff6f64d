// The modem's SAR service.
#pragma once

/// The SAR state, -1 when it cannot be had. For once in a process: the client is not released.
int norvel_get_sar_dsi();
