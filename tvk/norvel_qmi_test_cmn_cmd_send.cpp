// A common message whose answer is shown.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>

#include "norvel_extend_qmi/norvel_common_msg.h"
#include "qcril-common/utilities/checked.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "tvk/norvel_qmi_test_cmn.h"
#include "tvk/output.h"

namespace {

/// A longer payload than this is dropped. It is more than the message holds.
constexpr unsigned int max_accepted_len = 499;
constexpr std::uint32_t max_printed_bytes = 500;

struct common_answer {
  std::uint32_t unused;
  std::int32_t result;
  std::uint32_t first_data_word;  ///< sic: the data is printed from here, over the length
  std::uint32_t data_len;
  std::array<std::uint8_t, norvel_common_msg_rsp_size - 16> rest;
};
static_assert(sizeof(common_answer) == norvel_common_msg_rsp_size);

void print_answer(const common_answer& answer) {
  std::printf("\ndata len(%d)\ndata:", static_cast<int>(answer.data_len));
  if (answer.data_len > max_printed_bytes) abort_process();
  const auto* bytes = reinterpret_cast<const unsigned char*>(&answer);
  print_bytes({bytes + offsetof(common_answer, first_data_word), answer.data_len});
}

}  // namespace

int norvel_cmn_cmd_send(int t, unsigned int l, char* v) {
  print_note("norvel_cmn_cmd_send, t: %d, l: %d\n", t, static_cast<int>(l));
  if (l > max_accepted_len || v == nullptr) l = 0;
  norvel_common_msg message{};
  if (l > sizeof message.v) abort_process();
  message.kind = norvel_common_msg_kind;
  message.t = static_cast<std::uint32_t>(t);
  message.l = l;
  if (l != 0) std::memcpy(message.v, v, l);

  common_answer answer{};
  unsigned int capacity = sizeof answer;
  const int result = norvel_extend_qmi_send_sync(norvel_common_msg_request_type,
                                                 reinterpret_cast<unsigned char*>(&message),
                                                 sizeof message, &answer, &capacity);
  print_note("result = %d, rsp.result = %d\n", result, answer.result);
  if (result != 0) {
    std::puts("norvel_extend_qmi_send_sync fail");
  } else if (answer.result != 0) {
    std::puts("rsp.result fail");
  } else {
    print_answer(answer);
  }
  return result;
}
