// System properties on a Linux host: a text file of `name=value` lines. Blanks around name and
// value are ignored, and so are carriage returns at line ends. Empty lines and lines that begin
// with '#' are preserved.
#include "platform/properties.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/directories.h"
#include "host/environment.h"
#include "host/file_descriptor.h"
#include "host/private_files.h"
#include "host/uninterrupted.h"
#include "host/write_all.h"
#include "platform/linux/report.h"

namespace {

using host::file_descriptor;
using platform::report_once;

/// Far more than any phone's properties need.
constexpr std::size_t max_bytes = std::size_t{1} << 20;

void report(const std::string& path, const std::string& what) {
  report_once("property file " + path + ": " + what);
}

void report_failure(const std::string& path, const char* what) {
  report(path, what + (": " + std::string(std::strerror(errno))));
}

/// The file that a path leads to, which need not exist. Only links of the user or the administrator
/// are followed: another user's link could make us replace any file.
std::optional<std::string> followed(std::string path) {
  constexpr int most_links = 8;
  for (int links = 0; links < most_links; ++links) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
      if (errno == ENOENT) return path;
      report_failure(path, "cannot be opened");
      return std::nullopt;
    }
    if (S_ISREG(status.st_mode)) return path;
    if (!S_ISLNK(status.st_mode)) {
      report(path, "it is not a regular file");
      return std::nullopt;
    }
    if (status.st_uid != ::geteuid() && status.st_uid != 0) {
      report(path, "it is a symbolic link of user " + std::to_string(status.st_uid));
      return std::nullopt;
    }
    const std::filesystem::path link(path);
    std::error_code error;
    path = link.parent_path() / std::filesystem::read_symlink(link, error);
  }
  report(path, "too many symbolic links");
  return std::nullopt;
}

std::optional<std::string> file_path() {
  if (auto chosen = host::environment("TVK_PROPERTIES"); !chosen.empty()) {
    return followed(std::move(chosen));
  }
  const std::string directory = host::state_directory();
  if (directory.empty()) {
    report_once(std::string("no property file: TVK_PROPERTIES is not set, and ") +
                host::no_state_directory);
    return std::nullopt;
  }
  struct stat status {};
  if (::lstat(directory.c_str(), &status) == 0) {
    if (const auto distrust = host::distrust_of_directory(directory); !distrust.empty()) {
      report(directory + "/properties", "its directory is not trusted: " + distrust);
      return std::nullopt;
    }
  }
  return followed(directory + "/properties");
}

using lines = std::vector<std::string>;

/// The file's lines: an empty list when the file does not exist, no value when it cannot be read.
std::optional<lines> read_lines(const std::string& path) {
  const file_descriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!file.valid()) {
    if (errno == ENOENT) return lines{};
    report_failure(path, "cannot be opened");
    return std::nullopt;
  }
  std::string text;
  std::array<char, 4096> chunk{};
  for (;;) {
    const ssize_t got =
        host::uninterrupted([&] { return ::read(file.get(), chunk.data(), chunk.size()); });
    if (got == 0) break;
    if (got < 0) {
      report_failure(path, "cannot be read");
      return std::nullopt;
    }
    text.append(chunk.data(), static_cast<std::size_t>(got));
    if (text.size() > max_bytes) {
      report(path, "it has more than " + std::to_string(max_bytes) + " bytes");
      return std::nullopt;
    }
  }
  lines all;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    all.emplace_back(text, start, end - start);
    start = end + 1;
  }
  return all;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool is_comment(std::string_view line) {
  line = trimmed(line);
  return line.empty() || line.front() == '#';
}

struct property {
  std::string_view name;
  std::string_view value;
};

/// The property that a line sets; no value for a comment or any other line.
std::optional<property> property_in(std::string_view line) {
  const auto equals = line.find('=');
  if (is_comment(line) || equals == std::string_view::npos) return std::nullopt;
  const property found{trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1))};
  return found.name.empty() ? std::nullopt : std::optional(found);
}

