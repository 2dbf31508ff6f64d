// The printers of the statistics collector's counters, alone.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/bytes.h"
#include "support/printed.h"
#include "tvk/modem_stats_debug_info.h"

namespace {

using support::printed_by;

TEST(debug_info, block_sizes_and_null) {
  const struct {
    const char* name;
    int (*unpack)(unsigned char*);
    int size;
  } rows[] = {{"main", norvel_modem_stats_info_unpk, 25},
              {"diag", norvel_modem_stats_diag_info_unpk, 43},
              {"cm", norvel_modem_stats_cm_info_unpk, 58},
              {"uim", norvel_modem_stats_uim_info_unpk, 10}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    support::bytes block(static_cast<std::size_t>(row.size), 0xFF);  // not a byte more is read
    int got = -1;
    EXPECT_NE(printed_by([&] { got = row.unpack(block.data()); }), "");
    EXPECT_EQ(got, row.size);
    EXPECT_EQ(printed_by([&] { got = row.unpack(nullptr); }), "ptr is null\n");
    EXPECT_EQ(got, 0);
  }
  EXPECT_EQ(printed_by([] { norvel_modem_stats_support_status_check(nullptr); }),
            "norvel_modem_stats_support_status_check, ptr is null\n");
}

}  // namespace
