#include "norvel_extend_qmi/norvel_extend_cmn_text.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <span>
#include <string>

#include "qcril-common/utilities/norvel_ril_log.h"

namespace {

constexpr unsigned int max_printed_bytes = 4096;

constexpr std::array processor_names = {" APSS", " MPSS", " LPASS", " WCNSS", " SENSORS", " WDSP"};

constexpr std::size_t mask_name_size = 101;
std::array<char, mask_name_size> g_mask_name{};

}  // namespace

// NOLINTNEXTLINE(readability-non-const-parameter): the product's own signature.
void norvel_byte_to_hex(unsigned char* in, int len, unsigned char* out) {
  if (in == nullptr || len < 1) return;
  constexpr char digits[] = "0123456789abcdef";
  for (const unsigned char byte : std::span(in, static_cast<std::size_t>(len))) {
    *out++ = static_cast<unsigned char>(digits[byte >> 4]);
    *out++ = static_cast<unsigned char>(digits[byte & 0x0F]);
  }
}

int norvel_print_data_with_hex(unsigned char* data, unsigned int len) {
  if (data == nullptr) {
    NORVEL_LOG("print_data_with_hex, data is null");
    return 0;
  }
  if (len == 0 || len > max_printed_bytes) {
    NORVEL_LOG("print_data_with_hex, invalid data len(%d)", static_cast<int>(len));
    return 0;
  }
  std::string text;
  text.reserve(std::size_t{3} * len);
  for (unsigned int i = 0; i < len; ++i) {
    std::array<char, 4> group{};
    std::snprintf(group.data(), group.size(), i == 0 ? "%02X" : " %02X", data[i]);
    text += group.data();
  }
  NORVEL_LOG("data hex show, len(%d), data: %s", static_cast<int>(len), text.c_str());
  return 0;
}

char* norvel_print_diag_mask_name(unsigned int mask) {
  g_mask_name.fill('\0');
  for (std::size_t bit = 0; bit < processor_names.size(); ++bit) {
    if ((mask >> bit & 1U) == 0) continue;
    std::snprintf(g_mask_name.data(), g_mask_name.size(), "%s", processor_names[bit]);
    break;
  }
  return g_mask_name.data();
}
