// EFS files in transfer, chunk by chunk, one for each client. A file that is written is collected
// here and replaces the stored one with its last chunk; one that is read is kept as it was at its
// first chunk, so that a reader never gets parts of two files.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "protocol/bytes.h"
#include "simulator/modem/item_store.h"
#include "simulator/port.h"

namespace sim {

struct efs_name {
  std::uint8_t subscription = 0;
  std::string path;

  friend bool operator==(const efs_name&, const efs_name&) = default;
};

struct efs_chunk {
  std::size_t total = 0;  ///< bytes of the whole file
  std::vector<std::uint8_t> data;
};

class efs_transfers {
 public:
  explicit efs_transfers(efs_store& files) : files_(files) {}

  enum class outcome : std::uint8_t { done, no_file, out_of_order };

  /// At most `most` bytes from `offset` on; none at the end of the file. Throws `failure`.
  [[nodiscard]] outcome read(const client& who, const efs_name& name, std::size_t offset,
                             std::size_t most, efs_chunk& chunk);

  /// A chunk of a file that will have `total` bytes. One that does not start where the last ended
  /// ends the transfer. Throws `failure` when the whole file could not be written.
  [[nodiscard]] outcome write(const client& who, const efs_name& name, std::size_t total,
                              std::size_t offset, protocol::byte_view data);

  void drop(const client& who);
  void drop_all();

 private:
  struct transfer {
    efs_name name;
    std::size_t total = 0;
    std::vector<std::uint8_t> data;  ///< written: so far; read: all
    std::size_t next = 0;            ///< read: the offset that continues
  };

  using transfers = std::map<client, transfer, client_order>;

  efs_store& files_;
  transfers reads_;
  transfers writes_;
};

}  // namespace sim
