// Extension requests of type 2: NV items and EFS files. All have one layout:
//   0 u8 operation | 1 u8 subscription | 2 u16 item | 4 u8 path length | 5 path, at most 71 bytes
//   76 u32 total length | 80 u32 bytes in this chunk | 84 u32 offset | 88 data
// and all answers another:
//   4 u32 total length | 8 u32 bytes in this chunk | 16 s32 result | 20 data; 444 bytes
#include <fmt/core.h>

#include <algorithm>

#include "simulator/services/extension.h"

namespace sim {
namespace {

using protocol::byte_view;

constexpr std::size_t answer_size = 444;
constexpr std::size_t max_chunk = 414;

// Offsets of a request's fields; those that an operation needs end where the next begins.
constexpr std::size_t item_at = 2;
constexpr std::size_t path_length_at = 4;
constexpr std::size_t path_at = 5;
constexpr std::size_t total_at = 76;
constexpr std::size_t chunk_at = 80;
constexpr std::size_t offset_at = 84;
constexpr std::size_t data_at = 88;

/// A request's fields; those that a short request lacks are 0.
struct fields {
  explicit fields(byte_view request) : bytes(request) {}

  template <std::unsigned_integral T>
  [[nodiscard]] T at(std::size_t offset) const {
    return offset + sizeof(T) > bytes.size() ? T{} : protocol::load_le<T>(bytes.subspan(offset));
  }
  [[nodiscard]] std::uint8_t operation() const { return at<std::uint8_t>(0); }
  [[nodiscard]] std::uint8_t subscription() const { return at<std::uint8_t>(1); }
  [[nodiscard]] std::uint16_t item() const { return at<std::uint16_t>(item_at); }
  [[nodiscard]] std::uint8_t path_length() const { return at<std::uint8_t>(path_length_at); }
  /// Cut at the end of the request or of the field.
  [[nodiscard]] std::string path() const {
    const auto start = std::min(path_at, bytes.size());
    const auto rest = bytes.subspan(start, std::min(bytes.size(), total_at) - start);
    const auto path = rest.first(std::min<std::size_t>(rest.size(), path_length()));
    return {path.begin(), path.end()};
  }
  [[nodiscard]] std::uint32_t total() const { return at<std::uint32_t>(total_at); }
  [[nodiscard]] std::uint32_t chunk() const { return at<std::uint32_t>(chunk_at); }
  [[nodiscard]] std::uint32_t offset() const { return at<std::uint32_t>(offset_at); }
  /// The first `size` bytes of the data; the request must have them.
  [[nodiscard]] byte_view data(std::size_t size) const { return bytes.subspan(data_at, size); }
  [[nodiscard]] bool has_data(std::size_t size) const { return size <= bytes.size() - data_at; }

