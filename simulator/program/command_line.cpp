#include "simulator/program/command_line.h"

#include <fmt/core.h>

#include <algorithm>
#include <iterator>
#include <span>
#include <sstream>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/directories.h"
#include "host/near_name.h"
#include "protocol/diag_port.h"
#include "protocol/modem_socket.h"
#include "simulator/failure.h"
#include "simulator/modem/store.h"
#include "simulator/program/standard_output.h"
#include "simulator/program/state_command_line.h"
#include "simulator/services/services.h"

namespace sim {
namespace {

/// What the library reads: the options as they are, and texts that are looked at afterwards.
struct raw_options {
  modem_options modem;
  std::vector<std::string> faults;
  std::vector<std::string> settings;
  std::uint32_t restart_time = 2000;
  diag::play_options play;
};

constexpr const char* no_separator =
    "exec needs -- before its command: tvk-modem exec [OPTIONS] -- COMMAND [ARGS...]";

std::string not_empty(const std::string& path) {
  return path.empty() ? "empty path" : "";
}

void add_options(CLI::App& command, raw_options& raw, const std::string& default_socket) {
  modem_options& modem = raw.modem;
  const auto add_path = [&command](const char* name, std::string& path, const std::string& help,
                                   const char* type = "PATH") {
    return command.add_option(name, path, help)->type_name(type)->check(not_empty);
  };
  const auto add_texts = [&command](const char* name, std::vector<std::string>& texts,
                                    const char* help, const char* type) {
    command.add_option(name, texts, help)->type_name(type)->allow_extra_args(false);
  };
  add_path("--socket", modem.socket, "the modem socket [" + default_socket + "]");
  add_path("--state", modem.state, "where the modem keeps its state", "DIR")->capture_default_str();
  command.add_flag("--qrtr", modem.qrtr, "serve the kernel's AF_QIPCRTR sockets as well");
  command
      .add_option("--qrtr-node", modem.qrtr_node,
                  "be a QRTR node of this number as well, by the kernel's /dev/qrtr-tun")
      ->type_name("NUMBER");
  command.add_flag("--trace", modem.trace, "show every message on standard error");
  add_texts("--fault", raw.faults, "SERVICE[/MESSAGE[@N]]=ACTION[:VALUE]; repeatable", "RULE");
  add_texts("--set", raw.settings, "a setting of the modem at its start; repeatable", "KEY=VALUE");
  command.add_option("--restart-time", raw.restart_time, "how long a restart takes")
      ->type_name("MS")
      ->capture_default_str();
  add_path("--at-device", modem.at_device, "a terminal that answers AT commands");
  add_path(
      "--diag-socket", modem.diag.socket,
      fmt::format("the DIAG socket [{} beside the modem socket]", protocol::diag::port_socket));
  command
      .add_option("--diag-tcp", modem.diag.tcp,
                  "DIAG on a TCP port of 127.0.0.1 as well, 0 for a free one")
      ->type_name("PORT");
  add_path("--diag-pty", modem.diag.terminal, "DIAG on a terminal as well", "LINK");
  CLI::Option* const play =
      add_path("--play", raw.play.file, "send what a capture of HDLC frames holds", "FILE");
  command
      .add_option("--rate", raw.play.rate,
                  "packets played a second, 0 for no limit [as their time stamps say]")
      ->type_name("N")
      ->needs(play);
  command.add_flag("--play-now", raw.play.now, "play with the time stamps of now")->needs(play);
  add_path("--qmux", modem.qmux, "a stream socket that speaks QMUX");
  command.add_flag("--qmi-proxy", modem.qmi_proxy,
                   "speak QMUX where qmicli -p looks for its proxy");
  add_path("--qmux-pty", modem.qmux_terminal, "a terminal that speaks QMUX", "LINK");
}

/// Reads the capture, which may take a while: nothing is open yet that would have to be removed, so
/// any signal may end the program.
modem_options checked(const raw_options& raw) {
  modem_options options = raw.modem;
  options.restart_time = std::chrono::milliseconds(raw.restart_time);
  constexpr std::uint32_t all_nodes = 0xFFFFFFFF;
  const std::uint32_t number = options.qrtr_node.value_or(protocol::modem_socket::modem_node);
  if (number == protocol::modem_socket::local_node || number == all_nodes) {
    throw usage_error(fmt::format("--qrtr-node {}: this is the number of {}", number,
                                  number == all_nodes ? "all nodes" : "the kernel's node"));
  }
  if (!raw.play.file.empty()) options.played = std::make_shared<diag::capture>(raw.play);
  for (const std::string& rule : raw.faults) {
    if (target_of_rule(rule) == diag::fault_target) {
      options.diag_faults.push_back(diag::parse_fault_rule(rule));
    } else {
      options.faults.push_back(parse_fault_rule(rule, all_services()));
    }
  }
  for (const std::string& each : raw.settings) options.settings.push_back(parse_setting(each));
  return options;
}

/// Names a wrong sub-command, of which the library says only that it was not expected.
void check_subcommand(const CLI::App& app, std::string_view name) {
  if (name.starts_with('-')) return;
  std::vector<std::string> owned;
  for (const CLI::App* const each : app.get_subcommands([](const CLI::App*) { return true; })) {
    owned.push_back(each->get_name());
  }
  const std::vector<std::string_view> names(owned.begin(), owned.end());
  if (std::ranges::find(names, name) != names.end()) return;
  const auto near = host::near_name(name, names);
  throw usage_error(fmt::format("no command {}{}; tvk-modem --help lists them", name,
                                near.empty() ? "" : fmt::format(", did you mean {}?", near)));
}

}  // namespace

command parse_command_line(int argc, const char* const* argv) {
  // What follows "--" is another program's command line and is not looked at.
  const std::span<const char* const> all(argv, static_cast<std::size_t>(argc));
  const auto separator = std::ranges::find(all, std::string_view("--"));
  const auto ours = static_cast<int>(separator - all.begin());

  raw_options raw;
  raw.modem.state = default_state_directory();
  CLI::App app("A simulated modem.", "tvk-modem");
  app.set_version_flag("--version", "tvk-modem " TVK_MODEM_VERSION);
  app.require_subcommand(1);
  CLI::App* const serve = app.add_subcommand("serve", "Run until SIGINT, SIGTERM or SIGHUP.");
  const std::string serve_socket =
      host::runtime_directory() + '/' + protocol::modem_socket::socket_name;
  add_options(*serve, raw, serve_socket);
  serve_command asked;
  serve->add_flag("--hold-time", asked.holds_time,
                  "let the modem's time pass only by SIGUSR1, which carries milliseconds");
  CLI::App* const exec = app.add_subcommand(
      "exec", "Run COMMAND (after --) with a modem for it, found through TVK_MODEM and TVK_DIAG.");
  add_options(*exec, raw, "a private one");
  exec->footer("tvk-modem exec [OPTIONS] -- COMMAND [ARGS...]");
  const state_command_line state(app);

  if (ours > 1) check_subcommand(app, argv[1]);
  try {
    app.parse(ours, argv);
  } catch (const CLI::Success& help_or_version) {
    std::ostringstream text;
    app.exit(help_or_version, text);
    write_output(text.str());
    return nothing_to_do{};
  } catch (const CLI::ParseError& error) {
    if (separator == all.end() && exec->parsed()) throw usage_error(no_separator);
    throw usage_error(error.what());
  }

  if (exec->parsed()) {
    if (separator == all.end()) throw usage_error(no_separator);
    if (std::next(separator) == all.end()) {
      throw usage_error("exec needs a command: tvk-modem exec [OPTIONS] -- COMMAND [ARGS...]");
    }
    return exec_command{checked(raw), {std::next(separator), all.end()}};
  }
  if (separator != all.end()) throw usage_error("only exec runs a command: nothing may follow --");
  if (auto state_asked = state.parsed()) return *std::move(state_asked);
  asked.modem = checked(raw);
  modem_options& options = asked.modem;
  if (options.socket.empty()) options.socket = serve_socket;
  if (options.diag.socket.empty()) options.diag.socket = diag_socket_beside(options.socket);
  return asked;
}

}  // namespace sim
