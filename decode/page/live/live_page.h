// The page of charts for browsers that follow a live port.
#pragma once

#include <memory>
#include <string>

#include "decode/output/record_output.h"

namespace decode::page {

/// Serves the page at `address`, HOST:PORT, and passes everything on to `beside`. `counts` are
/// those of the run. Throws output_error when the page cannot be served there.
[[nodiscard]] std::unique_ptr<record_store> live_page_store(std::unique_ptr<record_store> beside,
                                                            const std::string& address,
                                                            const summary& counts);

}  // namespace decode::page
