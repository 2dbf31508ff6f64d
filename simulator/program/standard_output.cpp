#include "simulator/program/standard_output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "simulator/failure.h"

namespace sim {
namespace {

[[noreturn]] void fail() {
  throw failure(std::string("cannot write to standard output: ") + std::strerror(errno));
}

}  // namespace

void write_output(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) fail();
}

void finish_output() {
  if (std::fflush(stdout) != 0) fail();
}

}  // namespace sim