/// Reports the first malformed line only: in a file of another kind every line is malformed.
void report_malformed(const std::string& path, const lines& all) {
  constexpr std::size_t shown = 100;
  const auto malformed = [](const std::string& line) {
    const auto set = property_in(line);
    return !is_comment(line) && (!set || set->value.size() >= PROPERTY_VALUE_MAX);
  };
  const auto first = std::ranges::find_if(all, malformed);
  if (first == all.end()) return;
  const auto more = std::count_if(first + 1, all.end(), malformed);
  std::string text(trimmed(*first).substr(0, shown));
  // The text may come from any file and is shown on a terminal: no control characters.
  std::ranges::replace_if(
      text, [](unsigned char each) { return each < ' ' || each > '~'; }, '?');
  report_once("property file " + path + ", line " + std::to_string(first - all.begin() + 1) +
              ": \"" + text + "\": expected name=value with at most " +
              std::to_string(PROPERTY_VALUE_MAX - 1) + " bytes of value" +
              (more == 0 ? "" : ", here and in " + std::to_string(more) + " more lines"));
}

/// Copies owner and mode from the file that is about to be replaced.
bool copy_owner_and_mode(const file_descriptor& file, const std::string& replaced) {
  struct stat before {};
  if (::lstat(replaced.c_str(), &before) != 0) return errno == ENOENT;
  const bool is_own = before.st_uid == ::geteuid() && before.st_gid == ::getegid();
  return (is_own || ::fchown(file.get(), before.st_uid, before.st_gid) == 0) &&
         ::fchmod(file.get(), before.st_mode & 07777U) == 0;
}

/// Replaces the file atomically: readers see either the old or the new text.
bool replace_file(const std::string& path, const lines& all) {
  std::string text;
  for (const std::string& line : all) text += line + "\n";
  const std::string fresh = path + ".new";
  ::unlink(fresh.c_str());  // left by a writer that was killed
  const auto [file, error] = host::make_new_file(fresh);
  if (!file.valid()) {
    report(path, "cannot be written: " + fresh + ": " + error);
    return false;
  }
  if (host::write_all(file.get(), text) && copy_owner_and_mode(file, path) &&
      ::fsync(file.get()) == 0 && std::rename(fresh.c_str(), path.c_str()) == 0) {
    return true;
  }
  report_failure(path, "cannot be written");
  ::unlink(fresh.c_str());
  return false;
}

/// Held from reading to replacing, so that another process's change is not lost in between. A
/// separate file, because the property file itself is replaced, not rewritten.
file_descriptor lock_file(const std::string& path) {
  if (!host::make_directories(host::parent_of(path))) {
    report_failure(path, "its directory cannot be created");
    return {};
  }
  auto lock = host::open_lock(path + ".lock");
  if (lock.file.valid() &&
      host::uninterrupted([&] { return ::flock(lock.file.get(), LOCK_EX); }) != 0) {
    lock = {{}, std::strerror(errno)};
  }
  if (!lock.file.valid()) report(path, "cannot be locked: " + path + ".lock: " + lock.error);
  return std::move(lock.file);
}

/// Whether reading the line back would yield the same name and value.
bool storable(std::string_view name, std::string_view value) {
  return !name.empty() && name.front() != '#' && trimmed(name) == name && trimmed(value) == value &&
         name.find_first_of("=\n") == std::string_view::npos && value.size() < PROPERTY_VALUE_MAX &&
         value.find('\n') == std::string_view::npos;
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
  std::string found = default_value == nullptr ? "" : default_value;
  const auto path = file_path();
  if (const auto all = path ? read_lines(*path) : std::nullopt) {
    report_malformed(*path, *all);
    for (const std::string& line : *all) {
      const auto set = property_in(line);
      if (set && set->name == key && !set->value.empty()) found = set->value;
    }
  }
  found.resize(std::min(found.size(), static_cast<std::size_t>(PROPERTY_VALUE_MAX - 1)));
  std::memcpy(value, found.c_str(), found.size() + 1);
  return static_cast<int>(found.size());
}

int property_set(const char* key, const char* value) {
  if (key == nullptr || value == nullptr || !storable(key, value)) return -EINVAL;
  const auto path = file_path();
  if (!path) return -EIO;
  const file_descriptor lock = lock_file(*path);
  if (!lock.valid()) return -EACCES;
  auto all = read_lines(*path);
  if (!all) return -EIO;
  report_malformed(*path, *all);
  std::erase_if(*all, [&](const std::string& line) {
    const auto set = property_in(line);
    return set && set->name == key;
  });
  all->push_back(std::string(key) + "=" + value);
  return replace_file(*path, *all) ? 0 : -EIO;
}
