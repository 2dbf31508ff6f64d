// tvk-modem efs: the EFS files in a state directory, whether or not a modem runs on it.
#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "simulator/modem/item_store.h"
#include "simulator/program/commands.h"
#include "simulator/program/standard_output.h"

namespace sim {
namespace {

void list(efs_store& files, std::uint8_t subscription) {
  files.for_each(subscription, [](std::string_view path, protocol::byte_view data) {
    write_output(fmt::format("{:>6}  {}\n", data.size(), path));
  });
}

[[noreturn]] void missing(const efs_command& asked) {
  throw failure(fmt::format("no EFS file {} of subscription {}", asked.path, asked.subscription));
}

void cat(efs_store& files, const efs_command& asked) {
  const auto data = files.read(asked.subscription, asked.path);
  if (!data) missing(asked);
  write_output({reinterpret_cast<const char*>(data->data()), data->size()});
}

/// At most one byte more than a file can have.
std::vector<std::uint8_t> contents_of(const std::string& name) {
  const bool standard_input = name == "-";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> opened(
      standard_input ? nullptr : std::fopen(name.c_str(), "rbe"), std::fclose);
  std::FILE* const file = standard_input ? stdin : opened.get();
  std::vector<std::uint8_t> data(max_efs_file_size + 1);
  if (file != nullptr) data.resize(std::fread(data.data(), 1, data.size(), file));
  if (file == nullptr || std::ferror(file) != 0) {
    throw failure(fmt::format("cannot read {}: {}", standard_input ? "standard input" : name,
                              std::strerror(errno)));
  }
  return data;
}

void put(efs_store& files, const efs_command& asked) {
  const auto data = contents_of(asked.file);
  if (data.empty() || data.size() > max_efs_file_size) {
    throw failure(fmt::format("{} has {} bytes, an EFS file has 1 to {}", asked.file,
                              data.empty() ? "no" : "too many", max_efs_file_size));
  }
  files.write(asked.subscription, asked.path, data);
}

}  // namespace

int run(const efs_command& asked) {
  store opened(asked.state);
  efs_store files(opened);
  switch (asked.what) {
    case efs_command::verb::list:
      list(files, asked.subscription);
      break;
    case efs_command::verb::cat:
      cat(files, asked);
      break;
    case efs_command::verb::put:
      put(files, asked);
      break;
    case efs_command::verb::remove:
      if (!files.erase(asked.subscription, asked.path)) missing(asked);
      break;
  }
  return 0;
}

}  // namespace sim
