#include "simulator/modem/dump.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>

#include "host/private_files.h"
#include "host/write_all.h"
#include "simulator/failure.h"

namespace sim {
namespace {

std::string contents(modem& state, std::int64_t number, const std::string& reason) {
  std::string text =
      fmt::format("tvk-modem dump {}\ntime {:%Y-%m-%dT%H:%M:%SZ}\nboots {}\nreason {}\n", number,
                  fmt::gmtime(std::time(nullptr)), state.store.counter("boots"), reason);
  const auto out = std::back_inserter(text);
  for (std::uint8_t subscription = 0; subscription <= last_subscription; ++subscription) {
    state.nv.for_each(subscription, [&](std::uint16_t id, protocol::byte_view data) {
      fmt::format_to(out, "nv {} {} {}: {:02x}\n", subscription, id, data.size(),
                     fmt::join(data, " "));
    });
    state.efs.for_each(subscription, [&](std::string_view path, protocol::byte_view data) {
      fmt::format_to(out, "efs {} {} {}: {:02x}\n", subscription, path, data.size(),
                     fmt::join(data, " "));
    });
  }
  return text;
}

}  // namespace

void write_dump(modem& state, const std::string& reason) {
  const std::int64_t number = state.store.count("dumps");
  const std::string text = contents(state, number, reason);
  const std::string path = fmt::format("{}/dump-{}.bin", state.store.directory(), number);
  // Under another name until it is complete.
  const std::string part = path + ".part";
  auto [file, error] = host::make_new_file(part);
  if (!file.valid()) throw failure(fmt::format("cannot write {}: {}", part, error));
  if (host::write_all(file.get(), text) && ::fsync(file.get()) == 0 &&
      std::rename(part.c_str(), path.c_str()) == 0) {
    return;
  }
  const int reason_of_failure = errno;
  std::remove(part.c_str());
  throw failure(fmt::format("cannot write {}: {}", path, std::strerror(reason_of_failure)));
}

}  // namespace sim
