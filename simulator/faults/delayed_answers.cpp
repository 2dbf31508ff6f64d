#include "simulator/faults/delayed_answers.h"

#include <utility>

namespace sim {
namespace {

// A client may keep asking while its answers wait; memory must not grow without bound.
constexpr std::size_t max_waiting = 4096;

}  // namespace

delayed_answers::delayed_answers(asio::io_context& io, std::function<void(const answer&)> deliver)
    : io_(io), deliver_(std::move(deliver)) {}

bool delayed_answers::add(answer waiting, std::chrono::milliseconds delay) {
  if (waiting_.size() >= max_waiting) return false;
  const std::uint64_t number = next_++;
  const auto added =
      waiting_.emplace(number, waiting_answer{std::move(waiting), timer(io_, delay)}).first;
  added->second.due.async_wait([this, number](const std::error_code& /*cancelled*/) {
    const auto due = waiting_.extract(number);
    if (due) deliver_(due.mapped().what);
  });
  return true;
}

void delayed_answers::drop_client(const client& gone) {
  std::erase_if(waiting_, [&](const auto& each) { return each.second.what.to == gone; });
}

void delayed_answers::drop_service(const service_row& gone) {
  std::erase_if(waiting_, [&](const auto& each) { return each.second.what.from == &gone; });
}

}  // namespace sim
