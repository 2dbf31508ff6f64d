#include "host/unix_address.h"

#include <cstddef>
#include <iterator>

namespace host {

/// The size includes `zeros_before` zeros before the text and `zeros_after` after it.
unix_address::unix_address(std::string_view text, std::size_t zeros_before, std::size_t zeros_after)
    : size_(static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + zeros_before + text.size() +
                                   zeros_after)) {
  address_.sun_family = AF_UNIX;
  text.copy(std::next(std::begin(address_.sun_path), static_cast<std::ptrdiff_t>(zeros_before)),
            text.size());
}

std::optional<unix_address> unix_address::of_path(std::string_view path) {
  if (path.size() > longest_path) return std::nullopt;
  return unix_address(path, 0, 1);
}

unix_address unix_address::of_abstract_name(std::string_view name) {
  return {name.substr(0, longest_path), 1, 0};
}

unix_address unix_address::of_padded_abstract_name(std::string_view name) {
  const std::string_view kept = name.substr(0, longest_path);
  return {kept, 1, longest_path - kept.size()};
}

}  // namespace host
