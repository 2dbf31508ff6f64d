// Writes text to files.
#pragma once

#include <string>
#include <string_view>

#include "decode/input/input_files.h"
#include "host/file_descriptor.h"

namespace decode {

/// Writes everything, waiting for room if necessary. Throws output_error, which mentions `name`.
void write_whole(int file, std::string_view name, std::string_view text);

/// Sets a function that is called whenever a signal interrupts a write. If it returns true, the
/// write is abandoned with output_error. By default writes continue.
void give_up_interrupted_writes(bool (*now)());

/// Throws output_error when the path leads to one of `files`, under any name or link.
void must_not_be_of(const file_set& files, const std::string& path);

/// A file that is written from its beginning. Its previous contents are kept until begin() or the
/// first write, so that a run without results does not destroy anything.
class file_output {
 public:
  /// Creates the file if it is missing. Throws output_error.
  explicit file_output(const std::string& path);
  /// A file that is already open, written from its current position.
  file_output(std::string name, host::file_descriptor file);

  /// The same check as above for this file.
  void must_not_be_of(const file_set& files) const;

  /// Throws output_error.
  void begin();
  void write(std::string_view text);

  /// Whether it is a file whose previous contents are still there.
  [[nodiscard]] bool keeps_contents() const;

  [[nodiscard]] int descriptor() const { return file_.get(); }

 private:
  std::string name_;
  host::file_descriptor file_;
  bool begun_ = false;
};

}  // namespace decode
