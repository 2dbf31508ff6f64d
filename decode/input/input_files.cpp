#include "decode/input/input_files.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "decode/messages.h"

namespace decode {

namespace {

namespace fs = std::filesystem;

/// False when something in `top` could not be listed.
bool list_directory(const fs::path& top, std::vector<std::string>& found) {
  bool complete = true;
  for (std::vector<fs::path> folders{top}; !folders.empty();) {
    const auto folder = std::move(folders.back());
    folders.pop_back();
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
      std::error_code gone;
      if (at->is_directory(gone) && !at->is_symlink(gone)) {
        folders.push_back(at->path());
      } else if (at->is_regular_file(gone) && at->file_size(gone) > 0) {
        found.push_back(at->path());
      }
    }
    if (!error) continue;
    report(fmt::format("{}: {}", folder.native(), error.message()));
    complete = false;
  }
  return complete;
}

}  // namespace

input_files list_files(const std::vector<std::string>& inputs) {
  input_files all;
  for (const auto& input : inputs) {
    std::error_code none;
    if (!fs::is_directory(input, none)) {
      all.files.push_back({input, true});
      continue;
    }
    std::vector<std::string> found;
    if (!list_directory(input, found)) all.complete = false;
    std::ranges::sort(found);
    for (auto& path : found) all.files.push_back({std::move(path), false});
  }
  return all;
}

void file_set::add(const std::string& path) {
  struct stat file {};
  const int result = path == "-" ? ::fstat(STDIN_FILENO, &file) : ::stat(path.c_str(), &file);
  if (result == 0 && S_ISREG(file.st_mode)) files_.emplace(file.st_dev, file.st_ino);
}

bool file_set::contains(const struct stat& file) const {
  return files_.contains({file.st_dev, file.st_ino});
}

}  // namespace decode
