// tarvik_console GROUP [SUB] [ARGS...]: runs one command. The exit status is always 0; callers read
// the outcome from the output.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include "tvk/commands.h"
#include "tvk/usage.h"

namespace {

int not_supported(int /*argc*/, char** /*argv*/) {
  std::puts("Not support");
  return 1;
}

struct group_entry {
  int number;
  int (*run)(int argc, char** argv);
};

constexpr auto groups = std::to_array<group_entry>({
    {1, not_supported},
    {2, not_supported},
    {3, norvel_test_rf_do},
    {4, norvel_test_nvefs_do},
    {5, norvel_test_cmn_do},
    {6, norvel_test_qmi_send_data_do},
    {7, norvel_test_modem_stats_do},
    {8, norvel_test_at_cmd_do},
    {9, norvel_test_qmi_modem_stats_do},
    {10, norvel_test_mbn_do},
});

/// If the caller closed a standard descriptor, the next socket or port would get its number and
/// receive our output. /dev/null takes the number instead, read-only so that printing still fails.
void keep_standard_descriptors() {
  int opened = 0;
  do {
    opened = ::open("/dev/null", O_RDONLY);
  } while (opened >= 0 && opened <= STDERR_FILENO);
  if (opened >= 0) ::close(opened);
}

}  // namespace

int main(int argc, char** argv) {
  keep_standard_descriptors();
  // Pipes and files get each line at once, as a terminal does: a command may wait for a long time,
  // and may be killed while it waits.
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  const int number = argc >= 2 ? std::atoi(argv[1]) : 0;
  const auto* group = std::ranges::find(groups, number, &group_entry::number);
  if (group == groups.end()) {
    show_help(0);
  } else {
    group->run(argc, argv);
  }
  return 0;
}
