// Group 10: modem configurations. Connects to the PDC service and checks its arguments.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "pdc/pdc_utils.h"
#include "platform/shared_mutex.h"
#include "qcril-common/utilities/norvel_ril_log.h"
#include "tvk/command_group.h"
#include "tvk/commands.h"
#include "tvk/usage.h"

/// What is known about the modem's configuration files.
class novrel_pdc_mbn_info {  // sic
 public:
  void clear() {
    const std::lock_guard hold(mutex_);
    first_ = 0;
    last_ = 0;
    count_ = 0;
  }

 private:
  qtimutex::QtiSharedMutex mutex_;
  std::uint64_t first_ = 0;
  std::uint64_t last_ = 0;
  std::uint32_t count_ = 0;
};

namespace {

constexpr command_group mbn{.number = 10, .least_argc = 4};

novrel_pdc_mbn_info g_novrel_pdc_mbn_info;

/// Result of the last attempt to connect to the service.
int g_pdc_init_status = -1;

int norvel_test_mbn_pdc_init(int /*force_init*/) {
  NORVEL_LOG_ENTRY();
  if (g_pdc_init_status != 0) {
    pdc_clean();
    NORVEL_LOG("start norvel pdc init, g_pdc_init_status = %d, force_init = %d", g_pdc_init_status,
               0);
    g_pdc_init_status = pdc_init();
    if (g_pdc_init_status == 0) {
      g_novrel_pdc_mbn_info.clear();
    } else {
      NORVEL_LOG_ERROR("pdc init failed");
    }
  }
  NORVEL_LOG_EXIT();
  return g_pdc_init_status;
}

}  // namespace

int norvel_test_mbn_do(int argc, char** argv) {
  if (!may_run(mbn, argc, argv)) return 1;
  const int mbn_i = std::atoi(argv[2]);
  const int sub_mask = std::atoi(argv[3]);
  if (sub_mask < 1 || sub_mask > 3) {
    print_misuse(mbn, "\nnote: sub_mask(%d) is invalid:\n", sub_mask);
    show_help(mbn.number);
    return 1;
  }
  if (norvel_test_mbn_pdc_init(0) != 0) {
    NORVEL_LOG("pdc init failed, do nothing");
    show_help(mbn.number);
    return 1;
  }
  if (mbn_i == 0) return 0;
  std::printf("invalid mbn_i = %d\n", mbn_i);
  if (mbn_i != 1) show_help(mbn.number);
  return 1;
}
