// Allocation of the statistics code. With the property "persist.orvax.mem_trace" set to a number
// other than 0, every block is on record until it is freed.
#pragma once

#include <cstddef>

/// Null, and a log line, when there is no memory. Further arguments are ignored.
void* orvax_malloc_adv(std::size_t size, ...);

/// Frees a block of orvax_malloc_adv; null is allowed. Further arguments are ignored.
void orvax_free_adv(void* p, ...);

/// Blocks on record.
std::size_t orvax_mem_traced_blocks();
