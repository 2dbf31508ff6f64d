// What the modem does with cards: power, slots, channels. Two physical slots, of which the second
// has an eUICC and a SIM on one set of contacts: a switch notice says which of them the next
// power-up connects. Two logical slots, each mapped to a physical one.
//
// Power, slots and the connected card outlive a run. Channels belong to the client that opened
// them.
#pragma once

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "protocol/bytes.h"
#include "protocol/qmi_message.h"
#include "simulator/modem/cards.h"
#include "simulator/modem/euicc.h"
#include "simulator/modem/settings.h"
#include "simulator/modem/usim.h"
#include "simulator/port.h"

namespace sim {

/// Why a card did not do what was asked.
namespace card_error {
using protocol::qmi::error;
inline constexpr error none = error::none;
inline constexpr error no_slot = error::invalid_argument;
inline constexpr error no_card = error::no_sim;
inline constexpr error no_power = error::sim_not_initialized;
inline constexpr error no_application = error::sim_file_not_found;
inline constexpr error no_channel = error::invalid_argument;  ///< it is not open
inline constexpr error no_channel_free = error::insufficient_resources;
}  // namespace card_error

/// What can be selected on a card.
enum class application : std::uint8_t { none, usim, isd_r };

[[nodiscard]] protocol::byte_view aid_of(application what);

struct card {
  bool is_euicc = false;
  std::vector<std::uint8_t> iccid;  ///< empty: an eUICC without an enabled profile
  [[nodiscard]] bool has_usim() const { return !iccid.empty(); }
};

struct opened_channel {
  std::uint8_t id = 0;
  std::vector<std::uint8_t> select_response;
};

/// Slots are numbered from 1; each function that takes a logical one refuses those that do not
/// exist. Errors are those of `card_error`. Every function throws `failure` when the state cannot
/// be read or written.
class uicc_slots {
 public:
  uicc_slots(settings& settings, cards& cards, euicc& euicc, usim& usim)
      : settings_(settings), cards_(cards), euicc_(euicc), usim_(usim) {}

  /// How many of the logical slots are in use, the first ones.
  unsigned active_slots = card_slots;

  [[nodiscard]] unsigned physical_of(unsigned logical);
  [[nodiscard]] bool has_card(unsigned physical);

  /// The card in a physical slot, as far as it can be asked.
  [[nodiscard]] protocol::qmi::error look(unsigned physical, card& found);
  [[nodiscard]] protocol::qmi::error look_logical(unsigned logical, card& found);

  [[nodiscard]] protocol::qmi::error power_down(unsigned logical);
  /// Without a card only when `blindly`.
  [[nodiscard]] protocol::qmi::error power_up(unsigned logical, bool blindly);

  /// Maps a logical slot to this physical one, and the other slot to the one that becomes free.
  /// False when it is mapped there already.
  [[nodiscard]] bool assign(unsigned logical, unsigned physical);

  [[nodiscard]] protocol::qmi::error open_channel(const client& who, unsigned logical,
                                                  protocol::byte_view aid, opened_channel& opened);
  [[nodiscard]] protocol::qmi::error close_channel(unsigned logical, std::uint8_t id);
  /// The card's answer, status words at its end. Channel 0 is always open.
  [[nodiscard]] protocol::qmi::error transmit(unsigned logical, std::uint8_t channel,
                                              protocol::byte_view apdu,
                                              std::vector<std::uint8_t>& answer);

  void drop_client(const client& gone);
  /// Every card powers up again.
  void restart();

 private:
  struct channel_state {
    client owner;  ///< unset for the basic channel
    application selected = application::none;
  };
  using channels = std::map<std::pair<unsigned, std::uint8_t>, channel_state>;  // by physical slot

  void connect(unsigned physical, bool up);
  void close_channels(unsigned physical);

  settings& settings_;
  cards& cards_;
  euicc& euicc_;
  usim& usim_;
  channels channels_;
};

}  // namespace sim
