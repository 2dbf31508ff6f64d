#include "simulator/diag/signalling.h"

#include <utility>

#include "simulator/diag/byte_string.h"
#include "simulator/diag/rrc_messages.h"

namespace sim::diag {

namespace {

using std::chrono::milliseconds;
using enum lte_rrc_state;

constexpr std::uint16_t lte_rrc_log = 0xB0C0;
constexpr std::uint16_t nr_rrc_log = 0xB821;

/// Numbers of channels, in the version of the log that is sent.
enum lte_channel : std::uint8_t {
  bcch_bch = 1,
  bcch_dl_sch = 3,
  pcch = 7,
  dl_ccch,
  dl_dcch,
  ul_ccch,
  ul_dcch,
};

std::uint16_t frame_at(milliseconds at) {
  return static_cast<std::uint16_t>(at / milliseconds(10) % 1024);
}

/// Log 0xB0C0, version 26.
signalling_log lte_rrc_packet(lte_channel channel, milliseconds at, const radio_values& seen,
                              const message_bytes& message) {
  constexpr std::uint8_t first_dcch_bearer = 1;
  const bool is_dcch = channel == dl_dcch || channel == ul_dcch;
  const bool is_uplink = channel == ul_ccch || channel == ul_dcch;
  return {lte_rrc_log, byte_string()
                           .u8(26, 15, 0x10, 15, 0x10)  // release 15.1 of both RRCs
                           .u8(is_dcch ? first_dcch_bearer : 0)
                           .u16(seen.lte.pci)
                           .u32(seen.lte.dl_earfcn)
                           .u16(is_uplink ? 0 : frame_at(at) << 4)
                           .u8(std::uint8_t{channel})
                           .u32(0)
                           .u16(message.size())
                           .bytes(message)};
}

/// Log 0xB821, version 17: the master information block.
signalling_log nr_mib_packet(milliseconds at, const radio_values& seen) {
  constexpr std::uint8_t no_bearer = 0xFF;
  constexpr std::uint8_t nr_bcch_bch = 1;
  const auto message = nr_master_information(seen, frame_at(at));
  return {nr_rrc_log, byte_string()
                          .u32(17)
                          .u8(15, 0x60, no_bearer)
                          .u16(seen.nr.pci)
                          .u64(0)
                          .u32(seen.nr.arfcn)
                          .u8(0, 0, 0, nr_bcch_bch)
                          .u32(0)
                          .u16(message.size())
                          .bytes(message)};
}

/// The logs of NAS, version 1.
signalling_log nas_packet(std::uint16_t code, const message_bytes& message) {
  return {code, byte_string().u8(1, 9, 5, 0).bytes(message)};
}

enum class occasion : std::uint8_t { attach, later, always };

/// A message and the log that it is in: RRC's, with its channel, or one of NAS.
struct message_row {
  lte_rrc_state state;
  occasion when;
  lte_channel channel;
  std::uint16_t log;
  milliseconds after;  // the state began
  message_bytes (*build)(const radio_values& seen);
};
constexpr message_row rrc(lte_rrc_state state, int after, occasion when, lte_channel channel,
                          message_bytes (*build)(const radio_values& seen)) {
  return {state, when, channel, lte_rrc_log, milliseconds(after), build};
}
constexpr message_row nas(lte_rrc_state state, int after, occasion when, std::uint16_t log,
                          message_bytes (*build)(const radio_values& seen)) {
  return {state, when, {}, log, milliseconds(after), build};
}
/// An RRC message with a NAS message in it.
template <message_bytes (*outer)(const message_bytes&),
          message_bytes (*inner)(const radio_values& seen)>
message_bytes carrying(const radio_values& seen) {
  return outer(inner(seen));
}
constexpr message_row messages[] = {
    rrc(connecting, 0, occasion::later, pcch, paging),
    nas(connecting, 0, occasion::attach, 0xB0E3, pdn_connectivity_request),
    nas(connecting, 0, occasion::attach, 0xB0ED, attach_request),
    rrc(connecting, 0, occasion::attach, ul_ccch, connection_request_to_attach),
    nas(connecting, 0, occasion::later, 0xB0ED, service_request),
    rrc(connecting, 0, occasion::later, ul_ccch, connection_request_when_paged),
    rrc(connecting, 100, occasion::always, dl_ccch, connection_setup),
    rrc(connected, 0, occasion::attach, ul_dcch, carrying<setup_complete, attach_request>),
    rrc(connected, 0, occasion::later, ul_dcch, carrying<setup_complete, service_request>),
    rrc(connected, 100, occasion::attach, dl_dcch, carrying<downlink_nas, authentication_request>),
    nas(connected, 100, occasion::attach, 0xB0EC, authentication_request),
    nas(connected, 200, occasion::attach, 0xB0ED, authentication_response),
    rrc(connected, 200, occasion::attach, ul_dcch, carrying<uplink_nas, authentication_response>),
    rrc(connected, 300, occasion::attach, dl_dcch,
        carrying<downlink_nas, protected_security_mode_command>),
    nas(connected, 300, occasion::attach, 0xB0EA, protected_security_mode_command),
    nas(connected, 300, occasion::attach, 0xB0EC, nas_security_mode_command),
    nas(connected, 400, occasion::attach, 0xB0ED, nas_security_mode_complete),
    nas(connected, 400, occasion::attach, 0xB0EB, protected_security_mode_complete),
    rrc(connected, 400, occasion::attach, ul_dcch,
        carrying<uplink_nas, protected_security_mode_complete>),
    rrc(connected, 500, occasion::always, dl_dcch, security_mode_command),
    rrc(connected, 600, occasion::always, ul_dcch, security_mode_complete),
    rrc(connected, 700, occasion::attach, dl_dcch,
        carrying<reconfiguration_with, protected_attach_accept>),
    nas(connected, 700, occasion::attach, 0xB0EA, protected_attach_accept),
    nas(connected, 700, occasion::attach, 0xB0EC, attach_accept),
    nas(connected, 700, occasion::attach, 0xB0E2, default_bearer_request),
    rrc(connected, 700, occasion::later, dl_dcch, reconfiguration),
    rrc(connected, 800, occasion::always, ul_dcch, reconfiguration_complete),
    nas(connected, 900, occasion::attach, 0xB0E3, default_bearer_accept),
    nas(connected, 900, occasion::attach, 0xB0ED, attach_complete),
    nas(connected, 900, occasion::attach, 0xB0EB, protected_attach_complete),
    rrc(connected, 900, occasion::attach, ul_dcch, carrying<uplink_nas, protected_attach_complete>),
    rrc(connected, 9000, occasion::always, ul_dcch, measurement_report),
    rrc(connected, 9100, occasion::always, dl_dcch, handover_command),
    rrc(connected, 9200, occasion::always, ul_dcch, reconfiguration_complete),
    rrc(closing, 0, occasion::always, dl_dcch, connection_release),
};

constexpr milliseconds broadcast_every{5000};
constexpr milliseconds nr_found_after{1000};

}  // namespace

std::vector<signalling_log> signalling::logs_at(milliseconds at, const radio_values& seen) {
  if (state_ && state_ != seen.rrc) {
    since_ = at;
    if (state_ == closing && began_) attached_ = true;
    began_ = seen.rrc != idle_camped && (began_ || seen.rrc == connecting);
  }
  if (seen.rrc == idle_not_camped) attached_ = false;
  state_ = seen.rrc;

  std::vector<signalling_log> out;
  if (seen.rrc != idle_not_camped && at % broadcast_every == milliseconds(0)) {
    out.push_back(lte_rrc_packet(bcch_bch, at, seen, lte_master_information(seen, frame_at(at))));
    out.push_back(lte_rrc_packet(bcch_dl_sch, at, seen, system_information_1(seen)));
  }
  if (!since_) return out;
  const auto is_due = [&](const message_row& row) {
    const auto unwanted = attached_ ? occasion::attach : occasion::later;
    return row.state == seen.rrc && row.after == at - *since_ && row.when != unwanted;
  };
  for (const auto& row : messages) {
    if (!is_due(row)) continue;
    const auto message = row.build(seen);
    out.push_back(row.log == lte_rrc_log ? lte_rrc_packet(row.channel, at, seen, message)
                                         : nas_packet(row.log, message));
  }
  if (seen.rrc == connected && at - *since_ == nr_found_after)
    out.push_back(nr_mib_packet(at, seen));
  return out;
}

}  // namespace sim::diag
