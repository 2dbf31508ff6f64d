#include "protocol/endpoint.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace protocol {
namespace {

std::string environment(const char* name) {
  // Nothing in our programs writes the environment.
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

bool is_directory(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

endpoint_text split_endpoint(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos) return {text, {}};
  return {text.substr(0, colon), text.substr(colon + 1)};
}

std::string runtime_directory() {
  if (const auto base = environment("XDG_RUNTIME_DIR"); !base.empty()) return base + "/tvk";
  return "/tmp/tvk-" + std::to_string(::getuid());
}

std::string state_directory() {
  if (const auto base = environment("XDG_STATE_HOME"); !base.empty()) return base + "/tvk";
  return environment("HOME") + "/.local/state/tvk";
}

bool make_directories(const std::string& path) {
  if (path.empty() || is_directory(path)) return true;
  const auto slash = path.find_last_of('/');
  if (slash != std::string::npos && slash > 0 && !make_directories(path.substr(0, slash))) {
    return false;
  }
  if (::mkdir(path.c_str(), 0700) == 0) return true;
  if (errno != EEXIST) return false;
  // Another program may have made it between the look and the try.
  if (is_directory(path)) return true;
  errno = ENOTDIR;
  return false;
}

}  // namespace protocol
