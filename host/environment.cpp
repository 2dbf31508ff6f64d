#include "host/environment.h"

#include <cstdlib>

namespace host {

std::string environment(const char* name) {
  // getenv is safe here: our programs never change the environment while other threads read it.
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

}  // namespace host
