#include "modem_stats/conversions.h"

#include <cmath>

#include "qcril-common/utilities/checked.h"

namespace {

/// The decimal digit of `magnitude` at 1 / `scale`. Each digit comes from a float product of its
/// own: consumers compare every digit, and library rounding would give different ones.
std::int64_t digit(float magnitude, float scale) {
  return static_cast<std::int64_t>(magnitude * scale) % 10;
}

/// Rounds the magnitude half up at the third decimal. Adding up the digits propagates the carry.
float two_decimals(double exact) {
  const auto value = static_cast<float>(exact);
  const float magnitude = std::fabs(value);
  const auto hundredths = digit(magnitude, 100) + (digit(magnitude, 1000) >= 5 ? 1 : 0);
  const auto rounded = static_cast<float>(
      static_cast<double>(static_cast<std::int64_t>(magnitude)) +
      static_cast<double>(digit(magnitude, 10)) * 0.1 + static_cast<double>(hundredths) * 0.01);
  return value < 0 ? -rounded : rounded;
}

}  // namespace

float modem_stats_i2f_rsrp(std::int32_t raw) {
  return two_decimals(checked_subtract(raw, 640) * 0.0625 - 140.0);
}

float modem_stats_i2f_rsrq(std::int32_t raw) {
  return two_decimals(raw * 0.0625 - 30.0);
}

float modem_stats_i2f_rssi(std::int32_t raw) {
  return two_decimals(raw * 0.0625 - 110.0);
}

float modem_stats_i2f_snr(std::int32_t raw) {
  return two_decimals(raw * 0.1 - 20.0);
}

float modem_stats_nr5g_rsrp(std::int32_t raw) {
  return two_decimals(raw * 0.0078125);
}

float modem_stats_nr5g_rsrq(std::int32_t raw) {
  return two_decimals(raw * 0.0078125);
}

float modem_stats_nr5g_rssi(std::int32_t raw) {
  return two_decimals(checked_subtract(raw, 4096) * 0.125);
}

float modem_stats_nr5g_snr(std::uint32_t raw) {
  if (raw == 0) return modem_stats_not_measured;
  return two_decimals(10.0 * std::log10(raw * 0.0009765625));
}

float modem_stats_nr5g_rsrp_ex(std::int32_t raw) {
  if (raw == 0) return modem_stats_not_measured;
  return static_cast<float>(raw * 0.0078125);
}

float modem_stats_lte_rssi(std::int32_t raw) {
  return two_decimals((raw - 1024.0) * 0.25);
}

float modem_stats_wcdma_rssi(std::int32_t raw) {
  return two_decimals((raw + 512.0) / 10.0 - 106.0);
}

float modem_stats_gsm_rssi(std::int32_t raw) {
  return two_decimals(raw * 0.0625);
}
