// The NV and EFS library against answers written byte by byte.
//
// A request is 512 bytes: operation u8, subscription u8, NV item u16, path length u8, path from 5;
// total u32 at 76, bytes of this chunk u32 at 80, offset u32 at 84, data from 88. An answer: file
// length u32 at 4, bytes of this chunk u32 at 8, result u32 at 16, data from 20, 444 bytes in all.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "support/extension_packets.h"
#include "support/hand_modem.h"
#include "support/printed.h"

namespace {

using support::bytes;
using support::client_made;
using support::datagram;
using support::fill;
using support::hand_modem;
using support::hex;
using support::printed_by;
using support::qmi_response;
using support::u32;
using support::u32_at;
using support::operator+;

const bytes no_error = hex("01 0400 00000000");
const bytes header = hex("02 0400 bc010000  10 0002");  // 444 bytes count, 512 follow
const std::string exchanged =
    "norvel_extend_qmi_send_sync resp_len:444\n"
    "norvel_extend_qmi_handle_req_cb result:0\n"
    "RIL[norvel_qmi_result_map:#]: norvel_qmi_result_map, old_result 0, new_result 0\n";
const std::string entry = "function entry ------------->";
const std::string exit_line = "function exit <-------------";

bytes padded(bytes data, std::size_t size) {
  data.resize(size);
  return data;
}

bytes answer(std::uint32_t file_length, std::uint32_t chunk, std::uint32_t result,
             const bytes& data = {}) {
  return no_error + header +
         padded(fill(4, 0xEE) + u32(file_length) + u32(chunk) + fill(4, 0xEE) + u32(result) + data,
                512);
}

/// The 512 bytes of a request.
bytes payload_of(const datagram& request) {
  return {request.data.begin() + 24, request.data.end()};
}

bytes pattern(std::size_t size, unsigned seed) {
  bytes out(size);
  for (std::size_t i = 0; i < size; ++i) {
    out[i] = static_cast<std::uint8_t>(seed + i * 7 + i / 251);
  }
  return out;
}

std::string lines(const std::string& function, const std::vector<std::string>& messages) {
  std::string text;
  for (const auto& message : messages) {
    text.append("RIL[").append(function).append(":#]: ").append(message).append("\n");
  }
  return text;
}

class nvefs : public testing::Test {
 protected:
  nvefs() { setenv("TVK_MODEM", modem_.endpoint().c_str(), 1); }

  /// A modem that keeps the file of each path, and serves chunks of at most `chunk` bytes.
  void keep_files(std::size_t chunk) {
    modem_.on_request([this, chunk](const datagram& request) {
      const auto asked = payload_of(request);
      const std::string path(asked.begin() + 5, asked.begin() + 5 + asked[4]);
      const auto offset = u32_at(asked, 84);
      const std::lock_guard lock(mutex_);
      auto& file = files_[path];
      bytes out;
      if (asked[0] == 4) {
        const auto here = std::min<std::size_t>(offset, file.size());
        const auto count = std::min({file.size() - here, chunk, std::size_t{424}});
        const auto from = file.begin() + static_cast<std::ptrdiff_t>(here);
        out = answer(static_cast<std::uint32_t>(file.size()), static_cast<std::uint32_t>(count), 0,
                     bytes(from, from + static_cast<std::ptrdiff_t>(count)));
      } else {
        if (offset == 0) file.clear();
        const auto count = u32_at(asked, 80);
        if (offset != file.size() || count > 424) {
          out = answer(0, 0, 29);
        } else {
          file.insert(file.end(), asked.begin() + 88, asked.begin() + 88 + count);
          out = answer(u32_at(asked, 76), count, 0);
        }
      }
      return std::vector<datagram>{{request.node, request.port, qmi_response(request.data, out)}};
    });
  }

  hand_modem modem_;
  std::mutex mutex_;
  std::map<std::string, bytes> files_;
};

struct read_result {
  int code = 1;
  unsigned int length = 0;
  bytes data;  ///< behind the room a guard of 64 bytes 0xEE
  std::string printed;

