#include <fmt/core.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <variant>

#include "simulator/command_line.h"
#include "simulator/commands.h"
#include "simulator/failure.h"

int main(int argc, char** argv) try {
  // A file that has reached its limit is an error of the writing call, as a full disk is.
  std::signal(SIGXFSZ, SIG_IGN);
  return std::visit([](auto command) { return sim::run(std::move(command)); },
                    sim::parse_command_line(argc, argv));
} catch (const sim::usage_error& error) {
  fmt::print(stderr, "tvk-modem: {}\n", error.what());
  return 2;
} catch (const std::exception& error) {
  fmt::print(stderr, "tvk-modem: {}\n", error.what());
  return 1;
}
