// What independent decoders made of the packets of the sample captures, and where a value that they
// give is ours by another name.
#pragma once

#include <cmath>
#include <cstdint>
#include <map>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace captures {

using nlohmann::json;

inline double number(const json& value) {
  static const std::map<std::string, double> words{
      // Bandwidths as resource blocks, ranks as their index, modulations as bits.
      {"1.4 MHz", 6},     {"3 MHz", 15},  {"5 MHz", 25},          {"10 MHz", 50}, {"15 MHz", 75},
      {"20 MHz", 100},    {"Rank 1", 0},  {"Rank 2", 1},          {"QPSK", 2},    {"16QAM", 4},
      {"64QAM", 6},       {"256QAM", 8},  {"C-RNTI", 0},          {"P-RNTI", 2},  {"RA-RNTI", 3},
      {"Temp-C-RNTI", 4}, {"SI-RNTI", 5}, {"PCell", 0},           {"Pass", 1},    {"Fail", 0},
      {"NA", 65535.0},    {"0 MHz", 0},   {"Temporary-C-RNTI", 4}};
  if (!value.is_string()) return value.get<double>();
  const auto text = value.get<std::string>();
  const auto word = words.find(text);
  return word == words.end() ? std::stod(text) : word->second;
}

// Changes to their output, so that its values can be looked up.

inline void find_cell_a(json& one) {
  auto cell = one["Subpackets"][0];
  const int version = cell["SubPacket Version"];
  // A copy of one antenna's.
  if (version == 22 || version == 36) cell.erase("RSRQ");
  if (version == 18) cell.erase("RSSI");
  one["cell"] = cell;
}

inline void find_cell_b(json& one) {
  const auto& values = one["values"];
  one["head"] = values.contains("subpkt_scell_meas_v36") ? values["subpkt_scell_meas_v36"]
                                                         : values["subpkt_scell_meas_v48"];
  for (const auto& cell : one["cells"]) {
    if (cell["is_scell"] == 1 && !one.contains("cell")) one["cell"] = cell;
  }
}

/// A power above 127 is a negative one that was printed unsigned.
inline void find_last_power(json& one) {
  auto last = one["Records"].back();
  for (const char* const power : {"PUSCH Tx Power (dBm)", "PUCCH Tx Power (dBm)"}) {
    if (last.contains(power) && last[power] > 127) last[power] = number(last[power]) - 256;
  }
  one["last"] = last;
}

inline void add_up_blocks(json& one) {
  double bytes = 0;
  double crnti_bytes = 0;
  one["num_layers_crnti"] = 0;
  for (const auto& record : one["Records"]) {
    if (!record.contains("Transport Blocks")) continue;
    for (const auto& block : record["Transport Blocks"]) {
      one["last_block"] = block;
      one["last_layers"] = record["Num Layers"];
      bytes += number(block["TB Size"]);
      if (block["RNTI Type"] != "C-RNTI") continue;
      crnti_bytes += number(block["TB Size"]);
      one["num_layers_crnti"] = record["Num Layers"];
    }
  }
  one["tb_bytes"] = bytes;
  one["tb_bytes_crnti"] = crnti_bytes;
}

inline void add_up_reports(json& one) {
  double count = 0;
  double bytes = 0;
  one["headroom"] = 255;
  for (const auto& packet : one["Subpackets"]) {
    for (const auto& sample : packet["Samples"]) {
      if (!sample.contains("Mac Hdr + CE")) continue;
      for (const auto& element : sample["Mac Hdr + CE"]) {
        if (element.contains("PHR Ind")) one["headroom"] = element["PHR Ind"];
        if (!element.contains("BSR LCG 3")) continue;
        ++count;
        // Above 150000 it gives a text.
        bytes += element["BSR LCG 3"] == 63 ? 150000 : number(element["BSR LCG 3 (bytes)"]);
      }
    }
  }
  one["reports"] = count;
  one["bytes"] = bytes;
  one["average"] = count == 0 ? 0 : std::floor(bytes / count);
}

