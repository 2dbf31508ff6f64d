// tvk-modem nv: the NV items in a state directory, whether or not a modem runs on it.
#include <fmt/format.h>

#include <algorithm>

#include "simulator/modem/item_store.h"
#include "simulator/modem/seeds.h"
#include "simulator/program/commands.h"
#include "simulator/program/standard_output.h"

namespace sim {
namespace {

void list(nv_store& items, std::uint8_t subscription) {
  constexpr static std::size_t shown = 16;
  items.for_each(subscription, [](std::uint16_t id, protocol::byte_view data) {
    write_output(fmt::format("{:>4}  {:<36} {:>3}  {:02x}{}\n", id, nv_item_name(id), data.size(),
                             fmt::join(data.first(std::min(shown, data.size())), " "),
                             data.size() > shown ? " ..." : ""));
  });
}

void get(nv_store& items, const nv_command& asked) {
  const auto data = items.read(asked.subscription, asked.id);
  if (!data) {
    throw failure(fmt::format("no NV item {} of subscription {}", asked.id, asked.subscription));
  }
  write_output(fmt::format("{:02x}\n", fmt::join(*data, " ")));
}

}  // namespace

int run(const nv_command& asked) {
  store opened(asked.state);
  nv_store items(opened);
  switch (asked.what) {
    case nv_command::verb::list:
      list(items, asked.subscription);
      break;
    case nv_command::verb::get:
      get(items, asked);
      break;
    case nv_command::verb::set:
      items.write(asked.subscription, asked.id, asked.data);
      break;
  }
  return 0;
}

}  // namespace sim
