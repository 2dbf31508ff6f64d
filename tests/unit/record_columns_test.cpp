// The columns of all records: their names, and the values that outputs write.
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>

#include "decode/output/record_form.h"
#include "decode/record_list.h"
#include "modem_stats/record_table.h"
#include "support/test.h"

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

TEST(records, names_follow_their_pattern_and_columns_differ) {
  const std::regex pattern("(lte|nr5g|wcdma|gsm|ims|cm|modem)(_[a-z0-9]+)+");
  const std::regex noise(".*_(ext|ind|fw|log|edition[0-9]+|v[0-9]+)(_.*)?");
  std::set<std::string> records;
  for (const auto* const schema : modem_stats::record_table()) {
    EXPECT_TRUE(std::regex_match(schema->name, pattern)) << schema->name;
    EXPECT_FALSE(std::regex_match(schema->name, noise)) << schema->name;
    EXPECT_TRUE(records.insert(schema->name).second) << schema->name;
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
  std::string expected;
  std::string beside{};
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

/// The names of its columns that are null.
std::string nulls_of(const value_row& row) {
  const std::regex null("\"(\\w+)\":null");
  const std::string text = written(row, decode::json_record);
  std::string names;
  for (std::sregex_iterator at(text.begin(), text.end(), null), end; at != end; ++at) {
    names.append(names.empty() ? "" : " ").append((*at)[1]);
  }
  return names;
}

TEST(values, what_was_not_measured_or_sent_is_null) {
  const value_row rows[] = {
      // Marker values.
      {86, "05000300 ffff", "timing_advance"},
      {86, "07000200 feff", ""},
      {90, "05000300 01 7f00 ddff ff7f 0000", "srs_tx_power_dBm"},
      {91, "01000200 00000000 52b83ec1", "rsrp_dBm", "c6020000"},
      {94, "00000300 000070c2 000076c2 000000c4 000000c4", "rssi_rx2_dBm rssi_rx3_dBm"},
      {96, "15 02 008086c2 000080c3 000080c3 000080c3", "rssi_rx1_dBm rssi_rx2_dBm rssi_rx3_dBm"},
      {99, "00000200 02 02 e2ff20001500 e1ff20001700 ff7fff7fff7f ff7fff7fff7f",
       "srs_tx_power_dBm srs_path_loss_dB srs_max_tx_power_dBm prach_tx_power_dBm "
       "prach_path_loss_dB prach_max_tx_power_dBm"},
      {100, "00 03 0405 0607 01 02", "packet_version"},
      {109, "00*8 01 72060000 bc02", "handover_time"},
      {110, "05 6666b6c2 666666c0", "rssi_rx1_dBm"},
      {112, "07000000 0ad75b41 3d0a9541 00000000 00ff7f47",
       "snr_rx3_dB pci dl_nr_arfcn carrier_index", "ffff0000 ffffffff ff"},
      {113, "02000200 0001 0100 0202 0303 0001 ffff", "antenna_old_tx1 antenna_new_tx1"},
      {127, "00000000 01000000 01", "rrc_active_time"},
      {130,
       "02000300 0000 00 0000 00000000 0000000010000000 0000 0000 5e630200 0000 5e630200 0000 00",
       "cell_identity dl_bandwidth_MHz ul_bandwidth_MHz"},
      // The lowest levels stand for nothing measured.
      {135, "09000200 00a8dcc2 00000cc3 00001cc3 00ff7f47 00002cc2",
       "rsrp_rx1_dBm rsrp_rx2_dBm rsrp_rx3_dBm rsrq_dB", "6203 5e630200"},
      {145, "00000200 01 02 00 ff ff ff", "fc_action_type_code fc_level_last fc_level_current"},
      // What another field says.
      {82,
       "01 12 94160000 9501 01 0200 000034c3 0000f0c1 0000dcc2 0000a0c1 0000c1c2 7b1436c1 486188c2 "
       "0000c07f 000034c3 0000f0c1 0000dcc2 0000a0c1 000034c3 0000f0c1 0000dcc2 0000a0c1",
       "rsrp_rx0_dBm rsrq_rx0_dB rssi_rx0_dBm snr_rx0_dB snr_rx1_dB rsrp_rx2_dBm rsrq_rx2_dB "
       "rssi_rx2_dBm snr_rx2_dB rsrp_rx3_dBm rsrq_rx3_dB rssi_rx3_dBm snr_rx3_dB",
       "00"},
      {85, "05000200 1500 ff00 22020000", "pusch_mcs pusch_rb_assignment"},
      {89, "01000200 01 0b 02 00", "cqi"},
      {93, "24 01 00 00 02 00 00 00000000 00 00*8 00",
       "pdsch_mcs num_pdsch_rb rnti_type_code rnti_type num_layers num_crnti_layers crc_passed"},
      {114, "01 ff00 00000000 0000 00000000", "phr_index bsr_lcg3_average_bytes"},
      {125, "01 00 0000 e8070000 00 0d 0d", "rat_code"},
  };
  for (const auto& row : rows) EXPECT_EQ(nulls_of(row), row.expected) << row.data_id;
}

TEST(values, codes_have_their_meaning_beside_them) {
  const value_row rows[] = {
      {5, "07", R"(,"lte_rrc_state_code":7,"lte_rrc_state":"closing")"},
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
  };
  for (const auto& row : rows) {
    EXPECT_EQ(written(row, decode::json_record), row.expected) << row.data_id;
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
