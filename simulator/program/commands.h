// The commands of tvk-modem. Each returns the exit status and throws `failure`.
#pragma once

#include "simulator/program/command_line.h"

namespace sim {

[[nodiscard]] int run(const serve_command& asked);
[[nodiscard]] int run(exec_command asked);
[[nodiscard]] int run(const nv_command& asked);
[[nodiscard]] int run(const efs_command& asked);
[[nodiscard]] int run(nothing_to_do asked);

}  // namespace sim
