// GSMTAP, version 2: the header with which messages go through UDP to Wireshark.
#pragma once

#include <cstddef>
#include <cstdint>

#include "decode/signalling/message.h"

namespace decode::signalling {

constexpr std::uint16_t gsmtap_port = 4729;
constexpr std::size_t gsmtap_header_size = 16;

/// Writes the header of a message whose family GSMTAP carries. Channel numbers above 14 bits do not
/// fit; they are left out.
void write_gsmtap_header(const message& one, char* out);

}  // namespace decode::signalling
