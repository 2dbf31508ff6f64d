#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <vector>

#include "simulator/modem/modem.h"
#include "simulator/services/extension.h"

namespace {

using bytes = std::vector<std::uint8_t>;
using protocol::qmi::error;

bytes operator+(bytes left, const bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}
bytes zeros(std::size_t count) {
  return bytes(count);
}

bytes u32_tlv(std::uint8_t tlv, std::uint8_t low, std::uint8_t high = 0) {
  return {tlv, 4, 0, low, high, 0, 0};
}

class extension_service : public testing::Test {
 protected:
  ~extension_service() override { std::filesystem::remove_all(directory_); }

  error ask(const bytes& tlvs) {
    answer_.clear();
    const sim::client nobody{};
    return sim::answer_extension({nobody, 1, tlvs, modem_}, answer_);
  }
  bytes answer_to(const bytes& tlvs) {
    EXPECT_EQ(ask(tlvs), error::none);
    return answer_.view();
  }

  char name_[32] = "/tmp/extension_test_XXXXXX";
  std::filesystem::path directory_ = ::mkdtemp(name_);
  sim::modem modem_{directory_};
  protocol::qmi::tlv_writer answer_;
};

TEST_F(extension_service, EchoesTheBytesThatCount) {
  const bytes payload = bytes{0x10, 0x00, 0x02, 0x11, 0x22, 0x33, 0x44} + zeros(508);
  for (const std::uint8_t type : {0, 1, 3, 5}) {
    EXPECT_EQ(
        answer_to(u32_tlv(1, type) + u32_tlv(2, 3) + payload),
        u32_tlv(1, 0) + u32_tlv(2, 3) + bytes{0x10, 0x00, 0x02, 0x11, 0x22, 0x33} + zeros(509));
  }
  // Order is free, a shorter payload and an unknown optional TLV are accepted.
  EXPECT_EQ(answer_to(bytes{0x10, 2, 0, 0x55, 0x66, 0x11, 1, 0, 9} + u32_tlv(2, 2) + u32_tlv(1, 0)),
            u32_tlv(1, 0) + u32_tlv(2, 2) + bytes{0x10, 0x00, 0x02, 0x55, 0x66} + zeros(510));
  EXPECT_EQ(answer_to(u32_tlv(1, 0) + u32_tlv(2, 0)),
            u32_tlv(1, 0) + u32_tlv(2, 0) + bytes{0x10, 0x00, 0x02} + zeros(512));
  const bytes full = bytes{0x10, 0x00, 0x02} + bytes(512, 0xAB);
  EXPECT_EQ(answer_to(u32_tlv(1, 5) + u32_tlv(2, 0, 2) + full),
            u32_tlv(1, 0) + u32_tlv(2, 0, 2) + full);
}

TEST_F(extension_service, AcceptsAndCountsCommonMessages) {
  const bytes sync = bytes{0x10, 0x00, 0x02, 2, 0, 0, 0, 0, 0, 0, 0, 35, 0, 0, 0} + zeros(500);
  const bytes accepted = u32_tlv(1, 0) + u32_tlv(2, 0xFC, 1) + bytes{0x10, 0x00, 0x02} + zeros(512);
  EXPECT_EQ(answer_to(u32_tlv(1, 4) + u32_tlv(2, 0, 2) + sync), accepted);
  EXPECT_EQ(answer_to(u32_tlv(1, 4) + u32_tlv(2, 16) + sync), accepted);
  EXPECT_EQ(modem_.store.counter("common.35"), 2);

  const bytes not_there = u32_tlv(1, 3) + u32_tlv(2, 0);
  EXPECT_EQ(answer_to(u32_tlv(1, 4) + u32_tlv(2, 15) + sync), not_there);
  EXPECT_EQ(answer_to(u32_tlv(1, 4) + u32_tlv(2, 0, 2) + bytes{0x10, 0x00, 0x02, 3} + zeros(511)),
            not_there);
  EXPECT_EQ(modem_.store.counter("common.35"), 2);
}

TEST_F(extension_service, OtherTypesAreNotThere) {
  for (const bytes& type : {u32_tlv(1, 2), u32_tlv(1, 6), bytes{1, 4, 0, 0, 0, 0, 1}}) {
    EXPECT_EQ(answer_to(type + u32_tlv(2, 0)), u32_tlv(1, 3) + u32_tlv(2, 0));
  }
}

TEST_F(extension_service, RefusesWhatDoesNotFitTheLayout) {
  const bytes type = u32_tlv(1, 0);
  EXPECT_EQ(ask({}), error::missing_argument);
  EXPECT_EQ(ask(type), error::missing_argument);
  EXPECT_EQ(ask(u32_tlv(2, 0)), error::missing_argument);
  EXPECT_EQ(ask(bytes{1, 3, 0, 0, 0, 0} + u32_tlv(2, 0)), error::malformed_message);
  EXPECT_EQ(ask(type + bytes{2, 5, 0, 0, 0, 0, 0, 0}), error::malformed_message);
  EXPECT_EQ(ask(type + u32_tlv(2, 0) + bytes{3, 0, 0}), error::malformed_message);
  EXPECT_EQ(ask(type + u32_tlv(2, 0) + bytes{0x10, 0x01, 0x02} + zeros(513)),
            error::malformed_message);
  EXPECT_EQ(ask(type + u32_tlv(2, 1)), error::invalid_argument);
  EXPECT_EQ(ask(type + u32_tlv(2, 3) + bytes{0x10, 2, 0, 1, 2}), error::invalid_argument);
  EXPECT_EQ(ask(type + u32_tlv(2, 1, 2) + bytes{0x10, 0x00, 0x02} + zeros(512)),
            error::invalid_argument);
}

}  // namespace
