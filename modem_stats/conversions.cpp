#include "modem_stats/conversions.h"

#include <array>
#include <cmath>
#include <cstddef>

#include "qcril-common/utilities/checked.h"

namespace {

/// The decimal digit of `magnitude` at 1 / `scale`. Each digit comes from a float product of its
/// own: consumers compare every digit, and library rounding would give different ones.
constexpr std::int64_t digit(float magnitude, float scale) {
  return static_cast<std::int64_t>(magnitude * scale) % 10;
}

/// Rounds the magnitude half up at the third decimal. Adding up the digits propagates the carry.
constexpr float two_decimals(double exact) {
  const auto value = static_cast<float>(exact);
  const float magnitude = value < 0 ? -value : value;
  const auto hundredths = digit(magnitude, 100) + (digit(magnitude, 1000) >= 5 ? 1 : 0);
  const auto rounded = static_cast<float>(
      static_cast<double>(static_cast<std::int64_t>(magnitude)) +
      static_cast<double>(digit(magnitude, 10)) * 0.1 + static_cast<double>(hundredths) * 0.01);
  return value < 0 ? -rounded : rounded;
}

/// A linear conversion, with the results for the raw values that a packet's field can have worked
/// out beforehand: there are sixteen of these fields in every LTE measurement.
template <unsigned field_width>
class linear_table {
 public:
  consteval linear_table(double step, double offset) : step_(step), offset_(offset) {
    for (std::size_t raw = 0; raw < results_.size(); ++raw) {
      results_[raw] = convert(static_cast<std::int32_t>(raw));
    }
  }

  [[nodiscard]] float operator()(std::int32_t raw) const {
    const auto index = static_cast<std::uint32_t>(raw);
    return index < results_.size() ? results_[index] : convert(raw);
  }

 private:
  [[nodiscard]] constexpr float convert(std::int32_t raw) const {
    return two_decimals(raw * step_ + offset_);
  }

  double step_;
  double offset_;
  std::array<float, std::size_t{1} << field_width> results_{};
};

constexpr linear_table<12> rsrp_table(0.0625, -180.0);
constexpr linear_table<10> rsrq_table(0.0625, -30.0);
constexpr linear_table<11> rssi_table(0.0625, -110.0);
constexpr linear_table<9> snr_table(0.1, -20.0);

}  // namespace

float modem_stats_i2f_rsrp(std::int32_t raw) {
  static_cast<void>(checked_subtract(raw, 640));  // the result counts from there, at -140 dBm
  return rsrp_table(raw);
}

float modem_stats_i2f_rsrq(std::int32_t raw) {
  return rsrq_table(raw);
}

float modem_stats_i2f_rssi(std::int32_t raw) {
  return rssi_table(raw);
}

float modem_stats_i2f_snr(std::int32_t raw) {
  return snr_table(raw);
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
