// Group 8: writes one AT command to the modem's AT channel through the shell.
#include <pthread.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "qcril-common/utilities/pause.h"
#include "tvk/command_group.h"
#include "tvk/commands.h"
#include "tvk/usage.h"

namespace {

constexpr command_group at_cmd{.number = 8};

constexpr int max_at_cmd_len = 100;
using at_text = std::array<char, max_at_cmd_len + 1>;
using shell_text = std::array<char, 501>;

/// Set by the receiver when it is done, cleared by the sender.
std::atomic<unsigned char> at_receive_done = 0;

bool is_valid_input(int argc, char** argv) {
  if (argc != 3) {
    print_misuse(at_cmd,
                 "\nnote: The number of inputs should be 2, Pls refer to the following cmd:\n");
    show_help(at_cmd.number);
    return false;
  }
  if (!may_run(at_cmd, argc, argv)) return false;
  if (std::strlen(argv[2]) > max_at_cmd_len) {
    print_misuse(at_cmd,
                 "\nnote: the second parameters length should <= %d, Pls refer to the following "
                 "cmd:\n",
                 max_at_cmd_len);
    show_help(at_cmd.number);
    return false;
  }
  return true;
}

/// Never reads the channel: only prints that it is not open and lets the sender continue.
void* norvel_test_at_cmd_receive(void* /*arg*/) {
  constexpr int g_at_serial_fd = 0;
  std::puts("The thread to receive data from serial is started");
  std::printf("The at channel is not opened, g_at_serial_fd %d\n", g_at_serial_fd);
  at_receive_done = 1;
  return nullptr;
}

int norvel_test_at_cmd_send(const char* cmd) {
  shell_text shell{};
  std::snprintf(shell.data(), shell.size(), "echo \"%s\r\" > /dev/smd8", cmd);
  std::printf("at shell cmd: %s\n", shell.data());
  const int ret_sys = std::system(shell.data());
  std::printf("echo, ret_sys: %d\n", ret_sys);
  std::puts(ret_sys != 0 ? "Fail to send at shell cmd" : "Success to send at shell cmd");
  return ret_sys;
}

}  // namespace

int norvel_test_at_cmd_do(int argc, char** argv) {
  if (!is_valid_input(argc, argv)) return 1;

  at_text cmd{};
  const int scanned = std::sscanf(argv[2], "%100s\r", cmd.data());
  std::printf("At cmd you input: sscanf(%d), len (%d), %s\n", scanned,
              static_cast<int>(std::strlen(cmd.data())), cmd.data());
  std::puts("Will create a thread to receive data from serial");
  pthread_t receiver{};
  if (pthread_create(&receiver, nullptr, norvel_test_at_cmd_receive, nullptr) != 0) {
    std::printf("Fail to create a thread");
    show_help(at_cmd.number);
    return 1;
  }
  pthread_detach(receiver);
  const int result = norvel_test_at_cmd_send(cmd.data());
  while (at_receive_done == 0) pause_for(std::chrono::seconds(1));
  at_receive_done = 0;
  return result;
}
