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

  /// Writes `number` to `out`, which is in the room of the text, and returns the end.
  [[nodiscard]] char* write_number(char* out, std::uint64_t number) {
    char* const end = std::to_chars(out, out + max_number_size, number).ptr;
    note_number(static_cast<std::size_t>(out - text_.view().data()),
                static_cast<std::size_t>(end - out), number);
    return end;
  }
  /// The digits of `number` are already at this offset, or will be.
  void note_number(std::size_t at, std::size_t size, std::uint64_t number) {
    places_.push_back({static_cast<std::uint32_t>(at), static_cast<std::uint32_t>(size), number});
  }

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
    for (const auto& number : places_) {
      corrected.append(all.substr(done, number.at - done));
      char* const out = corrected.room(max_number_size);
      corrected.commit(std::to_chars(out, out + max_number_size, number.value + difference).ptr);
      done = number.at + number.size;
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
  struct place {
    std::uint32_t at;  // the text of a chunk is never longer
    std::uint32_t size;
    std::uint64_t value;
  };

  text_buffer text_;
  std::vector<place> places_;
};

}  // namespace decode
