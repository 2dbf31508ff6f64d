// Serves the live page to browsers: GET / is the page, GET /events its events. Nothing can be
// changed from outside, and browsers that came for another host's page get nothing.
#pragma once

#include <memory>
#include <string>

#include "decode/page/live/live_data.h"

namespace decode::page {

class page_server {
 public:
  /// Listens at once. Throws output_error when that is not possible at `address`, HOST:PORT.
  page_server(const std::string& address, live_data& data);
  page_server(const page_server&) = delete;
  page_server& operator=(const page_server&) = delete;
  /// Ends at once; browsers get to know.
  ~page_server();

  /// In threads of its own, to which no signal goes.
  void serve();
  /// http://HOST:PORT/
  [[nodiscard]] const std::string& url() const;

 private:
  class implementation;

  std::unique_ptr<implementation> implementation_;
};

}  // namespace decode::page
