// The capture that a live session keeps of what came.
#pragma once

#include <string>

#include "host/file_descriptor.h"
#include "protocol/bytes.h"

namespace decode {

class save_file {
 public:
  /// Nothing is kept without a path.
  save_file(std::string path, bool replace) : path_(std::move(path)), replace_(replace) {}

  /// Makes the file. One that is there already is left alone, unless it is to be replaced, or is a
  /// pipe or a device. Throws output_error.
  void open();

  /// Throws output_error.
  void write(protocol::byte_view bytes) const;

 private:
  const std::string path_;
  const bool replace_;
  host::file_descriptor file_;
};

}  // namespace decode
