// The columns of all records: their names, and the values that outputs write.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>

#include "decode/output/record_form.h"
#include "decode/record_list.h"
#include "modem_stats/record_table.h"
#include "support/bytes.h"

namespace {

using modem_stats::column;
using modem_stats::unit;
using modem_stats::value_type;

TEST(records, page_about_them_is_up_to_date) {
  std::ifstream page(TVK_RECORDS_PAGE);
  const std::string text{std::istreambuf_iterator<char>(page), {}};
  EXPECT_TRUE(text == decode::record_list())
      << "tvk-decode --list-records > docs/formats/records.md makes it anew";
}

/// Calls `check` with every column of every record.
template <typename Check>
void for_each_column(Check check) {
  for (const auto* const schema : modem_stats::record_table()) {
    for (const auto& part : schema->parts()) {
      for (const auto& column : columns_of(part)) check(*schema, column);
    }
    for (const auto& column : columns_of(schema->beside)) check(*schema, column);
  }
}

TEST(records, names_follow_their_pattern) {
  const std::regex pattern("(lte|nr5g|wcdma|gsm|ims|cm|modem)(_[a-z0-9]+)+");
  const std::regex noise(".*_(ext|ind|fw|log|edition[0-9]+|v[0-9]+)(_.*)?");
  std::set<std::string> names;
  for (const auto* const schema : modem_stats::record_table()) {
    const std::string name = schema->name;
    EXPECT_TRUE(std::regex_match(name, pattern)) << name;
    EXPECT_FALSE(std::regex_match(name, noise)) << name;
    EXPECT_TRUE(names.insert(name).second) << name;
  }
}

TEST(columns, of_a_record_have_different_names) {
  for (const auto* const schema : modem_stats::record_table()) {
    std::set<std::string> names = {"file",   "packet", "time",    "radio",
                                   "source", "name",   "data_id", "raw"};
    const auto add = [&](const modem_stats::record_part& part, std::set<std::string>& to) {
      for (const auto& column : columns_of(part)) {
        EXPECT_TRUE(to.insert(column.name).second) << schema->name << ' ' << column.name;
      }
    };
    for (const auto& part : schema->parts()) {
      std::set<std::string> in_array;
      add(part, part.repeated() ? in_array : names);
      if (part.repeated()) {
        EXPECT_TRUE(names.insert(part.name).second) << part.name;
      }
    }
    add(schema->beside, names);
  }
}

TEST(columns, one_name_has_one_type_unit_and_description) {
  std::map<std::string, column> known;
  for_each_column([&](const auto& schema, const column& one) {
    const auto& first = known.emplace(one.name, one).first->second;
    EXPECT_EQ(one.type, first.type) << schema.name << ' ' << one.name;
    EXPECT_EQ(one.in, first.in) << schema.name << ' ' << one.name;
    if (one.means == nullptr && first.means == nullptr) {
      EXPECT_STREQ(one.about, first.about) << schema.name << ' ' << one.name;
    }
  });
}

TEST(columns, names_end_in_their_unit) {
  const std::regex words("[a-z][a-z0-9]*(_[A-Za-z0-9]+)*");
  const std::map<unit, std::string> units = {{unit::none, ""}, {unit::dbm, "dBm"},
                                             {unit::db, "dB"}, {unit::mhz, "MHz"},
                                             {unit::ms, "ms"}, {unit::bytes, "bytes"}};
  // Whatever looks like a unit: with a capital letter, or one of the usual ones.
  const std::regex looks_like_unit(".*[A-Z].*|bytes?|bits?|m?s|us|hz|khz|kb|mb|percent|rb");
  for_each_column([&](const auto& schema, const column& one) {
    const std::string name = one.name;
    EXPECT_TRUE(std::regex_match(name, words)) << schema.name << ' ' << name;
    const auto last = name.substr(name.rfind('_') + 1);
    const bool is_count = name.starts_with("num_") || name == "pdsch_modulation_bits";
    if (one.in == unit::none && !is_count) {
      EXPECT_FALSE(std::regex_match(last, looks_like_unit)) << schema.name << ' ' << name;
    } else if (!is_count) {
      EXPECT_EQ(last, units.at(one.in)) << schema.name << ' ' << name;
    }
    const bool is_level = one.in == unit::dbm || one.in == unit::db || one.in == unit::mhz;
    EXPECT_EQ(one.type == value_type::number, is_level) << schema.name << ' ' << name;
  });
}

TEST(columns, codes_are_followed_by_what_they_mean) {
  const std::regex needs_no_quotes("[A-Za-z0-9_.]*");
  const std::regex number("[0-9.]+|");
  const modem_stats::field_row* before = nullptr;
  for_each_column([&](const auto& schema, const column& one) {
    if (std::string_view(one.name).ends_with("_code")) {
      EXPECT_EQ(one.type, value_type::integer) << one.name;
    }
    EXPECT_EQ(std::string_view(one.about).find_first_of("\"'`\\|"), std::string_view::npos)
        << one.name;
    if (one.means != nullptr) {
      EXPECT_EQ(before, one.field) << schema.name << ' ' << one.name;
      EXPECT_TRUE(one.nullable) << one.name;
      const auto& allowed = one.type == value_type::text ? needs_no_quotes : number;
      for (const auto& texts : {one.means->texts, one.means->texts_before_3}) {
        for (const auto& text : texts) {
          EXPECT_TRUE(std::regex_match(std::string(text), allowed)) << one.name << ' ' << text;
        }
      }
    }
    before = one.field;
  });
}

struct value_row {
  unsigned data_id;
  std::string bytes;
  std::string columns;
  std::string beside = "";
};

std::string written(const value_row& row, const decode::record_style& style) {
  const auto bytes = support::hex(row.bytes);
  const auto beside = support::hex(row.beside);
  const auto* const schema =
      modem_stats::find_record_schema(modem_stats_data_id_e_type{row.data_id});
  decode::text_buffer text;
  decode::record_form(*schema, style).write(text, {bytes, beside});
  return std::string(text.view());
}

TEST(values, what_was_not_measured_or_sent_is_null) {
  const value_row rows[] = {
      // Marker values.
      {86, "05000300 ffff", R"(,"packet_version":"3.5","timing_advance":null)"},
      {86, "07000200 feff", R"(,"packet_version":"2.7","timing_advance":65534)"},
      {90, "05000300 01 7f00 ddff ff7f 0000",
       R"(,"packet_version":"3.5","num_carriers":1,"pusch_tx_power_dBm":12.7,)"
       R"("pucch_tx_power_dBm":-3.5,"srs_tx_power_dBm":null,"prach_tx_power_dBm":0.0)"},
      {91, "01000200 00000000 52b83ec1",
       R"(,"packet_version":"2.1","rsrp_dBm":null,"rsrq_dB":-11.92,"pci":710)", "c6020000"},
      {94, "00000300 000070c2 000076c2 000000c4 000000c4",
       R"(,"packet_version":"3.0","rssi_rx0_dBm":-60.00,"rssi_rx1_dBm":-61.50,)"
       R"("rssi_rx2_dBm":null,"rssi_rx3_dBm":null)"},
      {96, "15 02 008086c2 000080c3 000080c3 000080c3",
       R"(,"packet_version":"21","num_records":2,"rssi_rx0_dBm":-67.25,"rssi_rx1_dBm":null,)"
       R"("rssi_rx2_dBm":null,"rssi_rx3_dBm":null)"},
      {99, "00000200 02 02 e2ff20001500 e1ff20001700 ff7fff7fff7f ff7fff7fff7f",
       R"(,"packet_version":"2.0","sub_packet_version":"2","num_power_infos":2,)"
       R"("pusch_tx_power_dBm":-30.0,"pusch_path_loss_dB":32.0,"pusch_max_tx_power_dBm":21.0,)"
       R"("pucch_tx_power_dBm":-31.0,"pucch_path_loss_dB":32.0,"pucch_max_tx_power_dBm":23.0,)"
       R"("srs_tx_power_dBm":null,"srs_path_loss_dB":null,"srs_max_tx_power_dBm":null,)"
       R"("prach_tx_power_dBm":null,"prach_path_loss_dB":null,"prach_max_tx_power_dBm":null)"},
      {100, "00 03 0405 0607 01 02",
       R"(,"packet_version":null,"antenna_number":3,"antenna_switch_path":1284,)"
       R"("signal_path":1798,"antenna_config_old":1,"antenna_config_new":2)"},
      {109, "00*8 01 72060000 bc02",
       R"(,"handover_time":null,"handover_type_code":1,"dl_earfcn":1650,"pci":700)"},
      {110, "05 6666b6c2 666666c0",
       R"(,"packet_version":"5","rssi_rx0_dBm":-91.20,"rssi_rx1_dBm":null)"},
      {112, "07000000 0ad75b41 3d0a9541 00000000 00ff7f47",
       R"(,"packet_version":"7","snr_rx0_dB":13.74,"snr_rx1_dB":18.63,"snr_rx2_dB":0.00,)"
       R"("snr_rx3_dB":null,"pci":null,"dl_nr_arfcn":null,"carrier_index":null)",
       "ffff0000 ffffffff ff"},
      {113, "02000200 0001 0100 0202 0303 0001 ffff",
       R"(,"packet_version":"2.2","antenna_old_rx0":0,"antenna_new_rx0":1,"antenna_old_rx1":1,)"
       R"("antenna_new_rx1":0,"antenna_old_rx2":2,"antenna_new_rx2":2,"antenna_old_rx3":3,)"
       R"("antenna_new_rx3":3,"antenna_old_tx0":0,"antenna_new_tx0":1,"antenna_old_tx1":null,)"
       R"("antenna_new_tx1":null)"},
      {127, "00000000 01000000 01", R"(,"rrc_active_time":null,"num_rrc_setups":1,"rrc_setup":1)"},
      {130,
       "02000300 0000 00 0000 00000000 0000000010000000 0000 0000 5e630200 0000 5e630200 0000 00",
       R"(,"packet_version":"3.2","mcc":0,"num_mnc_digits":0,"mnc":0,"tac":0,"cell_identity":null,)"
       R"("pci":0,"band":0,"ssb_nr_arfcn":156510,"dl_bandwidth_MHz":null,"ul_nr_arfcn":156510,)"
       R"("ul_bandwidth_MHz":null,"allow_access":0)"},
      // The lowest levels stand for nothing measured.
      {135, "09000200 00a8dcc2 00000cc3 00001cc3 00ff7f47 00002cc2",
       R"(,"packet_version":"2.9","rsrp_rx0_dBm":-110.328125,"rsrp_rx1_dBm":null,)"
       R"("rsrp_rx2_dBm":null,"rsrp_rx3_dBm":null,"rsrq_dB":null,"pci":866,"ssb_nr_arfcn":156510)",
       "6203 5e630200"},
      {145, "00000200 01 02 00 ff ff ff",
       R"(,"packet_version":"2.0","fc_state_last_code":1,"fc_state_current_code":2,)"
       R"("num_fc_actions":0,"fc_action_type_code":null,"fc_level_last":null,)"
       R"("fc_level_current":null)"},
      // What another field says.
      {82,
       "01 12 94160000 9501 01 0200 000034c3 0000f0c1 0000dcc2 0000a0c1 0000c1c2 7b1436c1 486188c2 "
       "0000c07f 000034c3 0000f0c1 0000dcc2 0000a0c1 000034c3 0000f0c1 0000dcc2 0000a0c1",
       R"(,"packet_version":"1","sub_packet_version":"18","dl_earfcn":5780,"pci":405,)"
       R"("is_serving_cell":1,"rx_valid":2,"rsrp_rx0_dBm":null,"rsrq_rx0_dB":null,)"
       R"("rssi_rx0_dBm":null,"snr_rx0_dB":null,"rsrp_rx1_dBm":-96.50,"rsrq_rx1_dB":-11.38,)"
       R"("rssi_rx1_dBm":-68.19,"snr_rx1_dB":null,"rsrp_rx2_dBm":null,"rsrq_rx2_dB":null,)"
       R"("rssi_rx2_dBm":null,"snr_rx2_dB":null,"rsrp_rx3_dBm":null,"rsrq_rx3_dB":null,)"
       R"("rssi_rx3_dBm":null,"snr_rx3_dB":null,"carrier_index":0)",
       "00"},
      {85, "05000200 1500 ff00 22020000",
       R"(,"packet_version":"2.5","pdsch_mcs":21,"pusch_mcs":null,"pusch_rb_assignment":null)"},
      {89, "01000200 01 0b 02 00",
       R"(,"packet_version":"2.1","rank_index":1,"cqi":null,"num_ri_bits":2,"num_cqi_bits":0)"},
      {93, "24 01 00 00 02 00 00 00000000 00 00*8 00",
       R"(,"packet_version":"36","num_records":1,"pdsch_mcs":null,"num_pdsch_rb":null,)"
       R"("pdsch_modulation_bits":2,"pdsch_modulation":"QPSK","rnti_type_code":null,)"
       R"("rnti_type":null,"num_layers":null,"tb_sum_bytes":0,"num_crnti_layers":null,)"
       R"("tb_crnti_sum_bytes":0,"crc_passed":null)"},
      {114, "01 ff00 00000000 0000 00000000",
       R"(,"packet_version":"1","phr_index":null,"bsr_lcg3_average_bytes":null,)"
       R"("num_bsr_lcg3":0,"bsr_lcg3_sum_bytes":0)"},
      {125, "01 00 0000 e8070000 00 0d 0d",
       R"(,"packet_version":"1","call_direction_code":0,"call_direction":"originated",)"
       R"("setup_result_code":0,"setup_result":"success","call_setup_delay_ms":2024,)"
       R"("rat_code":null,"originating_url_bytes":13,"terminating_url_bytes":13)"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(written(row, decode::json_record), row.columns) << row.data_id;
  }
}

TEST(values, codes_have_their_meaning_beside_them) {
  const value_row rows[] = {
      {5, "07", R"(,"lte_rrc_state_code":7,"lte_rrc_state":"closing")"},
      {5, "06", R"(,"lte_rrc_state_code":6,"lte_rrc_state":null)"},
      {87, "05000200 09 0c 02",
       R"(,"packet_version":"2.5","nr_pdsch_modulation_code":9,"pdsch_modulation":"64QAM",)"
       R"("pdsch_mcs":12,"num_layers":2)"},
      // The same indices before version 3 and from then on.
      {97, "08000000 01 00 01 00 01 9d02 52d20900 33330000 4e00 01 0b 0b 01 02 00 01 02 00 10 02",
       R"(,"packet_version":"8","num_cc_groups":1,"num_nrdc_cc_groups":0,"num_active_cc":1,)"
       R"("num_nrdc_active_cc":0,"num_active_bearers":1,"carriers":[{"pci":669,)"
       R"("dl_nr_arfcn":643666,"ul_nr_arfcn":null,"band":78,"band_type_code":1,)"
       R"("band_type":"sub_6_GHz","dl_bandwidth_code":11,"dl_bandwidth_MHz":90.0,)"
       R"("ul_bandwidth_code":11,"ul_bandwidth_MHz":90.0}],"bearers":[{"dl_bearer_type_code":1,)"
       R"("dl_bearer_type":"SRB","dl_bearer_path_code":2,"dl_bearer_path":"NR","dl_rohc":0,)"
       R"("ul_bearer_type_code":1,"ul_bearer_type":"SRB","ul_bearer_path_code":2,)"
       R"("ul_bearer_path":"NR","ul_rohc":0}],"nr_rrc_state_code":16,"nr_rrc_state":"idle",)"
       R"("connection_mode_code":2,"connection_mode":"SA")"},
      {97, "03000300 00 00 00 01 00 9d02 52d20900 52d20900 4e00 02 0b 11 02 03",
       R"(,"packet_version":"3.3","num_cc_groups":0,"num_nrdc_cc_groups":0,"num_active_cc":0,)"
       R"("num_nrdc_active_cc":1,"num_active_bearers":0,"carriers":[{"pci":669,)"
       R"("dl_nr_arfcn":643666,"ul_nr_arfcn":643666,"band":78,"band_type_code":2,)"
       R"("band_type":"mmWave","dl_bandwidth_code":11,"dl_bandwidth_MHz":70.0,)"
       R"("ul_bandwidth_code":17,"ul_bandwidth_MHz":null}],"bearers":[],"nr_rrc_state_code":2,)"
       R"("nr_rrc_state":"connected","connection_mode_code":3,"connection_mode":"NR_DC")"},
      {116, "01 01 00 23 1204 1304 0600 0000 ff000000",
       R"(,"packet_version":"1","sip_direction_code":1,"sip_direction":"from_device","has_sdp":0,)"
       R"("sip_call_id_bytes":35,"sip_message_bytes":1042,"sip_message_logged_bytes":1043,)"
       R"("sip_method_code":6,"sip_method":"BYE","sip_response_code":null,"cm_call_id":null)"},
      {129, "03 3601 03 0401 fba4 0c506300 2101 02000000 d0030000 06 204a0000 0a 01",
       R"(,"packet_version":"3","mcc":310,"num_mnc_digits":3,"mnc":260,"tac":42235,)"
       R"("cell_identity":6508556,"pci":289,"band":2,"dl_earfcn":976,"num_dl_rb":6,)"
       R"("dl_bandwidth_MHz":1.4,"ul_earfcn":18976,"num_ul_rb":10,"ul_bandwidth_MHz":null,)"
       R"("allow_access":1)"},
      {131, "0100 0200 0300",
       R"(,"num_rlf_connected":1,"num_rlf_lte_active":2,"rlf_cause_code":3,)"
       R"("rlf_cause":"random_access_problem")"},
      {132, "01 31 02",
       R"(,"packet_version":"1","sub_packet_version":"49","lte_rach_result_code":2,)"
       R"("lte_rach_result":"failure_after_msg3")"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(written(row, decode::json_record), row.columns) << row.data_id;
  }
}

TEST(values, arrays_in_csv_are_json) {
  EXPECT_EQ(written({83, "31 02 f40000 8000 80 04 03 07 0f", ""}, decode::csv_record),
            R"(,49,2,"[{""pucch_tx_power_dBm"":-12.0,""num_pusch_rb"":null,)"
            R"(""pusch_modulation_code"":null,""pusch_modulation"":null,)"
            R"(""pusch_tx_power_dBm"":null,""pusch_mcs"":null},{""pucch_tx_power_dBm"":null,)"
            R"(""num_pusch_rb"":4,""pusch_modulation_code"":3,""pusch_modulation"":""64QAM"",)"
            R"(""pusch_tx_power_dBm"":7.0,""pusch_mcs"":15}]")");
  EXPECT_EQ(written({90, "05000300 01 7f00 ddff ff7f ff7f", ""}, decode::csv_record),
            ",3.5,1,12.7,-3.5,,");
}

}  // namespace
