// The folders of captures that tests read: the project's sample, and another where CMake was given
// one.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace captures {

inline std::vector<std::filesystem::path> folders() {
  std::vector<std::filesystem::path> all{TVK_SAMPLE_DIR};
  if (const std::filesystem::path more = TVK_CAPTURES_DIR; !more.empty()) all.push_back(more);
  return all;
}

inline std::string folder_name(const testing::TestParamInfo<std::filesystem::path>& folder) {
  return folder.index == 0 ? "sample" : "given";
}

}  // namespace captures
