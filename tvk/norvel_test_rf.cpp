// Group 3: GPIO and RF transmit test settings. The modem stores each in an EFS file.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "tvk/command_group.h"
#include "tvk/commands.h"
#include "tvk/output.h"

namespace {

extern const command_group rf;

constexpr std::string_view gpio_file = "/nv/item_files/modem/norvel/rf_ant_port_config";
constexpr std::string_view rf_tx_file = "/nv/item_files/modem/antenna/ant_tx_config";

constexpr int max_gpio_values = 50;

struct gpio_setting {
  std::int32_t count;  ///< as typed, even if fewer or more values follow
  std::array<std::int32_t, max_gpio_values> values;
};

struct rf_tx_setting {
  std::int32_t v_ant;
  std::int32_t v_sys;
  std::uint64_t v_band_list;
};
static_assert(sizeof(rf_tx_setting) == 16);

template <typename Setting>
int send_setting(norvel_common::kind kind, const Setting& setting) {
  norvel_common::answer answer{};
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&setting);
  const int error = norvel_common::send_request(kind, {bytes, sizeof setting}, answer);
  if (error != 0) std::puts("norvel_extend_qmi_send_sync fail, REQUEST_ID_COMMON");
  return error;
}

bool has_no_arguments(int argc, int opt) {
  if (argc == 3) return true;
  print_misuse(rf, "\nnote: Cmd error, should be: tvk %d %d , Pls refer to the following cmd:\n",
               rf.number, opt);
  return false;
}

int read_setting(const char* function, int argc, int opt, std::string_view file) {
  std::puts(function);
  if (!has_no_arguments(argc, opt)) return wrong_arguments;
  std::array<unsigned char, norvel_nv_max_data> data{};
  unsigned int length = data.size();
  const int error =
      norvel_efs_read(0, file.data(), static_cast<unsigned int>(file.size()), data.data(), &length);
  if (error != 0) {
    std::puts("norvel_extend_qmi_send_sync fail, REQUEST_ID_EFS");
    return error;
  }
  print_data(std::span(data).first(length));
  return 0;
}

int close_setting(const char* function, int argc, int opt, std::string_view file) {
  std::puts(function);
  if (!has_no_arguments(argc, opt)) return wrong_arguments;
  const int error = norvel_efs_delete(0, file.data(), static_cast<unsigned int>(file.size()));
  if (error != 0) std::puts("norvel_extend_qmi_send_sync fail, REQUEST_ID_EFS");
  return error;
}

int norvel_gpio_test_set(int argc, char** argv) {
  std::puts("norvel_gpio_test_set");
  gpio_setting setting{};
  setting.count = argc - 3;
  for (int i = 0; i < setting.count && i < max_gpio_values; ++i) {
    const int value = std::atoi(argv[3 + i]);
    setting.values[static_cast<std::size_t>(i)] = value;
    std::printf("norvel_gpio_test_set, gpio_v[%d]: %d\n", i, value);
  }
  return send_setting(norvel_common::kind::gpio_test, setting);
}

int norvel_gpio_test_get(int argc, char** /*argv*/) {
  return read_setting(__func__, argc, 1, gpio_file);
}

int norvel_gpio_test_closed(int argc, char** /*argv*/) {
  return close_setting(__func__, argc, 2, gpio_file);
}

int norvel_rf_tx_test_set(int argc, char** argv) {
  std::printf("norvel_rf_tx_test_set, argc(%d)\n", argc);
  if (argc != 6) return refuse_inputs(rf, 5);  // sic: only here without counting the program name
  rf_tx_setting setting{};
  setting.v_ant = std::atoi(argv[3]);
  setting.v_sys = std::atoi(argv[4]);
  setting.v_band_list = std::strtoul(argv[5], nullptr, 0);
  std::printf(" v_ant(%d)\n", setting.v_ant);
  std::printf(" v_sys(%d)\n", setting.v_sys);
  std::printf(" v_band_list(%lu)\n", static_cast<unsigned long>(setting.v_band_list));
  return send_setting(norvel_common::kind::rf_tx_test, setting);
}

int norvel_rf_tx_test_get(int argc, char** /*argv*/) {
  return read_setting(__func__, argc, 4, rf_tx_file);
}

int norvel_rf_tx_test_closed(int argc, char** /*argv*/) {
  return close_setting(__func__, argc, 5, rf_tx_file);
}

constexpr sub_command rf_commands[] = {
    {0, norvel_gpio_test_set},  {1, norvel_gpio_test_get},  {2, norvel_gpio_test_closed},
    {3, norvel_rf_tx_test_set}, {4, norvel_rf_tx_test_get}, {5, norvel_rf_tx_test_closed},
};
const command_group rf{.number = 3, .first = check::group, .commands = rf_commands};

}  // namespace

int norvel_test_rf_do(int argc, char** argv) {
  return run_group(rf, argc, argv);
}
