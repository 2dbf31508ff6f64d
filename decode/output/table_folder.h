// A directory of CSV tables. A run writes its tables under other names beside the old ones and
// renames them at its end, so that the directory never holds a table that is incomplete but looks
// whole.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>

#include "decode/output/file_output.h"

namespace decode {

class table_folder {
 public:
  /// Creates the directory if missing. Throws output_error if one of the tables is among `inputs`,
  /// or, unless `replace`, exists already. `tables` are all that there may be.
  table_folder(std::string directory, std::set<std::string> tables, bool replace,
               const file_set& inputs);
  table_folder(const table_folder&) = delete;
  table_folder& operator=(const table_folder&) = delete;
  /// Removes what was written, unless finish() was called.
  ~table_folder();

  /// Adds to a table, which begins with `header`. Throws output_error.
  void write(const std::string& table, std::string_view header, std::string_view rows);
  /// Puts the tables of this run in the place of all that were there before. Throws output_error.
  void finish();

 private:
  [[nodiscard]] std::string path_of(const std::string& table) const;
  [[nodiscard]] std::string unfinished_path_of(const std::string& table) const;

  const std::string directory_;
  const std::set<std::string> tables_;
  std::map<std::string, file_output> written_;
};

}  // namespace decode
