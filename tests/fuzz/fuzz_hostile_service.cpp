// Whatever the modem's services answer: no command crashes. Commands and library functions run with
// their real code, against a modem that answers as the simulated one does, but as the input has it:
// with bytes or fields changed, with any bytes, or not at all. Indications come in between.
//
// Two answers end the process by design and are kept away: a common message with more than 500
// bytes to print, and a counter in a file that cannot be incremented.
#include <fuzzer/FuzzedDataProvider.h>
#include <stdlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "norvel_extend_qmi/norvel_extend_nvefs_message.h"
#include "pdc/pdc_utils.h"
#include "platform/linux/idl/codec.h"
#include "protocol/qmi_message.h"
#include "qcril-common/utilities/pause.h"
#include "qcril-common/utilities/qcril_memory_management.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "services/norvel_extend_qmi_v01.h"
#include "services/pdc_v01.h"
#include "services/sar_v01.h"
#include "services/uim_v01.h"
#include "services/vendor_stats_v01.h"
#include "simulator/modem/modem.h"
#include "simulator/services/services.h"
#include "support/hand_modem.h"
#include "support/temp_dir.h"
#include "tvk/commands.h"
#include "tvk/qmi_modem_stats_request.h"

namespace {

using namespace support;

/// The one that runs: the modem takes its answers from it.
std::optional<FuzzedDataProvider> g_input;

std::uint8_t next_byte() {
  return g_input->ConsumeIntegral<std::uint8_t>();
}
std::uint16_t next_word() {
  return g_input->ConsumeIntegral<std::uint16_t>();
}
bytes any_bytes() {
  return g_input->ConsumeBytes<std::uint8_t>(next_byte());
}

/// The services of the modem, each at the port of its number here.
enum service_port : std::uint32_t { extension, uim, sar, pdc, statistics };
const std::array services = {
    norvel_extend_qmi_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION),
    uim_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION),
    sar_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION),
    pdc_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION),
    vendor_stats_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION)};

qmi_server server(std::uint32_t port) {
  return {.service = services.at(port)->service_id, .port = port};
}

/// Never destroyed: the client of the extension service is not released.
hand_modem& modem() {
  static auto& only = *new hand_modem(
      {server(extension), server(uim), server(sar), server(pdc), server(statistics)});
  return only;
}

/// What the modem keeps passes from one input to the next.
bytes good_answer(std::uint32_t port, std::uint16_t id, const bytes& tlvs) {
  static auto& directory = *new temp_dir;
  static auto& io = *new asio::io_context;
  static auto& state = *new sim::modem(io, directory.path());
  const auto& row =
      *std::ranges::find(sim::all_services(), services.at(port)->service_id, &sim::service_row::id);
  const auto answer = [&] {
    try {
      return row.find(id)->answer({{}, tlvs, state});
    } catch (const sim::refused& early) {
      return early.answer;
    }
  }();
  return {answer.tlvs.view().begin(), answer.tlvs.view().end()};
}

/// Bytes anywhere get other values; the end may be cut off.
void change(bytes& what) {
  const unsigned changes = what.empty() ? 0 : next_byte();
  for (unsigned left = changes % 16; left > 0; --left) {
    // Most lengths and counts stand in front.
    std::size_t at = next_byte();
    if (at >= 0xC0) at = next_word();
    what.at(at % what.size()) = next_byte();
  }
  if (changes >= 0x80) what.resize(next_word() % what.size());
}

struct message {
  qmi_idl_service_object_type service;
  qmi_idl_type_of_message kind;
  std::uint16_t id;

  /// All zero for TLVs that are not such a message; nothing if the service has no such message.
  [[nodiscard]] bytes fields_of(const bytes& tlvs) const {
    std::uint32_t size = 0;
    static_cast<void>(qmi_idl_get_message_c_struct_len(service, kind, id, &size));
    bytes fields(size);
    if (idl::decode(service, kind, id, tlvs, fields) != QMI_NO_ERR) fields.assign(size, 0);
    return fields;
  }

  /// Nothing if there is too much of something.
  [[nodiscard]] bytes tlvs_of(const bytes& fields) const {
    bytes tlvs(service->max_msg_len);
    std::size_t length = 0;
    if (idl::encode(service, kind, id, fields, tlvs, length) != QMI_NO_ERR) return {};
    return padded(tlvs, length);
  }

  /// A message whose lengths and counts agree, of other values and numbers of them.
  void change_fields(bytes& tlvs) const {
    auto fields = fields_of(tlvs);
    const auto size = fields.size();
    change(fields);
    tlvs = tlvs_of(padded(fields, size));
  }
};

/// Mostly known ones: their ids are small.
datagram any_indication() {
  const std::uint32_t port = next_byte() % services.size();
  const std::uint16_t id = next_byte();
  const unsigned manner = next_byte();
  bytes tlvs = any_bytes();
  if (manner % 4 != 0) message{services.at(port), QMI_IDL_INDICATION, id}.change_fields(tlvs);
  if (manner % 4 == 1) change(tlvs);
  return {0, port, hex("04 0000") + u16(id) + u16(tlvs.size()) + tlvs};
}

/// Keeps away what ends the process by design.
void avoid_documented_ends(const bytes& request, bytes& tlvs) {
  const message response{services[extension], QMI_IDL_RESPONSE, norvel_extend_qmi_request_v01};
  auto fields = response.fields_of(tlvs);
  const bool is_common = u32_at(request, 3) == norvel_common::request_type;
  const auto number =
      offsetof(norvel_extend_qmi_msg_v01, data) + (is_common ? 12 : offsetof(nvefs_response, data));
  const std::uint32_t most = is_common ? 500 : 0xFFFFFFFE;
  if (u32_at(fields, number) <= most) return;
  std::ranges::copy(u32(most), fields.begin() + static_cast<std::ptrdiff_t>(number));
  tlvs = response.tlvs_of(fields);
}

