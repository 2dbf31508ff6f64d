// The logs of NAS messages of LTE and NR: a version, and the message to the end of the packet.
#include <algorithm>

#include "decode/signalling/reading.h"

namespace decode::signalling {

namespace {

using modem_stats::rejection;
using protocol::byte_view;
using protocol::load_le;
using enum direction;

constexpr std::uint32_t known_version = 1;

constexpr kind plain{family::lte_nas, lte_nas_plain};
constexpr kind secured{family::lte_nas, lte_nas_protected};
constexpr kind nr{family::nr_nas, 0};

struct nas_row {
  std::uint16_t code;
  direction way;
  kind what;
};
constexpr nas_row rows[] = {
    {0xB0E0, down, secured}, {0xB0E1, up, secured}, {0xB0E2, down, plain}, {0xB0E3, up, plain},
    {0xB0EA, down, secured}, {0xB0EB, up, secured}, {0xB0EC, down, plain}, {0xB0ED, up, plain},
    {0xB800, down, nr},      {0xB801, up, nr},      {0xB808, down, nr},    {0xB809, up, nr},
    {0xB80A, down, nr},      {0xB80B, up, nr},      {0xB814, unknown, nr},
};

}  // namespace

reading read_nas(std::uint16_t code, byte_view payload, scratch& /*room*/) {
  const auto& row = *std::ranges::find(rows, code, &nas_row::code);
  const bool is_lte = row.what.of == family::lte_nas;
  const std::size_t version_size = is_lte ? sizeof(std::uint8_t) : sizeof(std::uint32_t);
  constexpr std::size_t release_size = 3;  // release and version of the standard
  if (payload.size() < version_size) return rejected(rejection::length, 0);
  const std::uint32_t version = is_lte ? payload[0] : load_le<std::uint32_t>(payload);
  if (version != known_version) return rejected(rejection::version, version);
  if (payload.size() <= version_size + release_size) return rejected(rejection::length, version);
  return accepted({.what = row.what,
                   .way = row.way,
                   .bytes = payload.subspan(version_size + release_size),
                   .version = version});
}

}  // namespace decode::signalling
