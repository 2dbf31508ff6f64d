// What the NR5G MAC logs have in common: the header of each major version, and records with
// entries. Layout: docs/formats/nr5g_mac_rrc.md.
#pragma once

#include "modem_stats/packet_decoder.h"

namespace modem_stats::nr5g {

struct mac_header {
  bit_field<u8> num_records;
  unsigned records;  // byte
};
inline constexpr mac_header mac_header_2{at_byte<u8>("num_records", 15), 16};
inline constexpr mac_header mac_header_3{at_byte<u8>("num_records", 7), 8};

/// Consecutive records, each a head and its entries. The head starts with four bytes for the slot's
/// time, followed by the number of entries.
struct record_form {
  const char* num_entries;  // the count's name
  unsigned max_entries;
  unsigned head;  // bytes
};

/// Calls `read_entry`, which returns the entry's size, with `in` at each entry. Returns the number
/// of entries in the last record.
template <typename Read>
u8 read_records(packet_decoder& in, unsigned byte, unsigned num_records, const record_form& form,
                Read read_entry) {
  u8 num_entries = 0;
  for (unsigned i = 0; i < num_records; ++i) {
    in.block_at(byte);
    num_entries = in.bits(at_byte<u8>(form.num_entries, 4));
    if (!in.check_count(num_entries, form.max_entries, form.num_entries)) break;
    byte += form.head;
    for (unsigned k = 0; k < num_entries && in.ok(); ++k) {
      in.block_at(byte);
      byte += read_entry();
    }
  }
  return num_entries;
}

}  // namespace modem_stats::nr5g
