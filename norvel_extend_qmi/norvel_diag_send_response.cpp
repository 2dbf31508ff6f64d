#include "norvel_extend_qmi/norvel_diag_send_response.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "norvel_extend_qmi/norvel_diag_wait.h"
#include "norvel_extend_qmi/norvel_extend_cmn_text.h"
#include "platform/mutex.h"
#include "qcril-common/utilities/checked.h"
#include "qcril-common/utilities/norvel_ril_log.h"

namespace {

struct free_block {
  void operator()(unsigned char* block) const { std::free(block); }
};
using block = std::unique_ptr<unsigned char, free_block>;

/// Allocates one byte more than `length`; null when out of memory.
block allocate(int length) {
  const auto size = static_cast<std::size_t>(checked_add(length, 1));
  return block(static_cast<unsigned char*>(std::malloc(size)));
}

void copy(const block& to, int offset, const unsigned char* bytes, int count) {
  std::memcpy(to.get() + offset, bytes, static_cast<std::size_t>(count));
}

/// Locked by both handlers, the watcher and the waiting request: a late response may arrive while
/// its request gives up.
struct response {
  platform::mutex lock;
  block data TVK_GUARDED_BY(lock);
  int length TVK_GUARDED_BY(lock) = 0;
  block previous TVK_GUARDED_BY(lock);  ///< the contents before the latest append
};

/// Never destroyed: threads of the library may outlive main.
response& g_qcril_diag_rsp_buf = *new response;

const char* channel_name(int processor) {
  constexpr const char* names[] = {"MSM", "MDM", "MDM_2"};
  return processor >= 0 && processor <= 2 ? names[processor] : "Unknown";
}

/// False when out of memory.
bool keep_first(response& kept, const unsigned char* data, int len) TVK_REQUIRES(kept.lock) {
  block fresh = allocate(len);
  if (!fresh) return false;
  copy(fresh, 0, data, len);
  kept.data = std::move(fresh);
  kept.length = len;
  return true;
}

/// Returns null, or when out of memory the name of the block that could not be allocated.
const char* append(response& kept, const unsigned char* data, int len) TVK_REQUIRES(kept.lock) {
  if (!kept.data) return keep_first(kept, data, len) ? nullptr : "ptr_out_1";
  block saved = allocate(kept.length);
  if (!saved) return "ptr_out_2";
  copy(saved, 0, kept.data.get(), kept.length);
  kept.previous = std::move(saved);
  const int joined_length = checked_add(kept.length, len);
  block joined = allocate(joined_length);
  if (!joined) return "ptr_out_3";
  copy(joined, 0, kept.previous.get(), kept.length);
  copy(joined, kept.length, data, len);
  kept.data = std::move(joined);
  kept.length = joined_length;
  return nullptr;
}

}  // namespace

namespace norvel_diag {

int response_length() {
  response& kept = g_qcril_diag_rsp_buf;
  const platform::mutex_lock hold(kept.lock);
  return kept.length;
}

int copy_response(std::span<unsigned char> room) {
  response& kept = g_qcril_diag_rsp_buf;
  const platform::mutex_lock hold(kept.lock);
  const auto count = std::min(room.size(), static_cast<std::size_t>(kept.length));
  if (count > 0) std::memcpy(room.data(), kept.data.get(), count);
  return kept.length;
}

void drop_response() {
  response& kept = g_qcril_diag_rsp_buf;
  const platform::mutex_lock hold(kept.lock);
  kept.previous.reset();
  kept.data.reset();
  kept.length = 0;
}

}  // namespace norvel_diag

int norvel_diag_cmd_response_check(unsigned char* data, int len, const void* context) {
  int processor = -1;
  if (context == nullptr) {
    NORVEL_LOG("context_data is null");
  } else {
    processor = *static_cast<const int*>(context);
  }
  NORVEL_LOG("================ response from %d[%s], len = %d ========================", processor,
             channel_name(processor), len);
  if (data == nullptr) {
    NORVEL_LOG("ptr is null");
    return 1;
  }
  if (len < 1 || len > norvel_diag_max_response) {
    NORVEL_LOG("Invalid parameter, len = %d", len);
    return 1;
  }
  norvel_print_data_with_hex(data, static_cast<unsigned int>(len));
  return 0;
}

int norvel_diag_cmd_response_by_callback(unsigned char* data, int len, void* context) {
  NORVEL_LOG_ENTRY();
  if (norvel_diag_cmd_response_check(data, len, context) != 0) {
    NORVEL_LOG("norvel_diag_cmd_response_check fail");
    return 1;
  }
  {
    response& kept = g_qcril_diag_rsp_buf;
    const platform::mutex_lock hold(kept.lock);
    if (!keep_first(kept, data, len)) {
      NORVEL_LOG_ERROR("Failed to allocate memory for ptr_out");
      return 1;
    }
  }
  NORVEL_LOG("callback, cmd_code = 0x%02x, data_size = %d", data[0], len);
  norvel_diag::g_diag_wait.post();
  return 0;
}

int norvel_diag_cmd_response_by_dci(unsigned char* data, int len, void* context) {
  response& kept = g_qcril_diag_rsp_buf;
  const platform::mutex_lock hold(kept.lock);
  if (norvel_diag_cmd_response_check(data, len, context) != 0) {
    NORVEL_LOG("norvel_diag_cmd_response_check fail");
    return 1;
  }
  if (const char* missing = append(kept, data, len); missing != nullptr) {
    NORVEL_LOG_ERROR("Failed to allocate memory for %s", missing);
    return 1;
  }
  NORVEL_LOG("response, cmd_code = 0x%02x, data_size = %d", data[0], len);
  // After a full piece more follows.
  if (len != norvel_diag::dci_piece_size) norvel_diag::g_diag_wait.post();
  return 0;
}

void norvel_diag_cmd_response_by_dci_log_stream(unsigned char* data, int len) {
  NORVEL_LOG_ENTRY();
  norvel_print_data_with_hex(data, static_cast<unsigned int>(len));
  NORVEL_LOG_EXIT();
}

void norvel_diag_cmd_response_by_dci_event_stream(unsigned char* data, int len) {
  NORVEL_LOG_ENTRY();
  norvel_print_data_with_hex(data, static_cast<unsigned int>(len));
  NORVEL_LOG_EXIT();
}

int norvel_diag_cmd_response_by_callback_no_handle(unsigned char* /*data*/, int len,
                                                   void* /*context*/) {
  NORVEL_LOG("len = %d", len);
  return 0;
}

int norvel_diag_cmd_response_by_dci_no_handle(unsigned char* /*data*/, int len, void* /*context*/) {
  NORVEL_LOG("len = %d", len);
  return 0;
}

void norvel_diag_cmd_response_by_dci_log_stream_no_handle(unsigned char* /*data*/, int len) {
  NORVEL_LOG("len = %d", len);
}

void norvel_diag_cmd_response_by_dci_event_stream_no_handle(unsigned char* /*data*/, int len) {
  NORVEL_LOG("len = %d", len);
}
