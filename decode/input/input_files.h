// The files that inputs stand for, and files by what they are and not what they are called.
#pragma once

#include <sys/stat.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace decode {

struct input_file {
  std::string path;
  bool named;  // by the user, not found in a directory

  /// For messages.
  [[nodiscard]] std::string name() const { return path == "-" ? "standard input" : path; }
};

struct input_files {
  std::vector<input_file> files;
  bool complete = true;  // every directory could be read
};

/// Of directories all files that hold something, in order of their names. A directory that cannot
/// be read is reported on standard error, and the others are listed all the same.
[[nodiscard]] input_files list_files(const std::vector<std::string>& inputs);

/// Regular files by device and inode, which links and other ways to a file do not change.
class file_set {
 public:
  /// A file that cannot be found is left out.
  void add(const std::string& path);
  [[nodiscard]] bool contains(const struct stat& file) const;

 private:
  std::set<std::pair<dev_t, ino_t>> files_;
};

}  // namespace decode
