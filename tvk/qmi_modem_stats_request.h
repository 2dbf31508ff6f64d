// One request of group 9, and what it leaves for the readers.
#pragma once

#include <array>
#include <cstdint>

#include "modem_stats/record.h"

/// Of the main thread.
struct qmi_modem_stats_state {
  std::int32_t client_id = -1;  ///< -1: none registered
  std::int32_t number = 0;      ///< of the last request
  std::uint32_t id = 0;         ///< of the payload
  std::array<std::uint8_t, modem_stats_max_data_len> data{};
  std::int32_t data_left = 0;  ///< bytes of the payload that are not read yet
  std::int32_t cursor = 0;     ///< where they begin in `data`
};
extern qmi_modem_stats_state g_qmi_modem_stats;

/// Asks for a record; its bytes are then in the state. 1 on any failure, which is printed.
int norvel_test_qmi_modem_stats_get(int sub, std::uint32_t id);
