// Converts the modem's fixed-point measurement units to decibels with two decimals.
#pragma once

#include <cstdint>

/// The result for a value that was not measured.
constexpr float modem_stats_not_measured = 65535.0F;

// LTE serving-cell measurement: dBm, dB, dBm, dB. RSRP aborts on overflow of raw - 640.
float modem_stats_i2f_rsrp(std::int32_t raw);
float modem_stats_i2f_rsrq(std::int32_t raw);
float modem_stats_i2f_rssi(std::int32_t raw);
float modem_stats_i2f_snr(std::int32_t raw);

// NR5G: dBm, dB, dBm, dB. RSSI aborts on overflow of raw - 4096. Raw SNR is a power ratio times
// 1024; 0 means not measured.
float modem_stats_nr5g_rsrp(std::int32_t raw);
float modem_stats_nr5g_rsrq(std::int32_t raw);
float modem_stats_nr5g_rssi(std::int32_t raw);
float modem_stats_nr5g_snr(std::uint32_t raw);

/// Like modem_stats_nr5g_rsrp but not rounded; 0 means not measured.
float modem_stats_nr5g_rsrp_ex(std::int32_t raw);

// Receive levels, dBm.
float modem_stats_lte_rssi(std::int32_t raw);
float modem_stats_wcdma_rssi(std::int32_t raw);
float modem_stats_gsm_rssi(std::int32_t raw);
