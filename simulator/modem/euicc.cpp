#include "simulator/modem/euicc.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

#include "simulator/modem/ber_tlv.h"
#include "simulator/modem/hex.h"

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

byte_view view_of(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

bytes answer_outcome(std::uint32_t request_tag, outcome result) {
  const auto code = static_cast<std::uint8_t>(result);
  return ber::made(request_tag, ber::made(tag::result, {&code, 1}));
}

/// SGP.22 version 2.2.2; the key identifier is that of a certificate issuer for tests.
constexpr std::string_view info_version = "82 03 02 02 02";
constexpr std::string_view info_issuers =
    "a9 16 04 14 f5 41 72 bd f9 8a 95 d6 5c be b8 8a 38 a1 c1 1d 80 0a 85 c3 "
    "aa 16 04 14 f5 41 72 bd f9 8a 95 d6 5c be b8 8a 38 a1 c1 1d 80 0a 85 c3";

bytes get_info_1(byte_view /*request*/, profile_store& /*profiles*/) {
  bytes content = bytes_of_hex(info_version);
  const bytes issuers = bytes_of_hex(info_issuers);
  content.insert(content.end(), issuers.begin(), issuers.end());
  return ber::made(0xBF20, content);
}

bytes get_info_2(byte_view /*request*/, profile_store& profiles) {
  bytes content = bytes_of_hex("81 03 02 01 00");  // profile package 2.1.0
  const auto add = [&content](const bytes& more) {
    content.insert(content.end(), more.begin(), more.end());
  };
  add(bytes_of_hex(info_version));
  add(bytes_of_hex("83 03 01 00 00"));  // firmware 1.0.0
  // Card resources: number of applications, free memory that lasts, free memory that does not.
  const auto count = static_cast<std::uint8_t>(profiles.all().size());
  bytes resources = {0x81, 0x01, count};
  const bytes memory = bytes_of_hex("82 04 00 06 00 00 83 04 00 00 40 00");
  resources.insert(resources.end(), memory.begin(), memory.end());
  ber::append(content, 0x84, resources);
  add(bytes_of_hex("85 04 06 7f 36 c0"));  // UICC capabilities
  add(bytes_of_hex("88 02 04 90"));        // of remote provisioning
  add(bytes_of_hex(info_issuers));
  add(bytes_of_hex("99 02 06 40"));     // policy rule 1 is forbidden
  add(bytes_of_hex("04 03 01 00 00"));  // protection profile 1.0.0
  ber::append(content, 0x0C, view_of("TV-KM-UP-0001"));
  return ber::made(0xBF22, content);
}

bytes get_data(byte_view request, profile_store& /*profiles*/) {
  const auto wanted = ber::find(request, tag::tag_list);
  if (!wanted || !std::ranges::equal(*wanted, std::array{std::uint8_t{tag::eid}})) return {};
  return ber::made(0xBF3E, ber::made(tag::eid, euicc_eid));
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

bytes info_of(const profile& each, std::optional<byte_view> wanted) {
  const std::uint8_t state = each.enabled ? 1 : 0;
  const struct {
    std::uint32_t tag;
    byte_view value;
  } fields[] = {
      {tag::iccid, each.iccid},        {tag::isdp_aid, each.isdp_aid},
      {tag::state, {&state, 1}},       {tag::provider, view_of(each.provider)},
      {tag::name, view_of(each.name)}, {tag::profile_class, {&operational_class, 1}},
  };
  bytes content;
  for (const auto& field : fields) {
    bytes written_tag;
    ber::append_tag(written_tag, field.tag);
    const bool is_wanted =
        !wanted || std::search(wanted->begin(), wanted->end(), written_tag.begin(),
                               written_tag.end()) != wanted->end();
    if (is_wanted) ber::append(content, field.tag, field.value);
  }
  return ber::made(tag::profile_info, content);
}

bytes list_profiles(byte_view request, profile_store& profiles) {
  constexpr std::uint32_t own_tag = 0xBF2D;
  std::optional<ber::object> criterion;
  if (const auto search = ber::find(request, tag::search)) {
    criterion = ber::reader(*search).next();
    if (!criterion) {
      constexpr std::uint8_t incorrect_input = 1;
      return ber::made(own_tag, ber::made(tag::list_error, {&incorrect_input, 1}));
    }
  }
  const auto wanted = ber::find(request, tag::tag_list);
  bytes found;
  for (const profile& each : profiles.all()) {
    if (criterion && !names(*criterion, each)) continue;
    const bytes info = info_of(each, wanted);
    found.insert(found.end(), info.begin(), info.end());
  }
  return ber::made(own_tag, ber::made(tag::profiles, found));
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

outcome set_enabled(byte_view request, profile_store& profiles, bool enabled) {
  const auto which = ber::find(request, tag::which);
  if (!which) return outcome::undefined_error;
  const auto found = find_profile(*which, profiles);
  if (!found) return outcome::not_found;
  if (found->enabled == enabled) return outcome::wrong_state;
  profiles.enable_only(enabled ? byte_view(found->isdp_aid) : byte_view());
  return outcome::ok;
}

bytes enable_profile(byte_view request, profile_store& profiles) {
  return answer_outcome(0xBF31, set_enabled(request, profiles, true));
}

bytes disable_profile(byte_view request, profile_store& profiles) {
  return answer_outcome(0xBF32, set_enabled(request, profiles, false));
}

bytes delete_profile(byte_view request, profile_store& profiles) {
  const auto found = find_profile(request, profiles);
  outcome result = outcome::ok;
  if (!found) {
    result = outcome::not_found;
  } else if (found->enabled) {
    result = outcome::wrong_state;
  } else {
    profiles.erase(found->isdp_aid);
  }
  return answer_outcome(0xBF33, result);
}

bytes reset_memory(byte_view request, profile_store& profiles) {
  constexpr std::uint32_t own_tag = 0xBF34;
  constexpr std::uint8_t operational_profiles = 0x80;
  const auto options = ber::find(request, tag::reset_options);
  // A bit string: the number of unused bits, then the bits.
  if (!options || options->size() != 2) return answer_outcome(own_tag, outcome::undefined_error);
  const bool deletes = ((*options)[1] & operational_profiles) != 0;
  const bool found = deletes && profiles.erase_all() != 0;
  return answer_outcome(own_tag, found ? outcome::ok : outcome::not_found);
}

struct request_row {
  std::uint32_t tag;
  bytes (*answer)(byte_view request, profile_store& profiles);
};
constexpr request_row requests[] = {
    {0xBF20, get_info_1},     {0xBF22, get_info_2},      {0xBF2D, list_profiles},
    {0xBF31, enable_profile}, {0xBF32, disable_profile}, {0xBF33, delete_profile},
    {0xBF34, reset_memory},   {0xBF3E, get_data},
};

bool is_well_formed(byte_view objects) {
  ber::reader in(objects);
  while (in.next()) {
  }
  return !in.malformed();
}

}  // namespace

std::vector<std::uint8_t> euicc::select_isd_r() {
  bytes content = ber::made(0x84, isd_r_aid);
  // The most that it takes in one command, and the version of its interface.
  const bytes proprietary = bytes_of_hex("a5 04 9f 65 01 ff e0 05 82 03 02 02 02");
  content.insert(content.end(), proprietary.begin(), proprietary.end());
  return ber::made(0x6F, content);
}

std::vector<std::uint8_t> euicc::ask_isd_r(byte_view request) {
  ber::reader in(request);
  const auto asked = in.next();
  if (!asked || in.next() || in.malformed() || !is_well_formed(asked->value)) return {};
  const auto* const row = std::ranges::find(requests, asked->tag, &request_row::tag);
  return row == std::end(requests) ? bytes() : row->answer(asked->value, profiles_);
}

}  // namespace sim
