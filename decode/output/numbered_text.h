// A text with numbers that count on from chunk to chunk. It may have been written from a guess at
// the first number, so it remembers where they are, and puts them right when it is passed on. It
// may consist of parts, which are passed on one by one.
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

  /// What follows belongs to the part with this key, until another begins.
  void begin_part(std::int32_t key) {
    if (!parts_.empty() && parts_.back().key == key) return;
    parts_.push_back({static_cast<std::uint32_t>(text_.view().size()), key});
  }

  /// Passes the text, with `difference` added to its numbers, to `write`, and starts over.
  template <typename Write>
  void flush(std::uint64_t difference, Write write) {
    std::size_t place = 0;
    pass(text_.view(), 0, place, difference, write);
    clear();
  }
  /// The same for a text in parts; `write` gets the key of each first.
  template <typename Write>
  void flush_parts(std::uint64_t difference, Write write) {
    const auto all = text_.view();
    std::size_t place = 0;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
      const std::size_t end = i + 1 < parts_.size() ? parts_[i + 1].begin : all.size();
      pass(all.substr(0, end), parts_[i].begin, place, difference,
           [&](std::string_view text) { write(parts_[i].key, text); });
    }
    clear();
  }

  void clear() {
    text_.clear();
    places_.clear();
    parts_.clear();
  }

 private:
  struct part {
    std::uint32_t begin;
    std::int32_t key;
  };

  /// Passes the text from `done` on; `place` is the first number there, then the one after it.
  template <typename Write>
  void pass(std::string_view all, std::size_t done, std::size_t& place, std::uint64_t difference,
            Write write) {
    if (difference == 0) {
      if (done < all.size()) write(all.substr(done));
      return;
    }
    constexpr std::size_t enough = std::size_t{64} * 1024;
    text_buffer corrected;
    for (; place < places_.size() && places_[place] < all.size(); ++place) {
      const std::size_t at = places_[place];
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
  }

  text_buffer text_;
  std::vector<std::uint32_t> places_;  // the text of a chunk is shorter than 4 GiB
  std::vector<part> parts_;
};

}  // namespace decode
