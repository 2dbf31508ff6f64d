// Text that grows at its end: room is asked for once, then written without checks.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace decode {

class text_buffer {
 public:
  /// Where `size` characters may be written; commit() says how far it went.
  [[nodiscard]] char* room(std::size_t size) {
    if (capacity_ - size_ < size) grow(size);
    return text_.get() + size_;
  }
  void commit(const char* end) { size_ = static_cast<std::size_t>(end - text_.get()); }

  void append(std::string_view text) {
    // An empty text may be nowhere, from which not even nothing may be copied.
    if (text.empty()) return;
    std::memcpy(room(text.size()), text.data(), text.size());
    size_ += text.size();
  }

  void clear() { size_ = 0; }
  [[nodiscard]] std::string_view view() const { return {text_.get(), size_}; }

 private:
  void grow(std::size_t size) {
    const std::size_t capacity = 2 * capacity_ + size + 4096;
    // Not set to zero first: what is not written is never read.
    auto larger = std::make_unique_for_overwrite<char[]>(capacity);
    if (size_ > 0) std::memcpy(larger.get(), text_.get(), size_);
    text_ = std::move(larger);
    capacity_ = capacity;
  }

  std::unique_ptr<char[]> text_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace decode
