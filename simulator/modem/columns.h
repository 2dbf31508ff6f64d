// Every column of the state database.
#pragma once

#include <limits>

#include "simulator/modem/column.h"
#include "simulator/modem/efs_tree.h"
#include "simulator/modem/euicc_notes.h"
#include "simulator/modem/item_store.h"
#include "simulator/modem/pdc_configs.h"
#include "simulator/modem/profile_store.h"

namespace sim::columns {

inline constexpr std::int64_t any_name = 64;
/// Leaves room to keep counting.
inline constexpr std::int64_t most_counted = std::int64_t{1} << 53;

inline constexpr column counter_name{"counters", "name", column::kind::text, 1, any_name};
inline constexpr column counter_value{"counters", "value", column::kind::number, 0, most_counted};

inline constexpr column nv_subscription{"nv_items", "subscription", column::kind::number, 0,
                                        last_subscription};
inline constexpr column nv_id{"nv_items", "id", column::kind::number, 0, last_nv_item};
inline constexpr column nv_data{"nv_items", "data", column::kind::bytes, 1, max_nv_item_size};

inline constexpr column efs_subscription{"efs_files", "subscription", column::kind::number, 0,
                                         last_subscription};
inline constexpr column efs_path{"efs_files", "path", column::kind::text, 1, max_efs_path_size};
inline constexpr column efs_data{"efs_files", "data", column::kind::bytes, 0, max_efs_file_size};

/// The range of each setting is in its own row.
inline constexpr column setting_name{"settings", "name", column::kind::text, 1, any_name};
inline constexpr column setting_value{"settings", "value", column::kind::number,
                                      std::numeric_limits<std::int64_t>::min(),
                                      std::numeric_limits<std::int64_t>::max()};

inline constexpr column profile_aid{"euicc_profiles", "isdp_aid", column::kind::bytes, 16, 16};
inline constexpr column profile_iccid{"euicc_profiles", "iccid", column::kind::bytes, 10, 10};
inline constexpr column profile_enabled{"euicc_profiles", "enabled", column::kind::number, 0, 1};
inline constexpr column profile_provider{"euicc_profiles", "provider", column::kind::text, 0, 32};
inline constexpr column profile_name{"euicc_profiles", "name", column::kind::text, 0, 64};

inline constexpr column euicc_text_iccid{"euicc_texts", "iccid", column::kind::bytes, 0, 10};
inline constexpr column euicc_text{"euicc_texts", "text", column::kind::text, 1, longest_server};
inline constexpr column notification_number{"euicc_notifications", "number", column::kind::number,
                                            1, std::numeric_limits<std::uint32_t>::max()};
inline constexpr column notification_operation{"euicc_notifications", "operation",
                                               column::kind::number, 0x10, 0x40};
inline constexpr column notification_iccid{"euicc_notifications", "iccid", column::kind::bytes, 10,
                                           10};

inline constexpr column entry_path{"efs_entries", "path", column::kind::text, 1, max_efs_path_size};
inline constexpr column entry_mode{"efs_entries", "mode", column::kind::number, 0, 0177777};
inline constexpr column entry_target{"efs_entries", "target", column::kind::text, 0,
                                     max_efs_link_size};

inline constexpr column config_number{"pdc_configs", "number", column::kind::number, 0,
                                      most_counted};
inline constexpr column config_type{"pdc_configs", "type", column::kind::number, 0,
                                    last_config_type};
inline constexpr column config_id{"pdc_configs", "id", column::kind::bytes, 1, max_config_id_size};
inline constexpr column config_description{"pdc_configs", "description", column::kind::text, 0,
                                           max_config_description_size};
inline constexpr column config_version{"pdc_configs", "version", column::kind::number, 0,
                                       std::numeric_limits<std::uint32_t>::max()};
inline constexpr column config_data{"pdc_configs", "data", column::kind::bytes, 1,
                                    max_config_bytes};
inline constexpr column config_active{"pdc_configs", "is_active", column::kind::number, 0, 1};
inline constexpr column config_pending{"pdc_configs", "is_pending", column::kind::number, 0, 1};

inline constexpr const column* all[] = {&counter_name,
                                        &counter_value,
                                        &nv_subscription,
                                        &nv_id,
                                        &nv_data,
                                        &efs_subscription,
                                        &efs_path,
                                        &efs_data,
                                        &setting_name,
                                        &setting_value,
                                        &profile_aid,
                                        &profile_iccid,
                                        &profile_enabled,
                                        &profile_provider,
                                        &profile_name,
                                        &entry_path,
                                        &entry_mode,
                                        &entry_target,
                                        &config_number,
                                        &config_type,
                                        &config_id,
                                        &config_description,
                                        &config_version,
                                        &config_data,
                                        &config_active,
                                        &config_pending,
                                        &euicc_text_iccid,
                                        &euicc_text,
                                        &notification_number,
                                        &notification_operation,
                                        &notification_iccid};

}  // namespace sim::columns