  [[nodiscard]] bytes delivered() const { return {data.begin(), data.begin() + length}; }
};

read_result read(unsigned int capacity, const std::string& path = "/nv/a", unsigned int sub = 0) {
  read_result got;
  got.length = capacity;
  got.data = fill(capacity + 64, 0xEE);
  got.printed = printed_by([&] {
    got.code = norvel_efs_read(sub, path.c_str(), static_cast<unsigned int>(path.size()),
                               got.data.data(), &got.length);
  });
  EXPECT_LE(got.length, capacity);
  got.length = std::min(got.length, capacity);
  EXPECT_EQ(bytes(got.data.end() - 64, got.data.end()), fill(64, 0xEE));
  return got;
}

TEST_F(nvefs, request_bytes_of_the_longest_paths) {
  modem_.answer_with_tlvs(answer(3, 3, 0, hex("a1b2c3")));
  const std::string path(71, 'p');
  const bytes data = hex("0a0b0c");
  bytes room(365);
  unsigned int length = 365;
  printed_by([&] {
    EXPECT_EQ(norvel_efs_read(1, path.data(), 71, room.data(), &length), 0);
    EXPECT_EQ(norvel_efs_write(0, path.data(), 70, data.data(), 2), 0);
    EXPECT_EQ(norvel_efs_delete(1, path.data(), 70), 0);
  });
  const bytes wanted[] = {
      hex("04 01 0000 47 70*71"),
      padded(hex("05 00 0000 46 70*70"), 76) + hex("02000000 02000000 00000000 0a0b"),
      hex("06 00 0000 46 70*70"),
  };
  const auto requests = modem_.requests();
  ASSERT_EQ(requests.size(), std::size(wanted));
  for (std::size_t i = 0; i < requests.size(); ++i) {
    EXPECT_EQ(requests[i].data, bytes({0, static_cast<std::uint8_t>(i + 1), 0}) +
                                    hex("0200 1102  01 0400 02000000  02 0400 00020000  10 0002") +
                                    padded(wanted[i], 512));
  }
}

TEST_F(nvefs, arguments_are_checked_in_order_before_any_exchange) {
  bytes data(102411);
  unsigned int none = 0;
  unsigned int length = 365;
  const std::string path(80, 'p');
  const auto efs_read = [&](unsigned int sub, const char* name, unsigned int len,
                            unsigned char* buf, unsigned int* buf_len) {
    return [=] { return norvel_efs_read(sub, name, len, buf, buf_len); };
  };
  const auto efs_write = [&](unsigned int sub, const char* name, unsigned int len,
                             const unsigned char* buf, unsigned int buf_len) {
    return [=] { return norvel_efs_write(sub, name, len, buf, buf_len); };
  };
  const auto efs_delete = [&](unsigned int sub, const char* name, unsigned int len) {
    return [=] { return norvel_efs_delete(sub, name, len); };
  };
  const struct {
    std::function<int()> call;
    int code;
    const char* message;
  } rows[] = {
      {efs_read(2, nullptr, 0, nullptr, nullptr), -104, "sub invalid"},
      {efs_read(0xFFFFFFFF, path.data(), 5, data.data(), &none), -104, "sub invalid"},
      {efs_read(1, nullptr, 0, nullptr, nullptr), -105, "efs_path is null"},
      {efs_read(0, path.data(), 0, nullptr, nullptr), -106, "len invalid"},
      {efs_read(0, path.data(), 72, nullptr, nullptr), -106, "len invalid"},
      {efs_read(0, path.data(), 71, nullptr, nullptr), -107, "buf is null"},
      {efs_read(0, path.data(), 71, data.data(), nullptr), -108, "p_buf_len is null"},
      {efs_read(0, path.data(), 1, data.data(), &none), -108, "buf_len is invalid"},
      {efs_write(2, nullptr, 0, nullptr, 0), -104, "sub invalid"},
      {efs_write(1, nullptr, 0, nullptr, 0), -105, "efs_path is null"},
      {efs_write(0, path.data(), 0, nullptr, 0), -106, "len invalid"},
      {efs_write(0, path.data(), 71, nullptr, 0), -106, "len invalid"},
      {efs_write(0, path.data(), 70, nullptr, 0), -107, "buf is null"},
      {efs_write(0, path.data(), 70, data.data(), 0), -108, "buf_len is invalid"},
      {efs_write(0, path.data(), 70, data.data(), 102411), -108, "buf_len is invalid"},
      {efs_write(0, path.data(), 70, data.data(), 0xFFFFFFFF), -108, "buf_len is invalid"},
      {efs_delete(2, nullptr, 0), -104, "sub invalid"},
      {efs_delete(1, nullptr, 0), -105, "efs_path is null"},
      {efs_delete(0, path.data(), 0), -106, "len invalid"},
      {efs_delete(0, path.data(), 71), -106, "len invalid"},
      {[&] { return norvel_nv_read(0, 7233, data.data(), &length); }, -109,
       "nv_id is out range(7233)"},
      {[&] { return norvel_nv_write_ex(1, 70000, data.data(), 1); }, -109,
       "nv_id is out range(70000)"},
      {[&] { return norvel_nv_write_ex(0, 5, data.data(), 0); }, -108, "buf_len is invalid"},
      {[&] { return norvel_nv_delete(0, 7233); }, -109, "nv_id is out range(7233)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows));
    int code = 0;
    const auto printed = printed_by([&] { code = row.call(); });
    EXPECT_EQ(code, row.code);
    EXPECT_NE(printed.find(std::string(":#]: ") + row.message + "\nRIL["), std::string::npos)
        << printed;
    EXPECT_TRUE(printed.ends_with(exit_line + "\n")) << printed;
  }
  EXPECT_EQ(modem_.requests().size(), 0U);
}

TEST_F(nvefs, file_of_two_chunks_is_read_and_every_step_logged) {
  files_["/nv/a"] = hex("0102030405");
  keep_files(3);
  const auto got = read(365, "/nv/a", 1);
  EXPECT_EQ(got.code, 0);
  EXPECT_EQ(got.delivered(), hex("0102030405"));
  const std::string function = "norvel_efs_read";
  EXPECT_EQ(got.printed,
            lines(function, {entry, "norvel_efs_read, sub_id 1, path_len: 5", "buf_len: 365",
                             "path_value: /nv/a"}) +
                client_made + exchanged +
                lines(function, {"result = 0, rsp.result = 0",
                                 "data_len_all = 5, data_len_send = 3, data_len_recv = 3, "
                                 "read_count = 1, data_len_cur = 0"}) +
                exchanged +
                lines(function, {"result = 0, rsp.result = 0",
                                 "data_len_all = 5, data_len_send = 2, data_len_recv = 5, "
                                 "read_count = 2, data_len_cur = 3",
                                 exit_line}));
}

TEST_F(nvefs, thousand_bytes_are_written_in_three_chunks) {
  keep_files(414);
  const auto data = pattern(1000, 3);
  int code = 1;
  const auto printed =
      printed_by([&] { code = norvel_efs_write(1, "/big", 4, data.data(), 1000); });
  EXPECT_EQ(code, 0);
  const auto requests = modem_.requests();
  ASSERT_EQ(requests.size(), 3U);
  const bytes start = padded(hex("05 01 0000 04 2f626967"), 76) + hex("e8030000");
  const auto part = [&](std::size_t from, std::size_t count) {
    const auto begin = data.begin() + static_cast<std::ptrdiff_t>(from);
    return bytes(begin, begin + static_cast<std::ptrdiff_t>(count));
  };
  EXPECT_EQ(payload_of(requests[0]), padded(start + hex("9e010000 00000000") + part(0, 414), 512));
  EXPECT_EQ(payload_of(requests[1]),
            padded(start + hex("9e010000 9e010000") + part(414, 414), 512));
  auto last = payload_of(requests[2]);
  last.resize(88 + 172);  // what lies behind the chunk means nothing
  EXPECT_EQ(last, start + hex("ac000000 3c030000") + part(828, 172));
  for (const char* step : {"left_num(1000)\n#send_num(414)\n", "left_num(586)\n#send_num(414)\n",
                           "left_num(172)\n#send_num(172)\n"}) {
    std::string text = step;
    text.replace(text.find('#'), 1, "RIL[norvel_efs_write:#]: ");
    EXPECT_NE(printed.find(text), std::string::npos) << text << " in\n" << printed;
  }
  EXPECT_NE(printed.find("send_count = 3, "), std::string::npos) << printed;
}

TEST_F(nvefs, file_longer_than_the_room_is_cut_and_the_result_is_0) {
  files_["/nv/a"] = pattern(1000, 1);
  keep_files(424);
  for (const unsigned int capacity : {1U, 100U, 424U, 425U, 999U}) {
    SCOPED_TRACE(capacity);
    const auto got = read(capacity);
    EXPECT_EQ(got.code, 0);
    EXPECT_EQ(got.length, capacity);
    EXPECT_EQ(got.delivered(), padded(pattern(1000, 1), capacity));
    EXPECT_TRUE(got.printed.ends_with(
        lines("norvel_efs_read", {"abort, buf_len <= data_len_recv", exit_line})))
        << got.printed;
  }
  for (const unsigned int capacity : {1000U, 102410U}) {
    EXPECT_EQ(read(capacity).delivered(), pattern(1000, 1)) << capacity;
  }
}

TEST_F(nvefs, chunk_of_0_bytes_ends_the_read) {
  modem_.answer_with_tlvs(answer(1000, 0, 0));
  EXPECT_TRUE(read(100).printed.ends_with(
      lines("norvel_efs_read", {"abort, data_len_send <= 0", exit_line})));
  EXPECT_EQ(modem_.requests().size(), 1U);
}

TEST_F(nvefs, chunks_that_claim_more_than_an_answer_holds_never_overrun) {
  const struct {
    std::uint32_t file_length;
    std::uint32_t chunk;
  } rows[] = {{1000, 425},     {1000, 1000},        {0xFFFFFFFF, 0xFFFFFFFF},
              {5, 0xFFFFFFFF}, {100, 0x7FFFFFFF},   {0xFFFFFFFF, 0x80000000},
              {0, 424},        {0xFFFFFFFF, 102410}};
  const auto data = pattern(492, 9);
  for (const auto& row : rows) {
    for (const unsigned int capacity : {1U, 365U, 500U, 102410U}) {
      SCOPED_TRACE(std::to_string(row.chunk) + " into " + std::to_string(capacity));
      modem_.answer_with_tlvs(answer(row.file_length, row.chunk, 0, data));
      const auto before = modem_.requests().size();
      const auto got = read(capacity);  // checks the guard and the length
      EXPECT_LE(modem_.requests().size() - before, 299U);
    }
  }
}

TEST_F(nvefs, answer_without_data_never_overruns) {
  for (const auto& tlvs : {no_error + hex("02 0400 00000000"),
                           no_error + hex("02 0400 08000000 10 0002") + fill(512, 0xFF)}) {
    modem_.answer_with_tlvs(tlvs);
    const auto got = read(365);
    EXPECT_EQ(got.code, 0);
    unsigned int length = 365;
    bytes room = fill(365 + 64, 0xEE);
    printed_by([&] { norvel_nv_read(0, 1, room.data(), &length); });
    EXPECT_EQ(bytes(room.end() - 64, room.end()), fill(64, 0xEE));
  }
}

TEST_F(nvefs, transfer_ends_after_299_exchanges) {
  files_["/nv/a"] = pattern(1000, 5);
  keep_files(1);
  quiet_notes = 1;
  const auto got = read(102410);
  EXPECT_EQ(got.code, 0);
  EXPECT_EQ(modem_.requests().size(), 299U);
  EXPECT_EQ(got.delivered(), padded(pattern(1000, 5), 299));
}

TEST_F(nvefs, transfer_ends_at_102410_bytes) {
  modem_.answer_with_tlvs(answer(0xFFFFFFFF, 414, 0, pattern(424, 5)));
  quiet_notes = 1;
  const auto got = read(200'000);
  EXPECT_EQ(got.code, 0);
  EXPECT_EQ(modem_.requests().size(), 248U);
  EXPECT_GE(got.length, 102410U);
  EXPECT_LE(got.length, 248U * 414U);
}

TEST_F(nvefs, results_of_client_and_modem_end_every_operation) {
  const struct {
    bytes tlvs;
    int code;
    const char* message;
  } rows[] = {
      {hex("01 0400 03000000") + header + fill(512), -103, "norvel_extend_qmi_send_sync fail"},
      {answer(9, 9, 29, fill(9)), 29, "qmi response fail"},
      {answer(9, 9, 0xFFFFFFFF, fill(9)), -1, "qmi response fail"},
  };
  bytes room(365);
  const bytes data(500);
  unsigned int length = 365;
  const std::function<int()> calls[] = {
      [&] { return norvel_efs_read(0, "/a", 2, room.data(), &length); },
      [&] { return norvel_efs_write(0, "/a", 2, data.data(), 500); },
      [&] { return norvel_efs_delete(0, "/a", 2); },
      [&] { return norvel_nv_read(0, 5, room.data(), &length); },
      [&] { return norvel_nv_write_ex(0, 5, data.data(), 5); },
      [&] { return norvel_nv_delete(0, 5); },
  };
  for (const auto& row : rows) {
    modem_.answer_with_tlvs(row.tlvs);
    for (const auto& call : calls) {
      SCOPED_TRACE(std::to_string(row.code) + ", call " + std::to_string(&call - calls));
      const auto before = modem_.requests().size();
      int code = 1;
      const auto printed = printed_by([&] { code = call(); });
      EXPECT_EQ(code, row.code);
      EXPECT_EQ(modem_.requests().size() - before, 1U);
      EXPECT_NE(printed.find(row.message), std::string::npos) << printed;
    }
  }
}

TEST_F(nvefs, item_that_is_read) {
  const auto data = pattern(424, 2);
  const struct {
    std::uint32_t length;
    int code;
    unsigned int delivered;
  } rows[] = {{1, 0, 1},     {365, 0, 365},        {366, 0, 365},
              {424, 0, 365}, {0xFFFFFFFF, 0, 365}, {0, -108, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.length);
    modem_.answer_with_tlvs(answer(row.length, 0, 0, data));
    bytes room = fill(365 + 64, 0xEE);
    unsigned int length = 365;
    int code = 1;
    const auto printed = printed_by([&] { code = norvel_nv_read(0, 5, room.data(), &length); });
    EXPECT_EQ(code, row.code);
    EXPECT_EQ(bytes(room.end() - 64, room.end()), fill(64, 0xEE));
    EXPECT_EQ(
        printed.find("RIL[norvel_nv_read:#]: rsp.data_len_all is invalid\n") != std::string::npos,
        row.code != 0);
    if (row.code != 0) continue;
    EXPECT_EQ(length, row.delivered);
    EXPECT_EQ(padded(room, row.delivered), padded(data, row.delivered));
  }
}

TEST_F(nvefs, transfers_of_two_threads_never_mix) {
  keep_files(414);
  quiet_notes = 1;
  constexpr int rounds = 10;
  std::atomic<int> failures = 0;
  const auto transfer = [&](const std::string& path, unsigned seed) {
    const auto data = pattern(2000, seed);  // 5 chunks
    for (int i = 0; i < rounds; ++i) {
      failures += norvel_efs_write(0, path.c_str(), 2, data.data(), 2000) != 0;
      bytes room(3000);
      unsigned int length = 3000;
      failures += norvel_efs_read(0, path.c_str(), 2, room.data(), &length) != 0;
      failures += length != 2000 || padded(room, 2000) != data;
    }
  };
  std::thread first(transfer, "/a", 1);
  std::thread second(transfer, "/b", 99);
  first.join();
  second.join();
  EXPECT_EQ(failures, 0);
  const auto requests = modem_.requests();
  ASSERT_EQ(requests.size(), 2U * 2U * rounds * 5U);
  for (std::size_t i = 0; i < requests.size(); ++i) {
    const auto now = payload_of(requests[i]);
    if (i % 5 == 0) {
      EXPECT_EQ(u32_at(now, 84), 0U);
      continue;
    }
    const auto before = payload_of(requests[i - 1]);
    ASSERT_EQ(bytes(now.begin(), now.begin() + 76), bytes(before.begin(), before.begin() + 76))
        << "request " << i;
  }
}

}  // namespace
