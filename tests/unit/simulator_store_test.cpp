#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "simulator/failure.h"
#include "simulator/modem/nv_store.h"
#include "simulator/modem/store.h"
#include "support/temp_dir.h"

namespace {

class store : public testing::Test {
 protected:
  void run_sql(const char* sql) {
    std::filesystem::create_directories(directory_);
    SQLite::Database(file_, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE).exec(sql);
  }
  std::string contents() {
    std::ifstream in(file_, std::ios::binary);
    return {std::istreambuf_iterator(in), {}};
  }
  /// What opening says; empty when it works.
  std::string refusal() {
    try {
      const sim::store opened(directory_);
      return {};
    } catch (const sim::failure& error) {
      return error.what();
    }
  }

  support::temp_dir base_;
  std::string directory_ = base_.file("a/b");
  std::string file_ = directory_ + "/modem.db";
};

TEST_F(store, is_shared_by_two) {
  constexpr int each = 200;
  const auto count = [&] {
    sim::store mine(directory_);
    for (int i = 0; i < each; ++i) mine.count("common.31");
  };
  std::thread other(count);
  count();
  other.join();
  EXPECT_EQ(sim::store(directory_).counter("common.31"), 2 * each);
}

TEST_F(store, refuses_what_is_not_its_database_and_leaves_it_alone) {
  struct row {
    const char* sql;  ///< null: no database at all
    const char* reason;
  };
  const row rows[] = {
      {nullptr, "not a database"},
      {"PRAGMA user_version = 6", "schema version 6, this program knows up to 5"},
      {"CREATE TABLE mine (x)", "another program"},
      {"CREATE TABLE counters (name, value); PRAGMA user_version = 1", "another program"},
      {"PRAGMA application_id = 0x54564B4D; PRAGMA user_version = 1", "is damaged"},
  };
  for (const row& wrong : rows) {
    SCOPED_TRACE(wrong.reason);
    std::filesystem::remove_all(directory_);
    if (wrong.sql != nullptr) {
      run_sql(wrong.sql);
    } else {
      std::filesystem::create_directories(directory_);
      std::ofstream(file_) << std::string(3000, 'x');
    }
    const std::string before = contents();
    const std::string line = refusal();
    EXPECT_NE(line.find(wrong.reason), line.npos) << line;
    EXPECT_NE(line.find(file_), line.npos) << line;
    EXPECT_TRUE(contents() == before) << "changed";
  }
  std::filesystem::remove_all(directory_);
  { const sim::store made(directory_); }
  std::string damaged = contents();
  ASSERT_GT(damaged.size(), 3U * 4096);
  damaged.replace(4096, damaged.size() - 4096, damaged.size() - 4096, '\x5A');
  std::ofstream(file_, std::ios::binary) << damaged;
  EXPECT_NE(refusal().find(file_), std::string::npos) << refusal();
  EXPECT_TRUE(contents() == damaged) << "changed";
}

TEST_F(store, older_database_keeps_its_counters_and_gets_the_items) {
  run_sql(
      "CREATE TABLE counters (name TEXT PRIMARY KEY NOT NULL, value INTEGER NOT NULL) "
      "WITHOUT ROWID; INSERT INTO counters VALUES ('boots', 5);"
      "PRAGMA application_id = 0x54564B4D; PRAGMA user_version = 1");
  for (int start = 0; start < 2; ++start) {
    sim::store opened(directory_);
    EXPECT_EQ(opened.counter("boots"), 5);
    sim::nv_store items(opened);
    EXPECT_EQ(items.read(1, 85).has_value(), start == 0) << "seeded only once";
    (void)items.erase(1, 85);
  }
}

}  // namespace
