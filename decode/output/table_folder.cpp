#include "decode/output/table_folder.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "decode/output/record_output.h"

namespace decode {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path, const std::error_code& why) {
  throw output_error(fmt::format("{}: {}", path, why.message()));
}

}  // namespace

table_folder::table_folder(std::string directory, std::set<std::string> tables, bool replace,
                           const file_set& inputs)
    : directory_(std::move(directory)), tables_(std::move(tables)) {
  std::error_code error;
  fs::create_directories(directory_, error);
  if (error) fail(directory_, error);
  for (const auto& table : tables_) {
    const auto path = path_of(table);
    must_not_be_of(inputs, path);
    if (!replace && fs::exists(fs::symlink_status(path, error))) {
      throw output_error(fmt::format(
          "{}: the directory already holds tables, such as {}.csv; --force replaces all",
          directory_, table));
    }
  }
}

table_folder::~table_folder() {
  for (const auto& [table, file] : written_) {
    std::error_code ignored;
    fs::remove(unfinished_path_of(table), ignored);
  }
}

std::string table_folder::path_of(const std::string& table) const {
  return directory_ + "/" + table + ".csv";
}

std::string table_folder::unfinished_path_of(const std::string& table) const {
  return path_of(table) + ".unfinished";
}

void table_folder::write(const std::string& table, std::string_view header, std::string_view rows) {
  auto found = written_.find(table);
  if (found == written_.end()) {
    // Left by a run that was killed, or somebody's link: it is not to be written through.
    const auto path = unfinished_path_of(table);
    std::error_code error;
    fs::remove(path, error);
    if (error) fail(path, error);
    found = written_.emplace(table, file_output(path)).first;
    found->second.write(header);
  }
  found->second.write(rows);
}

void table_folder::finish() {
  std::error_code error;
  for (const auto& table : tables_) {
    if (written_.contains(table)) continue;
    fs::remove(path_of(table), error);
    if (error) fail(path_of(table), error);
  }
  while (!written_.empty()) {
    const auto& table = written_.begin()->first;
    fs::rename(unfinished_path_of(table), path_of(table), error);
    if (error) fail(path_of(table), error);
    written_.erase(written_.begin());
  }
}

}  // namespace decode
