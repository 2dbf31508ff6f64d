#include "decode/live/save.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "decode/output/file_output.h"
#include "decode/output/record_output.h"

namespace decode {

void save_file::open() {
  if (path_.empty()) return;
  constexpr int flags = O_WRONLY | O_CREAT | O_CLOEXEC;
  file_ = host::file_descriptor(::open(path_.c_str(), flags | O_EXCL, 0666));
  if (file_.valid()) return;
  if (errno == EEXIST) {
    std::error_code none;
    if (!replace_ && std::filesystem::is_regular_file(path_, none)) {
      throw output_error(fmt::format("{}: the file exists; --force replaces it", path_));
    }
    file_ = host::file_descriptor(::open(path_.c_str(), flags | O_TRUNC, 0666));
    if (file_.valid()) return;
  }
  throw output_error(fmt::format("{}: {}", path_, std::generic_category().message(errno)));
}

void save_file::write(protocol::byte_view bytes) const {
  if (!file_.valid()) return;
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  write_whole(file_.get(), path_, text);
}

}  // namespace decode
