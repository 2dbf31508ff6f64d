// A growing text. Callers reserve room once and then write into it without checks.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

namespace decode {

class text_buffer {
 public:
  /// Where `size` characters may be written; commit() takes the end of what was written.
  [[nodiscard]] char* room(std::size_t size) {
    if (capacity_ - size_ < size) grow(size);
    return text_.get() + size_;
  }
  void commit(const char* end) { size_ = static_cast<std::size_t>(end - text_.get()); }

  void append(std::string_view text) {
    // An empty text may have a null pointer, from which memcpy must not copy even 0 bytes.
    if (text.empty()) return;
    std::memcpy(room(text.size()), text.data(), text.size());
    size_ += text.size();
  }

  void clear() { size_ = 0; }
  [[nodiscard]] std::string_view view() const { return {text_.get(), size_}; }

 private:
  /// Reallocates in place if possible, so that a large text is not held twice.
  void grow(std::size_t size) {
    const std::size_t capacity = capacity_ + capacity_ / 2 + size + 4096;
    void* const larger = std::realloc(text_.get(), capacity);
    if (larger == nullptr) throw std::bad_alloc();
    static_cast<void>(text_.release());
    text_.reset(static_cast<char*>(larger));
    capacity_ = capacity;
  }

  struct release {
    void operator()(char* text) const { std::free(text); }
  };

  std::unique_ptr<char[], release> text_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace decode
