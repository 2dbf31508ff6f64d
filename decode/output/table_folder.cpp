#include "decode/output/table_folder.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "decode/output/record_output.h"
#include "decode/output/time_text.h"

namespace decode {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view day_key = "day=";

[[noreturn]] void fail(const std::string& path, const std::error_code& why) {
  throw output_error(fmt::format("{}: {}", path, why.message()));
}

void make_directories(const std::string& path) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error) fail(path, error);
}

/// "2016-03-23".
std::string date_of(std::int32_t day) {
  constexpr std::int64_t microseconds = 86'400'000'000;
  return time_text(day * microseconds).substr(0, 10);
}

}  // namespace

table_folder::table_folder(table_place place, std::string extension,
                           const std::set<std::string>& tables, const file_set& inputs)
    : place_(std::move(place)), extension_(std::move(extension)) {
  make_directories(place_.directory);
  const auto possible = possible_paths(tables);
  for (const auto& path : possible) {
    must_not_be_of(inputs, path);
    std::error_code error;
    if (!fs::exists(fs::symlink_status(path, error))) continue;
    if (!place_.replace) {
      throw output_error(
          fmt::format("{}: the directory already holds tables, such as {}; --force replaces all{}",
                      place_.directory, path.substr(place_.directory.size() + 1),
                      has_days() ? " of this name" : ""));
    }
    before_.insert(path);
  }
  for (const auto& path : possible) new_file::remove_leftover(path);
}

std::string table_folder::path_of(const std::string& table, const std::string& date) const {
  const auto& [directory, run, replace] = place_;
  return has_days() ? fmt::format("{}/record={}/{}{}/{}{}", directory, table, day_key, date, run,
                                  extension_)
                    : fmt::format("{}/{}{}", directory, table, extension_);
}

/// Where an earlier run may have left files that this one replaces.
std::vector<std::string> table_folder::possible_paths(const std::set<std::string>& tables) const {
  std::vector<std::string> paths;
  for (const auto& table : tables) {
    if (!has_days()) {
      paths.push_back(path_of(table, {}));
      continue;
    }
    const auto days = fs::path(path_of(table, {})).parent_path().parent_path();
    std::error_code error;
    for (fs::directory_iterator at(days, error), end; !error && at != end; at.increment(error)) {
      const auto name = at->path().filename().native();
      if (name.starts_with(day_key)) paths.push_back(path_of(table, name.substr(day_key.size())));
    }
    if (error && error != std::errc::no_such_file_or_directory) fail(days, error);
  }
  return paths;
}

void table_folder::write(const std::string& table, std::int32_t day, std::string_view header,
                         std::string_view rows) {
  auto path = path_of(table, has_days() ? date_of(day) : std::string());
  auto found = written_.find(path);
  if ((found == written_.end() || !found->second.is_open()) && ++open_ > most_open) {
    for (auto& [name, file] : written_) file.close();
    open_ = 1;
  }
  if (found == written_.end()) {
    if (has_days()) make_directories(fs::path(path).parent_path());
    found = written_.try_emplace(path, path).first;
    found->second.write(header);
  }
  found->second.write(rows);
}

void table_folder::finish() {
  for (const auto& path : before_) {
    std::error_code error;
    if (!written_.contains(path) && !fs::remove(path, error) && error) fail(path, error);
  }
  while (!written_.empty()) {
    written_.begin()->second.finish();
    written_.erase(written_.begin());
  }
}

}  // namespace decode
