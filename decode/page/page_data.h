// The data of the page as JSON, see web/page.js.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "decode/page/drive.h"
#include "decode/page/run_counts.h"
#include "decode/summary/summary.h"

namespace decode::page {

struct bucketed_json;

struct page_head {
  std::string title;
  std::vector<std::string> inputs;
};

/// Unix, milliseconds.
struct time_window {
  std::int64_t from;
  std::int64_t to;
};

/// Everything that a page shows; no window if there was no time.
[[nodiscard]] bucketed_json page_json(const page_head& head, const std::optional<time_window>& time,
                                      const drive& all, const run_counts& counts);
/// The same as text, for the page itself.
[[nodiscard]] std::string page_data(const page_head& head, const drive& all, const summary& counts);

/// The page with these data, and with more that its security policy allows.
[[nodiscard]] std::string filled_page(std::string_view data, std::string_view allowed = {});

/// What the policy of a page has that comes from a server: it may ask that server for more.
constexpr std::string_view served_policy = "; connect-src 'self'";

}  // namespace decode::page
