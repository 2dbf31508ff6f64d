#include "simulator/modem/efs_transfers.h"

#include <algorithm>
#include <utility>

namespace sim {

efs_transfers::outcome efs_transfers::read(const client& who, const efs_name& name,
                                           std::size_t offset, std::size_t most, efs_chunk& chunk) {
  auto found = reads_.find(who);
  const bool goes_on = found != reads_.end() && offset != 0 && found->second.next == offset &&
                       found->second.name == name;
  if (!goes_on) {
    if (found != reads_.end()) reads_.erase(found);
    auto whole = files_.read(name.subscription, name.path);
    if (!whole) return outcome::no_file;
    if (offset > whole->size()) return outcome::out_of_order;
    const std::size_t total = whole->size();
    found = reads_.emplace(who, transfer{name, total, std::move(*whole), offset}).first;
  }
  transfer& reading = found->second;
  const std::size_t size = std::min(most, reading.total - offset);
  const auto data = protocol::byte_view(reading.data).subspan(offset, size);
  chunk = {reading.total, {data.begin(), data.end()}};
  reading.next = offset + size;
  if (reading.next == reading.total) reads_.erase(found);
  return outcome::done;
}

efs_transfers::outcome efs_transfers::write(const client& who, const efs_name& name,
                                            std::size_t total, std::size_t offset,
                                            protocol::byte_view data) {
  // Anything that ends this chunk early ends the transfer as well.
  auto pending = writes_.extract(who);
  transfer writing{name, total, {}, 0};
  if (offset != 0) {
    if (!pending) return outcome::out_of_order;
    writing = std::move(pending.mapped());
    if (writing.name != name || writing.total != total) return outcome::out_of_order;
  }
  if (offset != writing.data.size() || data.size() > total - offset) return outcome::out_of_order;

  writing.data.insert(writing.data.end(), data.begin(), data.end());
  if (writing.data.size() == total) {
    // The writer reads back what it wrote.
    reads_.erase(who);
    files_.write(name.subscription, name.path, writing.data);
  } else {
    writes_.emplace(who, std::move(writing));
  }
  return outcome::done;
}

void efs_transfers::drop(const client& who) {
  reads_.erase(who);
  writes_.erase(who);
}

void efs_transfers::drop_all() {
  reads_.clear();
  writes_.clear();
}

}  // namespace sim
