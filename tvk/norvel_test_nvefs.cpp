// Group 4: NV items and EFS files.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "tvk/command_group.h"
#include "tvk/commands.h"
#include "tvk/output.h"

namespace {

extern const command_group nvefs;

using item_data = std::array<unsigned char, norvel_nv_max_data>;

constexpr int read_or_delete_argc = 5;

/// 0 for an argument of 0, otherwise 1.
unsigned int flag(const char* argument) {
  return std::atoi(argument) == 0 ? 0 : 1;
}

struct efs_path {
  unsigned int sub_id;
  const char* text;
  unsigned int length;
};

efs_path path_of(char** argv) {
  return {static_cast<unsigned int>(std::atoi(argv[3])), argv[4],
          static_cast<unsigned int>(std::strlen(argv[4]))};
}

/// The bytes from argv[5] on, up to the maximum size of an item.
std::span<unsigned char> read_data(int argc, char** argv, item_data& data) {
  const auto count = std::min<std::size_t>(static_cast<std::size_t>(argc - 5), data.size());
  std::transform(argv + 5, argv + 5 + count, data.begin(), [](const char* argument) {
    return static_cast<unsigned char>(std::atoi(argument));
  });
  return std::span(data).first(count);
}

/// Prints the data that was read, or that reading failed.
int show(int error, std::span<const unsigned char> data) {
  if (error == 0) {
    print_data(data);
  } else {
    std::puts("norvel_extend_qmi_send_sync fail, REQUEST_ID_EFS");
  }
  return error;
}

bool has_data(int argc) {
  if (argc > read_or_delete_argc) return true;
  print_misuse(nvefs, "\nnote: Too few inputs, Pls refer to the following cmd:\n");
  return false;
}

int norvel_nvefs_test_nv_read(int argc, char** argv) {
  if (argc != read_or_delete_argc) return refuse_inputs(nvefs, read_or_delete_argc);
  item_data data{};
  unsigned int length = data.size();
  const int error = norvel_nv_read(flag(argv[3]), std::atoi(argv[4]), data.data(), &length);
  return show(error, std::span(data).first(length));
}

int norvel_nvefs_test_nv_write(int argc, char** argv) {
  if (!has_data(argc)) return wrong_arguments;
  item_data data{};
  const auto bytes = read_data(argc, argv, data);
  return norvel_nv_write_ex(flag(argv[3]), std::atoi(argv[4]), bytes.data(),
                            static_cast<unsigned int>(bytes.size()));
}

int norvel_nvefs_test_nv_delete(int argc, char** argv) {
  if (argc != read_or_delete_argc) return refuse_inputs(nvefs, read_or_delete_argc);
  return norvel_nv_delete(flag(argv[3]), std::atoi(argv[4]));
}

int norvel_nvefs_test_efs_read(int argc, char** argv) {
  if (argc != read_or_delete_argc) return refuse_inputs(nvefs, read_or_delete_argc);
  const efs_path path = path_of(argv);
  item_data data{};
  unsigned int length = data.size();
  const int error = norvel_efs_read(path.sub_id, path.text, path.length, data.data(), &length);
  return show(error, std::span(data).first(length));
}

int norvel_nvefs_test_efs_write(int argc, char** argv) {
  if (!has_data(argc)) return wrong_arguments;
  const efs_path path = path_of(argv);
  item_data data{};
  const auto bytes = read_data(argc, argv, data);
  return norvel_efs_write(path.sub_id, path.text, path.length, bytes.data(),
                          static_cast<unsigned int>(bytes.size()));
}

int norvel_nvefs_test_efs_delete(int argc, char** argv) {
  if (argc != read_or_delete_argc) return refuse_inputs(nvefs, read_or_delete_argc);
  const efs_path path = path_of(argv);
  return norvel_efs_delete(path.sub_id, path.text, path.length);
}

constexpr sub_command nvefs_commands[] = {
    {1, norvel_nvefs_test_nv_read},   {2, norvel_nvefs_test_nv_write},
    {3, norvel_nvefs_test_nv_delete}, {4, norvel_nvefs_test_efs_read},
    {5, norvel_nvefs_test_efs_write}, {6, norvel_nvefs_test_efs_delete},
};
const command_group nvefs{.number = 4, .first = check::group, .commands = nvefs_commands};

}  // namespace

int norvel_test_nvefs_do(int argc, char** argv) {
  return run_group(nvefs, argc, argv);
}
