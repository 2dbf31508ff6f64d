// Whatever the modem's services answer: no command crashes. Commands and library functions run
// with their real code; this target is the QMI client library. Each request takes its answer from
// the input - a good one with bytes or fields changed, any bytes, or an error of the library - and
// the real decoder reads it. Indications come in between.
//
// Two answers end the process by design and are kept away: a common message with more than 500
// bytes to print, and a counter in a file that cannot be counted on.
#include <syslog.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "norvel_extend_qmi/norvel_extend_nvefs_message.h"
#include "pdc/pdc_utils.h"
#include "platform/linux/idl/codec.h"
#include "platform/properties.h"
#include "platform/qmi_client.h"
#include "qcril-common/utilities/pause.h"
#include "qcril-common/utilities/qcril_memory_management.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "services/norvel_extend_qmi_v01.h"
#include "services/pdc_v01.h"
#include "services/sar_v01.h"
#include "services/uim_v01.h"
#include "services/vendor_stats_v01.h"
#include "support/bytes.h"
#include "tvk/commands.h"
#include "tvk/qmi_modem_stats_request.h"

namespace {

using support::bytes;

/// The input, taken from its front.
class script {
 public:
  explicit script(std::span<const std::uint8_t> input) : rest_(input) {}

  [[nodiscard]] bool is_over() const { return rest_.empty(); }
  /// 0 behind the end.
  std::uint8_t byte() {
    const auto taken = bytes_of(1);
    return taken.empty() ? std::uint8_t{0} : taken.front();
  }
  std::uint16_t word() {
    const unsigned low = byte();
    return static_cast<std::uint16_t>(low | unsigned{byte()} << 8);
  }
  /// As many as there are.
  std::span<const std::uint8_t> bytes_of(std::size_t count) {
    const auto taken = rest_.first(std::min(count, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return taken;
  }

 private:
  std::span<const std::uint8_t> rest_;
};

script g_script{{}};

struct good_message {
  std::uint32_t service;
  qmi_idl_type_of_message kind;
  std::uint16_t id;
  const char* tlvs;
};
constexpr char done[] = "02 0400 00000000";
constexpr char channel_done[] = "02 0400 00000000  10 0100 01  11 0200 9000  12 0500 04 6f021122";
constexpr char config_result[] = "01 0200 0000  10 0400 01000000";
constexpr auto good_messages = std::to_array<good_message>({
    {uim_service_id_v01, QMI_IDL_RESPONSE, uim_get_card_status_v01,
     "02 0400 00000000  10 0900 0000 ffff ffff ffff 00"
     "13 2300 01 0000 01 ffff 02 01 00 03 0a 00 01 02 07 00 0b 03 0a 02 a000 00 01 03 0a 01 03 0a"
     "00*6"},
    {uim_service_id_v01, QMI_IDL_RESPONSE, uim_power_down_v01, done},
    {uim_service_id_v01, QMI_IDL_RESPONSE, uim_power_up_v01, done},
    {uim_service_id_v01, QMI_IDL_RESPONSE, uim_send_apdu_v01,
     "02 0400 00000000  10 0a00 0800 bf34038001009000"},
    {uim_service_id_v01, QMI_IDL_RESPONSE, uim_logical_channel_v01, channel_done},
    {uim_service_id_v01, QMI_IDL_RESPONSE, uim_open_logical_channel_v01, channel_done},
    {uim_service_id_v01, QMI_IDL_RESPONSE, uim_get_eid_v01,
     "02 0400 00000000  10 1100 10 89049032123451234512345678901235"},
    {uim_service_id_v01, QMI_IDL_INDICATION, uim_ind_v01,
     "01 0400 00000000  02 0400 00000000  10 0400 01000000"},
    {sar_service_id_v01, QMI_IDL_RESPONSE, sar_rf_get_state_v01,
     "02 0400 00000000  10 0400 05000000"},
    {vendor_stats_service_id_v01, QMI_IDL_RESPONSE, vendor_stats_feature_v01, done},
    {vendor_stats_service_id_v01, QMI_IDL_RESPONSE, vendor_stats_get_v01,
     "02 0400 00000000  10 6f00 01 0000 0100 00000000 6400 3f*100"},
    {vendor_stats_service_id_v01, QMI_IDL_INDICATION, vendor_stats_feature_v01, "01 0400 01000000"},
    {norvel_extend_qmi_service_id_v01, QMI_IDL_RESPONSE, norvel_extend_qmi_request_v01,
     "01 0400 00000000  02 0400 00020000  10 0002 00*512"},
    {norvel_extend_qmi_service_id_v01, QMI_IDL_INDICATION, 0x0003,
     "01 0400 00000000  02 0400 00020000  10 0002 00*512"},
    {pdc_service_id_v01, QMI_IDL_INDICATION, pdc_config_change_v01, "01 0700 01000000 02 aabb"},
    {pdc_service_id_v01, QMI_IDL_INDICATION, pdc_get_selected_config_v01,
     "01 0200 0000  10 0400 01000000  11 0300 02 aabb  12 0200 01 cc"},
    {pdc_service_id_v01, QMI_IDL_INDICATION, pdc_set_selected_config_v01, config_result},
    {pdc_service_id_v01, QMI_IDL_INDICATION, pdc_list_configs_v01,
     "01 0200 0000  10 0400 01000000  11 0e00 02 01000000 02 aabb 01000000 01 cc  e0 0100 01"},
    {pdc_service_id_v01, QMI_IDL_INDICATION, pdc_delete_config_v01, config_result},
    {pdc_service_id_v01, QMI_IDL_INDICATION, pdc_load_config_v01,
     "01 0200 0000  10 0400 01000000  11 0400 00010000  12 0400 00020000  13 0100 00"},
    {pdc_service_id_v01, QMI_IDL_INDICATION, pdc_activate_config_v01, config_result},
    {pdc_service_id_v01, QMI_IDL_INDICATION, pdc_get_config_info_v01,
     "01 0200 0000  10 0400 01000000  11 0400 00400000  12 0500 04 74657374  13 0400 01000000"},
    {pdc_service_id_v01, QMI_IDL_INDICATION, pdc_deactivate_config_v01, config_result},
    {pdc_service_id_v01, QMI_IDL_INDICATION, pdc_set_feature_v01, config_result},
    {pdc_service_id_v01, QMI_IDL_INDICATION, pdc_refresh_v01,
     "01 0400 00000000  10 0400 00000000  11 0400 01000000"},
});

const std::vector<bytes>& good_bytes() {
  static const auto& all = *[] {
    auto* made = new std::vector<bytes>;
    for (const auto& row : good_messages) made->push_back(support::hex(row.tlvs));
    return made;
  }();
  return all;
}

bytes good_answer(std::uint32_t service, std::uint16_t id, std::span<const std::uint8_t> request) {
  const auto row = std::ranges::find_if(good_messages, [&](const good_message& each) {
    return each.service == service && each.kind == QMI_IDL_RESPONSE && each.id == id;
  });
  if (row == good_messages.end()) __builtin_trap();
  bytes answer = good_bytes().at(static_cast<std::size_t>(row - good_messages.begin()));
  constexpr std::size_t entry = 11;    // of a statistics record
  constexpr std::size_t payload = 17;  // of an extension message
  if (service == vendor_stats_service_id_v01 && id == vendor_stats_get_v01) {
    vendor_stats_get_req_v01 asked;
    std::memcpy(&asked, request.data(), sizeof asked);
    std::memcpy(&answer.at(entry), &asked.sub, sizeof asked.sub);
    std::memcpy(&answer.at(entry + 4), asked.ids, sizeof asked.ids[0]);
  }
  if (service == norvel_extend_qmi_service_id_v01) {
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
  const unsigned changes = g_script.byte();
  for (unsigned left = changes % 16; left > 0; --left) {
    // Most lengths and counts stand in front.
    std::size_t at = g_script.byte();
    if (at >= 0xC0) at = g_script.word();
    what.at(at % what.size()) = g_script.byte();
  }
  if (changes >= 0x80) what.resize(g_script.word() % what.size());
}

/// A message whose lengths and counts agree, of other values and numbers of them.
void change_fields(qmi_idl_service_object_type service, qmi_idl_type_of_message kind,
                   std::uint16_t id, bytes& message) {
  std::uint32_t size = 0;
  static_cast<void>(qmi_idl_get_message_c_struct_len(service, kind, id, &size));
  bytes fields(size);
  if (idl::decode(service, kind, id, message, fields) != QMI_NO_ERR) __builtin_trap();
  change(fields);
  fields.resize(size);
  bytes encoded(service->max_msg_len);
  std::size_t length = 0;
  // Too many of something: the bytes are left to another kind of change.
  if (idl::encode(service, kind, id, fields, encoded, length) != QMI_NO_ERR) return;
  encoded.resize(length);
  message = std::move(encoded);
}

bytes any_bytes() {
  const auto taken = g_script.bytes_of(g_script.byte());
  return {taken.begin(), taken.end()};
}

/// The program's connection to a service; one of each at most.
struct connection {
  qmi_idl_service_object_type service = nullptr;
  qmi_client_ind_cb indication = nullptr;
  void* data = nullptr;
  qmi_client_error_cb lost = nullptr;
  void* lost_data = nullptr;
  bool is_open = false;
};
std::map<std::uint32_t, connection>& connections() {
  static auto& all = *new std::map<std::uint32_t, connection>;
  return all;
}

connection* find_open(qmi_client_type handle) {
  for (auto& [id, each] : connections()) {
    if (&each == handle && each.is_open) return &each;
  }
  return nullptr;
}

qmi_client_error_type connect_to(qmi_idl_service_object_type service, qmi_client_ind_cb indication,
                                 void* data, qmi_client_type* handle) {
  connection& opened = connections()[service->service_id];
  opened = {.service = service, .indication = indication, .data = data, .is_open = true};
  *handle = &opened;
  return QMI_NO_ERR;
}

void indicate(connection& to, std::uint16_t id, bytes message) {
  message.shrink_to_fit();  // a block of exactly this size: reading behind it is found
  to.indication(&to, id, message.empty() ? nullptr : message.data(),
                static_cast<unsigned>(message.size()), to.data);
}

/// A known indication with changes, or any bytes of any message id.
void indicate_something() {
  const std::size_t which = g_script.byte() % good_messages.size();
  const auto& row = good_messages.at(which);
  const auto to = connections().find(row.service);
  if (to == connections().end() || !to->second.is_open) return;
  const unsigned manner = g_script.byte();
  if (row.kind != QMI_IDL_INDICATION || manner % 4 == 0) {
    const auto id = g_script.word();
    indicate(to->second, manner < 0x80 ? row.id : id, any_bytes());
    return;
  }
  bytes message = good_bytes().at(which);
  if (manner % 4 == 1) change_fields(to->second.service, row.kind, row.id, message);
  change(message);
  indicate(to->second, row.id, std::move(message));
}

constexpr std::array errors = {QMI_INTERNAL_ERR, QMI_SERVICE_ERR, QMI_TIMEOUT_ERR,
                               QMI_PORT_NOT_OPEN_ERR, QMI_INVALID_TXN};

enum class fate : std::uint8_t {
  good,
  changed_bytes,
  changed_fields,
  any_bytes,
  error,
  indication_first,
  lost,
  count,
};

/// What the service sends next; an error of the library instead when there is no more input.
qmi_client_error_type next_answer(connection& from, std::uint16_t id,
                                  std::span<const std::uint8_t> request, bytes& answer) {
  while (!g_script.is_over()) {
    switch (static_cast<fate>(g_script.byte() % static_cast<unsigned>(fate::count))) {
      case fate::good:
        answer = good_answer(from.service->service_id, id, request);
        return QMI_NO_ERR;
      case fate::changed_bytes:
        answer = good_answer(from.service->service_id, id, request);
        change(answer);
        return QMI_NO_ERR;
      case fate::changed_fields:
        answer = good_answer(from.service->service_id, id, request);
        change_fields(from.service, QMI_IDL_RESPONSE, id, answer);
        return QMI_NO_ERR;
      case fate::any_bytes:
        answer = any_bytes();
        return QMI_NO_ERR;
      case fate::error:
        return errors.at(g_script.byte() % errors.size());
      case fate::lost:
        // The statistics client starts threads then, which have tests of their own.
        if (from.lost != nullptr && from.service->service_id == uim_service_id_v01) {
          from.lost(&from, QMI_SERVICE_ERR, from.lost_data);
        }
        return QMI_SERVICE_ERR;
      case fate::indication_first:
      case fate::count:
        indicate_something();
    }
  }
  return QMI_TIMEOUT_ERR;
}

/// Keeps away what ends the process by design.
void avoid_documented_ends(norvel_extend_qmi_msg_v01& answer, std::uint8_t request_type) {
  constexpr std::size_t printed_length = 12;
  constexpr std::size_t counter = offsetof(nvefs_response, data);
  constexpr std::uint32_t most_printed = 500;
  if (request_type == norvel_common::request_type) {
    std::uint32_t length = 0;
    std::memcpy(&length, answer.data + printed_length, sizeof length);
    length = std::min(length, most_printed);
    std::memcpy(answer.data + printed_length, &length, sizeof length);
  }
  constexpr std::array<std::uint8_t, 4> highest = {0xFF, 0xFF, 0xFF, 0xFF};
  if (request_type == nvefs_request_type &&
      std::memcmp(answer.data + counter, highest.data(), highest.size()) == 0) {
    answer.data[counter] = 0;
  }
}

template <typename Byte, typename Pointer>
std::span<Byte> bytes_at(Pointer* start, unsigned size) {
  return {static_cast<Byte*>(start), start == nullptr ? 0 : size};
}

}  // namespace

qmi_client_error_type qmi_client_notifier_init(qmi_idl_service_object_type /*service*/,
                                               qmi_client_os_params* /*os_params*/,
                                               qmi_client_type* user_handle) {
  static int notifier;
  *user_handle = &notifier;
  return QMI_NO_ERR;
}

qmi_client_error_type qmi_client_get_service_list(qmi_idl_service_object_type /*service*/,
                                                  qmi_service_info* /*service_info_array*/,
                                                  std::uint32_t* num_entries,
                                                  std::uint32_t* num_services) {
  if (num_entries != nullptr) *num_entries = 1;
  *num_services = 1;
  return QMI_NO_ERR;
}

void qmi_cci_os_signal_wait(qmi_client_os_params* /*os_params*/, std::uint32_t /*timeout_ms*/) {}

qmi_client_error_type qmi_client_init(qmi_service_info* /*service_info*/,
                                      qmi_idl_service_object_type service, qmi_client_ind_cb ind_cb,
                                      void* ind_cb_data, qmi_client_os_params* /*os_params*/,
                                      qmi_client_type* user_handle) {
  return connect_to(service, ind_cb, ind_cb_data, user_handle);
}

qmi_client_error_type qmi_client_init_instance(qmi_idl_service_object_type service,
                                               std::uint32_t /*instance*/, qmi_client_ind_cb ind_cb,
                                               void* ind_cb_data,
                                               qmi_client_os_params* /*os_params*/,
                                               std::uint32_t /*timeout_ms*/,
                                               qmi_client_type* user_handle) {
  return connect_to(service, ind_cb, ind_cb_data, user_handle);
}

qmi_client_error_type qmi_client_register_error_cb(qmi_client_type user_handle,
                                                   qmi_client_error_cb callback,
                                                   void* err_cb_data) {
  connection* const to = find_open(user_handle);
  if (to == nullptr) return QMI_CLIENT_INVALID_CLNT;
  to->lost = callback;
  to->lost_data = err_cb_data;
  return QMI_NO_ERR;
}

qmi_client_error_type qmi_client_register_notify_cb(qmi_client_type /*user_handle*/,
                                                    qmi_client_notify_cb /*callback*/,
                                                    void* /*notify_cb_data*/) {
  return QMI_NO_ERR;
}

qmi_client_error_type qmi_client_send_msg_sync(qmi_client_type user_handle, unsigned int msg_id,
                                               void* req_c_struct, unsigned int req_c_struct_len,
                                               void* resp_c_struct, unsigned int resp_c_struct_len,
                                               unsigned int /*timeout_ms*/) {
  connection* const to = find_open(user_handle);
  if (to == nullptr) return QMI_CLIENT_INVALID_CLNT;
  const auto id = static_cast<std::uint16_t>(msg_id);
  const auto request = bytes_at<const std::uint8_t>(req_c_struct, req_c_struct_len);
  // What the program sends is always good, whatever it was answered before.
  bytes encoded(to->service->max_msg_len);
  std::size_t length = 0;
  if (!request.empty() &&
      idl::encode(to->service, QMI_IDL_REQUEST, id, request, encoded, length) != QMI_NO_ERR) {
    __builtin_trap();
  }
  bytes answer;
  if (const auto error = next_answer(*to, id, request, answer); error != QMI_NO_ERR) return error;
  answer.shrink_to_fit();
  const auto result = idl::decode(to->service, QMI_IDL_RESPONSE, id, answer,
                                  bytes_at<std::uint8_t>(resp_c_struct, resp_c_struct_len));
  if (to->service->service_id == norvel_extend_qmi_service_id_v01) {
    avoid_documented_ends(*static_cast<norvel_extend_qmi_msg_v01*>(resp_c_struct), request.front());
  }
  return result;
}

qmi_client_error_type qmi_client_message_decode(qmi_client_type user_handle,
                                                qmi_idl_type_of_message message_type,
                                                unsigned int message_id, const void* src,
                                                unsigned int src_len, void* dst,
                                                unsigned int dst_len) {
  const connection* const to = find_open(user_handle);
  if (to == nullptr) return QMI_CLIENT_INVALID_CLNT;
  return idl::decode(to->service, message_type, static_cast<std::uint16_t>(message_id),
                     bytes_at<const std::uint8_t>(src, src_len),
                     bytes_at<std::uint8_t>(dst, dst_len));
}

qmi_client_error_type qmi_client_release(qmi_client_type user_handle) {
  connection* const to = find_open(user_handle);
  if (to == nullptr) return QMI_CLIENT_INVALID_CLNT;
  to->is_open = false;
  return QMI_NO_ERR;
}

int property_get(const char* /*key*/, char* value, const char* default_value) {
  return std::snprintf(value, PROPERTY_VALUE_MAX, "%s",
                       default_value == nullptr ? "" : default_value);
}
int property_set(const char* /*key*/, const char* /*value*/) {
  return 0;
}

void pause_for(std::chrono::milliseconds /*time*/) {}

extern "C" {
// Connecting to the system's log takes longer than all the rest.
void syslog(int /*priority*/, const char* /*format*/, ...) {}
void vsyslog(int /*priority*/, const char* /*format*/, va_list /*args*/) {}
}

namespace {

struct command {
  int (*run)(int argc, char** argv);
  const char* line;
};
constexpr auto commands = std::to_array<command>({
    {norvel_test_rf_do, "tvk 3 0 1 2"},
    {norvel_test_rf_do, "tvk 3 1"},
    {norvel_test_rf_do, "tvk 3 2"},
    {norvel_test_nvefs_do, "tvk 4 1 0 10"},
    {norvel_test_nvefs_do, "tvk 4 2 0 10 1 2"},
    {norvel_test_nvefs_do, "tvk 4 4 0 /a"},
    {norvel_test_cmn_do, "tvk 5 1"},
    {norvel_test_cmn_do, "tvk 5 5"},
    {norvel_test_cmn_do, "tvk 5 6"},
    {norvel_test_cmn_do, "tvk 5 8"},
    {norvel_test_cmn_do, "tvk 5 10 1 0"},
    {norvel_test_cmn_do, "tvk 5 10 2 1"},
    {norvel_test_cmn_do, "tvk 5 10 3 1"},
    {norvel_test_cmn_do, "tvk 5 10 4 1"},
    {norvel_test_cmn_do, "tvk 5 10 5 1"},
    {norvel_test_qmi_send_data_do, "tvk 6 2 1 2"},
    {norvel_test_modem_stats_do, "tvk 7 2 0"},
    {norvel_test_modem_stats_do, "tvk 7 2 15"},
    {norvel_test_qmi_modem_stats_do, "tvk 9 0 0"},
    {norvel_test_qmi_modem_stats_do, "tvk 9 7 1"},
    {norvel_test_qmi_modem_stats_do, "tvk 9 8 0"},
    {norvel_test_qmi_modem_stats_do, "tvk 9 9 1"},
    {norvel_test_qmi_modem_stats_do, "tvk 9 10 0"},
    {norvel_test_qmi_modem_stats_do, "tvk 9 20 0"},
    {norvel_test_qmi_modem_stats_do, "tvk 9 21 0"},
    {norvel_test_qmi_modem_stats_do, "tvk 9 30 1"},
});

void run(const command& what) {
  std::vector<std::string> words(1);
  for (const char* at = what.line; *at != '\0'; ++at) {
    if (*at == ' ') {
      words.emplace_back();
    } else {
      words.back() += *at;
    }
  }
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  const int argc = static_cast<int>(argv.size());
  argv.push_back(nullptr);
  what.run(argc, argv.data());
}

constexpr char path[] = "/nv/item_files/a";

void read_file() {
  bytes room(1 + g_script.word());
  auto length = static_cast<unsigned>(room.size());
  const int error = norvel_efs_read(0, path, sizeof path - 1, room.data(), &length);
  if (error == 0 && length > room.size()) __builtin_trap();
}

void write_file() {
  const bytes content(1 + g_script.word());
  norvel_efs_write(1, path, sizeof path - 1, content.data(), static_cast<unsigned>(content.size()));
}

/// Indications alone, for threads that wait or for none.
void indicate_configurations() {
  pdc_config_element* list = nullptr;
  std::uint32_t count = 0;
  pdc_config_info info{};
  pdc_selected_config selected{};
  pdc_init();
  const unsigned waits = g_script.byte();
  if ((waits & 1) != 0) g_pdc_info.list_configs.is_pdc_list_handling = 1;
  if ((waits & 2) != 0) g_pdc_info.list_configs.config_list_holder = &list;
  if ((waits & 4) != 0) g_pdc_info.list_configs.num_of_configs = &count;
  if ((waits & 8) != 0) g_pdc_info.get_config_info.holder = &info;
  if ((waits & 16) != 0) g_pdc_info.get_selected_config.holder = &selected;
  while (!g_script.is_over()) indicate_something();
  pdc_clean();
  while (list != nullptr) qcril_free_adv(std::exchange(list, list->next));
}

constexpr std::array functions = {read_file, write_file, indicate_configurations};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  // What is printed has tests of its own.
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  g_script = script({data, size});
  quiet_notes = 0;
  g_qmi_modem_stats.number = 0;
  // A client of its own for each input.
  if (auto& uim = connections()[uim_service_id_v01]; uim.is_open) {
    uim.lost(&uim, QMI_SERVICE_ERR, uim.lost_data);
  }
  const std::size_t which = g_script.byte() % (commands.size() + functions.size());
  if (which < commands.size()) {
    run(commands.at(which));
  } else {
    functions.at(which - commands.size())();
  }
  return 0;
}
