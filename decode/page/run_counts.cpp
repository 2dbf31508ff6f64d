#include "decode/page/run_counts.h"

#include <fmt/format.h>

#include <algorithm>

#include "decode/summary/names.h"

namespace decode::page {

namespace {

std::vector<std::pair<const char*, std::uint64_t>> losses_of(const summary& counts) {
  std::vector<std::pair<const char*, std::uint64_t>> all{
      {"damaged files", counts.damaged_files},
      {"bad CRC", counts.bad_crc},
      {"too short", counts.too_short},
      {"too long", counts.too_long},
      {"unfinished", counts.unfinished},
      {"bytes skipped", counts.skipped_bytes},
      {"damaged packets", counts.damaged_packets},
  };
  std::erase_if(all, [](const auto& one) { return one.second == 0; });
  return all;
}

std::vector<std::string> refused_in(const summary& counts) {
  std::vector<std::string> found;
  for (const auto& [packet, versions] : counts.versions) {
    const auto add = [&, code = packet_code(packet.first, packet.second)](
                         const std::string& what, const outcome_counts& outcomes) {
      const auto refused =
          outcomes.by_outcome[static_cast<std::size_t>(outcome::version_not_supported)];
      if (refused > 0) found.push_back(fmt::format("{} {}: {}", code, what, refused));
    };
    for (const auto& [version, outcomes] : versions.values()) {
      std::string what = "version " + version_text(version.first);
      if (version.second) what += ", sub-packet version " + version_text(*version.second);
      add(what, outcomes);
    }
    add("other versions", versions.others());
  }
  return found;
}

}  // namespace

double run_counts::seconds_in(const cell& which) const {
  const auto found = std::ranges::find(cells, which, &std::pair<cell, cell_counts>::first);
  return found == cells.end() ? 0 : static_cast<double>(found->second.microseconds) / 1e6;
}

run_counts counts_of(const summary& all) {
  run_counts made{.packets = all.frames,
                  .records = all.records.sum(),
                  .radios = {},
                  .losses = losses_of(all),
                  .refused = refused_in(all),
                  .cells = all.cells.counts().values()};
  for (const auto& [radio, packets] : all.radios.values()) made.radios.push_back(radio);
  return made;
}

}  // namespace decode::page
