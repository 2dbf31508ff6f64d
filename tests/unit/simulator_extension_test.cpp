#include <gtest/gtest.h>

#include "simulator/modem/modem.h"
#include "simulator/services/extension.h"
#include "support/bytes.h"
#include "support/temp_dir.h"

namespace {

using protocol::qmi::error;
using support::bytes;
using support::hex;
using support::operator+;

bytes zeros(std::size_t count) {
  return bytes(count);
}

class extension_service : public testing::Test {
 protected:
  error ask(const bytes& tlvs) {
    const sim::client nobody{};
    const sim::reply said = sim::answer_extension({nobody, tlvs, modem_});
    answer_ = said.tlvs.view();
    return said.result;
  }
  bytes answer_to(const bytes& tlvs) {
    EXPECT_EQ(ask(tlvs), error::none);
    return answer_;
  }

  support::temp_dir directory_;
  asio::io_context io_;
  sim::modem modem_{io_, directory_.path()};
  bytes answer_;
};

TEST_F(extension_service, echoes_the_bytes_that_count) {
  const bytes counted = hex("02 0400 03000000  10 0002 112233");
  for (const char* type : {"00", "01", "03", "05"}) {
    EXPECT_EQ(answer_to(hex("01 0400") + hex(type) + zeros(3) + counted + hex("44") + zeros(508)),
              hex("01 0400 00000000") + counted + zeros(509));
  }
  // Order is free; a shorter payload and an unknown optional TLV are accepted.
  EXPECT_EQ(answer_to(hex("10 0200 5566  11 0100 09  02 0400 02000000  01 0400 00000000")),
            hex("01 0400 00000000  02 0400 02000000  10 0002 5566") + zeros(510));
  EXPECT_EQ(answer_to(hex("01 0400 00000000  02 0400 00000000")),
            hex("01 0400 00000000  02 0400 00000000  10 0002") + zeros(512));
  const bytes full = hex("02 0400 00020000  10 0002") + bytes(512, 0xAB);
  EXPECT_EQ(answer_to(hex("01 0400 05000000") + full), hex("01 0400 00000000") + full);
}

TEST_F(extension_service, accepts_and_counts_common_messages) {
  const bytes type = hex("01 0400 04000000");
  const bytes sync = hex("10 0002 02000000 00000000 23000000 00000000") + zeros(496);
  const bytes accepted = hex("01 0400 00000000  02 0400 fc010000  10 0002 23000000") + zeros(508);
  EXPECT_EQ(answer_to(type + hex("02 0400 00020000") + sync), accepted);
  EXPECT_EQ(answer_to(type + hex("02 0400 10000000") + sync), accepted);
  EXPECT_EQ(modem_.store.counter("common.35"), 2);

  const bytes not_there = hex("01 0400 03000000  02 0400 00000000");
  EXPECT_EQ(answer_to(type + hex("02 0400 0f000000") + sync), not_there);
  EXPECT_EQ(answer_to(hex("01 0400 06000000  02 0400 00000000")), not_there);
  EXPECT_EQ(answer_to(type + hex("02 0400 00020000  10 0002 03000000 00000000 23") + zeros(503)),
            not_there);
  EXPECT_EQ(modem_.store.counter("common.35"), 2);
}

TEST_F(extension_service, refuses_what_does_not_fit_the_layout) {
  const struct {
    bytes tlvs;
    error refusal;
  } rows[] = {
      {{}, error::missing_argument},
      {hex("01 0400 00000000"), error::missing_argument},
      {hex("02 0400 00000000"), error::missing_argument},
      {hex("01 0300 000000  02 0400 00000000"), error::malformed_message},
      {hex("01 0400 00000000  02 0400 00000000  03 0000"), error::malformed_message},
      {hex("01 0400 00000000  02 0400 00000000  10 0102 00*513"), error::malformed_message},
      {hex("01 0400 00000000  02 0400 01000000"), error::invalid_argument},
      {hex("01 0400 00000000  02 0400 01020000  10 0002 00*512"), error::invalid_argument},
  };
  for (const auto& row : rows) EXPECT_EQ(ask(row.tlvs), row.refusal) << "row " << &row - rows;
}

}  // namespace
