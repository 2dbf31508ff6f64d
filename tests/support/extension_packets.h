// Extension requests for NV items, EFS files and common messages, byte by byte, and what their
// answers hold.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "support/bytes.h"

namespace support {

/// TLVs of a request of this type with a payload of 512 bytes, zeros at its end.
inline bytes extension_tlvs(std::uint32_t type, const bytes& payload) {
  return hex("01 0400") + u32(type) + hex("02 0400 00020000  10 0002") + padded(payload);
}

// Offset 76: total length, 80: bytes in this chunk, 84: offset, 88: data.
struct file_request {
  std::uint32_t operation = 4;
  std::string path = "/f";
  std::uint32_t offset = 0;
  std::uint32_t total = 0;
  bytes data = {};
  std::uint32_t subscription = 0;
  std::uint32_t path_length = static_cast<std::uint32_t>(path.size());

  [[nodiscard]] bytes payload() const {
    const bytes head = {static_cast<std::uint8_t>(operation),
                        static_cast<std::uint8_t>(subscription), 0, 0,
                        static_cast<std::uint8_t>(path_length)};
    return padded(head + ascii(path), 76) + u32(total) +
           u32(static_cast<std::uint32_t>(data.size())) + u32(offset) + data;
  }
};

struct item_request {
  std::uint8_t operation = 1;
  std::uint16_t item = 550;
  bytes data = {};
  std::uint8_t subscription = 0;
  std::uint32_t length = static_cast<std::uint32_t>(data.size());

  [[nodiscard]] bytes payload() const {
    return padded(bytes{operation, subscription} + u16(item), 76) + u32(length) + bytes(8) + data;
  }
};

/// The chunk of a file that begins at `offset`, as the console cuts files.
inline bytes chunk_of(const bytes& file, std::size_t offset) {
  return slice(file, offset, offset + 414);
}

inline file_request chunk_write(const bytes& file, std::size_t offset) {
  return {.operation = 5,
          .offset = static_cast<std::uint32_t>(offset),
          .total = static_cast<std::uint32_t>(file.size()),
          .data = chunk_of(file, offset)};
}

/// What an answer to either holds. `tlvs`: result 0, data_len 444, 512 bytes of payload.
struct nvefs_answer {
  explicit nvefs_answer(const bytes& tlvs) {
    const bytes head = hex("01 0400 00000000  02 0400 bc010000  10 0002");
    const bytes payload = slice(tlvs, head.size());
    if (tlvs != head + padded(payload)) throw std::runtime_error("no answer to a request");
    total = u32_at(payload, 4);
    result = u32_at(payload, 16);
    data = padded(slice(payload, 20), u32_at(payload, 8));
  }

  std::uint32_t total = 0;
  std::uint32_t result = 0;
  bytes data;  ///< as many as the answer counts
};

/// A common message of kind 2.
inline bytes common_message(std::uint32_t number, const bytes& payload = {}) {
  return u32(2) + u32(0) + u32(number) + u32(static_cast<std::uint32_t>(payload.size())) + payload;
}

}  // namespace support
