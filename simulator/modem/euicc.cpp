#include "simulator/modem/euicc.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "simulator/modem/ber_tlv.h"
#include "simulator/modem/byte_strings.h"

namespace sim {
namespace {

using bytes = std::vector<std::uint8_t>;
using protocol::byte_view;

namespace tag {
constexpr std::uint32_t isdp_aid = 0x4F;
constexpr std::uint32_t eid = 0x5A;
constexpr std::uint32_t iccid = 0x5A;
constexpr std::uint32_t tag_list = 0x5C;
constexpr std::uint32_t result = 0x80;
constexpr std::uint32_t list_error = 0x81;
constexpr std::uint32_t reset_options = 0x82;
constexpr std::uint32_t nickname = 0x90;
constexpr std::uint32_t provider = 0x91;
constexpr std::uint32_t name = 0x92;
constexpr std::uint32_t profile_class = 0x95;
constexpr std::uint32_t state = 0x9F70;
constexpr std::uint32_t search = 0xA0;
constexpr std::uint32_t which = 0xA0;  ///< of enable and disable: around AID or ICCID
constexpr std::uint32_t profiles = 0xA0;
constexpr std::uint32_t profile_info = 0xE3;
}  // namespace tag

constexpr std::uint8_t operational_class = 2;

/// Results of the requests that change profiles.
enum class outcome : std::uint8_t {
  ok = 0,
  not_found = 1,  ///< no such profile; of a reset: nothing to delete
  wrong_state = 2,
  undefined_error = 127,
};

void append(bytes& out, byte_view more) {
  out.insert(out.end(), more.begin(), more.end());
}

// What requests are answered with, inside their own tag; nothing for what is wrong with a request.
using content = std::optional<bytes>;

/// SGP.22 version 2.2.2; the key identifier is that of a certificate issuer for tests.
constexpr std::string_view info_version = "82 03 02 02 02";
constexpr std::string_view info_issuers =
    "a9 16 04 14 f5 41 72 bd f9 8a 95 d6 5c be b8 8a 38 a1 c1 1d 80 0a 85 c3 "
    "aa 16 04 14 f5 41 72 bd f9 8a 95 d6 5c be b8 8a 38 a1 c1 1d 80 0a 85 c3";

content get_info_1(byte_view /*request*/, euicc_state& /*card*/) {
  bytes out = bytes_of_hex(info_version);
  append(out, bytes_of_hex(info_issuers));
  return out;
}

content get_info_2(byte_view /*request*/, euicc_state& card) {
  bytes out = bytes_of_hex("81 03 02 01 00");  // profile package 2.1.0
  append(out, bytes_of_hex(info_version));
  // Firmware 1.0.0; resources: applications, free memory that lasts, free memory that does not.
  append(out, bytes_of_hex("83 03 01 00 00 84 0f 81 01"));
  out.push_back(static_cast<std::uint8_t>(card.profiles.all().size()));
  append(out, bytes_of_hex("82 04 00 06 00 00 83 04 00 00 40 00"));
  // Capabilities of the UICC, and those of remote provisioning.
  append(out, bytes_of_hex("85 04 06 7f 36 c0 88 02 04 90"));
  append(out, bytes_of_hex(info_issuers));
  // Policy rule 1 is forbidden; protection profile 1.0.0; accreditation.
  append(out, bytes_of_hex("99 02 06 40 04 03 01 00 00"));
  ber::append(out, 0x0C, bytes_of("TV-KM-UP-0001"));
  return out;
}

content get_data(byte_view request, euicc_state& /*card*/) {
  const auto wanted = ber::find(request, tag::tag_list);
  if (!wanted || !std::ranges::equal(*wanted, std::array{std::uint8_t{tag::eid}})) return {};
  return ber::made(tag::eid, euicc_eid);
}

bool is_same(byte_view left, byte_view right) {
  return std::ranges::equal(left, right);
}

/// Whether the data object, an AID, an ICCID or a class, is this profile's.
bool names(const ber::object& object, const profile& each) {
  if (object.tag == tag::isdp_aid) return is_same(object.value, each.isdp_aid);
  if (object.tag == tag::iccid) return is_same(object.value, each.iccid);
  return object.tag == tag::profile_class && is_same(object.value, {&operational_class, 1});
}

bytes info_of(const profile& each, const std::string& nickname, std::optional<byte_view> wanted) {
  const std::uint8_t state = each.enabled ? 1 : 0;
  const struct {
    std::uint32_t tag;
    byte_view value;
  } fields[] = {
      {tag::iccid, each.iccid},
      {tag::isdp_aid, each.isdp_aid},
      {tag::state, {&state, 1}},
      {tag::nickname, bytes_of(nickname)},
      {tag::provider, bytes_of(each.provider)},
      {tag::name, bytes_of(each.name)},
      {tag::profile_class, {&operational_class, 1}},
  };
  bytes info;
  for (const auto& field : fields) {
    bytes written_tag;
    ber::append_tag(written_tag, field.tag);
    const bool is_wanted =
        (!wanted || std::search(wanted->begin(), wanted->end(), written_tag.begin(),
                                written_tag.end()) != wanted->end()) &&
        (field.tag != tag::nickname || !nickname.empty());
    if (is_wanted) ber::append(info, field.tag, field.value);
  }
  return ber::made(tag::profile_info, info);
}

content list_profiles(byte_view request, euicc_state& card) {
  std::optional<ber::object> criterion;
  if (const auto search = ber::find(request, tag::search)) {
    criterion = ber::reader(*search).next();
    constexpr std::uint8_t incorrect_input = 1;
    if (!criterion) return ber::made(tag::list_error, {&incorrect_input, 1});
  }
  const auto wanted = ber::find(request, tag::tag_list);
  bytes found;
  for (const profile& each : card.profiles.all()) {
    if (criterion && !names(*criterion, each)) continue;
    append(found, info_of(each, card.notes.text(each.iccid), wanted));
  }
  return ber::made(tag::profiles, found);
}

/// The profile that an AID or ICCID names.
std::optional<profile> find_profile(byte_view identifier, profile_store& profiles) {
  const auto object = ber::reader(identifier).next();
  if (!object || object->tag == tag::profile_class) return std::nullopt;
  for (profile& each : profiles.all()) {
    if (names(*object, each)) return std::move(each);
  }
  return std::nullopt;
}

outcome set_enabled(byte_view request, euicc_state& card, bool enabled) {
  const auto which = ber::find(request, tag::which);
  if (!which) return outcome::undefined_error;
  const auto found = find_profile(*which, card.profiles);
  if (!found) return outcome::not_found;
  if (found->enabled == enabled) return outcome::wrong_state;
  if (const auto before = card.profiles.enabled()) {
    card.notes.notify(profile_operation::disabled, before->iccid);
  }
  card.profiles.enable_only(enabled ? byte_view(found->isdp_aid) : byte_view());
  if (enabled) card.notes.notify(profile_operation::enabled, found->iccid);
  return outcome::ok;
}

outcome enable_profile(byte_view request, euicc_state& card) {
  return set_enabled(request, card, true);
}

outcome disable_profile(byte_view request, euicc_state& card) {
  return set_enabled(request, card, false);
}

outcome delete_profile(byte_view request, euicc_state& card) {
  const auto found = find_profile(request, card.profiles);
  if (!found) return outcome::not_found;
  if (found->enabled) return outcome::wrong_state;
  card.profiles.erase(found->isdp_aid);
  card.notes.set_text(found->iccid, {});
  card.notes.notify(profile_operation::deleted, found->iccid);
  return outcome::ok;
}

outcome reset_memory(byte_view request, euicc_state& card) {
  constexpr std::uint8_t operational_profiles = 0x80;
  const auto options = ber::find(request, tag::reset_options);
  // A bit string: the number of unused bits, then the bits.
  if (!options || options->size() != 2) return outcome::undefined_error;
  const bool deletes = ((*options)[1] & operational_profiles) != 0;
  return deletes && card.profiles.erase_all() != 0 ? outcome::ok : outcome::not_found;
}

outcome set_nickname(byte_view request, euicc_state& card) {
  const auto iccid = ber::find(request, tag::iccid);
  const auto name = ber::find(request, tag::nickname);
  if (!iccid || !name || name->size() > longest_nickname) return outcome::undefined_error;
  if (!find_profile(ber::made(tag::iccid, *iccid), card.profiles)) return outcome::not_found;
  card.notes.set_text(*iccid, text_of(*name));
  return outcome::ok;
}

/// Root SM-DS of the test network, and where the notifications would go.
constexpr std::string_view root_server = "lpa.ds.example.org";
constexpr std::string_view notification_server = "smdp.example.org";

/// As DER writes it: a leading 1 bit would make it negative.
bytes integer_of(std::uint32_t number) {
  bytes out;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const auto byte = static_cast<std::uint8_t>(number >> shift);
    if (out.empty() && byte == 0 && shift != 0) continue;
    if (out.empty() && byte >= 0x80) out.push_back(0);
    out.push_back(byte);
  }
  return out;
}

bytes metadata_of(const profile_notification& each) {
  constexpr std::uint8_t unused_bits = 4;
  const std::array operation{unused_bits, static_cast<std::uint8_t>(each.operation)};
  bytes metadata = ber::made(0x80, integer_of(each.number));
  ber::append(metadata, 0x81, operation);
  ber::append(metadata, 0x0C, bytes_of(notification_server));
  ber::append(metadata, tag::iccid, each.iccid);
  return ber::made(0xBF2F, metadata);
}

/// The second byte of an optional bit string chooses operations.
bool is_chosen(std::optional<byte_view> operations, const profile_notification& each) {
  return !operations || (operations->size() == 2 &&
                         ((*operations)[1] & static_cast<std::uint8_t>(each.operation)) != 0);
}

content list_notifications(byte_view request, euicc_state& card) {
  const auto operations = ber::find(request, 0x81);
  bytes found;
  for (const profile_notification& each : card.notes.notifications()) {
    if (is_chosen(operations, each)) append(found, metadata_of(each));
  }
  return ber::made(0xA0, found);
}

/// Each with a signature, which is zeros here, in place of one that a server could check. No more
/// than one answer holds.
content retrieve_notifications(byte_view request, euicc_state& card) {
  constexpr std::size_t signature_size = 64;
  constexpr std::size_t most_bytes = 800;
  const auto criterion = ber::find(request, tag::search);
  const auto number = criterion ? ber::find(*criterion, 0x80) : std::nullopt;
  const auto operations = criterion ? ber::find(*criterion, 0x81) : std::nullopt;
  bytes found;
  for (const profile_notification& each : card.notes.notifications()) {
    if (number && !is_same(*number, integer_of(each.number))) continue;
    if (!is_chosen(operations, each)) continue;
    bytes signed_one = metadata_of(each);
    ber::append(signed_one, 0x5F37, bytes(signature_size));
    const bytes whole = ber::made(0x30, signed_one);
    if (found.size() + whole.size() > most_bytes) break;
    append(found, whole);
  }
  return ber::made(0xA0, found);
}

outcome remove_notification(byte_view request, euicc_state& card) {
  const auto number = ber::find(request, 0x80);
  if (!number || number->empty()) return outcome::undefined_error;
  for (const profile_notification& each : card.notes.notifications()) {
    if (!is_same(*number, integer_of(each.number))) continue;
    return card.notes.remove(each.number) ? outcome::ok : outcome::not_found;
  }
  return outcome::not_found;
}

content get_addresses(byte_view /*request*/, euicc_state& card) {
  bytes out;
  const std::string server = card.notes.text(default_server);
  if (!server.empty()) ber::append(out, 0x80, bytes_of(server));
  ber::append(out, 0x81, bytes_of(root_server));
  return out;
}

outcome set_server(byte_view request, euicc_state& card) {
  const auto address = ber::find(request, 0x80);
  if (!address || address->size() > longest_server) return outcome::undefined_error;
  card.notes.set_text(default_server, text_of(*address));
  return outcome::ok;
}

/// No rules authorise anything.
content get_rules(byte_view /*request*/, euicc_state& /*card*/) {
  return ber::made(0xA0, {});
}

content get_challenge(byte_view /*request*/, euicc_state& /*card*/) {
  bytes challenge(16);
  std::random_device source;
  std::ranges::generate(challenge, [&] { return static_cast<std::uint8_t>(source()); });
  return ber::made(0x80, challenge);
}

/// A request either reads something, or changes something and has an outcome.
struct request_row {
  using teller = content (*)(byte_view request, euicc_state& card);
  using change = outcome (*)(byte_view request, euicc_state& card);