enum fate { good, changed_bytes, changed_fields, any, error, lost, indication_first, count };

/// What the modem sends next.
std::vector<datagram> next_answers(const datagram& asked) {
  const auto id = static_cast<std::uint16_t>(asked.data.at(3) | asked.data.at(4) << 8);
  const auto request = slice(asked.data, 7);
  // What the program sends is always good, whatever it was answered before.
  if (!protocol::qmi::well_formed(request)) __builtin_trap();
  std::vector<datagram> sent;
  while (g_input->remaining_bytes() != 0) {
    const auto what = next_byte() % count;
    // For a lost service the statistics client starts threads, which have tests of their own.
    if (what == error || (what == lost && asked.port != uim)) break;
    if (what == lost) {
      modem().withdraw(server(uim));
      modem().publish(server(uim));
      return {};
    }
    if (what == indication_first) {
      sent.push_back(any_indication());
      continue;
    }
    bytes answer = what == any ? any_bytes() : good_answer(asked.port, id, request);
    if (what == changed_bytes) change(answer);
    if (what == changed_fields) {
      message{services.at(asked.port), QMI_IDL_RESPONSE, id}.change_fields(answer);
    }
    if (asked.port == extension) avoid_documented_ends(request, answer);
    sent.push_back({0, asked.port, qmi_response(asked.data, answer)});
    return sent;
  }
  // Of another message, which is an error of the library at once.
  sent.push_back({0, asked.port, qmi_response(asked.data, {})});
  ++sent.back().data.at(3);
  return sent;
}

}  // namespace

void pause_for(std::chrono::milliseconds /*time*/) {}

// Connecting to the system's log takes longer than all the rest.
extern "C" void vsyslog(int /*priority*/, const char* /*format*/, va_list /*args*/) {}

namespace {

constexpr std::array commands = {
    "3 0 1 2",  "3 1",     "3 2",    "4 1 0 550", "4 2 0 10 1 2", "4 4 0 /a", "5 1",
    "5 5",      "5 6",     "5 8",    "5 10 1 0",  "5 10 2 1",     "5 10 3 1", "5 10 4 1",
    "5 10 5 1", "6 2 1 2", "7 2 0",  "7 2 15",    "9 0 0",        "9 7 1",    "9 8 0",
    "9 9 1",    "9 10 0",  "9 20 0", "9 21 0",    "9 30 1",
};

void run(const std::string& command) {
  static const std::map<char, int (*)(int argc, char** argv)> groups = {
      {'3', norvel_test_rf_do},          {'4', norvel_test_nvefs_do},
      {'5', norvel_test_cmn_do},         {'6', norvel_test_qmi_send_data_do},
      {'7', norvel_test_modem_stats_do}, {'9', norvel_test_qmi_modem_stats_do},
  };
  std::istringstream line("tvk " + command);
  std::vector<std::string> words;
  for (std::string word; line >> word;) words.push_back(word);
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  groups.at(command.front())(static_cast<int>(words.size()), argv.data());
}

constexpr char path[] = "/a";

void transfer_file() {
  const bytes content(1 + next_word());
  norvel_efs_write(0, path, sizeof path - 1, content.data(), static_cast<unsigned>(content.size()));
  bytes room(1 + next_word());
  auto length = static_cast<unsigned>(room.size());
  const int error = norvel_efs_read(0, path, sizeof path - 1, room.data(), &length);
  if (error == 0 && length > room.size()) __builtin_trap();
}

/// Indications alone, for threads that wait or for none.
void indicate_configurations() {
  pdc_config_element* list = nullptr;
  std::uint32_t count = 0;
  pdc_config_info info{};
  pdc_selected_config selected{};
  pdc_init();
  g_pdc_info.list_configs.is_pdc_list_handling = next_byte() % 2;
  if (next_byte() % 2 != 0) {
    g_pdc_info.list_configs.config_list_holder = &list;
    g_pdc_info.list_configs.num_of_configs = &count;
    g_pdc_info.get_config_info.holder = &info;
    g_pdc_info.get_selected_config.holder = &selected;
  }
  // Each request brings the indications that the input has for it.
  while (g_input->remaining_bytes() != 0) {
    pdc_register_req_v01 request{};
    pdc_resp_v01 response{};
    qmi_client_send_msg_sync(pdc_client_handle(), pdc_register_v01, &request, sizeof request,
                             &response, sizeof response, 30000);
  }
  pdc_clean();
  while (list != nullptr) qcril_free_adv(std::exchange(list, list->next));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  setenv("TVK_ANDROID_LOG", "/dev/null", 1);
  setenv("TVK_PROPERTIES", "/dev/null", 1);
  setenv("TVK_MODEM", modem().endpoint().c_str(), 1);
  modem().on_request(next_answers);
  // What is printed has tests of its own.
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  modem().forget_requests();
  g_input.emplace(data, size);
  quiet_notes = 0;
  g_qmi_modem_stats.number = 0;
  const std::size_t which = next_byte() % (commands.size() + 2);
  if (which < commands.size()) {
    run(commands.at(which));
  } else if (which == commands.size()) {
    transfer_file();
  } else {
    indicate_configurations();
  }
  return 0;
}
