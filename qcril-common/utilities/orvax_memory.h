// Allocation for the statistics code. If the property "persist.orvax.mem_trace" is a number other
// than 0, every block is recorded until it is freed.
#pragma once

#include <cstddef>

/// Returns null, and logs that, when out of memory. Further arguments are ignored.
void* orvax_malloc_adv(std::size_t size, ...);

/// Frees a block of orvax_malloc_adv; null is allowed. Further arguments are ignored.
void orvax_free_adv(void* p, ...);

/// Number of recorded blocks.
std::size_t orvax_mem_traced_blocks();
