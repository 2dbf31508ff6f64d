#include <csignal>
#include <exception>
#include <variant>

#include "host/standard_descriptors.h"
#include "simulator/failure.h"
#include "simulator/program/command_line.h"
#include "simulator/program/commands.h"
#include "simulator/program/standard_output.h"
#include "simulator/standard_error.h"

int main(int argc, char** argv) try {
  // Writing to a file at its size limit then fails with an error, as on a full disk.
  std::signal(SIGXFSZ, SIG_IGN);
  host::fill_standard_descriptors();
  const int status = std::visit([](auto command) { return sim::run(std::move(command)); },
                                sim::parse_command_line(argc, argv));
  sim::finish_output();
  return status;
} catch (const sim::usage_error& error) {
  sim::tell_user(error.what());
  return 2;
} catch (const std::exception& error) {
  sim::tell_user(error.what());
  return 1;
}
