// A directory of tables: NAME.csv for each kind of record, or, when many runs share it, a tree of
// record=NAME/day=DATE/RUN.csv. A run writes its files under other names beside the old ones and
// renames them at its end, so that no table is incomplete but looks whole.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "decode/output/new_file.h"

namespace decode {

/// Where a run puts its tables.
struct table_place {
  std::string directory;
  std::string run;  // the name of its files in a tree that other runs write too; empty: no tree
  bool replace;     // what an earlier run has left
};

class table_folder {
 public:
  /// Creates the directory if missing. `tables` are all that there may be, `extension` ends the
  /// names of their files. Throws output_error if a file of this run is among `inputs`, or, unless
  /// it may be replaced, exists already.
  table_folder(table_place place, std::string extension, const std::set<std::string>& tables,
               const file_set& inputs);

  /// Whether a day has files of its own.
  [[nodiscard]] bool has_days() const { return !place_.run.empty(); }
  /// Adds to a file, which begins with `header`. `day` counts from 1970. Throws output_error.
  void write(const std::string& table, std::int32_t day, std::string_view header,
             std::string_view rows);
  /// Puts the files of this run in the place of those that were there before. Throws output_error.
  void finish();

 private:
  /// A run over many days has more files than a process may have open.
  static constexpr std::size_t most_open = 200;

  [[nodiscard]] std::string path_of(const std::string& table, const std::string& date) const;
  [[nodiscard]] std::vector<std::string> possible_paths(const std::set<std::string>& tables) const;

  const table_place place_;
  const std::string extension_;
  std::set<std::string> before_;  // paths of an earlier run
  std::map<std::string, new_file> written_;
  std::size_t open_ = 0;
};

}  // namespace decode
