// The NV and EFS library against answers written byte by byte.
//
// A request is 512 bytes: operation u8, subscription u8, NV item u16, path length u8, path from 5;
// total u32 at 76, bytes of this chunk u32 at 80, offset u32 at 84, data from 88. An answer: file
// length u32 at 4, bytes of this chunk u32 at 8, result u32 at 16, data from 20, 444 bytes in all.
#include <stdlib.h>

#include <algorithm>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "support/hand_modem.h"
#include "support/printed.h"
#include "support/test.h"

namespace {

using namespace support;

const bytes no_error = hex("01 0400 00000000");
bytes answer(std::size_t file_length, std::size_t chunk, std::uint32_t result,
             const bytes& data = {}) {
  const auto number = [](std::size_t value) { return u32(static_cast<std::uint32_t>(value)); };
  return no_error + hex("02 0400 bc010000  10 0002") +  // 444 bytes count, 512 follow
         padded(fill(4, 0xEE) + number(file_length) + number(chunk) + fill(4, 0xEE) + u32(result) +
                data);
}

constexpr std::size_t payload = 24;  ///< of a request's datagram

bytes pattern(std::size_t size, unsigned seed) {
  bytes out(size);
  for (std::size_t i = 0; i < size; ++i) {
    out[i] = static_cast<std::uint8_t>(seed + i * 7 + i / 251);
  }
  return out;
}

class nvefs : public testing::Test {
 protected:
  nvefs() { setenv("TVK_MODEM", modem_.endpoint().c_str(), 1); }

  /// A modem that keeps the file of each path, and serves chunks of at most `chunk` bytes.
  void keep_files(std::size_t chunk) {
    modem_.on_request([this, chunk](const datagram& request) {
      const auto asked = slice(request.data, payload);
      const auto offset = u32_at(asked, 84);
      const std::lock_guard lock(mutex_);
      auto& file = files_[std::string(asked.begin() + 5, asked.begin() + 5 + asked[4])];
      bytes part;
      if (asked[0] == 4) {
        part.assign(file.begin() + static_cast<std::ptrdiff_t>(offset), file.end());
        part.resize(std::min(part.size(), chunk));
      } else {
        file.resize(offset);
        file.insert(file.end(), asked.begin() + 88, asked.begin() + 88 + u32_at(asked, 80));
      }
      const auto out = answer(file.size(), part.size(), 0, part);
      return reply(request, out);
    });
  }

