#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "simulator/failure.h"
#include "simulator/modem/modem.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

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

  temp_dir base_;
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
  const auto expect_refused = [&](const char* reason) {
    const std::string before = contents();
    const std::string line = refusal();
    EXPECT_PRED2(contains, line, reason);
    EXPECT_PRED2(contains, line, file_);
    EXPECT_TRUE(contents() == before) << "changed: " << reason;
  };
  const std::pair<const char*, const char*> rows[] = {
      {"PRAGMA user_version = 7", "schema version 7, this program knows up to 6"},
      {"CREATE TABLE mine (x)", "another program"},
      {"CREATE TABLE counters (name, value); PRAGMA user_version = 1", "another program"},
      {"PRAGMA application_id = 0x54564B4D; PRAGMA user_version = 1", "is damaged"},
  };
  for (const auto& [sql, reason] : rows) {
    std::filesystem::remove_all(directory_);
    run_sql(sql);
    expect_refused(reason);
  }
  std::ofstream(file_) << std::string(3000, 'x');
  expect_refused("not a database");
  std::filesystem::remove_all(directory_);
  { const sim::store made(directory_); }
  std::string damaged = contents();
  ASSERT_GT(damaged.size(), 3U * 4096);
  damaged.replace(4096, damaged.size() - 4096, damaged.size() - 4096, '\x5A');
  std::ofstream(file_, std::ios::binary) << damaged;
  expect_refused("");
}

/// Everything that the modem reads; nothing of it may be used when its database is damaged.
void read_all(sim::modem& state) {
  for (std::uint8_t subscription = 0; subscription <= sim::last_subscription; ++subscription) {
    state.nv.for_each(subscription, [](auto, auto) {});
    state.efs.for_each(subscription, [](auto, auto) {});
    (void)state.nv.read(subscription, 550);
    (void)state.efs.read(subscription, "/nv/item_files/modem/lte/rrc/cap/fgi");
  }
  (void)state.tree.status("/link");
  (void)state.tree.list("/");
  (void)state.euicc.profiles().all();
  std::int64_t after = 0;
  for (const auto& each : state.configs.list({}, after, 100)) (void)state.configs.find(each);
  for (const std::uint32_t type : {0U, 1U}) (void)state.configs.active(type);
  for (const sim::setting* each : sim::setting_of::all) (void)state.kept.get(*each);
  for (const char* name : {"boots", "dumps"}) (void)state.store.counter(name);
}

TEST_F(store, damaged_value_is_found_at_the_start_and_when_it_is_read) {
  const struct {
    const char* damage;
    const char* says;
    bool is_read = true;  ///< false: only found at the start, no request leads there
  } rows[] = {
      {"UPDATE nv_items SET data = zeroblob(5000)",
       "nv_items.data holds 5000 bytes, expected 1 to 365 bytes"},
      {"UPDATE nv_items SET data = 'text'", "nv_items.data holds a text of 4 bytes"},
      {"UPDATE OR IGNORE nv_items SET id = 70000", "nv_items.id holds the number 70000"},
      {"UPDATE OR IGNORE nv_items SET subscription = 2", "nv_items.subscription", false},
      {"UPDATE efs_files SET data = zeroblob(102411)", "efs_files.data holds 102411 bytes"},
      {"UPDATE OR IGNORE efs_files SET path = printf('/%072d', rowid)", "efs_files.path holds a"},
      {"UPDATE efs_files SET path = CAST(x'2f6100' || rowid AS TEXT)", "efs_files.path", false},
      {"UPDATE OR IGNORE efs_files SET subscription = -1", "efs_files.subscription", false},
      {"INSERT INTO settings VALUES ('sar.state', 21)",
       "settings.sar.state holds the number 21, expected a number from 0 to 20"},
      {"INSERT INTO settings VALUES ('uicc.crossed', 2)", "settings.uicc.crossed"},
      {"INSERT INTO settings VALUES ('hot_swap.running', 'yes')", "holds a text of 3 bytes"},
      {"INSERT INTO settings VALUES (printf('%065d', 0), 1)", "settings.name", false},
      {"INSERT INTO counters VALUES ('dumps', 9223372036854775807)", "counters.value"},
      {"INSERT INTO counters VALUES ('', 1)", "counters.name", false},
      {"UPDATE euicc_profiles SET iccid = zeroblob(300)", "euicc_profiles.iccid holds 300 bytes"},
      {"UPDATE OR IGNORE euicc_profiles SET isdp_aid = zeroblob(15)", "profiles.isdp_aid"},
      {"UPDATE euicc_profiles SET enabled = 2", "euicc_profiles.enabled"},
      {"UPDATE euicc_profiles SET enabled = 1", "euicc_profiles has two enabled", false},
      {"INSERT INTO euicc_profiles SELECT randomblob(16), zeroblob(10), 0, 'p', 'n' FROM nv_items",
       "euicc_profiles has"},
      {"INSERT INTO efs_entries VALUES ('/link', 41471, printf('%01025d', 0))",
       "efs_entries.target holds a text of 1025 bytes"},
      {"INSERT INTO efs_entries VALUES (printf('/%072d', 0), 16877, '')", "efs_entries.path"},
      {"UPDATE OR IGNORE pdc_configs SET type = 2", "pdc_configs.type"},
      {"UPDATE OR IGNORE pdc_configs SET id = zeroblob(125)", "pdc_configs.id holds 125"},
      {"UPDATE pdc_configs SET data = zeroblob(4194305)", "pdc_configs.data"},
      {"UPDATE pdc_configs SET is_active = 1", "pdc_configs has two active", false},
      {"UPDATE pdc_configs SET is_pending = 1", "pdc_configs has two pending", false},
  };
  for (const auto& each : rows) {
    SCOPED_TRACE(each.damage);
    std::filesystem::remove_all(directory_);
    asio::io_context io;
    sim::modem running(io, directory_);
    read_all(running);
    run_sql(each.damage);
    const auto expect_named = [&](const std::string& line) {
      EXPECT_TRUE(line.starts_with(file_ + " is damaged: ")) << line;
      EXPECT_PRED2(contains, line, each.says);
    };
    expect_named(refusal());
    if (!each.is_read) continue;
    try {
      read_all(running);
      ADD_FAILURE() << "read";
    } catch (const sim::failure& error) {
      expect_named(error.what());
    }
  }
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
