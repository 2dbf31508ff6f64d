#include "norvel_extend_qmi/norvel_diag_send_check.h"

#include "norvel_extend_qmi/norvel_extend_cmn_text.h"
#include "qcril-common/utilities/norvel_ril_log.h"

int norvel_diag_comand_input_check(unsigned char* data, unsigned int data_len) {
  NORVEL_LOG("diag_comand, data_len = %d", static_cast<int>(data_len));
  if (data == nullptr) {
    NORVEL_LOG("data is null");
    return 1;
  }
  if (data_len < 1 || data_len > norvel_diag_max_request) {
    NORVEL_LOG("Invalid input parameter, data_len = %d", static_cast<int>(data_len));
    return 1;
  }
  norvel_print_data_with_hex(data, data_len);
  return 0;
}

int norvel_diag_comand_output_check(const unsigned char* reply_buf, const int* p_reply_len) {
  if (reply_buf == nullptr) {
    NORVEL_LOG("reply_buf is null");
    return 1;
  }
  if (p_reply_len == nullptr) {
    NORVEL_LOG("p_reply_len is null");
    return 1;
  }
  NORVEL_LOG("reply_len = %d", *p_reply_len);
  if (*p_reply_len <= 0) {
    NORVEL_LOG("Invalid output parameter, reply_len = %d", *p_reply_len);
    return 1;
  }
  return 0;
}
