// Files and directories that one DIAG client has open. Only names are held: contents are
// read and written in the store, so that all clients see the same.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sim::diag {

struct open_file {
  std::string path;
  bool writable = false;
};

struct open_directory {
  std::string path;
  std::vector<std::string> names;  ///< as they were when it was opened
};

/// Small numbers for what is open, the lowest free one first.
template <typename Thing>
class handles {
 public:
  static constexpr std::size_t most = 32;

  /// Nothing when too many are open.
  [[nodiscard]] std::optional<std::uint32_t> open(Thing thing) {
    std::uint32_t number = first_;
    while (open_.contains(number)) ++number;
    if (open_.size() == most) return std::nullopt;
    open_.emplace(number, std::move(thing));
    return number;
  }
  [[nodiscard]] Thing* find(std::uint32_t number) {
    const auto found = open_.find(number);
    return found == open_.end() ? nullptr : &found->second;
  }
  [[nodiscard]] bool close(std::uint32_t number) { return open_.erase(number) == 1; }

  explicit handles(std::uint32_t first) : first_(first) {}

 private:
  std::uint32_t first_;
  std::map<std::uint32_t, Thing> open_;
};

struct efs_handles {
  handles<open_file> files{0};
  handles<open_directory> directories{1};
};

}  // namespace sim::diag
