// Sends signalling messages to Wireshark while they are decoded: GSMTAP in UDP datagrams.
#pragma once

#include <memory>
#include <string>

#include "decode/output/record_output.h"

namespace decode {

/// Sends what GSMTAP carries to `address`, HOST:PORT or HOST, and passes everything on to `beside`.
/// Throws output_error when the address is not a numeric one (or localhost).
[[nodiscard]] std::unique_ptr<record_store> gsmtap_store(std::unique_ptr<record_store> beside,
                                                         const std::string& address);

}  // namespace decode
