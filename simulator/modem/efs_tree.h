// The first subscription's EFS files as a tree of directories, links and modes. A directory
// exists because it was made or because a file is below it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/modem/item_store.h"

namespace sim {

struct efs_status {
  std::uint32_t mode = 0;  ///< POSIX: type and permissions
  std::uint32_t size = 0;
};
constexpr std::uint32_t efs_type_bits = 0170000;
constexpr std::uint32_t efs_directory = 0040000;
constexpr std::uint32_t efs_file = 0100000;
constexpr std::uint32_t efs_link = 0120000;

/// Every function throws `failure` when the state cannot be read or written. Those that change
/// something return 0 or a POSIX error number.
class efs_tree {
 public:
  efs_tree(store& store, efs_store& files);

  /// A path as clients write it, in the form of the store: one leading slash, none at the end.
  [[nodiscard]] static std::string normal(std::string_view path);

  /// Of a link itself.
  [[nodiscard]] std::optional<efs_status> status(const std::string& path);
  /// Names, sorted.
  [[nodiscard]] std::vector<std::string> list(const std::string& directory);

  /// The path that a link leads to, any other path itself; nothing for a loop of links.
  [[nodiscard]] std::optional<std::string> followed(const std::string& path);
  [[nodiscard]] std::optional<std::string> link_target(const std::string& path);

  [[nodiscard]] std::optional<std::vector<std::uint8_t>> read(const std::string& path);
  [[nodiscard]] int write(const std::string& path, protocol::byte_view data);

  [[nodiscard]] int make_directory(const std::string& path, std::uint32_t mode);
  [[nodiscard]] int make_link(const std::string& path, const std::string& target);
  [[nodiscard]] int change_mode(const std::string& path, std::uint32_t mode);
  [[nodiscard]] int remove_file(const std::string& path);
  [[nodiscard]] int remove_directory(const std::string& path);
  /// With everything below it.
  [[nodiscard]] int remove_tree(const std::string& path);
  [[nodiscard]] int rename(const std::string& from, const std::string& to);

  [[nodiscard]] std::uint32_t files();

 private:
  /// What the store of files does not know of a path.
  struct entry {
    std::uint32_t mode = 0;
    std::string target;
  };

  [[nodiscard]] std::optional<entry> entry_of(const std::string& path);
  void keep(const std::string& path, const entry& what);
  void forget(const std::string& path);
  /// Of files, made directories and links, sorted.
  [[nodiscard]] std::vector<std::string> paths_below(const std::string& directory);
  [[nodiscard]] bool is_directory(const std::string& path);
  [[nodiscard]] int cannot_be_made(const std::string& path);

  efs_store& files_;
  store& store_;
  prepared entry_;
  prepared keep_;
  prepared forget_;
  prepared list_;
};

}  // namespace sim
