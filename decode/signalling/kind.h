// The kinds of signalling messages: which of Wireshark's dissectors reads them, and what carries
// them to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace decode::signalling {

enum class direction : std::uint8_t { unknown, down, up };

/// Messages that are carried in the same way.
enum class family : std::uint8_t {
  lte_rrc,
  lte_nas,
  umts_rrc,
  gsm_radio,    // with what is below layer 3
  gsm_layer_3,  // of GSM and UMTS
  nr_rrc,
  nr_nas,
  sip,
  undissected,  // no dissector reads them alone
};

/// Numbers within a family. Where GSMTAP carries it, they are its subtypes.
enum lte_channel : std::uint8_t {
  lte_dl_ccch,
  lte_dl_dcch,
  lte_ul_ccch,
  lte_ul_dcch,
  lte_bcch_bch,
  lte_bcch_dl_sch,
  lte_pcch,
  lte_mcch,
  lte_bcch_bch_mbms,
  lte_bcch_dl_sch_br,
  lte_bcch_dl_sch_mbms,
  lte_dl_ccch_nb = 14,
  lte_dl_dcch_nb,
  lte_ul_ccch_nb,
  lte_ul_dcch_nb,
  lte_bcch_bch_nb,
  lte_bcch_dl_sch_nb = 20,
  lte_pcch_nb,
  lte_sc_mcch_nb,
};
enum lte_nas_form : std::uint8_t { lte_nas_plain, lte_nas_protected };
enum umts_channel : std::uint8_t {
  umts_dl_dcch,
  umts_ul_dcch,
  umts_dl_ccch,
  umts_ul_ccch,
  umts_pcch,
  umts_bcch_fach = 7,
  umts_bcch_bch,
  umts_mcch,
  umts_msch,
  umts_system_information_container = 14,
  umts_mib = 16,
  umts_sib1,
  umts_sib5bis = 22,
  umts_sib6,
  umts_sib11bis = 29,
  umts_sib12,
  umts_sib13,
  umts_sib14 = 36,
  umts_sib15,
  umts_sib15_1 = 39,
  umts_sib15_2 = 41,
  umts_sib15_3 = 44,
  umts_sib15_4 = 46,
  umts_sib15_5,
  umts_sib16 = 51,
  umts_sib17,
  umts_sib18,
  umts_sib19,
  umts_sb1 = 58,
  umts_sb2,
};
enum gsm_channel : std::uint8_t { gsm_bcch = 1, gsm_ccch, gsm_rach, gsm_pacch = 11 };
enum nr_channel : std::uint8_t {
  nr_bcch_bch,
  nr_bcch_dl_sch,
  nr_dl_ccch,
  nr_dl_dcch,
  nr_mcch,
  nr_pcch,
  nr_ul_ccch,
  nr_ul_ccch1,
  nr_ul_dcch,
  nr_rrc_reconf,
  nr_rrc_reconf_compl,
  nr_radio_bearer_config,
  nr_ue_mrdc_cap,
  nr_ue_nr_cap,
};
enum undissected_message : std::uint8_t { nr_scg_failure_measurements, gprs_internal };

struct kind {
  family of;
  std::uint8_t number;

  bool operator==(const kind&) const = default;
};

constexpr std::size_t most_kinds_of_family = 64;
constexpr std::size_t most_kinds =
    (static_cast<std::size_t>(family::undissected) + 1) * most_kinds_of_family;
constexpr std::size_t index_of(kind what) {
  return static_cast<std::size_t>(what.of) * most_kinds_of_family + what.number;
}
constexpr kind kind_at(std::size_t index) {
  return {static_cast<family>(index / most_kinds_of_family),
          static_cast<std::uint8_t>(index % most_kinds_of_family)};
}

/// The name of the dissector, or for families that GSMTAP carries, one in the same style.
[[nodiscard]] std::string_view name_of(kind what);
/// The kind with this name, if there is one.
[[nodiscard]] std::optional<kind> kind_named(std::string_view name);
/// Whether the message's name tells its direction, and which it is.
[[nodiscard]] direction direction_of(kind what);

enum class carrier : std::uint8_t { none, gsmtap, exported_pdu };

struct family_row {
  carrier by;
  std::uint8_t gsmtap_type;
  std::string_view channel_label;  // what the numbers of its radio channels are called
};
[[nodiscard]] const family_row& row_of(family of);

}  // namespace decode::signalling
