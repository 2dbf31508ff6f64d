// NV items and EFS files of the modem.
#pragma once

/// Moves the extension client's results out of the way of the library's own codes: -1, -2 and -3
/// become -101, -102 and -103; everything else stays.
int norvel_qmi_result_map(int old_result);
