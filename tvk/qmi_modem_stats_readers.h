// From the payload of a statistics record to the line that shows it.
#pragma once

#include <span>

#include "modem_stats/record_schema.h"

/// A kind of record, and its line, in which {NAME} stands for the value of a field.
struct shown_record {
  std::span<const modem_stats::field_row> fields;
  const char* line;
};

extern const shown_record g_lte_carrier;
extern const shown_record g_nr5g_rssi;
extern const shown_record g_nr5g_snr;
extern const shown_record g_nr5g_antenna_switch;
extern const shown_record g_nr5g_meas;
extern const shown_record g_wcdma_agc;
extern const shown_record g_gsm_agc;
extern const shown_record g_antenna_info;

/// Reads all fields from the payload of the last request, then prints the line. Returns 1, with the
/// first field that is not there told instead, when the payload is too short.
int read_and_print(const shown_record& kind);
