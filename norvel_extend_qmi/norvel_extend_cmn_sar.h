// The modem's SAR service.
#pragma once

/// The SAR state; -1 when it cannot be read. Call once per process: the client is never released.
int norvel_get_sar_dsi();
