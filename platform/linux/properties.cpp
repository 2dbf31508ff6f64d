// System properties on a Linux host: a text file of `name=value` lines. Empty lines and lines that
// begin with '#' are the user's own and stay as they are.
#include "platform/properties.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/file_descriptor.h"
#include "platform/linux/report.h"
#include "protocol/endpoint.h"

namespace {

using host::file_descriptor;
using platform::report_once;

std::string file_path() {
  const char* path = std::getenv("TVK_PROPERTIES");
  if (path != nullptr && *path != '\0') return path;
  return protocol::state_directory() + "/properties";
}

void report_failure(const std::string& path, const char* what) {
  report_once("property file " + path + ": " + what + ": " + std::strerror(errno));
}

using lines = std::vector<std::string>;

/// The file's lines, none when there is no file yet; nothing when it cannot be read.
std::optional<lines> read_lines(const std::string& path) {
  const file_descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.valid()) {
    if (errno == ENOENT) return lines{};
    report_failure(path, "cannot be opened");
    return std::nullopt;
  }
  std::string text;
  std::array<char, 4096> chunk{};
  for (;;) {
    const ssize_t got = ::read(file.get(), chunk.data(), chunk.size());
    if (got == 0) break;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      report_failure(path, "cannot be read");
      return std::nullopt;
    }
    text.append(chunk.data(), static_cast<std::size_t>(got));
  }
  lines all;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    all.emplace_back(text, start, end - start);
    start = end + 1;
  }
  return all;
}

bool is_comment(std::string_view line) {
  return line.empty() || line.front() == '#';
}

/// The value when the line sets this property.
std::optional<std::string_view> value_in(std::string_view line, std::string_view name) {
  if (is_comment(line) || !line.starts_with(name)) return std::nullopt;
  line.remove_prefix(name.size());
  if (!line.starts_with('=')) return std::nullopt;
  return line.substr(1);
}

void report_malformed(const std::string& path, const lines& all) {
  for (std::size_t i = 0; i < all.size(); ++i) {
    const auto equals = all[i].find('=');
    const bool well_formed =
        is_comment(all[i]) || (equals != std::string::npos && equals > 0 &&
                               all[i].size() - equals - 1 < PROPERTY_VALUE_MAX);
    if (!well_formed) {
      report_once("property file " + path + ", line " + std::to_string(i + 1) + ": \"" + all[i] +
                  "\": expected name=value with at most " + std::to_string(PROPERTY_VALUE_MAX - 1) +
                  " bytes of value");
    }
  }
}

bool write_all(const file_descriptor& file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t put = ::write(file.get(), text.data(), text.size());
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(put));
  }
  return true;
}

/// Replaces the file in one step: readers see the old text or the new one, whatever happens.
bool replace_file(const std::string& path, const lines& all) {
  std::string text;
  for (const std::string& line : all) text += line + "\n";
  const std::string fresh = path + ".new";
  const file_descriptor file(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (file.valid() && write_all(file, text) && ::fsync(file.get()) == 0 &&
      std::rename(fresh.c_str(), path.c_str()) == 0) {
    return true;
  }
  report_failure(path, "cannot be written");
  ::unlink(fresh.c_str());
  return false;
}

/// Held from reading to replacing, so that no other process's change is lost in between. The lock
/// is a file of its own because the property file is replaced, not rewritten.
file_descriptor lock_file(const std::string& path) {
  const auto slash = path.find_last_of('/');
  if (slash != std::string::npos && !protocol::make_directories(path.substr(0, slash))) return {};
  file_descriptor file(::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  while (file.valid() && ::flock(file.get(), LOCK_EX) != 0) {
    if (errno != EINTR) return {};
  }
  return file;
}

bool storable(std::string_view name, std::string_view value) {
  return !name.empty() && name.front() != '#' &&
         name.find_first_of("=\n") == std::string_view::npos && value.size() < PROPERTY_VALUE_MAX &&
         value.find('\n') == std::string_view::npos;
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
  std::string found = default_value == nullptr ? "" : default_value;
  const std::string path = file_path();
  if (const auto all = read_lines(path)) {
    report_malformed(path, *all);
    for (const std::string& line : *all) {
      const auto set = value_in(line, key);
      if (set && !set->empty()) found = *set;
    }
  }
  found.resize(std::min(found.size(), static_cast<std::size_t>(PROPERTY_VALUE_MAX - 1)));
  std::memcpy(value, found.c_str(), found.size() + 1);
  return static_cast<int>(found.size());
}

int property_set(const char* key, const char* value) {
  if (key == nullptr || value == nullptr || !storable(key, value)) return -EINVAL;
  const std::string path = file_path();
  const file_descriptor lock = lock_file(path);
  if (!lock.valid()) {
    report_failure(path, "cannot be locked");
    return -EACCES;
  }
  auto all = read_lines(path);
  if (!all) return -EIO;
  report_malformed(path, *all);
  std::erase_if(*all, [&](const std::string& line) { return value_in(line, key).has_value(); });
  all->push_back(std::string(key) + "=" + value);
  return replace_file(path, *all) ? 0 : -EIO;
}
