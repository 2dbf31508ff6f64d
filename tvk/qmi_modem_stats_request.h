// The request of group 9, and the state that it leaves for the readers.
#pragma once

#include <array>
#include <cstdint>

#include "modem_stats/record.h"

/// Used by the main thread only.
struct qmi_modem_stats_state {
  std::int32_t client_id = -1;  ///< -1: none registered
  std::int32_t number = 0;      ///< the last request's number
  std::uint32_t id = 0;         ///< the payload's data id
  std::array<std::uint8_t, modem_stats_max_data_len> data{};
  std::int32_t data_left = 0;  ///< unread bytes of the payload
  std::int32_t cursor = 0;     ///< where they start in `data`
};
extern qmi_modem_stats_state g_qmi_modem_stats;

/// Requests a record and stores its bytes in the state. Returns 1 on failure, which it prints.
int norvel_test_qmi_modem_stats_get(int sub, std::uint32_t id);
