// Sends a common message and prints its answer.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>

#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "qcril-common/utilities/checked.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "tvk/norvel_qmi_test_cmn.h"
#include "tvk/output.h"

namespace {

/// Longer payloads are dropped. sic: the message holds less than this.
constexpr unsigned int max_accepted_len = 499;

void print_answer(const norvel_common::answer& answer) {
  // sic: the data is printed from its start, which holds the length itself in its second word.
  std::uint32_t data_len = 0;
  std::memcpy(&data_len, answer.data.data() + sizeof data_len, sizeof data_len);
  std::printf("\ndata len(%d)\ndata:", static_cast<int>(data_len));
  if (data_len > answer.data.size()) abort_process();
  print_bytes(std::span(answer.data).first(data_len));
}

}  // namespace

int norvel_cmn_cmd_send(int t, unsigned int l, char* v) {
  print_note("norvel_cmn_cmd_send, t: %d, l: %d\n", t, static_cast<int>(l));
  if (l > max_accepted_len || v == nullptr) l = 0;
  if (l > norvel_common_msg_max_data) abort_process();

  norvel_common::answer answer{};
  const int result = norvel_common::send_message(static_cast<unsigned int>(t), l, v, answer);
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
