// What the simulated modem keeps, through programs and the library, several at once.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "support/bytes.h"
#include "support/eventually.h"
#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"

namespace {

using support::bytes;
using support::simulated_modem;

using words = std::vector<std::string>;

bytes pattern(std::size_t size, unsigned seed) {
  bytes out(size);
  for (std::size_t i = 0; i < size; ++i) {
    out[i] = static_cast<std::uint8_t>(seed + i * 11 + i / 253);
  }
  return out;
}

/// A modem with these options, and the property file of the programs that talk to it.
class modem_state : public testing::Test {
 protected:
  void start(const words& options) {
    modem_ = std::make_unique<simulated_modem>(words{}, simulated_modem::begin::at_once, options);
  }

  support::process_result run(const words& arguments) {
    return support::run(TVK_PROGRAM, arguments,
                        {{"TVK_MODEM", modem_->endpoint()}, {"TVK_PROPERTIES", properties()}});
  }

  [[nodiscard]] std::string properties() const { return dir_.file("properties"); }
  void set_level(const std::string& level) const {
    std::ofstream(properties()) << "persist.vendor.ssr.restart_level=" << level
                                << "\npersist.radio.ssr_wait_s=0\n";
  }

  support::temp_dir dir_;
  std::unique_ptr<simulated_modem> modem_;
};

std::size_t count(const std::string& text, const std::string& what) {
  std::size_t times = 0;
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++times;
  return times;
}

TEST_F(modem_state, largest_file_is_written_and_read_back_in_248_exchanges_each_way) {
  start({"--trace"});
  setenv("TVK_MODEM", modem_->endpoint().c_str(), 1);
  quiet_notes = 1;
  const auto data = pattern(102411, 5);
  const char* path = "/nv/item_files/largest";
  const auto path_len = static_cast<unsigned int>(std::string(path).size());
  EXPECT_EQ(norvel_efs_write(1, path, path_len, data.data(), 102411), -108);
  EXPECT_EQ(norvel_efs_write(1, path, path_len, data.data(), 102410), 0);
  bytes room(102411 + 64, 0xEE);
  unsigned int length = 102411;
  EXPECT_EQ(norvel_efs_read(1, path, path_len, room.data(), &length), 0);
  EXPECT_EQ(length, 102410U);
  room.resize(102410);
  EXPECT_TRUE(std::equal(room.begin(), room.end(), data.begin()));
  const auto trace = modem_->stop();
  EXPECT_EQ(count(trace, "-> extension  request "), 2U * 248U);
  EXPECT_EQ(count(trace, "<- extension  response "), 2U * 248U);
}

// A modem restarts under the feet of programs that read a file. Late answers leave it the time.
TEST_F(modem_state, reads_end_by_themselves_while_the_modem_restarts) {
  start({"--restart-time", "100", "--fault", "extension/2=delay:15"});
  set_level("ALL_ENABLE");
  ASSERT_EQ(run({"4", "5", "0", "/a", "1", "2", "3"}).exit_status, 0);
  const std::string data = "\ndata len(3)\ndata:  01 02 03\n";
  std::atomic<bool> restarting = true;
  std::atomic<int> reads = 0;
  std::vector<std::thread> readers;
  readers.reserve(3);
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (restarting) {
        const auto got = run({"4", "4", "0", "/a"});
        ++reads;
        EXPECT_FALSE(got.timed_out) << got.output;
        EXPECT_EQ(got.exit_status, 0);
        // Lost during the exchange, or between the service's listing and the client's making.
        const bool failed = got.output.find("error_code(-103)") != std::string::npos ||
                            got.output.find("error_code(-102)") != std::string::npos;
        EXPECT_NE(failed, got.output.ends_with(data)) << got.output;
      }
    });
  }
  for (int i = 0; i < 8; ++i) {
    const auto got = run({"5", "5"});
    EXPECT_FALSE(got.timed_out) << got.output;
    EXPECT_EQ(got.exit_status, 0);
    for (const int before = reads; reads == before;) std::this_thread::yield();
  }
  restarting = false;
  for (auto& each : readers) each.join();
  EXPECT_GE(reads, 3);
  EXPECT_TRUE(support::eventually([&] {
    return run({"4", "4", "0", "/a"}).output.ends_with(data);
  }));
}

// 200 times each the same item and the same file, from two programs at once.
TEST_F(modem_state, item_and_file_that_two_programs_write_hold_the_value_of_one) {
  start({});
  const auto write_both = [&](const std::string& value) {
    words item = {"4", "2", "0", "600"};
    words file = {"4", "5", "0", "/shared"};
    item.insert(item.end(), 365, value);
    file.insert(file.end(), 365, value);
    for (int i = 0; i < 100; ++i) {
      EXPECT_EQ(run(item).output.find("error_code"), std::string::npos);
      EXPECT_EQ(run(file).output.find("error_code"), std::string::npos);
    }
  };
  std::thread first(write_both, "17");
  std::thread second(write_both, "34");
  first.join();
  second.join();
  for (const auto& read : {words{"4", "1", "0", "600"}, words{"4", "4", "0", "/shared"}}) {
    const auto got = run(read).output;
    EXPECT_NE(count(got, " 11") == 365, count(got, " 22") == 365) << got;
  }
}

}  // namespace
