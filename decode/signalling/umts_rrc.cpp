// Log 0x412F, WCDMA RRC messages: no version, and a header that depends on the channel.
#include <algorithm>

#include "decode/signalling/reading.h"

namespace decode::signalling {

namespace {

using modem_stats::rejection;
using protocol::byte_view;
using protocol::load_le;

constexpr std::size_t length_at = 2;
constexpr std::size_t after_length = 4;

/// What stands between the length and the message.
enum class header : std::uint8_t { none, cell, block, cell_and_block };

struct channel_row {
  std::uint8_t number;
  header before;
  std::uint8_t channel = 0;  // umts_channel, unless a block's number tells it
};
constexpr channel_row channels[] = {
    {0x00, header::none, umts_ul_ccch},
    {0x01, header::none, umts_ul_dcch},
    {0x02, header::none, umts_dl_ccch},
    {0x03, header::none, umts_dl_dcch},
    {0x04, header::none, umts_bcch_bch},
    {0x05, header::none, umts_bcch_fach},
    {0x06, header::none, umts_pcch},
    {0x07, header::none, umts_mcch},
    {0x08, header::none, umts_msch},
    {0x09, header::block},
    {0x0A, header::none, umts_system_information_container},
    {0x80, header::cell, umts_ul_ccch},
    {0x81, header::cell, umts_ul_dcch},
    {0x82, header::cell, umts_dl_ccch},
    {0x83, header::cell, umts_dl_dcch},
    {0x84, header::cell, umts_bcch_bch},
    {0x85, header::cell, umts_bcch_fach},
    {0x86, header::cell, umts_pcch},
    {0x87, header::cell, umts_mcch},
    {0x88, header::cell, umts_msch},
    {0x89, header::cell_and_block},
    {0xF0, header::cell_and_block},
    {0xFE, header::block},
    {0xFF, header::block},
};

/// Numbers of system information blocks. 31 is another one where a cell is in front.
struct block_row {
  std::uint8_t number;
  std::uint8_t channel;
};
constexpr block_row blocks[] = {
    {0, umts_mib},        {1, umts_sib1},       {2, umts_sib1 + 1},   {3, umts_sib1 + 2},
    {4, umts_sib1 + 3},   {5, umts_sib1 + 4},   {6, umts_sib6},       {7, umts_sib6 + 1},
    {8, umts_sib6 + 2},   {9, umts_sib6 + 3},   {10, umts_sib6 + 4},  {11, umts_sib6 + 5},
    {12, umts_sib12},     {13, umts_sib13},     {14, umts_sib13 + 1}, {15, umts_sib13 + 2},
    {16, umts_sib13 + 3}, {17, umts_sib13 + 4}, {18, umts_sib14},     {19, umts_sib15},
    {20, umts_sib15_1},   {21, umts_sib15_2},   {22, umts_sib15_3},   {23, umts_sib16},
    {24, umts_sib17},     {25, umts_sib15_4},   {26, umts_sib18},     {27, umts_sb1},
    {28, umts_sb2},       {29, umts_sib15_5},   {30, umts_sib5bis},   {31, umts_sib11bis},
    {66, umts_sib11bis},  {67, umts_sib19},
};
constexpr block_row block_31_behind_cell{31, umts_sib19};

}  // namespace

reading read_umts_rrc(std::uint16_t /*code*/, byte_view payload, scratch& /*room*/) {
  if (payload.size() < after_length) return rejected(rejection::length, 0);
  const auto* const row = std::ranges::find(channels, payload[0], &channel_row::number);
  if (row == std::end(channels)) return rejected(rejection::value, 0);

  const auto length = load_le<std::uint16_t>(payload.subspan(length_at));
  byte_view rest = payload.subspan(after_length);
  message found{.what = {family::umts_rrc, row->channel}, .way = direction::down, .bytes = {}};
  if (row->before == header::cell || row->before == header::cell_and_block) {
    constexpr std::size_t cell_size = 4;
    if (rest.size() < cell_size) return rejected(rejection::length, 0);
    found.channel = load_le<std::uint16_t>(rest);
    found.cell = load_le<std::uint16_t>(rest.subspan(2));
    rest = rest.subspan(cell_size);
  }
  // The length counts the number of a block, but not the cell.
  if (const auto wrong = check_length(length, rest.size()); wrong != rejection::none) {
    return rejected(wrong, 0);
  }
  if (row->before == header::block || row->before == header::cell_and_block) {
    const auto* block = std::ranges::find(blocks, rest[0], &block_row::number);
    if (block == std::end(blocks)) return rejected(rejection::value, 0);
    if (row->before == header::cell_and_block && block->number == block_31_behind_cell.number) {
      block = &block_31_behind_cell;
    }
    found.what.number = block->channel;
    rest = rest.subspan(1);
    if (rest.empty()) return rejected(rejection::value, 0);
  }
  found.way = direction_of(found.what);
  found.bytes = rest;
  return accepted(found);
}

}  // namespace decode::signalling
