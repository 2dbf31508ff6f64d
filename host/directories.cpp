#include "host/directories.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "host/environment.h"

namespace host {
namespace {

bool is_directory(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

std::string runtime_directory() {
  if (const auto base = environment("XDG_RUNTIME_DIR"); !base.empty()) return base + "/tvk";
  return "/tmp/tvk-" + std::to_string(::geteuid());
}

std::string state_directory() {
  if (const auto base = environment("XDG_STATE_HOME"); !base.empty()) return base + "/tvk";
  const auto home = environment("HOME");
  return home.empty() ? home : home + "/.local/state/tvk";
}

std::string parent_of(const std::string& path) {
  const auto slash = path.find_last_of('/');
  if (slash == std::string::npos) return {};
  return path.substr(0, std::max<std::size_t>(slash, 1));
}

bool make_directories(const std::string& path) {
  if (path.empty() || is_directory(path)) return true;
  if (!make_directories(parent_of(path))) return false;
  if (::mkdir(path.c_str(), 0700) == 0) return true;
  if (errno != EEXIST) return false;
  // Another program may have created it meanwhile.
  if (is_directory(path)) return true;
  errno = ENOTDIR;
  return false;
}

}  // namespace host
