// Log 0xB821, NR RRC messages.
#include "decode/signalling/over_the_air.h"
#include "decode/signalling/reading.h"

namespace decode::signalling {

namespace {

using modem_stats::rejection;
using protocol::byte_view;
using protocol::load_le;

// Cell, channel and its size, timing, PDU number, length, part, message. The timing of all but the
// first is of an unknown form. That one is a word with the system frame number in its upper half
// and eight times the sub-frame in its lower one, or 0.
constexpr ota_layout with_time{7, 9, 4, 13, 17, 22, 0, 24};
constexpr ota_layout with_short_time{7, 9, 4, 0, 16, 21, 0, 23};
constexpr ota_layout with_cell_identity{7, 17, 4, 0, 24, 29, 0, 31};
constexpr ota_layout with_one_more{7, 17, 4, 0, 24, 29, 0, 32};
constexpr ota_layout with_parts{7, 17, 4, 0, 24, 29, 34, 35};

constexpr kind rrc(nr_channel channel) {
  return {family::nr_rrc, channel};
}
constexpr kind scg_failure{family::undissected, nr_scg_failure_measurements};

constexpr kind complete = rrc(nr_rrc_reconf_compl);

constexpr pdu_row pdus_7[] = {
    {1, rrc(nr_bcch_bch)}, {8, rrc(nr_ul_dcch)}, {9, rrc(nr_rrc_reconf)},
    {10, complete},        {23, scg_failure},    {24, rrc(nr_radio_bearer_config)},
};
constexpr pdu_row pdus_to_10[] = {
    {1, rrc(nr_bcch_bch)},   {2, rrc(nr_bcch_dl_sch)}, {3, rrc(nr_dl_ccch)},  {4, rrc(nr_dl_dcch)},
    {5, rrc(nr_pcch)},       {6, rrc(nr_ul_ccch)},     {7, rrc(nr_ul_ccch1)}, {8, rrc(nr_ul_dcch)},
    {9, rrc(nr_rrc_reconf)}, {10, complete},
};
constexpr pdu_row after_10_in_8[] = {{25, scg_failure}, {26, rrc(nr_radio_bearer_config)}};
constexpr pdu_row after_10_in_9[] = {{24, scg_failure},
                                     {25, rrc(nr_radio_bearer_config)},
                                     {28, rrc(nr_ue_mrdc_cap)},
                                     {29, rrc(nr_ue_nr_cap)}};
constexpr pdu_row after_10_in_14[] = {{28, rrc(nr_radio_bearer_config)},
                                      {31, rrc(nr_ue_mrdc_cap)},
                                      {32, rrc(nr_ue_nr_cap)},
                                      {33, rrc(nr_ue_nr_cap)}};
constexpr pdu_row after_10_in_17[] = {{29, rrc(nr_radio_bearer_config)}};
constexpr pdu_row with_mcch[] = {
    {1, rrc(nr_bcch_bch)}, {2, rrc(nr_bcch_dl_sch)},
    {3, rrc(nr_dl_ccch)},  {4, rrc(nr_dl_dcch)},
    {5, rrc(nr_mcch)},     {6, rrc(nr_pcch)},
    {7, rrc(nr_ul_ccch)},  {8, rrc(nr_ul_ccch1)},
    {9, rrc(nr_ul_dcch)},  {36, rrc(nr_radio_bearer_config)},
};
constexpr pdu_row reconf_10[] = {{10, rrc(nr_rrc_reconf)}, {11, complete}};
constexpr pdu_row reconf_11[] = {{11, rrc(nr_rrc_reconf)}, {12, complete}};
constexpr pdu_row reconf_11_after_dcch[] = {
    {10, rrc(nr_ul_dcch)}, {11, rrc(nr_rrc_reconf)}, {12, complete}};

constexpr ota_version versions[] = {
    {7, with_time, pdus_7},
    {8, with_time, pdus_to_10, after_10_in_8},
    {9, with_time, pdus_to_10, after_10_in_9},
    {12, with_short_time, pdus_to_10, after_10_in_9},
    {14, with_short_time, pdus_to_10, after_10_in_14},
    {17, with_cell_identity, pdus_to_10, after_10_in_17},
    {19, with_one_more, pdus_to_10, after_10_in_17},
    {20, with_one_more, with_mcch, reconf_10},
    {23, with_parts, with_mcch, reconf_10},
    {24, with_parts, with_mcch, reconf_10},
    {25, with_one_more, pdus_to_10, after_10_in_17},
    {26, with_parts, with_mcch, reconf_11},
    {28, with_parts, with_mcch, reconf_11_after_dcch},
};

constexpr std::uint32_t most_nr_arfcn = 3279165;
constexpr std::uint32_t no_channel = 0xFFFFFFFF;

}  // namespace

reading read_nr_rrc(std::uint16_t /*code*/, byte_view payload, scratch& /*room*/) {
  if (payload.size() < sizeof(std::uint32_t)) return rejected(rejection::length, 0);
  const auto number = load_le<std::uint32_t>(payload);
  const auto* const version = find_version(versions, number);
  if (version == nullptr) return rejected(rejection::version, number);
  auto made = read_ota(*version, payload);
  if (!made.found) return made;
  message& found = *made.found;
  const auto channel = found.channel.value_or(0);
  if (channel == 0 || channel == no_channel) {  // it came within an LTE message
    found.channel.reset();
    found.cell.reset();
  } else if (channel > most_nr_arfcn) {
    return rejected(rejection::value, number);
  }
  if (version->layout.timing != 0) {
    const auto timing = load_le<std::uint32_t>(payload.subspan(version->layout.timing));
    if (timing != 0) {
      found.frame = static_cast<std::uint16_t>(timing >> 16);
      found.subframe = static_cast<std::uint8_t>((timing & 0xFFFF) / 8);
    }
  }
  return made;
}

}  // namespace decode::signalling
