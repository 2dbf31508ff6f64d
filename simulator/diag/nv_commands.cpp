// NV items, the same that QMI reads and writes: 26 and 27 for the first subscription, 4B 30 for
// either. An item goes over the wire as 128 bytes and keeps the length that it has.
#include <algorithm>

#include "simulator/diag/command.h"
#include "simulator/standard_error.h"

namespace sim::diag {
namespace {

constexpr std::size_t wire_size = 128;

enum class nv_status : std::uint16_t { done = 0, failed = 3, not_active = 4, bad_parameter = 5 };

/// The item that a request is about, and its data.
struct nv_place {
  std::uint8_t subscription;
  std::uint16_t item;
  byte_view data;
};

bool exists(const nv_place& asked) {
  return asked.item <= last_nv_item && asked.subscription <= last_subscription;
}

nv_status read(nv_store& items, const nv_place& asked, std::span<std::uint8_t> out) {
  const auto item = items.read(asked.subscription, asked.item);
  if (!item) return nv_status::not_active;
  std::ranges::copy(byte_view(*item).first(std::min(item->size(), out.size())), out.begin());
  return nv_status::done;
}

nv_status write(nv_store& items, const nv_place& asked, std::span<std::uint8_t> out) {
  std::ranges::copy(asked.data, out.begin());
  auto item = items.read(asked.subscription, asked.item);
  if (!item) item.emplace(wire_size);
  std::ranges::copy(asked.data.first(std::min(asked.data.size(), item->size())), item->begin());
  items.write(asked.subscription, asked.item, *item);
  return nv_status::done;
}

/// data, status
template <nv_status (*act)(nv_store&, const nv_place&, std::span<std::uint8_t>)>
reply exchange(modem& state, const nv_place& asked) {
  packet data(wire_size);
  nv_status status = nv_status::bad_parameter;
  try {
    if (exists(asked)) status = act(state.nv, asked, data);
  } catch (const failure& state_failed) {
    tell_user(state_failed.what());
    status = nv_status::failed;
  }
  return byte_string().bytes(data).u16(static_cast<std::uint16_t>(status));
}

constexpr std::size_t plain_head = 3;
constexpr std::size_t plain_size = plain_head + wire_size;
constexpr std::size_t status_size = 2;  // some clients leave it out of their requests

template <nv_status (*act)(nv_store&, const nv_place&, std::span<std::uint8_t>)>
reply plain_item(const request& asked) {
  if (asked.bytes.size() == plain_size + 1) throw refused{refusal::bad_length};
  return exchange<act>(asked.state, {.subscription = 0,
                                     .item = asked.at<std::uint16_t>(1),
                                     .data = asked.bytes.subspan(plain_head, wire_size)});
}

constexpr std::size_t indexed_head = 8;
constexpr std::size_t indexed_size = indexed_head + wire_size + status_size;

template <nv_status (*act)(nv_store&, const nv_place&, std::span<std::uint8_t>)>
reply indexed_item(const request& asked) {
  const auto index = std::min<std::uint16_t>(asked.at<std::uint16_t>(6), 0xFF);
  return exchange<act>(asked.state, {.subscription = static_cast<std::uint8_t>(index),
                                     .item = asked.at<std::uint16_t>(4),
                                     .data = asked.bytes.subspan(indexed_head, wire_size)});
}

constexpr command_row rows[] = {
    {plain(wire::nv_read), "read NV item", plain_size, plain_size + status_size, plain_head,
     plain_item<read>},
    {plain(wire::nv_write), "write NV item", plain_size, plain_size + status_size, plain_head,
     plain_item<write>},
    {subsystem(0x30, 1), "read indexed NV item", indexed_size, indexed_size, indexed_head,
     indexed_item<read>},
    {subsystem(0x30, 2), "write indexed NV item", indexed_size, indexed_size, indexed_head,
     indexed_item<write>},
};

}  // namespace

std::span<const command_row> nv_commands() {
  return rows;
}

}  // namespace sim::diag
