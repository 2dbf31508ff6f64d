#include "simulator/modem/modem.h"
#include "simulator/services/services.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using protocol::qmi::error;
using namespace support;

class radio_services : public testing::Test {
 protected:
  radio_services() {
    modem_.radio.swing = 0;
    modem_.radio.means.lte.sinr = -2.5;
  }

  /// The TLVs of the answer; the error when there is one.
  bytes ask(std::uint8_t port, std::uint16_t message, const bytes& tlvs = {}) {
    const sim::message_row* const row = sim::all_services()[port - 1U].find(message);
    const sim::reply said = [&] {
      try {
        return row->answer({{nullptr, {1, 1}}, tlvs, modem_});
      } catch (const sim::refused& early) {
        return early.answer;
      }
    }();
    if (said.result != error::none) return {static_cast<std::uint8_t>(said.result)};
    return said.tlvs.view();
  }
  bytes ask_for(const bytes& ids, std::uint8_t subscription = 0) {
    const auto size = static_cast<std::uint8_t>(ids.size());
    return ask(6, 0x0207,
               hex("01 0200") + u16(subscription) + hex("02 0200 0900  03") + u16(size + 1U) +
                   bytes{static_cast<std::uint8_t>(size / 4)} + ids);
  }
  bytes switch_to(const char* on) {
    return ask(6, 0x0003, hex("01 0400 02000000  10 0100") + hex(on));
  }
  bytes signal_info() { return ask(5, 0x004F); }
  bytes rf_band() { return ask(5, 0x0031); }

  asio::io_context io_;
  support::temp_dir directory_;
  sim::modem modem_{io_, directory_.path()};
};

TEST_F(radio_services, signal_has_the_units_of_nas) {
  // RSSI -95 + 10 + 20 = -65, RSRQ -10, RSRP -95, SNR -25 tenths; NR -100, 120 tenths, -11.
  EXPECT_EQ(signal_info(),
            hex("02 0400 0000 0000  14 0600 bf f6 a1ff e7ff  17 0400 9cff 7800  18 0200 f5ff"));
  EXPECT_EQ(rf_band(),
            hex("01 0600 01 08 7a00 1405  02 0400 0000 0000  11 0800 01 08 7a00 14050000 "
                "12 0600 01 08 05000000"));
}

TEST_F(radio_services, bands_have_the_numbers_that_clients_know) {
  const std::pair<std::uint8_t, std::uint8_t> rows[] = {{1, 120},  {14, 133}, {17, 134}, {21, 146},
                                                        {25, 148}, {26, 153}, {30, 160}, {32, 154},
                                                        {33, 135}, {40, 142}, {43, 151}, {66, 161}};
  for (const auto& [band, number] : rows) {
    modem_.radio.means.lte.band = band;
    EXPECT_EQ(rf_band().at(5), number) << int{band};
  }
  modem_.radio.means.lte.band = 15;
  EXPECT_EQ(rf_band(), bytes{74});
}

TEST_F(radio_services, radio_that_is_on_does_not_start_over) {
  using std::chrono::seconds;
  for (const bool again : {true, false}) {
    modem_.radio.turn(again, seconds(9));
    modem_.radio.turn(true, seconds(10));
    EXPECT_EQ(modem_.radio.at(seconds(10)).rrc,
              again ? sim::lte_rrc_state::connected : sim::lte_rrc_state::idle_not_camped);
  }
}

TEST_F(radio_services, statistics_refuse_until_switched_on_and_after_a_restart) {
  const bytes id = hex("6f000000");
  EXPECT_EQ(ask_for(id), bytes{69});
  EXPECT_EQ(switch_to("02"), bytes{48});
  switch_to("01");
  EXPECT_EQ(switch_to("01"), bytes{26});
  // Not known: left out.
  EXPECT_EQ(ask_for(hex("63000000") + id), ask_for(id));
  EXPECT_EQ(ask_for(id + id).at(10), 2);
  EXPECT_EQ(ask_for(id, 2), bytes{48});
  modem_.drop_unfinished();
  EXPECT_EQ(ask_for(id), bytes{69});
}

TEST_F(radio_services, without_card_or_radio_nothing_is_measured) {
  const bytes nothing = hex("02 0400 0000 0000  10 0100 00");
  const bytes id = hex("6f000000");
  switch_to("01");
  modem_.cards.set_sim(0, false);
  EXPECT_EQ(ask_for(id), nothing);
  EXPECT_NE(ask_for(id, 1), nothing);
  EXPECT_EQ(ask(5, 0x0020), bytes{74});
  EXPECT_EQ(signal_info(), bytes{74});
  EXPECT_EQ(rf_band(), bytes{74});
  modem_.cards.set_sim(0, true);
  EXPECT_NE(ask_for(id), nothing);
  ASSERT_EQ(modem_.uicc.power_down(1), sim::card_error::none);
  EXPECT_EQ(ask_for(id), nothing);
  EXPECT_EQ(signal_info(), bytes{74});
  modem_.radio.turn(false, modem_.radio.now());
  EXPECT_EQ(ask_for(id, 1), nothing);
}

}  // namespace
