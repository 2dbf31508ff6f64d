// The data of the page as JSON, see web/page.js.
#pragma once

#include <string>
#include <vector>

#include "decode/page/drive.h"
#include "decode/summary/summary.h"

namespace decode::page {

struct page_head {
  std::string title;
  std::vector<std::string> inputs;
};

/// Everything, for the page itself. No '<' is in it, so that it can stand between tags.
[[nodiscard]] std::string page_data(const page_head& head, const drive& all, const summary& counts);

/// The page with these data.
[[nodiscard]] std::string filled_page(std::string_view data);

}  // namespace decode::page
