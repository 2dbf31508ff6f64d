// The capture file in which a live session saves everything it receives.
#pragma once

#include <string>

#include "host/file_descriptor.h"
#include "protocol/bytes.h"

namespace decode {

class save_file {
 public:
  /// Saves nothing if `path` is empty.
  save_file(std::string path, bool replace) : path_(std::move(path)), replace_(replace) {}

  /// Creates the file. An existing one is an error, unless it is to be replaced, or is a pipe or a
  /// device. Throws output_error.
  void open();

  /// Throws output_error.
  void write(protocol::byte_view bytes) const;

 private:
  const std::string path_;
  const bool replace_;
  host::file_descriptor file_;
};

}  // namespace decode
