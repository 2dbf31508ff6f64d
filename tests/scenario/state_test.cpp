// What the simulated modem keeps, through the library and through several programs at once.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <fstream>
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

using namespace support;

using words = std::vector<std::string>;

std::size_t count(const std::string& text, const std::string& what) {
  std::size_t times = 0;
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++times;
  return times;
}

TEST(modem_state, largest_file_is_written_and_read_back_in_248_exchanges_each_way) {
  simulated_modem modem({}, simulated_modem::begin::at_once, {"--trace"});
  setenv("TVK_MODEM", modem.endpoint().c_str(), 1);
  quiet_notes = 1;
  bytes data(102410);
  for (std::size_t i = 0; i < data.size(); ++i) {
    data[i] = static_cast<std::uint8_t>(i * 11 + i / 253);
  }
  EXPECT_EQ(norvel_efs_write(1, "/nv/largest", 11, data.data(), 102410), 0);
  bytes room(102411);
  unsigned int length = 102411;
  EXPECT_EQ(norvel_efs_read(1, "/nv/largest", 11, room.data(), &length), 0);
  room.resize(length);
  EXPECT_TRUE(room == data);
  const auto trace = modem.stop();
  EXPECT_EQ(count(trace, "-> extension  request "), 2U * 248U);
  EXPECT_EQ(count(trace, "<- extension  response "), 2U * 248U);
}

// Programs read a file while their modem restarts. Late answers leave it the time to.
TEST(modem_state, reads_end_by_themselves_while_the_modem_restarts) {
  const simulated_modem modem({"extension/2=delay:15"}, simulated_modem::begin::at_once,
                              {"--restart-time", "100"});
  const temp_dir dir;
  std::ofstream(dir.file("properties")) << "persist.vendor.ssr.restart_level=ALL_ENABLE\n";
  const auto run = [&](const words& arguments) {
    return support::run(
        TVK_PROGRAM, arguments,
        {{"TVK_MODEM", modem.endpoint()}, {"TVK_PROPERTIES", dir.file("properties")}});
  };
  ASSERT_EQ(run({"4", "5", "0", "/a", "1", "2", "3"}).exit_status, 0);
  const std::string data = "\ndata len(3)\ndata:  01 02 03\n";
  std::atomic<bool> restarting = true;
  std::atomic<int> reads = 0;
  std::vector<std::jthread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (restarting) {
        const auto got = run({"4", "4", "0", "/a"});
        ++reads;
        EXPECT_EQ(got.exit_status, 0) << got.output;
        // The modem was lost during the exchange, or between the lookup and the connection.
        const bool failed = got.output.find("error_code(-103)") != std::string::npos ||
                            got.output.find("error_code(-102)") != std::string::npos;
        EXPECT_NE(failed, got.output.ends_with(data)) << got.output;
      }
    });
  }
  for (int i = 0; i < 8; ++i) {
    const auto got = run({"5", "5"});
    EXPECT_EQ(got.exit_status, 0) << got.output;
    for (const int before = reads; reads == before;) std::this_thread::yield();
  }
  restarting = false;
  readers.clear();
  EXPECT_TRUE(eventually([&] { return run({"4", "4", "0", "/a"}).output.ends_with(data); }));
}

}  // namespace