  byte_view bytes;
};

struct answer {
  std::size_t total = 0;
  std::vector<std::uint8_t> data;  ///< what a read delivers
  std::size_t chunk = 0;
};

outcome read_item(const fields& in, const extension_call& call, answer& out) {
  auto data = call.state.nv.read(in.subscription(), in.item());
  if (!data) return outcome::not_found;
  out = {data->size(), std::move(*data), 0};
  out.chunk = out.total;
  call.state.activity.count(event::item_read);
  return outcome::ok;
}

outcome write_item(const fields& in, const extension_call& call, answer& out) {
  const std::uint32_t size = in.total();
  if (size > max_nv_item_size) return outcome::too_large;
  if (size == 0 || !in.has_data(size)) return outcome::bad_argument;
  call.state.nv.write(in.subscription(), in.item(), in.data(size));
  out = {size, {}, size};
  call.state.activity.count(event::item_written);
  return outcome::ok;
}

outcome erase_item(const fields& in, const extension_call& call, answer& /*out*/) {
  return call.state.nv.erase(in.subscription(), in.item()) ? outcome::ok : outcome::not_found;
}

outcome outcome_of(efs_transfers::outcome transferred) {
  switch (transferred) {
    case efs_transfers::outcome::done:
      return outcome::ok;
    case efs_transfers::outcome::no_file:
      return outcome::not_found;
    case efs_transfers::outcome::out_of_order:
      break;
  }
  return outcome::out_of_order;
}

outcome read_file(const fields& in, const extension_call& call, answer& out) {
  efs_chunk chunk;
  const auto result = outcome_of(call.state.transfers.read(
      call.from, {in.subscription(), in.path()}, in.offset(), max_chunk, chunk));
  if (result != outcome::ok) return result;
  out = {chunk.total, std::move(chunk.data), 0};
  out.chunk = out.data.size();
  call.state.activity.count(event::item_read);
  return outcome::ok;
}

outcome write_file(const fields& in, const extension_call& call, answer& out) {
  const std::uint32_t total = in.total();
  const std::uint32_t size = in.chunk();
  if (total > max_efs_file_size) return outcome::too_large;
  if (total == 0 || size == 0 || !in.has_data(size)) return outcome::bad_argument;
  const auto result = outcome_of(call.state.transfers.write(
      call.from, {in.subscription(), in.path()}, total, in.offset(), in.data(size)));
  if (result != outcome::ok) return result;
  out = {total, {}, size};
  if (in.offset() + size == total) call.state.activity.count(event::item_written);
  return outcome::ok;
}

outcome erase_file(const fields& in, const extension_call& call, answer& /*out*/) {
  return call.state.efs.erase(in.subscription(), in.path()) ? outcome::ok : outcome::not_found;
}

enum class subject : std::uint8_t { item, file };

struct operation_row {
  std::uint8_t number;
  subject of;
  bool has_chunk;  ///< the trace shows where in the file
  const char* name;
  std::size_t least;  ///< bytes of the request
  outcome (*act)(const fields& in, const extension_call& call, answer& out);
};
constexpr operation_row operations[] = {
    {1, subject::item, false, "NV read", path_length_at, read_item},
    {2, subject::item, false, "NV write", data_at, write_item},
    {3, subject::item, false, "NV delete", path_length_at, erase_item},
    {4, subject::file, true, "EFS read", data_at, read_file},
    {5, subject::file, true, "EFS write", data_at, write_file},
    {6, subject::file, false, "EFS delete", total_at, erase_file},
};

const operation_row* find_operation(std::uint8_t number) {
  const auto* const row = std::ranges::find(operations, number, &operation_row::number);
  return row == std::end(operations) ? nullptr : row;
}

bool names_something(const fields& in, subject of) {
  if (in.subscription() > last_subscription) return false;
  if (of == subject::item) return in.item() <= last_nv_item;
  const std::string path = in.path();
  return !path.empty() && path.size() == in.path_length() && path.find('\0') == std::string::npos;
}

outcome act(const extension_call& call, answer& out) {
  const fields in(call.data);
  const operation_row* const row = find_operation(in.operation());
  if (row == nullptr || call.data.size() < row->least || !names_something(in, row->of)) {
    return outcome::bad_argument;
  }
  return row->act(in, call, out);
}

}  // namespace

extension_response answer_nvefs(const extension_call& call) {
  answer out;
  const outcome result = outcome_of([&] { return act(call, out); });
  protocol::store_le(static_cast<std::uint32_t>(out.total), call.payload.subspan(4));
  protocol::store_le(static_cast<std::uint32_t>(out.chunk), call.payload.subspan(8));
  protocol::store_le(static_cast<std::uint32_t>(result), call.payload.subspan(16));
  std::ranges::copy(out.data, call.payload.subspan(20).begin());
  return {0, answer_size};
}

std::string describe_nvefs_request(byte_view data) {
  const fields in(data);
  const operation_row* const row = find_operation(in.operation());
  if (row == nullptr) return fmt::format("NV/EFS operation {}?", in.operation());
  std::string words = fmt::format("{}, subscription {}, ", row->name, in.subscription());
  if (row->of == subject::item) {
    words += fmt::format("item {}", in.item());
    if (row->act == write_item) words += fmt::format(", {} bytes", in.total());
    return words;
  }
  words += in.path();
  if (row->has_chunk) words += fmt::format(", from {}", in.offset());
  if (row->act == write_file) words += fmt::format(", {} of {} bytes", in.chunk(), in.total());
  return words;
}

std::string describe_nvefs_answer(byte_view request, byte_view answer) {
  const operation_row* const row = find_operation(fields(request).operation());
  const fields out(answer);
  const auto result = static_cast<outcome>(out.at<std::uint32_t>(16));
  std::string words = fmt::format("{}: {} ({})", row == nullptr ? "NV/EFS" : row->name,
                                  static_cast<std::int32_t>(result), words_of(result));
  if (result == outcome::ok && out.at<std::uint32_t>(4) != 0) {
    words += fmt::format(", {} of {} bytes", out.at<std::uint32_t>(8), out.at<std::uint32_t>(4));
  }
  return words;
}

}  // namespace sim
