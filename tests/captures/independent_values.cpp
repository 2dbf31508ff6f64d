#include "captures/independent_values.h"

#include <cmath>
#include <regex>
#include <stdexcept>

namespace captures {

namespace {

using nlohmann::json;
using expected = std::vector<expectation>;

// Two decimals are formed digit by digit: a value may come out one hundredth off, and an SNR, whose
// tenths have no exact float, one tenth.
constexpr double exact = 0;
constexpr double hundredth = 0.0101;
constexpr double tenth = 0.1001;

double number(const json& value) {
  return value.is_string() ? std::stod(value.get<std::string>()) : value.get<double>();
}

/// A power above 127 is a negative one that was printed unsigned.
double signed_byte(const json& value) {
  const double power = number(value);
  return power > 127 ? power - 256 : power;
}

double resource_blocks(const json& bandwidth) {
  static const std::map<std::string, double> blocks{{"0 MHz", 0},   {"1.4 MHz", 6}, {"3 MHz", 15},
                                                    {"5 MHz", 25},  {"10 MHz", 50}, {"15 MHz", 75},
                                                    {"20 MHz", 100}};
  return blocks.at(bandwidth.get<std::string>());
}

double modulation(const json& name) {
  static const std::map<std::string, double> bits{
      {"QPSK", 2}, {"16QAM", 4}, {"64QAM", 6}, {"256QAM", 8}};
  return bits.at(name.get<std::string>());
}

double rnti(const json& name) {
  static const std::map<std::string, double> types{{"C-RNTI", 0},           {"P-RNTI", 2},
                                                   {"RA-RNTI", 3},          {"Temp-C-RNTI", 4},
                                                   {"Temporary-C-RNTI", 4}, {"SI-RNTI", 5}};
  return types.at(name.get<std::string>());
}

/// "PCell" is 0, "1_SCell" is 1.
double cell_index(const json& name) {
  const auto text = name.get<std::string>();
  return text == "PCell" ? 0 : std::stod(text);
}

struct same_value {
  const char* theirs;
  const char* ours;
  double tolerance = exact;
};

void add_value(expected& all, const json& from, const std::string& theirs, const std::string& ours,
               double tolerance) {
  if (from.contains(theirs)) all.push_back({ours, number(from[theirs]), tolerance});
}

template <std::size_t n>
void add_same(expected& all, const json& from, const same_value (&rows)[n]) {
  for (const auto& row : rows) add_value(all, from, row.theirs, row.ours, row.tolerance);
}

expected serving_cell_a(const json& one) {
  expected all{{"dl_bw", resource_blocks(one["Downlink bandwidth"]), exact},
               {"ul_bw", resource_blocks(one["Uplink bandwidth"]), exact}};
  constexpr same_value rows[] = {{"Version", "version"},
                                 {"Cell ID", "pci"},
                                 {"Downlink frequency", "dl_earfcn"},
                                 {"Uplink frequency", "ul_earfcn"},
                                 {"Cell Identity", "cgi"},
                                 {"TAC", "tac"},
                                 {"Band Indicator", "freq_band_ind"},
                                 {"MCC", "mcc"},
                                 {"MNC Digit", "mnc_num"},
                                 {"MNC", "mnc"},
                                 {"Allowed Access", "allow_access"}};
  add_same(all, one, rows);
  return all;
}

/// LTE and NR alike.
expected serving_cell_b(const json& one) {
  constexpr same_value rows[] = {{"pci", "pci"},
                                 {"dl_earfcn", "dl_earfcn"},
                                 {"ul_earfcn", "ul_earfcn"},
                                 {"dl_bw", "dl_bw"},
                                 {"ul_bw", "ul_bw"},
                                 {"dl_nrarfcn", "dl_earfcn"},
                                 {"ul_nrarfcn", "ul_earfcn"},
                                 {"dl_bandwidth", "dl_bw"},
                                 {"ul_bandwidth", "ul_bw"},
                                 {"cell_id", "cgi"},
                                 {"tac", "tac"},
                                 {"band", "freq_band_ind"},
                                 {"mcc", "mcc"},
                                 {"mnc_digit", "mnc_num"},
                                 {"mnc", "mnc"},
                                 {"allowed_access", "allow_access"}};
  expected all;
  add_same(all, one, rows);
  return all;
}

expected serving_measurement_a(const json& one) {
  const auto& cell = one["Subpackets"][0];
  const int version = cell["SubPacket Version"];
  expected all{{"srv_cell_idx", cell_index(cell["Serving Cell Index"]), exact}};
  constexpr same_value rows[] = {{"E-ARFCN", "earfcn"},
                                 {"Num-of-cells", "num_cells"},
                                 {"Physical Cell ID", "pci"},
                                 {"Is Serving Cell", "is_srv_cell"},
                                 {"RSRP", "avg_rsrp", hundredth}};
  for (const std::string antenna : {"0", "1", "2", "3"}) {
    const std::string theirs = " Rx[" + antenna + "]";
    add_value(all, cell, "RSRP" + theirs, "rsrp_rx" + antenna, hundredth);
    if (antenna > "1") continue;
    add_value(all, cell, "RSRQ" + theirs, "rsrq_rx" + antenna, hundredth);
    add_value(all, cell, "RSSI" + theirs, "rssi_rx" + antenna, hundredth);
    add_value(all, cell, "FTL SNR" + theirs, "snr_rx" + antenna, tenth);
  }
  add_same(all, cell, rows);
  // Its RSRQ is a copy of one antenna's in 22 and 36, its RSSI in 18.
  constexpr same_value rsrq[] = {{"RSRQ", "avg_rsrq", hundredth}};
  constexpr same_value rssi[] = {{"RSSI", "max_rssi", hundredth}};
  if (version != 22 && version != 36) add_same(all, cell, rsrq);
  if (version != 18) add_same(all, cell, rssi);
  return all;
}

/// In version 48 identity and SNR are all that is given.
expected serving_measurement_b(const json& one) {
  const auto& values = one["values"];
  const auto& head = values.contains("subpkt_scell_meas_v36") ? values["subpkt_scell_meas_v36"]
                                                              : values["subpkt_scell_meas_v48"];
  expected all;
  constexpr same_value head_rows[] = {
      {"earfcn", "earfcn"}, {"num_cells", "num_cells"}, {"valid_rx", "rx_valid"}};
  add_same(all, head, head_rows);
  for (const auto& cell : one["cells"]) {
    if (cell["is_scell"] != 1) continue;
    constexpr same_value rows[] = {{"pci", "pci"},
                                   {"scell_idx", "srv_cell_idx"},
                                   {"rsrp", "avg_rsrp", hundredth},
                                   {"rsrq", "avg_rsrq", hundredth},
                                   {"rssi", "max_rssi", hundredth}};
    add_same(all, cell, rows);
    for (const std::string antenna : {"0", "1", "2", "3"}) {
      for (const std::string level : {"rsrp", "rsrq", "rssi", "snr"}) {
        add_value(all, cell, level + antenna, level + "_rx" + antenna,
                  level == "snr" ? tenth : hundredth);
      }
    }
    break;
  }
  return all;
}

expected pusch_csf(const json& one) {
  const auto rank = one["Rank Index"].get<std::string>();  // "Rank 1"
  expected all{{"rank_idx", std::stod(rank.substr(5)) - 1, exact}};
  constexpr same_value rows[] = {{"Version", "version"}, {"WideBand CQI CW0", "wideband_cqi_cw0"}};
  add_same(all, one, rows);
  return all;
}

expected power_control(const json& one, const char* theirs, const char* ours) {
  const auto& last = one["Records"].back();
  return {{"version", number(one["Version"]), exact},
          {"num_records", number(one["Number of Records"]), exact},
          {ours, signed_byte(last[theirs]), exact},
          {"dl_path_loss", number(last["DL Path Loss"]), exact}};
}

expected pdsch_statistics(const json& one) {
  expected all{{"version", number(one["Version"]), exact},
               {"num_records", number(one["Num Records"]), exact}};
  double bytes = 0;
  double crnti_bytes = 0;
  double crnti_layers = 0;
  const json* last = nullptr;
  const json* last_record = nullptr;
  for (const auto& record : one["Records"]) {
    if (!record.contains("Transport Blocks")) continue;
    for (const auto& block : record["Transport Blocks"]) {
      last = &block;
      last_record = &record;
      bytes += number(block["TB Size"]);
      if (block["RNTI Type"] != "C-RNTI") continue;
      crnti_bytes += number(block["TB Size"]);
      crnti_layers = number(record["Num Layers"]);
    }
  }
  all.push_back({"tb_bytes", bytes, exact});
  all.push_back({"tb_bytes_crnti", crnti_bytes, exact});
  all.push_back({"num_layers_crnti", crnti_layers, exact});
  if (last == nullptr) return all;
  all.push_back({"pdsch_mcs", number((*last)["MCS"]), exact});
  all.push_back({"pdsch_rb", number((*last)["Num RBs"]), exact});
  all.push_back({"pdsch_rnti_type", rnti((*last)["RNTI Type"]), exact});
  all.push_back({"num_layers", number((*last_record)["Num Layers"]), exact});
  all.push_back({"crc_result", (*last)["CRC Result"] == "Pass" ? 1.0 : 0.0, exact});
  if (last->contains("Modulation Type")) {
    all.push_back({"pdsch_mod_type", modulation((*last)["Modulation Type"]), exact});
  }
  return all;
}

expected uplink_transport_blocks(const json& one) {
  double headroom = 255;
  double count = 0;
  double bytes = 0;
  for (const auto& packet : one["Subpackets"]) {
    for (const auto& sample : packet["Samples"]) {
      if (!sample.contains("Mac Hdr + CE")) continue;
      for (const auto& element : sample["Mac Hdr + CE"]) {
        if (element.contains("PHR Ind")) headroom = number(element["PHR Ind"]);
        if (!element.contains("BSR LCG 3")) continue;
        ++count;
        // Above 150000 it gives a text.
        bytes += element["BSR LCG 3"] == 63 ? 150000 : number(element["BSR LCG 3 (bytes)"]);
      }
    }
  }
  return {{"phr_ind", headroom, exact},
          {"bsr_lcg3_num", count, exact},
          {"bsr_lcg3_bytes", bytes, exact},
          {"bsr_lcg3_avg", count == 0 ? 0 : std::floor(bytes / count), exact}};
}

/// Of version 2.7, in which the one packet has one cell.
expected measurement_database_a(const json& one) {
  const auto& layer = one["Component_Carrier List"][0];
  const auto& cell = layer["Cells"][0];
  const auto& beam = cell["Beams[0]"];
  const auto level = [](const json& value) { return value == "NA" ? 65535.0 : number(value); };
  return {{"num_layers", number(one["Num Layers"]), exact},
          {"srv_pci", number(layer["Serving Cell PCI"]), exact},
          {"num_cells", number(layer["Num Cells"]), exact},
          {"pci_1", number(cell["PCI"]), exact},
          {"num_beams", number(cell["Num Beams"]), exact},
          {"rsrp0", level(beam["RX Beam Info-RSRPs[0]"]), hundredth},
          {"rsrp1", level(beam["RX Beam Info-RSRPs[1]"]), hundredth},
          {"rsrp2", level(layer["ServingRsrpRx23[0]"]), hundredth},
          {"rsrp3", level(layer["ServingRsrpRx23[1]"]), hundredth},
          {"rsrq", number(cell["Cell Quality Rsrq"]), hundredth}};
}

/// Its number of cells comes from swapped bytes in 2.9 and 2.10; the cells are right.
expected measurement_database_b(const json& one) {
  const auto text = one["text"].get<std::string>();
  static const std::regex form(
      R"(SCell PCI: +(\d+)[^]*Cell 0: PCI: +(\d+)[^]*?RSRQ: (-?[\d.]+), Num Beams: (\d+)[^]*?RSRP: (-?[\d.]+)/(-?[\d.]+))");
  std::smatch found;
  if (!std::regex_search(text, found, form)) throw std::runtime_error("unknown text: " + text);
  return {{"srv_pci", std::stod(found[1]), exact},   {"pci_1", std::stod(found[2]), exact},
          {"rsrq", std::stod(found[3]), hundredth},  {"num_beams", std::stod(found[4]), exact},
          {"rsrp0", std::stod(found[5]), hundredth}, {"rsrp1", std::stod(found[6]), hundredth}};
}

/// Takes the count of cells where 2.9's hand-made packet has none, and finds no cell there.
expected measurement_database_c(const json& one) {
  expected all{{"num_layers", number(one["num_cc"]), exact}};
  const auto& carrier = one["carriers"][0];
  all.push_back({"srv_pci", number(carrier["serving_pci"]), exact});
  if (carrier["cells"].empty()) return all;
  const auto& cell = carrier["cells"][0];
  all.push_back({"num_cells", number(carrier["num_cells"]), exact});
  all.push_back({"pci_1", number(cell["pci"]), exact});
  all.push_back({"num_beams", number(cell["num_beams"]), exact});
  all.push_back({"rsrq_i", number(cell["rsrq_raw"]), exact});
  all.push_back({"rsrp_i0", number(cell["beam_words"][5]), exact});
  all.push_back({"rsrp_i1", number(cell["beam_words"][6]), exact});
  return all;
}

}  // namespace

printed_values values_in(const std::string& lines) {
  static const std::regex form(R"(([a-z][a-z_0-9]*)(?: =)? (-?[0-9]+(?:\.[0-9]+)?)(?=[,\n]))");
  printed_values values;
  for (std::sregex_iterator at(lines.begin(), lines.end(), form), end; at != end; ++at) {
    values[(*at)[1]] = std::stod((*at)[2]);
  }
  return values;
}

std::vector<expectation> expectations(char decoder, std::uint16_t code, const json& decoded) {
  switch (code) {
    case 0xB064:
      return decoder == 'a' ? uplink_transport_blocks(decoded) : expected{};
    case 0xB0C2:
      return decoder == 'a' ? serving_cell_a(decoded) : serving_cell_b(decoded);
    case 0xB14E:
      return pusch_csf(decoded);
    case 0xB16E:
      return power_control(decoded, "PUSCH Tx Power (dBm)", "pusch_tx_power");
    case 0xB16F:
      return power_control(decoded, "PUCCH Tx Power (dBm)", "pucch_tx_power");
    case 0xB173:
      return pdsch_statistics(decoded);
    case 0xB193:
      return decoder == 'a' ? serving_measurement_a(decoded) : serving_measurement_b(decoded);
    case 0xB823:
      return serving_cell_b(decoded);
    case 0xB97F:
      if (decoder == 'a') return measurement_database_a(decoded);
      return decoder == 'b' ? measurement_database_b(decoded) : measurement_database_c(decoded);
    default:
      return {};
  }
}

}  // namespace captures
