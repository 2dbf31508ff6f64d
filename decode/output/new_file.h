// A file that is written under another name beside the one that it will replace, so that a file
// with the final name is always whole.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

#include "decode/output/file_output.h"

namespace decode {

class new_file {
 public:
  /// Removes what a run that was killed has left of the file at `path`. Throws output_error.
  static void remove_leftover(const std::string& path);

  /// Throws output_error.
  explicit new_file(std::string path);
  new_file(const new_file&) = delete;
  new_file& operator=(const new_file&) = delete;
  /// Removes it, unless finish() was called.
  ~new_file();

  /// Opens it again after close(). Throws output_error.
  void write(std::string_view text);
  void close() { file_.reset(); }
  [[nodiscard]] bool is_open() const { return file_.has_value(); }

  /// Gives it its final name. Throws output_error, also when another run writes the same file.
  void finish();

 private:
  [[nodiscard]] bool is_still_there() const;

  const std::string path_;
  const std::string unfinished_;
  std::optional<file_output> file_;
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

}  // namespace decode