  hand_modem modem_;
  std::mutex mutex_;
  std::map<std::string, bytes> files_;
};

struct read_result {
  int code = 1;
  bytes delivered;
  std::string printed;
};

/// Checks that nothing is written past the room, which holds bytes 0xEE.
read_result read_with(unsigned int capacity,
                      const std::function<int(unsigned char*, unsigned int*)>& call) {
  read_result got;
  auto room = fill(capacity + 64, 0xEE);
  auto length = capacity;
  got.printed = printed_by([&] { got.code = call(room.data(), &length); });
  EXPECT_LE(length, capacity);
  EXPECT_EQ(slice(room, capacity), fill(64, 0xEE));
  got.delivered = padded(room, length);
  return got;
}

read_result read(unsigned int capacity) {
  return read_with(capacity, [&](unsigned char* buf, unsigned int* length) {
    return norvel_efs_read(0, "/nv/a", 5, buf, length);
  });
}

read_result read_item() {
  return read_with(365, [](unsigned char* buf, unsigned int* length) {
    return norvel_nv_read(0, 5, buf, length);
  });
}

TEST_F(nvefs, arguments_are_checked_in_order_before_any_exchange) {
  bytes data(102411);
  auto* const buf = data.data();
  unsigned int none = 0;
  char path[80] = "ppp";
  const struct {
    std::function<int()> call;
    int code;
    const char* message;
  } rows[] = {
      {[&] { return norvel_efs_read(2, nullptr, 0, nullptr, nullptr); }, -104, "sub invalid"},
      {[&] { return norvel_efs_read(1, nullptr, 0, nullptr, nullptr); }, -105, "efs_path is null"},
      {[&] { return norvel_efs_read(0, path, 72, nullptr, nullptr); }, -106, "len invalid"},
      {[&] { return norvel_efs_read(0, path, 71, nullptr, nullptr); }, -107, "buf is null"},
      {[&] { return norvel_efs_read(0, path, 71, buf, nullptr); }, -108, "p_buf_len is null"},
      {[&] { return norvel_efs_read(0, path, 1, buf, &none); }, -108, "buf_len is invalid"},
      {[&] { return norvel_efs_write(0, path, 71, nullptr, 0); }, -106, "len invalid"},
      {[&] { return norvel_efs_write(0, path, 70, nullptr, 0); }, -107, "buf is null"},
      {[&] { return norvel_efs_write(0, path, 70, buf, 102411); }, -108, "buf_len is invalid"},
      {[&] { return norvel_efs_delete(0, path, 71); }, -106, "len invalid"},
      {[&] { return norvel_nv_read(0, 7233, buf, &none); }, -109, "nv_id is out range(7233)"},
      {[&] { return norvel_nv_write_ex(1, -1, buf, 1); }, -109, "nv_id is out range(-1)"},
      {[&] { return norvel_nv_write_ex(0, 5, buf, 366); }, -108, "buf_len is invalid"},
      {[&] { return norvel_nv_delete(0, 7233); }, -109, "nv_id is out range(7233)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows));
    const auto printed = printed_by([&] { EXPECT_EQ(row.call(), row.code); });
    EXPECT_PRED2(contains, printed, std::string(":#]: ") + row.message + "\nRIL[");
    EXPECT_TRUE(printed.ends_with(function_exit + "\n")) << printed;
  }
  EXPECT_EQ(modem_.requests().size(), 0U);
}

TEST_F(nvefs, file_longer_than_the_room_is_cut_and_the_result_is_0) {
  files_["/nv/a"] = pattern(1000, 1);
  keep_files(424);
  for (const unsigned int capacity : {1U, 424U, 425U, 999U}) {
    SCOPED_TRACE(capacity);
    const auto got = read(capacity);
    EXPECT_EQ(got.code, 0);
    EXPECT_EQ(got.delivered, padded(pattern(1000, 1), capacity));
    EXPECT_TRUE(got.printed.ends_with(
        log_lines("norvel_efs_read", {"abort, buf_len <= data_len_recv", function_exit})))
        << got.printed;
  }
  for (const unsigned int capacity : {1000U, 102410U}) {
    EXPECT_EQ(read(capacity).delivered, pattern(1000, 1)) << capacity;
  }
}

// read() and read_item() check that nothing is written past the room.
TEST_F(nvefs, answers_that_claim_more_than_they_hold_never_overrun) {
  const auto data = pattern(492, 9);
  const bytes tlvs[] = {
      answer(1000, 425, 0, data),         answer(0xFFFFFFFF, 0xFFFFFFFF, 0, data),
      answer(100, 0x7FFFFFFF, 0, data),   answer(0, 424, 0, data),
      no_error + hex("02 0400 00000000"), no_error + hex("02 0400 08000000 10 0002 ff*512"),
  };
  for (const auto& each : tlvs) {
    modem_.answer_with_tlvs(each);
    read_item();
    for (const unsigned int capacity : {1U, 365U, 500U, 102410U}) {
      const auto before = modem_.requests().size();
      read(capacity);
      EXPECT_LE(modem_.requests().size() - before, 299U);
    }
  }
}

TEST_F(nvefs, largest_file_is_written_and_read_back_in_248_exchanges_each_way) {
  quiet_notes = 1;
  keep_files(414);
  const auto data = pattern(102410, 7);
  EXPECT_EQ(norvel_efs_write(1, "/nv/a", 5, data.data(), 102410), 0);
  EXPECT_EQ(modem_.requests().size(), 248U);
  EXPECT_TRUE(read(102411).delivered == data);
  EXPECT_EQ(modem_.requests().size(), 2U * 248U);
}

TEST_F(nvefs, transfer_ends_after_299_exchanges_or_102410_bytes) {
  quiet_notes = 1;
  files_["/nv/a"] = pattern(1000, 5);
  keep_files(1);
  EXPECT_EQ(read(102410).delivered, padded(pattern(1000, 5), 299));
  EXPECT_EQ(modem_.requests().size(), 299U);
  modem_.answer_with_tlvs(answer(0xFFFFFFFF, 414, 0, pattern(424, 5)));
  const auto got = read(200'000);
  EXPECT_EQ(got.code, 0);
  EXPECT_EQ(modem_.requests().size(), 299U + 248U);
  EXPECT_GE(got.delivered.size(), 102410U);
  EXPECT_LE(got.delivered.size(), 248U * 414U);
}

TEST_F(nvefs, item_that_is_read) {
  const auto data = pattern(424, 2);
  for (const std::uint32_t length : {1U, 365U, 366U, 0xFFFFFFFFU}) {
    modem_.answer_with_tlvs(answer(length, 0, 0, data));
    const auto got = read_item();
    EXPECT_EQ(got.code, 0);
    EXPECT_EQ(got.delivered, padded(data, std::min(length, 365U)));
  }
  modem_.answer_with_tlvs(answer(0, 0, 0, data));
  const auto got = read_item();
  EXPECT_EQ(got.code, -108);
  EXPECT_EQ(got.delivered, fill(365, 0xEE));
  EXPECT_PRED2(contains, got.printed, "RIL[norvel_nv_read:#]: rsp.data_len_all is invalid\n");
}

TEST_F(nvefs, transfers_of_two_threads_never_mix) {
  keep_files(414);
  quiet_notes = 1;
  constexpr std::size_t rounds = 10;
  const auto transfer = [](const char* path, unsigned seed) {
    const auto data = pattern(2000, seed);  // 5 chunks
    for (std::size_t i = 0; i < rounds; ++i) {
      EXPECT_EQ(norvel_efs_write(0, path, 2, data.data(), 2000), 0);
      bytes room(3000);
      unsigned int length = 3000;
      EXPECT_EQ(norvel_efs_read(0, path, 2, room.data(), &length), 0);
      EXPECT_EQ(padded(room, length), data);
    }
  };
  std::thread other(transfer, "/a", 1);
  transfer("/b", 99);
  other.join();
  const auto requests = modem_.requests();
  ASSERT_EQ(requests.size(), rounds * 20);
  for (std::size_t i = 0; i < requests.size(); ++i) {
    const auto& first = requests[i - i % 5].data;
    EXPECT_EQ(u32_at(first, payload + 84), 0U);
    EXPECT_EQ(slice(requests[i].data, payload, payload + 76), slice(first, payload, payload + 76))
        << "request " << i;
  }
}

}  // namespace
