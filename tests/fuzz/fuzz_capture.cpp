// Whatever a capture holds: nothing is read or written out of bounds, no byte is decoded and
// counted as lost too, threads change nothing, every line is an object of its own, and a capture
// file consists of whole blocks. Packed, the same comes out however it is asked for.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "decode/input/packed_source.h"
#include "decode/output/file_output.h"
#include "decode/pipeline.h"
#include "decode/signalling/reader.h"
#include "host/file_descriptor.h"
#include "support/memory_source.h"

namespace {

decode::summary decode_to(decode::record_store& store, std::span<const std::uint8_t> capture,
                          unsigned threads) {
  // Made once: it takes longer than to decode most inputs.
  static const auto everything = [] {
    auto all = decode::filter::all();
    all.signalling = decode::signalling::logs();
    return all;
  }();
  support::memory_source source(capture);
  const decode::pipeline_options how{.threads = threads, .wanted = everything, .progress = {}};
  decode::pipeline one(how, store);
  decode::chunker chunks(source, decode::chunk_size(decode::max_threads));
  one.run(chunks);
  return one.counts();
}

using make_store = std::unique_ptr<decode::record_store> (*)(decode::file_output& to, bool);

std::string output(make_store make, std::span<const std::uint8_t> capture, unsigned threads) {
  static const host::file_descriptor file(::memfd_create("output", MFD_CLOEXEC));
  if (::ftruncate(file.get(), 0) != 0 || ::lseek(file.get(), 0, SEEK_SET) != 0) __builtin_trap();
  decode::file_output to("output", host::file_descriptor(::dup(file.get())));
  const auto store = make(to, true);
  static_cast<void>(decode_to(*store, capture, threads));
  std::string text(static_cast<std::size_t>(::lseek(file.get(), 0, SEEK_CUR)), ' ');
  if (::pread(file.get(), text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
    __builtin_trap();
  }
  return text;
}

/// Braces and brackets close, quotes pair: enough for text that has no escapes.
bool is_object(std::string_view line) {
  int depth = 0;
  bool quoted = false;
  for (const char& c : line) {
    if (static_cast<unsigned char>(c) < 0x20 || c == '\\') return false;
    if (c == '"') quoted = !quoted;
    if (quoted) continue;
    if (c == '{' || c == '[') ++depth;
    if (c == '}' || c == ']') --depth;
    if (depth == 0 && &c != &line.back()) return false;
  }
  return depth == 0 && !quoted && line.starts_with('{');
}

/// Takes a pcapng block off the front: type, length, contents, length again.
bool take_block(std::string_view& rest) {
  std::uint32_t head[2];
  std::uint32_t tail = 0;
  if (rest.size() < sizeof head + sizeof tail) return false;
  std::memcpy(head, rest.data(), sizeof head);
  if (head[1] < sizeof head + sizeof tail || head[1] % 4 != 0 || head[1] > rest.size())
    return false;
  std::memcpy(&tail, rest.data() + head[1] - sizeof tail, sizeof tail);
  rest.remove_prefix(head[1]);
  return tail == head[1];
}

struct unpacked {
  std::string content;
  std::string damage;

  bool operator==(const unpacked&) const = default;
};

unpacked unpack(std::span<const std::uint8_t> file, const decode::packing& how, std::size_t piece) {
  constexpr std::uint64_t memory = 1 << 20;
  constexpr std::size_t enough = 1 << 16;
  decode::packed_source source(std::make_unique<support::memory_source>(file), how, memory);
  unpacked all;
  bool at_end = false;
  while (!at_end && all.content.size() < enough) {
    const auto before = all.content.size();
    all.content.resize(before + std::min(piece, enough - before));
    const std::span room(reinterpret_cast<std::uint8_t*>(all.content.data()), all.content.size());
    const auto count = source.read(room.subspan(before));
    at_end = before + count < all.content.size();
    all.content.resize(before + count);
  }
  // What is wrong behind the part that was read is found sooner or later.
  if (at_end) all.damage = source.damage();
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span capture(data, size);
  if (const auto* const how = decode::packing_of(capture)) {
    if (unpack(capture, *how, 1 << 16) != unpack(capture, *how, 777)) __builtin_trap();
  }
  const auto none = decode::no_store();
  const auto counts = decode_to(*none, capture, 1);
  if (counts.skipped_bytes > size) __builtin_trap();
  if (counts.frames > 0 && counts.skipped_bytes >= size) __builtin_trap();
  static_cast<void>(decode::to_text(counts, 1));

  const auto lines = output(decode::json_lines_store, capture, 1);
  for (std::string_view rest = lines; !rest.empty();) {
    const auto end = rest.find('\n');
    if (end == std::string_view::npos || !is_object(rest.substr(0, end))) __builtin_trap();
    rest.remove_prefix(end + 1);
  }
  const auto blocks = output(decode::pcap_store, capture, 1);
  for (std::string_view rest = blocks; !rest.empty();) {
    if (!take_block(rest)) __builtin_trap();
  }
  // More than one chunk takes more than most inputs have.
  if (size > decode::chunk_size(decode::max_threads) &&
      (output(decode::json_lines_store, capture, 2) != lines ||
       output(decode::pcap_store, capture, 2) != blocks)) {
    __builtin_trap();
  }
  return 0;
}
