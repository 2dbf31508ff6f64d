// Whatever the modem's services answer: no command crashes. Commands and library functions run with
// their real code, against a modem that takes each of its answers from the input: a good one with
// bytes or fields changed, any bytes, or one that fails the request. Indications come in between.
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
#include "qcril-common/utilities/pause.h"
#include "qcril-common/utilities/qcril_memory_management.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "services/norvel_extend_qmi_v01.h"
#include "services/pdc_v01.h"
#include "services/sar_v01.h"
#include "services/uim_v01.h"
#include "services/vendor_stats_v01.h"
#include "support/hand_modem.h"
#include "tvk/commands.h"
#include "tvk/qmi_modem_stats_request.h"

namespace {

using namespace support;

/// The one that runs: the modem takes its answers from it.
std::optional<FuzzedDataProvider> g_input;

bool input_is_over() {
  return g_input->remaining_bytes() == 0;
}
std::uint8_t next_byte() {
  return g_input->ConsumeIntegral<std::uint8_t>();
}
std::uint16_t next_word() {
  return g_input->ConsumeIntegral<std::uint16_t>();
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

struct good_message {
  service_port port;
  qmi_idl_type_of_message kind;
  std::uint16_t id;
  const char* tlvs;
};
constexpr char done[] = "02 0400 00000000";
constexpr char channel_done[] = "02 0400 00000000  10 0100 01  11 0200 9000  12 0500 04 6f021122";
constexpr char config_result[] = "01 0200 0000  10 0400 01000000";
constexpr auto good_messages = std::to_array<good_message>({
    {uim, QMI_IDL_RESPONSE, uim_get_card_status_v01,
     "02 0400 00000000  10 0900 0000 ffff ffff ffff 00"
     "13 2300 01 0000 01 ffff 02 01 00 03 0a 00 01 02 07 00 0b 03 0a 02 a000 00 01 03 0a 01 03 0a"
     "00*6"},
    {uim, QMI_IDL_RESPONSE, uim_power_down_v01, done},
    {uim, QMI_IDL_RESPONSE, uim_power_up_v01, done},
    {uim, QMI_IDL_RESPONSE, uim_send_apdu_v01, "02 0400 00000000  10 0a00 0800 bf34038001009000"},
    {uim, QMI_IDL_RESPONSE, uim_logical_channel_v01, channel_done},
    {uim, QMI_IDL_RESPONSE, uim_open_logical_channel_v01, channel_done},
    {uim, QMI_IDL_RESPONSE, uim_get_eid_v01,
     "02 0400 00000000  10 1100 10 89049032123451234512345678901235"},
    {uim, QMI_IDL_INDICATION, uim_ind_v01, "01 0400 00000000  02 0400 00000000  10 0400 01000000"},
    {sar, QMI_IDL_RESPONSE, sar_rf_get_state_v01, "02 0400 00000000  10 0400 05000000"},
    {statistics, QMI_IDL_RESPONSE, vendor_stats_feature_v01, done},
    {statistics, QMI_IDL_RESPONSE, vendor_stats_get_v01,
     "02 0400 00000000  10 6f00 01 0000 0100 00000000 6400 3f*100"},
    {statistics, QMI_IDL_INDICATION, vendor_stats_feature_v01, "01 0400 01000000"},
    {extension, QMI_IDL_RESPONSE, norvel_extend_qmi_request_v01,
     "01 0400 00000000  02 0400 00020000  10 0002 00*512"},
    {extension, QMI_IDL_INDICATION, 0x0003, "01 0400 00000000  02 0400 00020000  10 0002 00*512"},
    {pdc, QMI_IDL_RESPONSE, pdc_register_v01, done},
    {pdc, QMI_IDL_INDICATION, pdc_config_change_v01, "01 0700 01000000 02 aabb"},
    {pdc, QMI_IDL_INDICATION, pdc_get_selected_config_v01,
     "01 0200 0000  10 0400 01000000  11 0300 02 aabb  12 0200 01 cc"},
    {pdc, QMI_IDL_INDICATION, pdc_set_selected_config_v01, config_result},
    {pdc, QMI_IDL_INDICATION, pdc_list_configs_v01,
     "01 0200 0000  10 0400 01000000  11 0e00 02 01000000 02 aabb 01000000 01 cc  e0 0100 01"},
    {pdc, QMI_IDL_INDICATION, pdc_delete_config_v01, config_result},
    {pdc, QMI_IDL_INDICATION, pdc_load_config_v01,
     "01 0200 0000  10 0400 01000000  11 0400 00010000  12 0400 00020000  13 0100 00"},
    {pdc, QMI_IDL_INDICATION, pdc_activate_config_v01, config_result},
    {pdc, QMI_IDL_INDICATION, pdc_get_config_info_v01,
     "01 0200 0000  10 0400 01000000  11 0400 00400000  12 0500 04 74657374  13 0400 01000000"},
    {pdc, QMI_IDL_INDICATION, pdc_deactivate_config_v01, config_result},
    {pdc, QMI_IDL_INDICATION, pdc_set_feature_v01, config_result},
    {pdc, QMI_IDL_INDICATION, pdc_refresh_v01,
     "01 0400 00000000  10 0400 00000000  11 0400 01000000"},
});

/// The request, decoded: what the program sends is always good, whatever it was answered before.
bytes fields_of(qmi_idl_service_object_type service, qmi_idl_type_of_message kind, std::uint16_t id,
                const bytes& tlvs) {
  std::uint32_t size = 0;
  static_cast<void>(qmi_idl_get_message_c_struct_len(service, kind, id, &size));
  bytes fields(size);
  if (idl::decode(service, kind, id, tlvs, fields) != QMI_NO_ERR) __builtin_trap();
  return fields;
}

bytes good_answer(std::uint32_t port, std::uint16_t id, const bytes& request) {
  const auto row = std::ranges::find_if(good_messages, [&](const good_message& each) {
    return each.port == port && each.kind == QMI_IDL_RESPONSE && each.id == id;
  });
  if (row == good_messages.end()) __builtin_trap();
  bytes answer = hex(row->tlvs);
  constexpr std::size_t payload = 17;  // of an extension message
  if (port == statistics && id == vendor_stats_get_v01) {
    constexpr std::size_t entry = 11;
    constexpr std::size_t ids = offsetof(vendor_stats_get_req_v01, ids);
    std::copy_n(request.begin(), 2, answer.begin() + entry);  // sub
    std::copy_n(request.begin() + ids, 4, answer.begin() + entry + 4);
  }
  if (port == extension) {
    // A chunk of a file of 356 bytes; as many bytes of a common message.
    const bool is_nvefs = request.front() == nvefs_request_type;
    answer.at(payload + (is_nvefs ? 8 : 12)) = 100;
    if (is_nvefs) {
      answer.at(payload + 4) = 100;
      answer.at(payload + 5) = 1;
    }
  }
  return answer;
}

/// Bytes anywhere get other values; the end may be cut off.
void change(bytes& what) {
  const unsigned changes = next_byte();
  for (unsigned left = changes % 16; left > 0; --left) {
    // Most lengths and counts stand in front.
    std::size_t at = next_byte();
    if (at >= 0xC0) at = next_word();
    what.at(at % what.size()) = next_byte();
  }
  if (changes >= 0x80) what.resize(next_word() % what.size());
}

/// Replaces the TLVs, unless there is too much of something.
void encode(qmi_idl_service_object_type service, qmi_idl_type_of_message kind, std::uint16_t id,
            const bytes& fields, bytes& tlvs) {
  bytes encoded(service->max_msg_len);
  std::size_t length = 0;
  if (idl::encode(service, kind, id, fields, encoded, length) != QMI_NO_ERR) return;
  encoded.resize(length);
  tlvs = std::move(encoded);
}

/// A message whose lengths and counts agree, of other values and numbers of them.
void change_fields(std::uint32_t port, qmi_idl_type_of_message kind, std::uint16_t id,
                   bytes& tlvs) {
  auto fields = fields_of(services.at(port), kind, id, tlvs);
  const auto size = fields.size();
  change(fields);
  fields.resize(size);
  encode(services.at(port), kind, id, fields, tlvs);
}

bytes any_bytes() {
  return g_input->ConsumeBytes<std::uint8_t>(next_byte());
}

/// A known indication with changes, or any bytes of any message id.
datagram any_indication() {
  const auto& row = good_messages.at(next_byte() % good_messages.size());
  const unsigned manner = next_byte();
  std::uint16_t id = row.id;
  bytes tlvs;
  if (row.kind != QMI_IDL_INDICATION || manner % 4 == 0) {
    if (manner >= 0x80) id = next_word();
    tlvs = any_bytes();
  } else {
    tlvs = hex(row.tlvs);
    if (manner % 4 == 1) change_fields(row.port, row.kind, row.id, tlvs);
    change(tlvs);
  }
  const auto size = static_cast<std::uint32_t>(tlvs.size());
  return {0, row.port, hex("04 0000") + u32(id | size << 16) + tlvs};
}

/// Keeps away what ends the process by design.
void avoid_documented_ends(const bytes& request, bytes& tlvs) {
  constexpr auto id = norvel_extend_qmi_request_v01;
  constexpr std::size_t payload = offsetof(norvel_extend_qmi_msg_v01, data);
  constexpr std::size_t printed_length = payload + 12;
  constexpr std::size_t counter = payload + offsetof(nvefs_response, data);
  bytes fields(sizeof(norvel_extend_qmi_msg_v01));
  if (idl::decode(services[extension], QMI_IDL_RESPONSE, id, tlvs, fields) != QMI_NO_ERR) return;
  if (request.front() == norvel_common::request_type) {
    const auto length = u32(std::min(u32_at(fields, printed_length), std::uint32_t{500}));
    std::ranges::copy(length, fields.begin() + printed_length);
  } else if (u32_at(fields, counter) == 0xFFFFFFFF) {
    fields.at(counter) = 0;
  }
  encode(services[extension], QMI_IDL_RESPONSE, id, fields, tlvs);
}

enum fate { good, changed_bytes, changed_fields, any, error, lost, indication_first, count };

/// What the modem sends next; an answer to another message, which is an error of the library at
/// once, when there is no more input.
std::vector<datagram> next_answers(const datagram& asked) {
  const auto id = static_cast<std::uint16_t>(asked.data.at(3) | asked.data.at(4) << 8);
  const bytes request = fields_of(services.at(asked.port), QMI_IDL_REQUEST, id,
                                  {asked.data.begin() + 7, asked.data.end()});
  std::vector<datagram> sent;
  const auto send = [&](bytes tlvs) {
    if (asked.port == extension) avoid_documented_ends(request, tlvs);
    sent.push_back({0, asked.port, qmi_response(asked.data, tlvs)});
    return sent;
  };
  const auto send_error = [&] {
    send({});
    ++sent.back().data.at(3);
    return sent;
  };
  while (!input_is_over()) {
    const auto what = next_byte() % count;
    bytes answer = what == any ? any_bytes() : good_answer(asked.port, id, request);
    if (what == changed_bytes) change(answer);
    if (what == changed_fields) change_fields(asked.port, QMI_IDL_RESPONSE, id, answer);
    if (what <= any) return send(answer);
    if (what == indication_first) {
      sent.push_back(any_indication());
      continue;
    }
    // For a lost service the statistics client starts threads, which have tests of their own.
    if (what == error || asked.port != uim) return send_error();
    modem().withdraw(server(uim));
    modem().publish(server(uim));
    return {};
  }
  return send_error();
}

}  // namespace

void pause_for(std::chrono::milliseconds /*time*/) {}

// Connecting to the system's log takes longer than all the rest.
extern "C" void vsyslog(int /*priority*/, const char* /*format*/, va_list /*args*/) {}

namespace {

constexpr std::array commands = {
    "3 0 1 2",  "3 1",     "3 2",    "4 1 0 10", "4 2 0 10 1 2", "4 4 0 /a", "5 1",
    "5 5",      "5 6",     "5 8",    "5 10 1 0", "5 10 2 1",     "5 10 3 1", "5 10 4 1",
    "5 10 5 1", "6 2 1 2", "7 2 0",  "7 2 15",   "9 0 0",        "9 7 1",    "9 8 0",
    "9 9 1",    "9 10 0",  "9 20 0", "9 21 0",   "9 30 1",
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

constexpr char path[] = "/nv/item_files/a";

void read_file() {
  bytes room(1 + next_word());
  auto length = static_cast<unsigned>(room.size());
  const int error = norvel_efs_read(0, path, sizeof path - 1, room.data(), &length);
  if (error == 0 && length > room.size()) __builtin_trap();
}

void write_file() {
  const bytes content(1 + next_word());
  norvel_efs_write(1, path, sizeof path - 1, content.data(), static_cast<unsigned>(content.size()));
}

/// Indications alone, for threads that wait or for none.
void indicate_configurations() {
  pdc_config_element* list = nullptr;
  std::uint32_t count = 0;
  pdc_config_info info{};
  pdc_selected_config selected{};
  pdc_init();
  const unsigned waits = next_byte();
  if ((waits & 1) != 0) g_pdc_info.list_configs.is_pdc_list_handling = 1;
  if ((waits & 2) != 0) g_pdc_info.list_configs.config_list_holder = &list;
  if ((waits & 4) != 0) g_pdc_info.list_configs.num_of_configs = &count;
  if ((waits & 8) != 0) g_pdc_info.get_config_info.holder = &info;
  if ((waits & 16) != 0) g_pdc_info.get_selected_config.holder = &selected;
  // Each request brings the indications that the input has for it.
  while (!input_is_over()) {
    pdc_register_req_v01 request{};
    pdc_resp_v01 response{};
    qmi_client_send_msg_sync(pdc_client_handle(), pdc_register_v01, &request, sizeof request,
                             &response, sizeof response, 30000);
  }
  pdc_clean();
  while (list != nullptr) qcril_free_adv(std::exchange(list, list->next));
}

constexpr std::array functions = {read_file, write_file, indicate_configurations};

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
  const std::size_t which = next_byte() % (commands.size() + functions.size());
  if (which < commands.size()) {
    run(commands.at(which));
  } else {
    functions.at(which - commands.size())();
  }
  return 0;
}