inline void find_layer_a(json& one) {
  one["layer"] = json(one["Component_Carrier List"][0]);
}

inline void take_text_apart(json& one) {
  const auto text = one["text"].get<std::string>();
  static const std::regex form(
      R"(SCell PCI: +(\d+)[^]*Cell 0: PCI: +(\d+)[^]*?RSRQ: (-?[\d.]+), Num Beams: (\d+)[^]*?RSRP: (-?[\d.]+)/(-?[\d.]+))");
  std::smatch found;
  if (!std::regex_search(text, found, form)) throw std::runtime_error("unknown text: " + text);
  one = json(std::vector<std::string>(found.begin(), found.end()));
}

/// Takes the count of cells where 2.9's hand-made packet has none, and finds no cell there.
inline void find_layer_c(json& one) {
  auto layer = one["carriers"][0];
  if (layer["cells"].empty()) layer.erase("num_cells");
  one["layer"] = layer;
}

/// Their names, nested ones separated by a slash, and ours where they differ; # is each antenna.
const struct {
  char decoder;
  std::uint16_t code;
  void (*prepare)(json& one);
  const char* values;
} logs[] = {
    {'a', 0xB064, add_up_reports,
     "headroom: phr_ind, reports: bsr_lcg3_num, bytes: bsr_lcg3_bytes, average: bsr_lcg3_avg"},
    {'a', 0xB0C2, nullptr,
     "Version: version, Cell ID: pci, Downlink frequency: dl_earfcn, Uplink frequency: ul_earfcn, "
     "Downlink bandwidth: dl_bw, Uplink bandwidth: ul_bw, Cell Identity: cgi, TAC: tac, "
     "Band Indicator: freq_band_ind, MCC: mcc, MNC Digit: mnc_num, MNC: mnc, "
     "Allowed Access: allow_access"},
    {'b', 0xB0C2, nullptr,
     "pci, dl_earfcn, ul_earfcn, dl_bw, ul_bw, cell_id: cgi, tac, band: freq_band_ind, mcc, "
     "mnc_digit: mnc_num, mnc, allowed_access: allow_access"},
    {'a', 0xB14E, nullptr,
     "Rank Index: rank_idx, Version: version, WideBand CQI CW0: wideband_cqi_cw0"},
    {'a', 0xB16E, find_last_power,
     "Version: version, Number of Records: num_records, last/DL Path Loss: dl_path_loss, "
     "last/PUSCH Tx Power (dBm): pusch_tx_power"},
    {'a', 0xB16F, find_last_power,
     "Version: version, Number of Records: num_records, last/DL Path Loss: dl_path_loss, "
     "last/PUCCH Tx Power (dBm): pucch_tx_power"},
    {'a', 0xB173, add_up_blocks,
     "Version: version, Num Records: num_records, tb_bytes, tb_bytes_crnti, num_layers_crnti, "
     "last_block/MCS: pdsch_mcs, last_block/Num RBs: pdsch_rb, "
     "last_block/RNTI Type: pdsch_rnti_type, last_block/CRC Result: crc_result, "
     "last_block/Modulation Type: pdsch_mod_type, last_layers: num_layers"},
    {'a', 0xB193, find_cell_a,
     "cell/E-ARFCN: earfcn, cell/Num-of-cells: num_cells, cell/Physical Cell ID: pci, "
     "cell/Serving Cell Index: srv_cell_idx, cell/Is Serving Cell: is_srv_cell, "
     "cell/RSRP Rx[#]: rsrp_rx#, cell/RSRQ Rx[0]: rsrq_rx0, cell/RSRQ Rx[1]: rsrq_rx1, "
     "cell/RSSI Rx[0]: rssi_rx0, cell/RSSI Rx[1]: rssi_rx1, cell/FTL SNR Rx[0]: snr_rx0, "
     "cell/FTL SNR Rx[1]: snr_rx1, cell/RSRP: avg_rsrp, cell/RSRQ: avg_rsrq, cell/RSSI: max_rssi"},
    // In version 48 identity and SNR are all that is given.
    {'b', 0xB193, find_cell_b,
     "head/earfcn: earfcn, head/num_cells: num_cells, head/valid_rx: rx_valid, cell/pci: pci, "
     "cell/scell_idx: srv_cell_idx, cell/rsrp: avg_rsrp, cell/rsrq: avg_rsrq, cell/rssi: max_rssi, "
     "cell/rsrp#: rsrp_rx#, cell/rsrq#: rsrq_rx#, cell/rssi#: rssi_rx#, cell/snr#: snr_rx#"},
    {'b', 0xB823, nullptr,
     "pci, dl_nrarfcn: dl_earfcn, ul_nrarfcn: ul_earfcn, dl_bandwidth: dl_bw, ul_bandwidth: ul_bw, "
     "cell_id: cgi, tac, band: freq_band_ind, mcc, mnc_digit: mnc_num, mnc, "
     "allowed_access: allow_access"},
    // Of version 2.7, in which the one packet has one cell.
    {'a', 0xB97F, find_layer_a,
     "Num Layers: num_layers, layer/Serving Cell PCI: srv_pci, layer/Num Cells: num_cells, "
     "layer/Cells/0/PCI: pci_1, layer/Cells/0/Num Beams: num_beams, "
     "layer/Cells/0/Beams[0]/RX Beam Info-RSRPs[0]: rsrp0, "
     "layer/Cells/0/Beams[0]/RX Beam Info-RSRPs[1]: rsrp1, layer/ServingRsrpRx23[0]: rsrp2, "
     "layer/ServingRsrpRx23[1]: rsrp3, layer/Cells/0/Cell Quality Rsrq: rsrq"},
    // In the order of their text. Its number of cells comes from swapped bytes in 2.9 and 2.10; the
    // cells are right.
    {'b', 0xB97F, take_text_apart,
     "1: srv_pci, 2: pci_1, 3: rsrq, 4: num_beams, 5: rsrp0, 6: rsrp1"},
    {'c', 0xB97F, find_layer_c,
     "num_cc: num_layers, layer/serving_pci: srv_pci, layer/num_cells: num_cells, "
     "layer/cells/0/pci: pci_1, layer/cells/0/num_beams: num_beams, "
     "layer/cells/0/rsrq_raw: rsrq_i, layer/cells/0/beam_words/5: rsrp_i0, "
     "layer/cells/0/beam_words/6: rsrp_i1"},
};

