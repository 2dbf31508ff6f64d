// The buckets of series as text, which is nearly all of a page.
#pragma once

#include <span>
#include <string>

#include "decode/page/series.h"

namespace decode::page {

/// Appends a JSON array, as web/page.js unpacks it: for each bucket the step from the index before,
/// the count, the mean, and, if the count is above 1, the least and the greatest value.
void append_buckets(std::string& to, std::span<const bucket> buckets);

}  // namespace decode::page
