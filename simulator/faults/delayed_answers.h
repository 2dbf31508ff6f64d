// Answers that wait until they are due. Those of a client or service that goes away are dropped.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <asio/io_context.hpp>

#include "simulator/clock.h"
#include "simulator/service.h"

namespace sim {

struct answer {
  client to;
  const service_row* from = nullptr;
  std::vector<std::uint8_t> datagram;
  std::string meaning;  ///< for the trace
};

class delayed_answers {
 public:
  delayed_answers(asio::io_context& io, std::function<void(const answer&)> deliver);

  /// False when too many are waiting already.
  [[nodiscard]] bool add(answer waiting, std::chrono::milliseconds delay);

  void drop_client(const client& gone);
  void drop_service(const service_row& gone);

 private:
  struct waiting_answer {
    answer what;
    timer due;
  };

  asio::io_context& io_;
  std::function<void(const answer&)> deliver_;
  // By number: when a timer fires, its answer may have been dropped already.
  std::map<std::uint64_t, waiting_answer> waiting_;
  std::uint64_t next_ = 0;
};

}  // namespace sim
