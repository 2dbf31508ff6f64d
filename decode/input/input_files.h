// Expands the inputs on the command line to files, and identifies files independently of names.
#pragma once

#include <sys/stat.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace decode {

struct input_file {
  std::string path;
  bool named;  // named by the user, as opposed to found in a directory

  /// The name in messages.
  [[nodiscard]] std::string name() const { return path == "-" ? "standard input" : path; }
};

struct input_files {
  std::vector<input_file> files;
  bool complete = true;  // every directory could be read
};

/// A directory stands for all its non-empty files, sorted by name. A directory that cannot be read
/// is reported on standard error and skipped.
[[nodiscard]] input_files list_files(const std::vector<std::string>& inputs);

/// A set of regular files, identified by device and inode, so that links make no difference.
class file_set {
 public:
  /// Ignores a file that does not exist.
  void add(const std::string& path);
  [[nodiscard]] bool contains(const struct stat& file) const;

 private:
  std::set<std::pair<dev_t, ino_t>> files_;
};

}  // namespace decode
