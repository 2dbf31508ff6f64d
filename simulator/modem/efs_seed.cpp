#include <SQLiteCpp/Statement.h>

#include <string_view>
#include <vector>

#include "simulator/modem/bind.h"
#include "simulator/modem/byte_strings.h"
#include "simulator/modem/seeds.h"

namespace sim {
namespace {

struct efs_seed_row {
  const char* path;
  const char* bytes;
};

constexpr efs_seed_row files[] = {
    {"/nv/item_files/modem/data/3gpp/ps/remove_unused_pdn", "00"},
    {"/nv/item_files/modem/geran/vamos_support", "00"},
    {"/nv/item_files/modem/lte/common/lte_category", "04"},
    {"/nv/item_files/modem/lte/rrc/cap/fgi", "7f ff fe 1e"},
    {"/nv/item_files/modem/lte/rrc/csp/pci_lock", "ff ff ff ff"},
    {"/nv/item_files/modem/lte/rrc/efs/channel_lock", "00 00"},
    {"/nv/item_files/modem/mmode/lte_bandpref", "ff ff ff ff ff 0f 00 00"},
    {"/nv/item_files/modem/mmode/sms_domain_pref", "01"},
    {"/nv/item_files/modem/mmode/ue_usage_setting", "01"},
    {"/nv/item_files/modem/mmode/voice_domain_pref", "03"},
    {"/nv/item_files/modem/nas/nas_config", "01 00 00 00"},
    {"/nv/item_files/modem/uim/gstk/cfg", "01 02 00 00 00 00 00 00"},
};

/// Longer than one chunk of a transfer.
constexpr const char* policy_path = "/nv/item_files/modem/mmode/carrier_policy";
constexpr std::string_view policy = R"(<?xml version="1.0" encoding="utf-8"?>
<policy name="generic" changelist="1" policy_ver="1.0.0">
  <initial>
    <mcc_list name="home_mccs"> 001 </mcc_list>
    <imsi_set name="test_cards"> 00101 </imsi_set>
    <rat_capability base="none">
      <include> GSM WCDMA LTE NR5G </include>
    </rat_capability>
    <rf_bands base="hardware" />
    <feature> concurrent </feature>
  </initial>
  <if>
    <phone_operating_mode> ONLINE </phone_operating_mode>
    <then>
      <svc_mode> FULL </svc_mode>
      <ue_mode> NORMAL </ue_mode>
    </then>
  </if>
</policy>
)";

void insert_file(SQLite::Statement& insert, const char* path, protocol::byte_view data) {
  for (const int subscription : {0, 1}) insert_row(insert, subscription, path, data);
}

}  // namespace

void seed_efs_files(SQLite::Database& database) {
  SQLite::Statement insert(database, "INSERT INTO efs_files VALUES (?, ?, ?)");
  for (const efs_seed_row& row : files) {
    insert_file(insert, row.path, bytes_of_hex(row.bytes));
  }
  insert_file(insert, policy_path, bytes_of(policy));
}

}  // namespace sim
