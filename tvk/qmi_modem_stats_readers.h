// Formats the payload of a statistics record as a line of text.
#pragma once

#include <span>

#include "modem_stats/record_schema.h"

/// A kind of record and the line to print for it, in which {NAME} stands for a field's value.
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

/// Reads all fields from the payload of the last request, then prints the line. When the payload is
/// too short, prints the first missing field instead and returns 1.
int read_and_print(const shown_record& kind);
