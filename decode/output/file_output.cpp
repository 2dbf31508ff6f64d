#include "decode/output/file_output.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "decode/output/record_output.h"

namespace decode {

void write_whole(int file, std::string_view name, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(file, text.data(), text.size());
    if (count < 0) {
      if (errno == EINTR) continue;
      throw output_error(fmt::format("{}: {}", name, std::generic_category().message(errno)));
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace decode
