#include "simulator/program/state_command_line.h"

#include <fmt/core.h>

#include "simulator/failure.h"
#include "simulator/modem/item_store.h"
#include "simulator/modem/store.h"
#include "simulator/number.h"

namespace sim {
namespace {

std::uint32_t number(const char* what, const std::string& text, std::uint32_t most) {
  const auto value = parse_number(text, 0, most);
  if (!value) throw usage_error(fmt::format("{} {}: expected a number up to {}", what, text, most));
  return *value;
}

}  // namespace

state_command_line::state_command_line(CLI::App& app) : state_(default_state_directory()) {
  CLI::App& nv = *app.add_subcommand("nv", "Show and change NV items in a state directory.");
  nv.require_subcommand(1);
  nv_list_ = add(nv, "list", "Number, name, length and first bytes of each.");
  nv_get_ = add(nv, "get", "The bytes of one.");
  nv_get_->add_option("ID", id_, "0 to 7232")->required();
  nv_set_ = add(nv, "set", "Write one.");
  nv_set_->add_option("ID", id_, "0 to 7232")->required();
  nv_set_->add_option("BYTE", bytes_, "decimal, or hexadecimal after 0x")->required();

  CLI::App& efs = *app.add_subcommand("efs", "Show and change EFS files in a state directory.");
  efs.require_subcommand(1);
  efs_list_ = add(efs, "ls", "Length and path of each.");
  efs_cat_ = add(efs, "cat", "The contents of one.");
  add_path(*efs_cat_);
  efs_put_ = add(efs, "put", "Write one.");
  add_path(*efs_put_);
  efs_put_->add_option("FILE", file_, "where its contents are; standard input without or with -");
  efs_remove_ = add(efs, "rm", "Remove one.");
  add_path(*efs_remove_);
}

CLI::App* state_command_line::add(CLI::App& family, const char* verb, const char* help) {
  CLI::App* const added = family.add_subcommand(verb, help);
  added->add_option("--state", state_, "where the modem keeps its state")
      ->type_name("DIR")
      ->capture_default_str();
  added->add_option("--sub", subscription_, "the subscription, 0 or 1")->capture_default_str();
  return added;
}

void state_command_line::add_path(CLI::App& verb) {
  verb.add_option("PATH", path_, "1 to 71 bytes")->required();
}

std::uint8_t state_command_line::subscription() const {
  return static_cast<std::uint8_t>(number("--sub", subscription_, last_subscription));
}

nv_command state_command_line::nv(nv_command::verb what) const {
  nv_command asked{
      .what = what, .state = state_, .subscription = subscription(), .id = 0, .data = {}};
  if (what == nv_command::verb::list) return asked;
  asked.id = static_cast<std::uint16_t>(number("NV item", id_, last_nv_item));
  for (const std::string& each : bytes_) {
    asked.data.push_back(static_cast<std::uint8_t>(number("byte", each, 255)));
  }
  if (asked.data.size() > max_nv_item_size) {
    throw usage_error(
        fmt::format("{} bytes: an NV item has 1 to {}", asked.data.size(), max_nv_item_size));
  }
  return asked;
}

efs_command state_command_line::efs(efs_command::verb what) const {
  efs_command asked{
      .what = what, .state = state_, .subscription = subscription(), .path = path_, .file = file_};
  const bool fits = !path_.empty() && path_.size() <= max_efs_path_size;
  if (what != efs_command::verb::list && !fits) {
    throw usage_error(
        fmt::format("path '{}': an EFS path has 1 to {} bytes", path_, max_efs_path_size));
  }
  return asked;
}

std::optional<command> state_command_line::parsed() const {
  if (nv_list_->parsed()) return nv(nv_command::verb::list);
  if (nv_get_->parsed()) return nv(nv_command::verb::get);
  if (nv_set_->parsed()) return nv(nv_command::verb::set);
  if (efs_list_->parsed()) return efs(efs_command::verb::list);
  if (efs_cat_->parsed()) return efs(efs_command::verb::cat);
  if (efs_put_->parsed()) return efs(efs_command::verb::put);
  if (efs_remove_->parsed()) return efs(efs_command::verb::remove);
  return std::nullopt;
}

}  // namespace sim
