// Single numbers that the modem remembers, by name.
#pragma once

#include <cstdint>
#include <limits>

#include "simulator/modem/store.h"

namespace sim {

/// A number, its range, and its value until it is set.
struct setting {
  const char* name;
  std::int64_t least;
  std::int64_t most;
  std::int64_t at_first;
};

namespace setting_of {
inline constexpr setting sar_state{"sar.state", 0, 20, 0};
/// 1: each logical slot is mapped to the other's physical one.
inline constexpr setting slots_crossed{"uicc.crossed", 0, 1, 0};
/// Second word << 32 | first word.
inline constexpr setting switch_notice{"switch.notice", std::numeric_limits<std::int64_t>::min(),
                                       std::numeric_limits<std::int64_t>::max(), 0};
/// By slot: 1 for a tray that is in, and 2 for a SIM.
inline constexpr setting card[] = {{"card.0", 0, 3, 3}, {"card.1", 0, 3, 3}};
/// By physical slot: which of its cards has power, 0 for none.
inline constexpr setting connected[] = {{"uicc.connected.1", 0, 2, 1},
                                        {"uicc.connected.2", 0, 2, 1}};
/// By physical slot and PIN: the code after a 1, so that leading zeros count; tries left.
inline constexpr std::int64_t any_code = 199'999'999;
inline constexpr setting pin_code[][2] = {
    {{"pin.1.1", 10, any_code, 11234}, {"pin.1.2", 10, any_code, 15678}},
    {{"pin.2.1", 10, any_code, 11234}, {"pin.2.2", 10, any_code, 15678}}};
inline constexpr setting pin_tries[][2] = {
    {{"pin.tries.1.1", 0, 3, 3}, {"pin.tries.1.2", 0, 3, 3}},
    {{"pin.tries.2.1", 0, 3, 3}, {"pin.tries.2.2", 0, 3, 3}}};
inline constexpr setting puk_tries[][2] = {
    {{"puk.tries.1.1", 0, 10, 10}, {"puk.tries.1.2", 0, 10, 10}},
    {{"puk.tries.2.1", 0, 10, 10}, {"puk.tries.2.2", 0, 10, 10}}};
/// Of PIN 1, by physical slot; PIN 2 is always enabled.
inline constexpr setting pin_enabled[] = {{"pin.enabled.1", 0, 1, 0}, {"pin.enabled.2", 0, 1, 0}};
/// 1: a hot-swap run is under way, or its modem was killed.
inline constexpr setting hot_swap_running{"hot_swap.running", 0, 1, 0};

inline constexpr const setting* all[] = {
    &sar_state,       &slots_crossed,   &switch_notice,    &card[0],         &card[1],
    &connected[0],    &connected[1],    &hot_swap_running, &pin_code[0][0],  &pin_code[0][1],
    &pin_code[1][0],  &pin_code[1][1],  &pin_tries[0][0],  &pin_tries[0][1], &pin_tries[1][0],
    &pin_tries[1][1], &puk_tries[0][0], &puk_tries[0][1],  &puk_tries[1][0], &puk_tries[1][1],
    &pin_enabled[0],  &pin_enabled[1]};
}  // namespace setting_of

/// Both functions throw `failure` when the state cannot be read or written.
class settings {
 public:
  explicit settings(store& store);

  [[nodiscard]] std::int64_t get(const setting& which);
  void set(const setting& which, std::int64_t value);

 private:
  prepared get_;
  prepared set_;
};

/// Throws `damage` when the row's column number `at` is not a value for this setting.
void check(SQLite::Statement& row, int at, const setting& which);

}  // namespace sim
