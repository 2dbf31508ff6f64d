// Writing texts to files.
#pragma once

#include <string>
#include <string_view>

#include "decode/input/input_files.h"
#include "host/file_descriptor.h"

namespace decode {

/// Waits for room where there is none. Throws output_error, which names `name`.
void write_whole(int file, std::string_view name, std::string_view text);

/// Asked whenever a signal interrupts a write, which is given up with output_error when it says
/// true. Until this is called such writes go on.
void give_up_interrupted_writes(bool (*now)());

/// Throws output_error when a file is there, and is one of `files` by whatever name or link.
void must_not_be_of(const file_set& files, const std::string& path);

/// A file that is written from its beginning. What it held before stays until begin() or the first
/// write, so that a run that comes to nothing takes nothing away.
class file_output {
 public:
  /// Makes the file when missing. Throws output_error.
  explicit file_output(const std::string& path);
  /// One that is open and is written from where it stands.
  file_output(std::string name, host::file_descriptor file);

  /// As above, of this file.
  void must_not_be_of(const file_set& files) const;

  /// Throws output_error.
  void begin();
  void write(std::string_view text);

  [[nodiscard]] int descriptor() const { return file_.get(); }

 private:
  std::string name_;
  host::file_descriptor file_;
  bool begun_ = false;
};

}  // namespace decode
