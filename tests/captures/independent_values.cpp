#include "captures/independent_values.h"

#include <cmath>
#include <regex>
#include <span>
#include <stdexcept>

namespace captures {

namespace {

using nlohmann::json;

// Two decimals are formed digit by digit: a value may come out one hundredth off, and an SNR, whose
// tenths have no exact float, one tenth.
constexpr double exact = 0;
constexpr double hundredth = 0.0101;
constexpr double tenth = 0.1001;

double number(const json& value) {
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

/// Where a value of theirs is, as a JSON pointer, and what ours is called; # is each antenna.
struct same_value {
  const char* theirs;
  const char* ours;
  double tolerance = exact;
};

constexpr same_value serving_cell_a[] = {{"/Version", "version"},
                                         {"/Cell ID", "pci"},
                                         {"/Downlink frequency", "dl_earfcn"},
                                         {"/Uplink frequency", "ul_earfcn"},
                                         {"/Downlink bandwidth", "dl_bw"},
                                         {"/Uplink bandwidth", "ul_bw"},
                                         {"/Cell Identity", "cgi"},
                                         {"/TAC", "tac"},
                                         {"/Band Indicator", "freq_band_ind"},
                                         {"/MCC", "mcc"},
                                         {"/MNC Digit", "mnc_num"},
                                         {"/MNC", "mnc"},
                                         {"/Allowed Access", "allow_access"}};
// LTE and NR alike.
constexpr same_value serving_cell_b[] = {{"/pci", "pci"},
                                         {"/dl_earfcn", "dl_earfcn"},
                                         {"/ul_earfcn", "ul_earfcn"},
                                         {"/dl_bw", "dl_bw"},
                                         {"/ul_bw", "ul_bw"},
                                         {"/dl_nrarfcn", "dl_earfcn"},
                                         {"/ul_nrarfcn", "ul_earfcn"},
                                         {"/dl_bandwidth", "dl_bw"},
                                         {"/ul_bandwidth", "ul_bw"},
                                         {"/cell_id", "cgi"},
                                         {"/tac", "tac"},
                                         {"/band", "freq_band_ind"},
                                         {"/mcc", "mcc"},
                                         {"/mnc_digit", "mnc_num"},
                                         {"/mnc", "mnc"},
                                         {"/allowed_access", "allow_access"}};
constexpr same_value serving_measurement_a[] = {{"/cell/E-ARFCN", "earfcn"},
                                                {"/cell/Num-of-cells", "num_cells"},
                                                {"/cell/Physical Cell ID", "pci"},
                                                {"/cell/Serving Cell Index", "srv_cell_idx"},
                                                {"/cell/Is Serving Cell", "is_srv_cell"},
                                                {"/cell/RSRP Rx[#]", "rsrp_rx#", hundredth},
                                                {"/cell/RSRQ Rx[0]", "rsrq_rx0", hundredth},
                                                {"/cell/RSRQ Rx[1]", "rsrq_rx1", hundredth},
                                                {"/cell/RSSI Rx[0]", "rssi_rx0", hundredth},
                                                {"/cell/RSSI Rx[1]", "rssi_rx1", hundredth},
                                                {"/cell/FTL SNR Rx[0]", "snr_rx0", tenth},
                                                {"/cell/FTL SNR Rx[1]", "snr_rx1", tenth},
                                                {"/cell/RSRP", "avg_rsrp", hundredth},
                                                {"/cell/RSRQ", "avg_rsrq", hundredth},
                                                {"/cell/RSSI", "max_rssi", hundredth}};
// In version 48 identity and SNR are all that is given.
constexpr same_value serving_measurement_b[] = {{"/head/earfcn", "earfcn"},
                                                {"/head/num_cells", "num_cells"},
                                                {"/head/valid_rx", "rx_valid"},
                                                {"/cell/pci", "pci"},
                                                {"/cell/scell_idx", "srv_cell_idx"},
                                                {"/cell/rsrp", "avg_rsrp", hundredth},
                                                {"/cell/rsrq", "avg_rsrq", hundredth},
                                                {"/cell/rssi", "max_rssi", hundredth},
                                                {"/cell/rsrp#", "rsrp_rx#", hundredth},
                                                {"/cell/rsrq#", "rsrq_rx#", hundredth},
                                                {"/cell/rssi#", "rssi_rx#", hundredth},
                                                {"/cell/snr#", "snr_rx#", tenth}};
constexpr same_value pusch_csf[] = {{"/Rank Index", "rank_idx"},
                                    {"/Version", "version"},
                                    {"/WideBand CQI CW0", "wideband_cqi_cw0"}};
constexpr same_value power_control[] = {{"/Version", "version"},
                                        {"/Number of Records", "num_records"},
                                        {"/last/PUSCH Tx Power (dBm)", "pusch_tx_power"},
                                        {"/last/PUCCH Tx Power (dBm)", "pucch_tx_power"},
                                        {"/last/DL Path Loss", "dl_path_loss"}};
constexpr same_value pdsch_statistics[] = {{"/Version", "version"},
                                           {"/Num Records", "num_records"},
                                           {"/tb_bytes", "tb_bytes"},
                                           {"/tb_bytes_crnti", "tb_bytes_crnti"},
                                           {"/num_layers_crnti", "num_layers_crnti"},
                                           {"/last_block/MCS", "pdsch_mcs"},
                                           {"/last_block/Num RBs", "pdsch_rb"},
                                           {"/last_block/RNTI Type", "pdsch_rnti_type"},
                                           {"/last_block/CRC Result", "crc_result"},
                                           {"/last_block/Modulation Type", "pdsch_mod_type"},
                                           {"/last_layers", "num_layers"}};
constexpr same_value uplink_transport_blocks[] = {{"/headroom", "phr_ind"},
                                                  {"/reports", "bsr_lcg3_num"},
                                                  {"/bytes", "bsr_lcg3_bytes"},
                                                  {"/average", "bsr_lcg3_avg"}};
// Of version 2.7, in which the one packet has one cell.
constexpr same_value measurement_database_a[] = {
    {"/Num Layers", "num_layers"},
    {"/layer/Serving Cell PCI", "srv_pci"},
    {"/layer/Num Cells", "num_cells"},
    {"/layer/Cells/0/PCI", "pci_1"},
    {"/layer/Cells/0/Num Beams", "num_beams"},
    {"/layer/Cells/0/Beams[0]/RX Beam Info-RSRPs[0]", "rsrp0", hundredth},
    {"/layer/Cells/0/Beams[0]/RX Beam Info-RSRPs[1]", "rsrp1", hundredth},
    {"/layer/ServingRsrpRx23[0]", "rsrp2", hundredth},
    {"/layer/ServingRsrpRx23[1]", "rsrp3", hundredth},
    {"/layer/Cells/0/Cell Quality Rsrq", "rsrq", hundredth}};
// In the order of their text. Its number of cells comes from swapped bytes in 2.9 and 2.10; the
// cells are right.
constexpr same_value measurement_database_b[] = {
    {"/1", "srv_pci"},          {"/2", "pci_1"},
    {"/3", "rsrq", hundredth},  {"/4", "num_beams"},
    {"/5", "rsrp0", hundredth}, {"/6", "rsrp1", hundredth}};
constexpr same_value measurement_database_c[] = {{"/num_cc", "num_layers"},
                                                 {"/layer/serving_pci", "srv_pci"},
                                                 {"/layer/num_cells", "num_cells"},
                                                 {"/layer/cells/0/pci", "pci_1"},
                                                 {"/layer/cells/0/num_beams", "num_beams"},
                                                 {"/layer/cells/0/rsrq_raw", "rsrq_i"},
                                                 {"/layer/cells/0/beam_words/5", "rsrp_i0"},
                                                 {"/layer/cells/0/beam_words/6", "rsrp_i1"}};

// What has to be made of theirs before their values can be looked up.

void as_it_is(json& /*one*/) {}

void find_cell_a(json& one) {
  auto cell = one["Subpackets"][0];
  const int version = cell["SubPacket Version"];
  // A copy of one antenna's.
  if (version == 22 || version == 36) cell.erase("RSRQ");
  if (version == 18) cell.erase("RSSI");
  one["cell"] = cell;
}

void find_cell_b(json& one) {
  const auto& values = one["values"];
  one["head"] = values.contains("subpkt_scell_meas_v36") ? values["subpkt_scell_meas_v36"]
                                                         : values["subpkt_scell_meas_v48"];
  for (const auto& cell : one["cells"]) {
    if (cell["is_scell"] == 1 && !one.contains("cell")) one["cell"] = cell;
  }
}

/// A power above 127 is a negative one that was printed unsigned.
void find_last_power(json& one) {
  auto last = one["Records"].back();
  for (const char* const power : {"PUSCH Tx Power (dBm)", "PUCCH Tx Power (dBm)"}) {
    if (last.contains(power) && last[power] > 127) last[power] = number(last[power]) - 256;
  }
  one["last"] = last;
}

void add_up_blocks(json& one) {
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

void add_up_reports(json& one) {
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

void find_layer_a(json& one) {
  one["layer"] = json(one["Component_Carrier List"][0]);
}

void take_text_apart(json& one) {
  const auto text = one["text"].get<std::string>();
  static const std::regex form(
      R"(SCell PCI: +(\d+)[^]*Cell 0: PCI: +(\d+)[^]*?RSRQ: (-?[\d.]+), Num Beams: (\d+)[^]*?RSRP: (-?[\d.]+)/(-?[\d.]+))");
  std::smatch found;
  if (!std::regex_search(text, found, form)) throw std::runtime_error("unknown text: " + text);
  one = json(std::vector<std::string>(found.begin(), found.end()));
}

/// Takes the count of cells where 2.9's hand-made packet has none, and finds no cell there.
void find_layer_c(json& one) {
  auto layer = one["carriers"][0];
  if (layer["cells"].empty()) layer.erase("num_cells");
  one["layer"] = layer;
}

const struct {
  char decoder;
  std::uint16_t code;
  void (*prepare)(json& one);
  std::span<const same_value> values;
} logs[] = {
    {'a', 0xB064, add_up_reports, uplink_transport_blocks},
    {'a', 0xB0C2, as_it_is, serving_cell_a},
    {'b', 0xB0C2, as_it_is, serving_cell_b},
    {'a', 0xB14E, as_it_is, pusch_csf},
    {'a', 0xB16E, find_last_power, power_control},
    {'a', 0xB16F, find_last_power, power_control},
    {'a', 0xB173, add_up_blocks, pdsch_statistics},
    {'a', 0xB193, find_cell_a, serving_measurement_a},
    {'b', 0xB193, find_cell_b, serving_measurement_b},
    {'b', 0xB823, as_it_is, serving_cell_b},
    {'a', 0xB97F, find_layer_a, measurement_database_a},
    {'b', 0xB97F, take_text_apart, measurement_database_b},
    {'c', 0xB97F, find_layer_c, measurement_database_c},
};

std::string with_antenna(std::string name, char antenna) {
  if (const auto at = name.find('#'); at != std::string::npos) name[at] = antenna;
  return name;
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

std::vector<expectation> expectations(char decoder, std::uint16_t code, json decoded) {
  std::vector<expectation> all;
  for (const auto& log : logs) {
    if (log.decoder != decoder || log.code != code) continue;
    log.prepare(decoded);
    for (const auto& [theirs, ours, tolerance] : log.values) {
      const bool of_antennas = std::string(ours).ends_with('#');
      for (char antenna = '0'; antenna <= (of_antennas ? '3' : '0'); ++antenna) {
        const json::json_pointer place(with_antenna(theirs, antenna));
        if (!decoded.contains(place)) continue;
        all.push_back({with_antenna(ours, antenna), number(decoded[place]), tolerance});
      }
    }
  }
  return all;
}

}  // namespace captures
