// The quantities of all records, by subject. One that is in several records is here once.
#pragma once

#include "modem_stats/quantity.h"
#include "modem_stats/records/meanings.h"

namespace modem_stats::of {

consteval quantity in_dbm(const char* name, const char* about) {
  return {name, about, value_type::number, unit::dbm};
}
consteval quantity in_db(const char* name, const char* about) {
  return {name, about, value_type::number, unit::db};
}
consteval quantity in_bytes(const char* name, const char* about) {
  return {name, about, value_type::integer, unit::bytes};
}
/// A code, with the column of its meaning if that is known.
consteval quantity code(const char* name, const char* about, const meaning* means = nullptr) {
  return {name, about, value_type::integer, unit::none, means};
}

// Versions and counts of the packet.
inline constexpr quantity packet_version{"packet_version", "version of the packet",
                                         value_type::text};
inline constexpr quantity sub_packet_version{
    "sub_packet_version", "version of the sub-packet or chunk that the values are from",
    value_type::text};
inline constexpr quantity num_records{"num_records", "entries in the packet"};
inline constexpr quantity num_reports{"num_reports", "reports in the packet"};
inline constexpr quantity num_power_infos{"num_power_infos", "power infos in the packet"};
inline constexpr quantity num_carriers{"num_carriers", "carriers of the last entry in the packet"};

// Cells.
inline constexpr quantity pci{"pci", "physical cell identity"};
inline constexpr quantity dl_earfcn{"dl_earfcn", "downlink EARFCN"};
inline constexpr quantity ul_earfcn{"ul_earfcn", "uplink EARFCN"};
inline constexpr quantity ssb_nr_arfcn{"ssb_nr_arfcn", "NR-ARFCN of the SSB of the cell"};
inline constexpr quantity dl_nr_arfcn{"dl_nr_arfcn", "NR-ARFCN of the downlink carrier"};
inline constexpr quantity ul_nr_arfcn{"ul_nr_arfcn", "NR-ARFCN of the uplink carrier"};
inline constexpr quantity band{"band", "band number"};
inline constexpr quantity band_type_code =
    code("band_type_code", "frequency range of the band", &meanings::band_type);
inline constexpr quantity num_dl_rb{"num_dl_rb", "resource blocks of the downlink carrier",
                                    value_type::integer, unit::none,
                                    &meanings::dl_bandwidth_of_blocks};
inline constexpr quantity num_ul_rb{"num_ul_rb", "resource blocks of the uplink carrier",
                                    value_type::integer, unit::none,
                                    &meanings::ul_bandwidth_of_blocks};
inline constexpr quantity dl_bandwidth{"dl_bandwidth_MHz", "bandwidth of the downlink carrier",
                                       value_type::number, unit::mhz};
inline constexpr quantity ul_bandwidth{"ul_bandwidth_MHz", "bandwidth of the uplink carrier",
                                       value_type::number, unit::mhz};
inline constexpr quantity dl_bandwidth_code =
    code("dl_bandwidth_code", "index of the downlink bandwidth", &meanings::dl_bandwidth_of_index);
inline constexpr quantity ul_bandwidth_code =
    code("ul_bandwidth_code", "index of the uplink bandwidth", &meanings::ul_bandwidth_of_index);
inline constexpr quantity cell_bandwidth_code =
    code("cell_bandwidth_code", "bandwidth of the cell");
inline constexpr quantity mcc{"mcc", "mobile country code"};
inline constexpr quantity mnc{"mnc", "mobile network code"};
inline constexpr quantity num_mnc_digits{"num_mnc_digits", "digits of the network code, 2 or 3"};
inline constexpr quantity tac{"tac", "tracking area code"};
inline constexpr quantity cell_identity{"cell_identity",
                                        "identity of the cell in its network, 28 bits in LTE, "
                                        "36 in NR"};
inline constexpr quantity allow_access{"allow_access", "1 if the cell allows access"};
inline constexpr quantity is_serving_cell{"is_serving_cell", "1 if marked as the serving cell"};
inline constexpr quantity carrier_index{"carrier_index",
                                        "0 for the primary carrier, from 1 on secondary ones"};
inline constexpr quantity rx_valid{"rx_valid", "bit N is set if antenna N was measured"};

// Levels. Receive chains are numbered as in the packet.
inline constexpr quantity rsrp = in_dbm("rsrp_dBm", "RSRP of the beam, filtered");
inline constexpr quantity rsrp_rx[] = {in_dbm("rsrp_rx0_dBm", "RSRP on receive chain 0"),
                                       in_dbm("rsrp_rx1_dBm", "RSRP on receive chain 1"),
                                       in_dbm("rsrp_rx2_dBm", "RSRP on receive chain 2"),
                                       in_dbm("rsrp_rx3_dBm", "RSRP on receive chain 3")};
inline constexpr quantity rsrq = in_db("rsrq_dB", "RSRQ of all chains");
inline constexpr quantity rsrq_rx[] = {in_db("rsrq_rx0_dB", "RSRQ on receive chain 0"),
                                       in_db("rsrq_rx1_dB", "RSRQ on receive chain 1"),
                                       in_db("rsrq_rx2_dB", "RSRQ on receive chain 2"),
                                       in_db("rsrq_rx3_dB", "RSRQ on receive chain 3")};
inline constexpr quantity rssi_rx[] = {in_dbm("rssi_rx0_dBm", "level received by chain 0"),
                                       in_dbm("rssi_rx1_dBm", "level received by chain 1"),
                                       in_dbm("rssi_rx2_dBm", "level received by chain 2"),
                                       in_dbm("rssi_rx3_dBm", "level received by chain 3")};
inline constexpr quantity snr_rx[] = {
    in_db("snr_rx0_dB", "SNR on receive chain 0"), in_db("snr_rx1_dB", "SNR on receive chain 1"),
    in_db("snr_rx2_dB", "SNR on receive chain 2"), in_db("snr_rx3_dB", "SNR on receive chain 3")};
inline constexpr quantity dl_path_loss = in_db("dl_path_loss_dB", "path loss of the downlink");

// Transmit power.
inline constexpr quantity pusch_tx_power = in_dbm("pusch_tx_power_dBm", "PUSCH power as sent");
inline constexpr quantity pucch_tx_power = in_dbm("pucch_tx_power_dBm", "PUCCH power as sent");
inline constexpr quantity srs_tx_power = in_dbm("srs_tx_power_dBm", "SRS power as sent");
inline constexpr quantity prach_tx_power = in_dbm("prach_tx_power_dBm", "PRACH power as sent");
inline constexpr quantity pusch_unlimited_tx_power =
    in_dbm("pusch_unlimited_tx_power_dBm", "PUSCH power asked for, before the limit");
inline constexpr quantity pucch_unlimited_tx_power =
    in_dbm("pucch_unlimited_tx_power_dBm", "PUCCH power asked for, before the limit");
inline constexpr quantity pusch_path_loss = in_db("pusch_path_loss_dB", "path loss for PUSCH");
inline constexpr quantity pucch_path_loss = in_db("pucch_path_loss_dB", "path loss for PUCCH");
inline constexpr quantity srs_path_loss = in_db("srs_path_loss_dB", "path loss for SRS");
inline constexpr quantity prach_path_loss = in_db("prach_path_loss_dB", "path loss for PRACH");
inline constexpr quantity pusch_max_tx_power =
    in_dbm("pusch_max_tx_power_dBm", "limit of the PUSCH power");
inline constexpr quantity pucch_max_tx_power =
    in_dbm("pucch_max_tx_power_dBm", "limit of the PUCCH power");
inline constexpr quantity srs_max_tx_power =
    in_dbm("srs_max_tx_power_dBm", "limit of the SRS power");
inline constexpr quantity prach_max_tx_power =
    in_dbm("prach_max_tx_power_dBm", "limit of the PRACH power");
inline constexpr quantity phr_index{"phr_index", "last power headroom report, its index"};

// Blocks of the shared channels.
inline constexpr quantity pdsch_mcs{"pdsch_mcs", "modulation and coding scheme of the downlink"};
inline constexpr quantity pusch_mcs{"pusch_mcs", "modulation and coding scheme of the uplink"};
inline constexpr quantity num_pdsch_rb{"num_pdsch_rb", "resource blocks of the PDSCH"};
inline constexpr quantity num_pusch_rb{"num_pusch_rb", "resource blocks of the PUSCH"};
inline constexpr quantity pusch_rb_assignment{
    "pusch_rb_assignment", "resource block assignment of the uplink, as in the DCI"};
inline constexpr quantity pdsch_modulation_bits{"pdsch_modulation_bits", "bits of a PDSCH symbol",
                                                value_type::integer, unit::none,
                                                &meanings::pdsch_modulation_of_bits};
inline constexpr quantity nr_pdsch_modulation_code =
    code("nr_pdsch_modulation_code", "modulation of the PDSCH", &meanings::pdsch_modulation_of_nr);
inline constexpr quantity pusch_modulation_code =
    code("pusch_modulation_code", "modulation of the PUSCH", &meanings::pusch_modulation_of_order);
inline constexpr quantity rnti_type_code =
    code("rnti_type_code", "kind of RNTI", &meanings::rnti_type);
inline constexpr quantity num_layers{"num_layers", "spatial layers of the block"};
inline constexpr quantity num_crnti_layers{"num_crnti_layers",
                                           "spatial layers of the last block for the C-RNTI"};
inline constexpr quantity tb_sum = in_bytes("tb_sum_bytes", "size of the blocks in the packet");
inline constexpr quantity tb_crnti_sum =
    in_bytes("tb_crnti_sum_bytes", "size of the blocks for the C-RNTI in the packet");
inline constexpr quantity crc_passed{"crc_passed", "1 if the checksum of the last block was right"};
inline constexpr quantity num_pdsch_decodes_total{"num_pdsch_decodes_total",
                                                  "PDSCH decodes since the start of the modem"};
inline constexpr quantity num_crc_failures_total{"num_crc_failures_total",
                                                 "of them with a wrong checksum"};
inline constexpr quantity tb_total =
    in_bytes("tb_total_bytes", "size of blocks since the start of the modem, modulo 2^32");

// Buffer status reports.
inline constexpr quantity bsr_lcg3_average =
    in_bytes("bsr_lcg3_average_bytes", "data of logical channel group 3, mean of the reports");
inline constexpr quantity num_bsr_lcg3{"num_bsr_lcg3", "reports of logical channel group 3"};
inline constexpr quantity bsr_lcg3_sum =
    in_bytes("bsr_lcg3_sum_bytes", "data of logical channel group 3, sum of the reports");
inline constexpr quantity bsr_index_average{"bsr_index_average",
                                            "mean of the buffer size indices, a whole number"};
inline constexpr quantity num_bsr{"num_bsr", "buffer size indices in the packet"};
inline constexpr quantity bsr_index_sum{"bsr_index_sum", "sum of the buffer size indices"};

// Channel state.
inline constexpr quantity rank_index{"rank_index", "rank less 1"};
inline constexpr quantity cqi{"cqi", "channel quality indicator"};
inline constexpr quantity cqi_cw0{"cqi_cw0", "wideband CQI of code word 0"};
inline constexpr quantity num_ri_bits{"num_ri_bits", "bits of the rank in the report"};
inline constexpr quantity num_cqi_bits{"num_cqi_bits", "bits of the CQI in the report"};

// Random access.
inline constexpr quantity lte_rach_result_code =
    code("lte_rach_result_code", "outcome of the attempt", &meanings::lte_rach_result);
inline constexpr quantity timing_advance{"timing_advance", "timing advance command of message 2"};

// RRC and mobility management.
inline constexpr quantity lte_rrc_state_code =
    code("lte_rrc_state_code", "LTE RRC state", &meanings::lte_rrc_state);
inline constexpr quantity nr_rrc_state_code =
    code("nr_rrc_state_code", "NR RRC state", &meanings::nr_rrc_state);
inline constexpr quantity rrc_active_time{"rrc_active_time", "time of connection"};
inline constexpr quantity num_rrc_setups{"num_rrc_setups", "connections set up"};
inline constexpr quantity rrc_setup{"rrc_setup", "1 if a connection was set up"};
inline constexpr quantity timer_id{"timer_id", "number of the timer"};
inline constexpr quantity format_constant{"format_constant", "always 4; no radio technology"};
inline constexpr quantity num_rlf_connected{"num_rlf_connected",
                                            "radio link failures while connected"};
inline constexpr quantity num_rlf_lte_active{"num_rlf_lte_active",
                                             "radio link failures while LTE was active"};
inline constexpr quantity rlf_cause_code =
    code("rlf_cause_code", "cause of the radio link failure", &meanings::rlf_cause);
inline constexpr quantity handover_time{"handover_time", "duration of the handover"};
inline constexpr quantity handover_type_code = code("handover_type_code", "always 1");
inline constexpr quantity scg_failure_cause_code =
    code("scg_failure_cause_code", "cause of the failure of the secondary cell group");
inline constexpr quantity num_cc_groups{"num_cc_groups", "groups of contiguous carriers"};
inline constexpr quantity num_nrdc_cc_groups{"num_nrdc_cc_groups",
                                             "such groups of the NR-DC secondary cell group"};
inline constexpr quantity num_active_cc{"num_active_cc", "active carriers"};
inline constexpr quantity num_nrdc_active_cc{"num_nrdc_active_cc",
                                             "active carriers of the NR-DC secondary cell group"};
inline constexpr quantity num_active_bearers{"num_active_bearers", "active radio bearers"};
inline constexpr quantity connection_mode_code =
    code("connection_mode_code", "how NR is connected", &meanings::connection_mode);
inline constexpr quantity dl_bearer_type_code =
    code("dl_bearer_type_code", "kind of radio bearer, downlink", &meanings::dl_bearer_type);
inline constexpr quantity dl_bearer_path_code =
    code("dl_bearer_path_code", "path of the bearer, downlink", &meanings::dl_bearer_path);
inline constexpr quantity dl_rohc{"dl_rohc", "1 if headers are compressed, downlink"};
inline constexpr quantity ul_bearer_type_code =
    code("ul_bearer_type_code", "kind of radio bearer, uplink", &meanings::ul_bearer_type);
inline constexpr quantity ul_bearer_path_code =
    code("ul_bearer_path_code", "path of the bearer, uplink", &meanings::ul_bearer_path);
inline constexpr quantity ul_rohc{"ul_rohc", "1 if headers are compressed, uplink"};

// Antennas and flow control.
inline constexpr quantity antenna_old_rx[] = {
    {"antenna_old_rx0", "antenna of receive chain 0 before the switch"},
    {"antenna_old_rx1", "antenna of receive chain 1 before the switch"},
    {"antenna_old_rx2", "antenna of receive chain 2 before the switch"},
    {"antenna_old_rx3", "antenna of receive chain 3 before the switch"}};
inline constexpr quantity antenna_new_rx[] = {
    {"antenna_new_rx0", "antenna of receive chain 0 after the switch"},
    {"antenna_new_rx1", "antenna of receive chain 1 after the switch"},
    {"antenna_new_rx2", "antenna of receive chain 2 after the switch"},
    {"antenna_new_rx3", "antenna of receive chain 3 after the switch"}};
inline constexpr quantity antenna_old_tx[] = {
    {"antenna_old_tx0", "antenna of transmit chain 0 before the switch"},
    {"antenna_old_tx1", "antenna of transmit chain 1 before the switch"}};
inline constexpr quantity antenna_new_tx[] = {
    {"antenna_new_tx0", "antenna of transmit chain 0 after the switch"},
    {"antenna_new_tx1", "antenna of transmit chain 1 after the switch"}};
inline constexpr quantity antenna_number{"antenna_number", "number of the antenna"};
inline constexpr quantity antenna_switch_path{"antenna_switch_path", "path of the switch"};
inline constexpr quantity signal_path{"signal_path", "path of the signal"};
inline constexpr quantity antenna_config_old{"antenna_config_old", "configuration before"};
inline constexpr quantity antenna_config_new{"antenna_config_new", "configuration after"};
inline constexpr quantity fc_state_last_code = code("fc_state_last_code", "state before");
inline constexpr quantity fc_state_current_code = code("fc_state_current_code", "state after");
inline constexpr quantity num_fc_actions{"num_fc_actions", "actions taken"};
inline constexpr quantity fc_action_type_code = code("fc_action_type_code", "the last action");
inline constexpr quantity fc_level_last{"fc_level_last", "its level before"};
inline constexpr quantity fc_level_current{"fc_level_current", "its level after"};

// Calls and IMS.
inline constexpr quantity cm_call_id{"cm_call_id", "number that the call manager gave the call"};
inline constexpr quantity num_calls{"num_calls", "calls that end"};
inline constexpr quantity call_type_code = code("call_type_code", "kind of call");
inline constexpr quantity service_type_code = code("service_type_code", "kind of service");
inline constexpr quantity sip_call_id{"sip_call_id", "number of the SIP call"};
inline constexpr quantity codec_code = code("codec_code", "codec of the frame", &meanings::codec);
inline constexpr quantity frame_type_code =
    code("frame_type_code", "frame type index of the codec");
inline constexpr quantity sip_direction_code =
    code("sip_direction_code", "direction of the message", &meanings::sip_direction);
inline constexpr quantity has_sdp{"has_sdp", "1 if the message has an SDP body"};
inline constexpr quantity sip_call_id_size =
    in_bytes("sip_call_id_bytes", "size of the Call-ID, with its NUL");
inline constexpr quantity sip_message_size = in_bytes("sip_message_bytes", "size of the message");
inline constexpr quantity sip_message_logged =
    in_bytes("sip_message_logged_bytes", "how much of the message was logged");
inline constexpr quantity sip_method_code =
    code("sip_method_code", "method of the message", &meanings::sip_method);
inline constexpr quantity sip_response_code =
    code("sip_response_code", "status code of a response");
inline constexpr quantity call_direction_code =
    code("call_direction_code", "direction of the call", &meanings::call_direction);
inline constexpr quantity setup_result_code =
    code("setup_result_code", "outcome of the setup", &meanings::setup_result);
inline constexpr quantity end_cause_code =
    code("end_cause_code", "why the session ended", &meanings::end_cause);
inline constexpr quantity call_setup_delay{"call_setup_delay_ms", "time until the call was set up",
                                           value_type::integer, unit::ms};
inline constexpr quantity rat_code = code("rat_code", "radio technology; codes not published");
inline constexpr quantity originating_url_size =
    in_bytes("originating_url_bytes", "size of the URI of the caller");
inline constexpr quantity terminating_url_size =
    in_bytes("terminating_url_bytes", "size of the URI of the called party");

}  // namespace modem_stats::of
