// A text with numbers that count on from chunk to chunk. It may have been written from a guess at
// the first number, so it remembers where they are, and puts them right when it is passed on.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "decode/output/text_buffer.h"

namespace decode {

class numbered_text {
 public:
  static constexpr std::size_t max_number_size = 20;

  [[nodiscard]] text_buffer& text() { return text_; }

  /// Writes `number` to `out`, which is in the room of the text, and returns the end. No digit may
  /// follow.
  [[nodiscard]] char* write_number(char* out, std::uint64_t number) {
    note_number(static_cast<std::size_t>(out - text_.view().data()));
    return std::to_chars(out, out + max_number_size, number).ptr;
  }
  /// A number begins at this offset, or will.
  void note_number(std::size_t at) { places_.push_back(static_cast<std::uint32_t>(at)); }

  /// Passes the text, with `difference` added to its numbers, to `write`, and starts over.
  template <typename Write>
  void flush(std::uint64_t difference, Write write) {
    const auto all = text_.view();
    if (difference == 0) {
      if (!all.empty()) write(all);
      return clear();
    }
    constexpr std::size_t enough = std::size_t{64} * 1024;
    text_buffer corrected;
    std::size_t done = 0;
    for (const std::size_t at : places_) {
      corrected.append(all.substr(done, at - done));
      std::uint64_t number = 0;
      const char* const end = std::from_chars(all.data() + at, all.data() + all.size(), number).ptr;
      char* const out = corrected.room(max_number_size);
      corrected.commit(std::to_chars(out, out + max_number_size, number + difference).ptr);
      done = static_cast<std::size_t>(end - all.data());
      if (corrected.view().size() < enough) continue;
      write(corrected.view());
      corrected.clear();
    }
    corrected.append(all.substr(done));
    if (!corrected.view().empty()) write(corrected.view());
    clear();
  }

  void clear() {
    text_.clear();
    places_.clear();
  }

 private:
  text_buffer text_;
  std::vector<std::uint32_t> places_;  // the text of a chunk is shorter than 4 GiB
};

}  // namespace decode