  constexpr request_row(std::uint32_t own_tag, teller told) : number(own_tag), tell(told) {}
  constexpr request_row(std::uint32_t own_tag, change changed) : number(own_tag), act(changed) {}

  [[nodiscard]] content answer(byte_view request, euicc_state& card) const {
    if (tell != nullptr) return tell(request, card);
    const auto code = static_cast<std::uint8_t>(act(request, card));
    return ber::made(tag::result, {&code, 1});
  }

  std::uint32_t number;
  teller tell = nullptr;
  change act = nullptr;
};
constexpr request_row requests[] = {
    {0xBF20, get_info_1},
    {0xBF22, get_info_2},
    {0xBF28, list_notifications},
    {0xBF29, set_nickname},
    {0xBF2B, retrieve_notifications},
    {0xBF2D, list_profiles},
    {0xBF2E, get_challenge},
    {0xBF30, remove_notification},
    {0xBF31, enable_profile},
    {0xBF32, disable_profile},
    {0xBF33, delete_profile},
    {0xBF34, reset_memory},
    {0xBF3C, get_addresses},
    {0xBF3E, get_data},
    {0xBF3F, set_server},
    {0xBF43, get_rules},
};

bool is_well_formed(byte_view objects) {
  ber::reader in(objects);
  while (in.next()) {
  }
  return !in.malformed();
}

}  // namespace

std::vector<std::uint8_t> euicc::select_isd_r() {
  bytes out = ber::made(0x84, isd_r_aid);
  // The most that it takes in one command, and the version of its interface.
  append(out, bytes_of_hex("a5 04 9f 65 01 ff e0 05 82 03 02 02 02"));
  return ber::made(0x6F, out);
}

bool euicc::needs_keys(byte_view request) {
  constexpr std::uint32_t downloads[] = {0xBF21, 0xBF36, 0xBF38, 0xBF41};
  const auto asked = ber::reader(request).next();
  return asked && std::ranges::find(downloads, asked->tag) != std::end(downloads);
}

std::vector<std::uint8_t> euicc::ask_isd_r(byte_view request) {
  ber::reader in(request);
  const auto asked = in.next();
  if (!asked || in.next() || in.malformed() || !is_well_formed(asked->value)) return {};
  const auto* const row = std::ranges::find(requests, asked->tag, &request_row::number);
  const content answer =
      row == std::end(requests) ? std::nullopt : row->answer(asked->value, state_);
  return answer ? ber::made(row->number, *answer) : bytes();
}

}  // namespace sim
