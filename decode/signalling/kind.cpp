#include "decode/signalling/kind.h"

#include <algorithm>
#include <span>

namespace decode::signalling {

namespace {

using enum direction;

struct kind_row {
  std::uint8_t number;
  direction way;
  std::string_view name;
};

constexpr kind_row lte_rrc_rows[] = {
    {lte_dl_ccch, down, "lte-rrc.dl.ccch"},
    {lte_dl_dcch, down, "lte-rrc.dl.dcch"},
    {lte_ul_ccch, up, "lte-rrc.ul.ccch"},
    {lte_ul_dcch, up, "lte-rrc.ul.dcch"},
    {lte_bcch_bch, down, "lte-rrc.bcch.bch"},
    {lte_bcch_dl_sch, down, "lte-rrc.bcch.dl.sch"},
    {lte_pcch, down, "lte-rrc.pcch"},
    {lte_mcch, down, "lte-rrc.mcch"},
    {lte_bcch_bch_mbms, down, "lte-rrc.bcch.bch.mbms"},
    {lte_bcch_dl_sch_br, down, "lte-rrc.bcch.dl.sch.br"},
    {lte_bcch_dl_sch_mbms, down, "lte-rrc.bcch.dl.sch.mbms"},
    {lte_dl_ccch_nb, down, "lte-rrc.dl.ccch.nb"},
    {lte_dl_dcch_nb, down, "lte-rrc.dl.dcch.nb"},
    {lte_ul_ccch_nb, up, "lte-rrc.ul.ccch.nb"},
    {lte_ul_dcch_nb, up, "lte-rrc.ul.dcch.nb"},
    {lte_bcch_bch_nb, down, "lte-rrc.bcch.bch.nb"},
    {lte_bcch_dl_sch_nb, down, "lte-rrc.bcch.dl.sch.nb"},
    {lte_pcch_nb, down, "lte-rrc.pcch.nb"},
    {lte_sc_mcch_nb, down, "lte-rrc.sc.mcch.nb"},
};

constexpr kind_row lte_nas_rows[] = {
    {lte_nas_plain, unknown, "nas-eps_plain"},
    {lte_nas_protected, unknown, "nas-eps"},
};

constexpr kind_row umts_rrc_rows[] = {
    {umts_dl_dcch, down, "rrc.dl.dcch"},
    {umts_ul_dcch, up, "rrc.ul.dcch"},
    {umts_dl_ccch, down, "rrc.dl.ccch"},
    {umts_ul_ccch, up, "rrc.ul.ccch"},
    {umts_pcch, down, "rrc.pcch"},
    {umts_bcch_fach, down, "rrc.bcch.fach"},
    {umts_bcch_bch, down, "rrc.bcch.bch"},
    {umts_mcch, down, "rrc.mcch"},
    {umts_msch, down, "rrc.msch"},
    {umts_system_information_container, down, "rrc.sysinfo.cont"},
    {umts_mib, down, "rrc.si.mib"},
    {umts_sib1, down, "rrc.si.sib1"},
    {umts_sib1 + 1, down, "rrc.si.sib2"},
    {umts_sib1 + 2, down, "rrc.si.sib3"},
    {umts_sib1 + 3, down, "rrc.si.sib4"},
    {umts_sib1 + 4, down, "rrc.si.sib5"},
    {umts_sib5bis, down, "rrc.si.sib5bis"},
    {umts_sib6, down, "rrc.si.sib6"},
    {umts_sib6 + 1, down, "rrc.si.sib7"},
    {umts_sib6 + 2, down, "rrc.si.sib8"},
    {umts_sib6 + 3, down, "rrc.si.sib9"},
    {umts_sib6 + 4, down, "rrc.si.sib10"},
    {umts_sib6 + 5, down, "rrc.si.sib11"},
    {umts_sib11bis, down, "rrc.si.sib11bis"},
    {umts_sib12, down, "rrc.si.sib12"},
    {umts_sib13, down, "rrc.si.sib13"},
    {umts_sib13 + 1, down, "rrc.si.sib13-1"},
    {umts_sib13 + 2, down, "rrc.si.sib13-2"},
    {umts_sib13 + 3, down, "rrc.si.sib13-3"},
    {umts_sib13 + 4, down, "rrc.si.sib13-4"},
    {umts_sib14, down, "rrc.si.sib14"},
    {umts_sib15, down, "rrc.si.sib15"},
    {umts_sib15_1, down, "rrc.si.sib15-1"},
    {umts_sib15_2, down, "rrc.si.sib15-2"},
    {umts_sib15_3, down, "rrc.si.sib15-3"},
    {umts_sib15_4, down, "rrc.si.sib15-4"},
    {umts_sib15_5, down, "rrc.si.sib15-5"},
    {umts_sib16, down, "rrc.si.sib16"},
    {umts_sib17, down, "rrc.si.sib17"},
    {umts_sib18, down, "rrc.si.sib18"},
    {umts_sib19, down, "rrc.si.sib19"},
    {umts_sb1, down, "rrc.si.sb1"},
    {umts_sb2, down, "rrc.si.sb2"},
};

constexpr kind_row gsm_radio_rows[] = {
    {gsm_bcch, down, "gsm.bcch"},
    {gsm_ccch, down, "gsm.ccch"},
    {gsm_rach, up, "gsm.rach"},
    {gsm_pacch, unknown, "gsm.pacch"},
};

constexpr kind_row gsm_layer_3_rows[] = {{0, unknown, "gsm_a_dtap"}};

constexpr kind_row nr_rrc_rows[] = {
    {nr_bcch_bch, down, "nr-rrc.bcch.bch"},
    {nr_bcch_dl_sch, down, "nr-rrc.bcch.dl.sch"},
    {nr_dl_ccch, down, "nr-rrc.dl.ccch"},
    {nr_dl_dcch, down, "nr-rrc.dl.dcch"},
    {nr_mcch, down, "nr-rrc.mcch"},
    {nr_pcch, down, "nr-rrc.pcch"},
    {nr_ul_ccch, up, "nr-rrc.ul.ccch"},
    {nr_ul_ccch1, up, "nr-rrc.ul.ccch1"},
    {nr_ul_dcch, up, "nr-rrc.ul.dcch"},
    {nr_rrc_reconf, down, "nr-rrc.rrc_reconf"},
    {nr_rrc_reconf_compl, up, "nr-rrc.rrc_reconf_compl"},
    {nr_radio_bearer_config, down, "nr-rrc.radiobearerconfig"},
    {nr_ue_mrdc_cap, up, "nr-rrc.ue_mrdc_cap"},
    {nr_ue_nr_cap, up, "nr-rrc.ue_nr_cap"},
};

constexpr kind_row nr_nas_rows[] = {{0, unknown, "nas-5gs"}};

constexpr kind_row sip_rows[] = {{0, unknown, "sip"}};

constexpr kind_row undissected_rows[] = {
    {nr_scg_failure_measurements, up, "nr MeasResultSCG-Failure"},
    {gprs_internal, unknown, "gprs internal"},
};

struct family_kinds {
  family_row row;
  std::span<const kind_row> kinds;
};

// In the order of the families. Stock Wireshark reads no NR in GSMTAP.
constexpr family_kinds families[] = {
    {{carrier::gsmtap, 13, "EARFCN"}, lte_rrc_rows},
    {{carrier::gsmtap, 18, "EARFCN"}, lte_nas_rows},
    {{carrier::gsmtap, 12, "UARFCN"}, umts_rrc_rows},
    {{carrier::gsmtap, 1, "ARFCN"}, gsm_radio_rows},
    {{carrier::gsmtap, 2, "ARFCN"}, gsm_layer_3_rows},
    {{carrier::exported_pdu, 0, "NR-ARFCN"}, nr_rrc_rows},
    {{carrier::exported_pdu, 0, "NR-ARFCN"}, nr_nas_rows},
    {{carrier::exported_pdu, 0, ""}, sip_rows},
    {{carrier::none, 0, ""}, undissected_rows},
};
static_assert(std::size(families) * most_kinds_of_family == most_kinds);

const kind_row& row_of(kind what) {
  const auto rows = families[static_cast<std::size_t>(what.of)].kinds;
  return *std::ranges::lower_bound(rows, what.number, {}, &kind_row::number);
}

}  // namespace

std::string_view name_of(kind what) {
  return row_of(what).name;
}

std::optional<kind> kind_named(std::string_view name) {
  for (std::size_t i = 0; i < std::size(families); ++i) {
    const auto rows = families[i].kinds;
    const auto found = std::ranges::find(rows, name, &kind_row::name);
    if (found != rows.end()) return kind{static_cast<family>(i), found->number};
  }
  return {};
}

direction direction_of(kind what) {
  return row_of(what).way;
}

const family_row& row_of(family of) {
  return families[static_cast<std::size_t>(of)].row;
}

}  // namespace decode::signalling
