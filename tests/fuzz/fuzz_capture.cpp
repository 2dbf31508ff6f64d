// Whatever a capture holds: nothing is read or written out of bounds, no byte is decoded and
// counted as lost too, threads change nothing in any output, every JSON line is an object of its
// own, and a pcapng file consists of whole blocks. Packed, the same comes out however it is asked
// for.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "decode/input/packed_source.h"
#include "decode/output/table_folder.h"
#include "decode/summary/report.h"
#include "support/decode_in_memory.h"

namespace {

/// All tables one after the other; they stay unfinished and so leave nothing behind.
std::string csv_tables(std::span<const std::uint8_t> capture, unsigned threads) {
  static const std::string folder = [] {
    std::string name = "/tmp/fuzz_capture.XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) __builtin_trap();
    return name;
  }();
  const auto store = decode::table_store(decode::csv_rows, true, {folder, "", false}, {});
  static_cast<void>(support::decode_to(*store, capture, threads));
  std::set<std::filesystem::path> tables;
  for (const auto& table : std::filesystem::directory_iterator(folder)) tables.insert(table);
  std::string text;
  for (const auto& table : tables) {
    std::ifstream file(table, std::ios::binary);
    text.append(std::istreambuf_iterator<char>(file), {});
  }
  return text;
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

/// What is unpacked, and what is wrong with it.
std::pair<std::string, std::string> unpack(std::span<const std::uint8_t> file,
                                           const decode::packing& how, std::size_t piece) {
  constexpr std::uint64_t memory = 1 << 20;
  constexpr std::size_t enough = 1 << 16;
  decode::packed_source source(std::make_unique<support::memory_source>(file), how, memory);
  std::string content;
  while (content.size() < enough) {
    const auto before = content.size();
    content.resize(before + std::min(piece, enough - before));
    const std::span room(reinterpret_cast<std::uint8_t*>(content.data()), content.size());
    const auto count = source.read(room.subspan(before));
    const bool at_end = before + count < content.size();
    content.resize(before + count);
    if (at_end) return {content, source.damage()};
  }
  // What is wrong behind the part that was read is found sooner or later.
  return {content, ""};
}

struct outputs {
  std::string lines, blocks, text, tables;

  bool operator==(const outputs&) const = default;
};

outputs outputs_of(std::span<const std::uint8_t> capture, unsigned threads) {
  const auto written = [&](auto store) {
    return support::written([&](auto& to) { return store(to, true); }, capture, threads).first;
  };
  return {written(decode::json_lines_store), written(decode::pcap_store),
          written(decode::text_store), csv_tables(capture, threads)};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span capture(data, size);
  if (const auto* const how = decode::packing_of(capture)) {
    if (unpack(capture, *how, 1 << 16) != unpack(capture, *how, 777)) __builtin_trap();
  }
  const auto none = decode::no_store();
  const auto counts = support::decode_to(*none, capture, 1);
  if (counts.skipped_bytes > size) __builtin_trap();
  if (counts.frames > 0 && counts.skipped_bytes >= size) __builtin_trap();
  static_cast<void>(decode::to_text(counts, 1));
  static_cast<void>(decode::to_json(counts, 1));

  const auto all = outputs_of(capture, 1);
  for (std::string_view rest = all.lines; !rest.empty();) {
    const auto end = rest.find('\n');
    if (end == std::string_view::npos || rest.front() != '{' ||
        !nlohmann::json::accept(rest.substr(0, end))) {
      __builtin_trap();
    }
    rest.remove_prefix(end + 1);
  }
  for (std::string_view rest = all.blocks; !rest.empty();) {
    if (!take_block(rest)) __builtin_trap();
  }
  // More than one chunk takes more than most inputs have.
  if (size > decode::chunk_size(decode::max_threads) && outputs_of(capture, 2) != all) {
    __builtin_trap();
  }
  return 0;
}
