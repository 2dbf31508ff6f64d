// Zero-filled allocation that logs failures.
#pragma once

#include <cstddef>

/// Returns null when out of memory. `func` and `line` are the caller's, for the log.
void* qcril_malloc_adv(std::size_t size, const char* func, int line);

/// Frees a block of qcril_malloc_adv; null is allowed. Further arguments are ignored.
void qcril_free_adv(void* p, ...);
