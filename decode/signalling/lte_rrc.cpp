// Log 0xB0C0, LTE RRC messages, and log 0xB197, from which the master information block can be had.
#include "decode/signalling/over_the_air.h"
#include "decode/signalling/reading.h"

namespace decode::signalling {

namespace {

using modem_stats::rejection;
using protocol::byte_view;
using protocol::load_le;

// Cell, channel and its size, timing, PDU number, length, part, message.
constexpr ota_layout first_layout{4, 6, 2, 8, 10, 11, 0, 13};
constexpr ota_layout with_sib_mask{4, 6, 2, 8, 10, 15, 0, 17};
constexpr ota_layout with_long_earfcn{4, 6, 4, 10, 12, 17, 0, 19};
constexpr ota_layout with_nr_release{6, 8, 4, 12, 14, 19, 0, 21};
constexpr ota_layout with_parts{6, 8, 4, 12, 14, 19, 23, 24};

constexpr kind rrc(lte_channel channel) {
  return {family::lte_rrc, channel};
}

constexpr pdu_row pdus_from_1[] = {
    {1, rrc(lte_bcch_bch)}, {2, rrc(lte_bcch_dl_sch)}, {3, rrc(lte_mcch)},    {4, rrc(lte_pcch)},
    {5, rrc(lte_dl_ccch)},  {6, rrc(lte_dl_dcch)},     {7, rrc(lte_ul_ccch)}, {8, rrc(lte_ul_dcch)},
};
constexpr pdu_row pdus_from_8[] = {
    {8, rrc(lte_bcch_bch)}, {9, rrc(lte_bcch_dl_sch)}, {10, rrc(lte_mcch)},
    {11, rrc(lte_pcch)},    {12, rrc(lte_dl_ccch)},    {13, rrc(lte_dl_dcch)},
    {14, rrc(lte_ul_ccch)}, {15, rrc(lte_ul_dcch)},
};
constexpr pdu_row pdus_to_9[] = {
    {1, rrc(lte_bcch_bch)}, {2, rrc(lte_bcch_dl_sch)}, {4, rrc(lte_mcch)},    {5, rrc(lte_pcch)},
    {6, rrc(lte_dl_ccch)},  {7, rrc(lte_dl_dcch)},     {8, rrc(lte_ul_ccch)}, {9, rrc(lte_ul_dcch)},
};
constexpr pdu_row pdus_to_11[] = {
    {1, rrc(lte_bcch_bch)},       {2, rrc(lte_bcch_bch_mbms)},    {3, rrc(lte_bcch_dl_sch)},
    {4, rrc(lte_bcch_dl_sch_br)}, {5, rrc(lte_bcch_dl_sch_mbms)}, {6, rrc(lte_mcch)},
    {7, rrc(lte_pcch)},           {8, rrc(lte_dl_ccch)},          {9, rrc(lte_dl_dcch)},
    {10, rrc(lte_ul_ccch)},       {11, rrc(lte_ul_dcch)},
};
constexpr pdu_row narrow_band_from_40[] = {
    {40, rrc(lte_bcch_bch_nb)}, {41, rrc(lte_bcch_dl_sch_nb)}, {42, rrc(lte_pcch_nb)},
    {43, rrc(lte_dl_ccch_nb)},  {44, rrc(lte_dl_dcch_nb)},     {45, rrc(lte_ul_ccch_nb)},
    {46, rrc(lte_ul_dcch_nb)},
};
constexpr pdu_row narrow_band_from_45[] = {
    {45, rrc(lte_bcch_bch_nb)}, {46, rrc(lte_bcch_dl_sch_nb)}, {47, rrc(lte_pcch_nb)},
    {48, rrc(lte_dl_ccch_nb)},  {49, rrc(lte_dl_dcch_nb)},     {50, rrc(lte_ul_ccch_nb)},
    {51, rrc(lte_sc_mcch_nb)},  {52, rrc(lte_ul_dcch_nb)},
};
constexpr pdu_row narrow_band_from_54[] = {
    {54, rrc(lte_bcch_bch_nb)}, {55, rrc(lte_bcch_dl_sch_nb)}, {56, rrc(lte_pcch_nb)},
    {57, rrc(lte_dl_ccch_nb)},  {58, rrc(lte_dl_dcch_nb)},     {59, rrc(lte_ul_ccch_nb)},
    {61, rrc(lte_ul_dcch_nb)},
};

constexpr ota_version versions[] = {
    {2, first_layout, pdus_from_1},
    {3, first_layout, pdus_from_1},
    {4, first_layout, pdus_from_1},
    {6, with_sib_mask, pdus_from_1},
    {7, with_sib_mask, pdus_from_1},
    {8, with_long_earfcn, pdus_from_1},
    {9, with_long_earfcn, pdus_from_8},
    {12, with_long_earfcn, pdus_from_8},
    {13, with_long_earfcn, pdus_from_1},
    {14, with_long_earfcn, pdus_to_9},
    {15, with_long_earfcn, pdus_to_9, narrow_band_from_40},
    {16, with_long_earfcn, pdus_to_9},
    {19, with_long_earfcn, pdus_to_11, narrow_band_from_45},
    {20, with_long_earfcn, pdus_to_9, narrow_band_from_54},
    {22, with_long_earfcn, pdus_from_1},
    {24, with_long_earfcn, pdus_to_9, narrow_band_from_54},
    {25, with_nr_release, pdus_to_9, narrow_band_from_54},
    {26, with_nr_release, pdus_to_11, narrow_band_from_45},
    {27, with_nr_release, pdus_to_11, narrow_band_from_45},
    {29, with_nr_release, pdus_to_11, narrow_band_from_45},
    {30, with_parts, pdus_to_11, narrow_band_from_45},
    {31, with_parts, pdus_to_11, narrow_band_from_45},
};

constexpr std::uint32_t most_earfcn = 262143;

/// Log 0xB197: what was read of a serving cell when it was found.
struct mib_layout {
  std::uint8_t version;
  std::uint8_t frame;
  std::uint8_t channel;
  std::uint8_t channel_size;
  std::uint8_t cell;  // 0: where it is, is not known
  std::uint8_t mib;   // a word whose upper three bytes are the block
};
constexpr mib_layout mib_layouts[] = {
    {1, 2, 4, 2, 0, 24},
    {2, 2, 4, 4, 8, 28},
};

}  // namespace

reading read_lte_rrc(std::uint16_t /*code*/, byte_view payload, scratch& /*room*/) {
  if (payload.empty()) return rejected(rejection::length, 0);
  const auto* const version = find_version(versions, payload[0]);
  if (version == nullptr) return rejected(rejection::version, payload[0]);
  auto made = read_ota(*version, payload);
  if (!made.found) return made;
  if (made.found->channel > most_earfcn) return rejected(rejection::value, version->number);
  if (made.found->way == direction::down) {
    const auto timing = load_le<std::uint16_t>(payload.subspan(version->layout.timing));
    made.found->subframe = static_cast<std::uint8_t>(timing & 0x0F);
    made.found->frame = static_cast<std::uint16_t>(timing >> 4 & 0x3FF);
  }
  return made;
}

reading read_lte_mib(std::uint16_t /*code*/, byte_view payload, scratch& room) {
  constexpr std::size_t mib_size = 3;
  if (payload.empty()) return rejected(rejection::length, 0);
  for (const auto& at : mib_layouts) {
    if (at.version != payload[0]) continue;
    if (payload.size() < at.mib + sizeof(std::uint32_t)) {
      return rejected(rejection::length, at.version);
    }
    const byte_view channel = payload.subspan(at.channel);
    const std::uint32_t earfcn = at.channel_size == sizeof(std::uint16_t)
                                     ? load_le<std::uint16_t>(channel)
                                     : load_le<std::uint32_t>(channel);
    if (earfcn > most_earfcn) return rejected(rejection::value, at.version);
    const byte_view word = payload.subspan(at.mib);
    room.resize(mib_size);
    for (std::size_t i = 0; i < mib_size; ++i) room[i] = word[mib_size - i];
    message found{.what = rrc(lte_bcch_bch),
                  .way = direction::down,
                  .bytes = room,
                  .version = at.version,
                  .channel = earfcn,
                  .frame = load_le<std::uint16_t>(payload.subspan(at.frame))};
    if (at.cell != 0) {
      found.cell =
          static_cast<std::uint16_t>(load_le<std::uint32_t>(payload.subspan(at.cell)) & 0x1FF);
    }
    return accepted(found);
  }
  return rejected(rejection::version, payload[0]);
}

}  // namespace decode::signalling
