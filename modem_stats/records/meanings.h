// What codes mean: texts by code, as 3GPP or the logs name them; docs/formats has where each is
// from.
#pragma once

#include <array>

#include "modem_stats/quantity.h"

namespace modem_stats::meanings {

using texts = std::string_view[];

inline constexpr texts lte_rrc_states = {
    "", "idle_not_camped", "idle_camped", "connecting", "connected", "", "", "closing"};
inline constexpr meaning lte_rrc_state{"lte_rrc_state", lte_rrc_states};

inline constexpr texts nr_rrc_states_before_3 = {"deactivated",
                                                 "initial",
                                                 "inactive",
                                                 "idle_not_camped",
                                                 "idle_camped",
                                                 "connecting",
                                                 "connecting_not_camped",
                                                 "connected",
                                                 "suspended",
                                                 "to_nr_started",
                                                 "closing",
                                                 "resuming",
                                                 "inactive_suspending",
                                                 "inactive_not_camped",
                                                 "inactive_camped",
                                                 "invalid",
                                                 "idle",
                                                 "other_radio"};
inline constexpr texts nr_rrc_states = {"inactive", "idle_not_camped", "connected", "suspended",
                                        "idle",     "other_radio",     "invalid"};
inline constexpr meaning nr_rrc_state{"nr_rrc_state", nr_rrc_states, nr_rrc_states_before_3};

inline constexpr texts connection_modes = {"none", "NSA", "SA", "NR_DC"};
inline constexpr meaning connection_mode{"connection_mode", connection_modes};

inline constexpr texts band_types = {"none", "sub_6_GHz", "mmWave"};
inline constexpr meaning band_type{"band_type", band_types};

inline constexpr texts nr_bandwidths_before_3 = {"5.0",  "10.0", "15.0",  "20.0",  "25.0",
                                                 "30.0", "40.0", "50.0",  "60.0",  "70.0",
                                                 "80.0", "90.0", "100.0", "200.0", "400.0"};
inline constexpr texts nr_bandwidths = {"5.0",  "10.0", "15.0",  "20.0",  "25.0", "30.0",
                                        "35.0", "40.0", "45.0",  "50.0",  "60.0", "70.0",
                                        "80.0", "90.0", "100.0", "200.0", "400.0"};
inline constexpr meaning dl_bandwidth_of_index{
    "dl_bandwidth_MHz", nr_bandwidths, nr_bandwidths_before_3, value_type::number, unit::mhz};
inline constexpr meaning ul_bandwidth_of_index{
    "ul_bandwidth_MHz", nr_bandwidths, nr_bandwidths_before_3, value_type::number, unit::mhz};

// TS 36.101, table 5.6-1: the transmission bandwidth of a carrier by its resource blocks.
inline constexpr auto lte_bandwidths = [] {
  std::array<std::string_view, 101> by_blocks{};
  by_blocks[6] = "1.4";
  by_blocks[15] = "3.0";
  by_blocks[25] = "5.0";
  by_blocks[50] = "10.0";
  by_blocks[75] = "15.0";
  by_blocks[100] = "20.0";
  return by_blocks;
}();
inline constexpr meaning dl_bandwidth_of_blocks{
    "dl_bandwidth_MHz", lte_bandwidths, {}, value_type::number, unit::mhz};
inline constexpr meaning ul_bandwidth_of_blocks{
    "ul_bandwidth_MHz", lte_bandwidths, {}, value_type::number, unit::mhz};

inline constexpr texts bearer_types = {"", "SRB", "DRB"};
inline constexpr meaning dl_bearer_type{"dl_bearer_type", bearer_types};
inline constexpr meaning ul_bearer_type{"ul_bearer_type", bearer_types};
inline constexpr texts bearer_paths = {"", "", "NR"};
inline constexpr meaning dl_bearer_path{"dl_bearer_path", bearer_paths};
inline constexpr meaning ul_bearer_path{"ul_bearer_path", bearer_paths};

// The three codings of a modulation.
inline constexpr texts modulations_by_bits = {"", "",      "QPSK", "",      "16QAM",
                                              "", "64QAM", "",     "256QAM"};
inline constexpr meaning pdsch_modulation_of_bits{"pdsch_modulation", modulations_by_bits};
inline constexpr texts modulations_by_order = {"", "QPSK", "16QAM", "64QAM", "256QAM"};
inline constexpr meaning pusch_modulation_of_order{"pusch_modulation", modulations_by_order};
inline constexpr texts nr_modulations = {"", "QPSK", "",      "", "", "16QAM", "",
                                         "", "",     "64QAM", "", "", "256QAM"};
inline constexpr meaning pdsch_modulation_of_nr{"pdsch_modulation", nr_modulations};

inline constexpr texts rnti_types = {"C",  "SPS",       "P",         "RA",  "temporary_C",
                                     "SI", "TPC_PUSCH", "TPC_PUCCH", "MBMS"};
inline constexpr meaning rnti_type{"rnti_type", rnti_types};

inline constexpr texts lte_rach_results = {"success", "failure_at_msg2", "failure_after_msg3", "",
                                           "aborted"};
inline constexpr meaning lte_rach_result{"lte_rach_result", lte_rach_results};

inline constexpr texts rlf_causes = {"configuration_failure", "handover_failure",
                                     "radio_link_failure",    "random_access_problem",
                                     "max_retransmissions",   "integrity_check_failure",
                                     "sib_read_failure",      "other"};
inline constexpr meaning rlf_cause{"rlf_cause", rlf_causes};

inline constexpr texts codecs = {"AMR",    "AMR_WB", "H.264", "H.263", "H.263",
                                 "G.711u", "G.711a", "EVS",   "H.265"};
inline constexpr meaning codec{"codec", codecs};

inline constexpr texts sip_directions = {"to_device", "from_device"};
inline constexpr meaning sip_direction{"sip_direction", sip_directions};
inline constexpr texts sip_methods = {"",      "REGISTER", "INVITE",    "PRACK",   "CANCEL",
                                      "ACK",   "BYE",      "SUBSCRIBE", "NOTIFY",  "UPDATE",
                                      "REFER", "MESSAGE",  "INFO",      "PUBLISH", "OPTIONS"};
inline constexpr meaning sip_method{"sip_method", sip_methods};

inline constexpr texts call_directions = {"originated", "terminated"};
inline constexpr meaning call_direction{"call_direction", call_directions};
inline constexpr texts setup_results = {"success"};
inline constexpr meaning setup_result{"setup_result", setup_results};
inline constexpr texts end_causes = {"originator",
                                     "terminator",
                                     "rtp_inactivity",
                                     "rtcp_inactivity",
                                     "circuit_switched_handover",
                                     "radio_link_failure"};
inline constexpr meaning end_cause{"end_cause", end_causes};

}  // namespace modem_stats::meanings
