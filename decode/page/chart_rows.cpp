#include "decode/page/chart_rows.h"

namespace decode::page {

namespace {

constexpr chart_row all_charts[] = {
    {chart_id::rsrp, "RSRP", "dBm"},
    {chart_id::rsrq, "RSRQ", "dB"},
    {chart_id::rssi, "RSSI", "dBm"},
    {chart_id::sinr, "SINR", "dB"},
    {chart_id::beam_rsrp, "NR serving beam: RSRP", "dBm"},
    {chart_id::beam_rsrq, "NR serving beam: RSRQ", "dB"},
    {chart_id::serving_pci, "Serving cell", "PCI", true},
    {chart_id::tx_power, "Transmit power", "dBm"},
    {chart_id::headroom, "Power headroom", "index"},
    {chart_id::path_loss, "Path loss", "dB"},
    {chart_id::dl_rate, "Downlink throughput", "Mbit/s"},
    {chart_id::dl_errors, "Downlink block error rate", "%"},
    {chart_id::dl_mcs, "Downlink MCS", "index"},
    {chart_id::dl_modulation, "Downlink modulation", "bits per symbol"},
    {chart_id::dl_layers, "Downlink layers and reported rank", "layers"},
    {chart_id::cqi, "Channel quality indicator", "CQI"},
    {chart_id::ul_mcs, "Uplink MCS", "index"},
    {chart_id::ul_blocks, "Uplink resource blocks", "RB"},
    {chart_id::ul_buffer, "Uplink buffer, logical channel group 3", "bytes"},
    {chart_id::ul_buffer_index, "Uplink buffer size index", "index"},
    {chart_id::agc, "AGC: level received", "dBm"},
    {chart_id::rtp, "Time between RTP packets", "ms"},
};

constexpr series_row all_series[] = {
    {chart_id::rsrp, "LTE Rx#", 82, "rsrp_rx#_dBm"},
    {chart_id::rsrp, "LTE secondary Rx#", 108, "rsrp_rx#_dBm"},
    {chart_id::rsrp, "NR Rx#", 135, "rsrp_rx#_dBm"},
    {chart_id::rsrp, "NR secondary 1 Rx#", 6, "rsrp_rx#_dBm"},
    {chart_id::rsrp, "NR secondary 2 Rx#", 7, "rsrp_rx#_dBm"},
    {chart_id::rsrq, "LTE Rx#", 82, "rsrq_rx#_dB"},
    {chart_id::rsrq, "LTE secondary Rx#", 108, "rsrq_rx#_dB"},
    {chart_id::rsrq, "NR", 135, "rsrq_dB"},
    {chart_id::rsrq, "NR secondary 1", 6, "rsrq_dB"},
    {chart_id::rsrq, "NR secondary 2", 7, "rsrq_dB"},
    {chart_id::rssi, "LTE Rx#", 82, "rssi_rx#_dBm"},
    {chart_id::rssi, "LTE secondary Rx#", 108, "rssi_rx#_dBm"},
    {chart_id::sinr, "LTE Rx#", 82, "snr_rx#_dB"},
    {chart_id::sinr, "LTE secondary Rx#", 108, "snr_rx#_dB"},
    {chart_id::sinr, "NR Rx#", 137, "snr_rx#_dB"},
    {chart_id::sinr, "NR tracking loop Rx#", 112, "snr_rx#_dB"},
    {chart_id::beam_rsrp, "Beam", 91, "rsrp_dBm"},
    {chart_id::beam_rsrq, "Beam", 91, "rsrq_dB"},
    {chart_id::serving_pci, "LTE", 82, "pci"},
    {chart_id::serving_pci, "NR", 135, "pci"},
    {chart_id::serving_pci, "NR beam", 91, "pci"},
    {chart_id::tx_power, "LTE PUSCH", 83, "pusch_tx_power_dBm"},
    {chart_id::tx_power, "LTE PUCCH", 83, "pucch_tx_power_dBm"},
    {chart_id::tx_power, "LTE PUSCH asked for", 98, "pusch_unlimited_tx_power_dBm"},
    {chart_id::tx_power, "LTE PUCCH asked for", 128, "pucch_unlimited_tx_power_dBm"},
    {chart_id::tx_power, "NR PUSCH", 90, "pusch_tx_power_dBm"},
    {chart_id::tx_power, "NR PUCCH", 90, "pucch_tx_power_dBm"},
    {chart_id::tx_power, "NR SRS", 90, "srs_tx_power_dBm"},
    {chart_id::tx_power, "NR PRACH", 90, "prach_tx_power_dBm"},
    {chart_id::tx_power, "NR LL1 PUSCH", 99, "pusch_tx_power_dBm"},
    {chart_id::tx_power, "NR LL1 PUCCH", 99, "pucch_tx_power_dBm"},
    {chart_id::tx_power, "NR LL1 SRS", 99, "srs_tx_power_dBm"},
    {chart_id::tx_power, "NR LL1 PRACH", 99, "prach_tx_power_dBm"},
    {chart_id::headroom, "LTE", 114, "phr_index"},
    {chart_id::path_loss, "LTE PUSCH", 98, "dl_path_loss_dB"},
    {chart_id::path_loss, "LTE PUCCH", 128, "dl_path_loss_dB"},
    {chart_id::path_loss, "NR PUSCH", 99, "pusch_path_loss_dB"},
    {chart_id::path_loss, "NR PUCCH", 99, "pucch_path_loss_dB"},
    {chart_id::dl_rate, "LTE", 93, "tb_sum_bytes", series_kind::bytes},
    {chart_id::dl_rate, "NR", 88, "tb_total_bytes", series_kind::counted_bytes},
    {chart_id::dl_errors, "LTE", 93, "crc_passed", series_kind::failures},
    {chart_id::dl_errors, "NR", 88, "num_crc_failures_total", series_kind::counted_share,
     "num_pdsch_decodes_total"},
    {chart_id::dl_mcs, "LTE", 93, "pdsch_mcs"},
    {chart_id::dl_mcs, "NR", 87, "pdsch_mcs"},
    {chart_id::dl_mcs, "NR DCI", 85, "pdsch_mcs"},
    {chart_id::dl_modulation, "LTE", 93, "pdsch_modulation", series_kind::modulation_bits},
    {chart_id::dl_modulation, "NR", 87, "pdsch_modulation", series_kind::modulation_bits},
    {chart_id::dl_layers, "LTE", 93, "num_layers"},
    {chart_id::dl_layers, "LTE reported rank", 84, "rank_index", series_kind::level, nullptr, 1},
    {chart_id::dl_layers, "NR", 87, "num_layers"},
    {chart_id::dl_layers, "NR reported rank", 89, "rank_index", series_kind::level, nullptr, 1},
    {chart_id::cqi, "LTE code word 0", 84, "cqi_cw0"},
    {chart_id::cqi, "NR", 89, "cqi"},
    {chart_id::ul_mcs, "LTE", 83, "pusch_mcs"},
    {chart_id::ul_mcs, "NR DCI", 85, "pusch_mcs"},
    {chart_id::ul_blocks, "LTE", 83, "num_pusch_rb"},
    {chart_id::ul_buffer, "LTE", 114, "bsr_lcg3_average_bytes"},
    {chart_id::ul_buffer_index, "NR", 115, "bsr_index_average"},
    {chart_id::agc, "LTE Rx#", 96, "rssi_rx#_dBm"},
    {chart_id::agc, "NR Rx#", 94, "rssi_rx#_dBm"},
    {chart_id::agc, "WCDMA Rx#", 110, "rssi_rx#_dBm"},
    {chart_id::agc, "GSM Rx#", 111, "rssi_rx#_dBm"},
    {chart_id::rtp, "RTP", 136, "packet_version", series_kind::interval},
};

constexpr state_row all_states[] = {
    {"LTE RRC state", 5, "lte_rrc_state"},
    {"NR RRC state", 97, "nr_rrc_state"},
    {"NR connection", 97, "connection_mode"},
};

constexpr mark_row all_marks[] = {
    {"random access", 132},
    {"random access", 86},
    {"radio link failure", 131},
    {"secondary cell group failure", 138},
    {"new cell", 109},
    {"new cell", 92},
    {"connection", 127},
    {"timer", 95},
    {"timer", 102},
    {"call", 117},
    {"call", 118},
    {"SIP session", 119},
    {"SIP session", 120},
    {"SIP session", 121},
    {"SIP session", 122},
    {"SIP session", 123},
    {"SIP session", 124},
    {"VoLTE session", 125},
    {"VoLTE session", 126},
    {"SIP message", 116},
    {"antenna switch", 100},
    {"antenna switch", 113},
};

}  // namespace

std::span<const chart_row> charts() {
  return all_charts;
}
std::span<const series_row> series_rows() {
  return all_series;
}
std::span<const state_row> state_rows() {
  return all_states;
}
std::span<const mark_row> mark_rows() {
  return all_marks;
}

}  // namespace decode::page
