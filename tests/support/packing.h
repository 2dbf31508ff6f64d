// Packs bytes, for programs that unpack.
#pragma once

#include "support/bytes.h"

namespace support {

bytes gzip(const bytes& content);
bytes zstd(const bytes& content);
bytes bzip2(const bytes& content);
bytes xz(const bytes& content);

/// `content`, then as many ones as MiB; asks readers for a dictionary of 2 << (code / 2 + 11)
/// bytes, with an even `code`.
bytes xz_with_dictionary(const bytes& content, std::size_t mib_of_ones, std::uint8_t code);

}  // namespace support
