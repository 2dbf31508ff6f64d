#include "simulator/modem/efs_tree.h"

#include <algorithm>
#include <cerrno>

#include "simulator/modem/columns.h"

namespace sim {
namespace {

constexpr std::uint8_t subscription = 0;
constexpr std::uint32_t permission_bits = 07777;
constexpr std::uint32_t default_file = efs_file | 0644;
constexpr std::uint32_t default_directory = efs_directory | 0755;
constexpr int most_links = 8;

std::string below(const std::string& directory) {
  return directory == "/" ? directory : directory + '/';
}

std::string parent_of(const std::string& path) {
  const auto slash = path.find_last_of('/');
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

efs_tree::efs_tree(store& store, efs_store& files)
    : files_(files),
      store_(store),
      entry_(store, "SELECT mode, target FROM efs_entries WHERE path = ?"),
      keep_(store,
            "INSERT INTO efs_entries VALUES (?, ?, ?) "
            "ON CONFLICT (path) DO UPDATE SET mode = excluded.mode, target = excluded.target"),
      forget_(store, "DELETE FROM efs_entries WHERE path = ?"),
      list_(store,
            "SELECT path FROM efs_files WHERE subscription = 0 AND path BETWEEN ?1 AND ?2 UNION "
            "SELECT path FROM efs_entries WHERE path BETWEEN ?1 AND ?2 AND mode & 61440 != 32768 "
            "ORDER BY path") {}

std::string efs_tree::normal(std::string_view path) {
  std::string clean = "/";
  for (const char each : path) {
    if (each != '/' || clean.back() != '/') clean += each;
  }
  if (clean.size() > 1 && clean.back() == '/') clean.pop_back();
  return clean;
}

std::optional<efs_tree::entry> efs_tree::entry_of(const std::string& path) {
  return entry_.first(
      [](SQLite::Statement& row) {
        return entry{static_cast<std::uint32_t>(number_in(row, 0, columns::entry_mode)),
                     std::string(text_in(row, 1, columns::entry_target))};
      },
      path);
}

void efs_tree::keep(const std::string& path, const entry& what) {
  keep_.run(path, what.mode, what.target);
}

void efs_tree::forget(const std::string& path) {
  forget_.run(path);
}

std::vector<std::string> efs_tree::paths_below(const std::string& directory) {
  const std::string first = below(directory);
  std::vector<std::string> paths;
  list_.each(
      [&](SQLite::Statement& row) {
        // A path has the same bounds in both tables.
        const auto path = text_in(row, 0, columns::entry_path);
        // An entry about the root itself is not below it.
        if (path != first) paths.emplace_back(path);
      },
      first, first + '\x7F');
  return paths;
}

std::optional<efs_status> efs_tree::status(const std::string& path) {
  const auto known = entry_of(path);
  const bool of_file = known && (known->mode & efs_type_bits) == efs_file;
  if (const auto data = files_.read(subscription, path)) {
    return efs_status{of_file ? known->mode : default_file,
                      static_cast<std::uint32_t>(data->size())};
  }
  // The mode of a file remains when QMI deletes the file.
  if (known && !of_file) {
    return efs_status{known->mode, static_cast<std::uint32_t>(known->target.size())};
  }
  if (path == "/" || !paths_below(path).empty()) return efs_status{default_directory, 0};
  return std::nullopt;
}

bool efs_tree::is_directory(const std::string& path) {
  const auto found = status(path);
  return found && (found->mode & efs_type_bits) == efs_directory;
}

std::vector<std::string> efs_tree::list(const std::string& directory) {
  const std::size_t head = below(directory).size();
  std::vector<std::string> names;
  for (const std::string& path : paths_below(directory)) {
    names.push_back(path.substr(head, path.find('/', head) - head));
  }
  std::ranges::sort(names);
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

std::optional<std::string> efs_tree::link_target(const std::string& path) {
  const auto known = entry_of(path);
  if (!known || (known->mode & efs_type_bits) != efs_link) return std::nullopt;
  return known->target;
}

std::optional<std::string> efs_tree::followed(const std::string& path) {
  std::string at = path;
  for (int links = 0; links < most_links; ++links) {
    const auto target = link_target(at);
    if (!target) return at;
    at = target->starts_with('/') ? normal(*target) : normal(below(parent_of(at)) + *target);
  }
  return std::nullopt;
}

std::optional<std::vector<std::uint8_t>> efs_tree::read(const std::string& path) {
  return files_.read(subscription, path);
}

int efs_tree::cannot_be_made(const std::string& path) {
  if (path.size() > max_efs_path_size) return ENAMETOOLONG;
  return is_directory(parent_of(path)) ? 0 : ENOENT;
}

int efs_tree::write(const std::string& path, protocol::byte_view data) {
  if (data.size() > max_efs_file_size) return EFBIG;
  if (const int error = cannot_be_made(path); error != 0) return error;
  const auto found = status(path);
  if (found && (found->mode & efs_type_bits) == efs_directory) return EISDIR;
  if (!found) forget(path);
  files_.write(subscription, path, data);
  return 0;
}

int efs_tree::make_directory(const std::string& path, std::uint32_t mode) {
  if (status(path)) return EEXIST;
  if (const int error = cannot_be_made(path); error != 0) return error;
  keep(path, {efs_directory | (mode & permission_bits), {}});
  return 0;
}

int efs_tree::make_link(const std::string& path, const std::string& target) {
  if (target.size() > max_efs_link_size) return ENAMETOOLONG;
  if (status(path)) return EEXIST;
  if (const int error = cannot_be_made(path); error != 0) return error;
  keep(path, {efs_link | 0777, target});
  return 0;
}

int efs_tree::change_mode(const std::string& path, std::uint32_t mode) {
  const auto found = status(path);
  if (!found) return ENOENT;
  if ((found->mode & efs_type_bits) == efs_link) return EINVAL;
  keep(path, {(found->mode & efs_type_bits) | (mode & permission_bits), {}});
  return 0;
}

int efs_tree::remove_file(const std::string& path) {
  const auto found = status(path);
  if (!found) return ENOENT;
  if ((found->mode & efs_type_bits) == efs_directory) return EISDIR;
  (void)files_.erase(subscription, path);
  forget(path);
  return 0;
}

int efs_tree::remove_directory(const std::string& path) {
  const auto found = status(path);
  if (!found) return ENOENT;
  if ((found->mode & efs_type_bits) != efs_directory) return ENOTDIR;
  if (path == "/" || !paths_below(path).empty()) return ENOTEMPTY;
  forget(path);
  return 0;
}

int efs_tree::remove_tree(const std::string& path) {
  if (path == "/") return EINVAL;
  if (!status(path)) return ENOENT;
  store_.together([&] {
    for (const std::string& each : paths_below(path)) {
      (void)files_.erase(subscription, each);
      forget(each);
    }
    (void)files_.erase(subscription, path);
    forget(path);
  });
  return 0;
}

int efs_tree::rename(const std::string& from, const std::string& to) {
  const auto found = status(from);
  if (!found) return ENOENT;
  if ((found->mode & efs_type_bits) == efs_directory) return EISDIR;  // only files move
  if (is_directory(to)) return EISDIR;
  if (const int error = cannot_be_made(to); error != 0) return error;
  if (from == to) return 0;
  store_.together([&] {
    (void)files_.erase(subscription, to);
    if (const auto data = files_.read(subscription, from)) files_.write(subscription, to, *data);
    (void)files_.erase(subscription, from);
    forget(to);
    if (const auto known = entry_of(from)) keep(to, *known);
    forget(from);
  });
  return 0;
}

std::uint32_t efs_tree::files() {
  std::uint32_t count = 0;
  files_.for_each(subscription, [&](auto /*path*/, auto /*data*/) { ++count; });
  return count;
}

}  // namespace sim
