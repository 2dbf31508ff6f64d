#include "decode/input/packed_source.h"

#include <algorithm>
#include <utility>

namespace decode {

namespace {

constexpr std::size_t block_size = std::size_t{64} * 1024;

}  // namespace

packed_source::packed_source(std::unique_ptr<byte_source> from, const packing& how,
                             std::uint64_t memory)
    : from_(std::move(from)), how_(how), unpacker_(how.make(memory)), buffer_(block_size) {}

void packed_source::refill() {
  std::ranges::copy(packed_, buffer_.begin());
  const auto more = from_->read(std::span(buffer_).subspan(packed_.size()));
  packed_ = std::span(buffer_).first(packed_.size() + more);
  if (!from_->damage().empty()) report_damage(from_->damage());
}

bool packed_source::find_member() {
  while (true) {
    if (packed_.size() < packing_magic_size) refill();
    if (packed_.empty()) return false;
    if (how_.begins(packed_)) {
      unpacker_->begin();
      in_member_ = true;
      return true;
    }
    if (packed_.front() != 0) report_damage("other data follows the packed data");
    packed_ = packed_.subspan(1);
  }
}

std::size_t packed_source::read(std::span<std::uint8_t> out) {
  auto room = out;
  while (!room.empty() && (in_member_ || find_member())) {
    if (packed_.empty()) refill();
    const auto left = packed_.size() + room.size();
    const auto result = unpacker_->unpack(packed_, room);
    if (result == unpacker::result::failed) {
      report_damage(unpacker_->failure());
    } else if (result == unpacker::result::more) {
      if (packed_.size() + room.size() < left) continue;
      report_damage("the file ends too early");
    }
    in_member_ = false;
  }
  return out.size() - room.size();
}

}  // namespace decode