/// The values that a decoder's lines print, by the name in front of them; the last one counts.
using printed_values = std::map<std::string, double>;
inline printed_values values_in(const std::string& lines) {
  static const std::regex form(R"(([a-z][a-z_0-9]*)(?: =)? (-?[0-9]+(?:\.[0-9]+)?)(?=[,\n]))");
  printed_values values;
  for (std::sregex_iterator at(lines.begin(), lines.end(), form), end; at != end; ++at) {
    values[(*at)[1]] = std::stod((*at)[2]);
  }
  return values;
}

/// Values of theirs by the names under which ours are printed: none where both sides have nothing
/// in common. `decoder` is 'a', 'b' or 'c'.
inline printed_values expectations(char decoder, std::uint16_t code, json decoded) {
  static const std::regex pair("([^:,]+)(?:: ([^,]+))?(?:, )?");
  printed_values all;
  for (const auto& log : logs) {
    if (log.decoder != decoder || log.code != code) continue;
    if (log.prepare != nullptr) log.prepare(decoded);
    const std::string values = log.values;
    for (std::sregex_iterator at(values.begin(), values.end(), pair), end; at != end; ++at) {
      for (const std::string antenna : {"0", "1", "2", "3"}) {
        const auto of_antenna = [&](const std::string& name) {
          return std::regex_replace(name, std::regex("#"), antenna);
        };
        const std::string theirs = (*at)[1];
        const json::json_pointer place("/" + of_antenna(theirs));
        if (!decoded.contains(place)) continue;
        all[of_antenna((*at)[2].matched ? (*at)[2] : theirs)] = number(decoded[place]);
      }
    }
  }
  return all;
}

}  // namespace captures
