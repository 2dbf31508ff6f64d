#include "decode/page/live/page_server.h"

#include <fmt/format.h>
#include <pthread.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <latch>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>

#include "decode/messages.h"
#include "decode/output/record_output.h"
#include "decode/page/live/connection.h"
#include "decode/page/page_template.h"

namespace decode::page {

namespace {

using namespace std::chrono_literals;

/// That show the page at a time.
constexpr unsigned most_followers = 16;
/// With those that only ask for something.
constexpr unsigned most_connections = 24;
/// One more turns browsers away.
constexpr unsigned num_threads = most_connections + 1;
/// After so long without a change, a comment finds out whether the browser is still there.
constexpr auto quiet_time = 30s;
/// Large events go in pieces, so that a browser that reads slowly shows that it does.
constexpr std::size_t piece_size = 16384;

enum http_status { forbidden = 403, method_not_allowed = 405, unavailable = 503 };

/// All that a browser that does not read holds in the system.
constexpr int send_buffer = 65536;

constexpr std::string_view turned_away =
    "HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";

host::file_descriptor listen_at(const std::string& address) {
  const auto at = host::ip_address::parse(address, 0);
  if (!at) {
    throw output_error(
        fmt::format("{}: not a numeric address (or localhost) and a port number", address));
  }
  host::file_descriptor socket(::socket(at->family(), SOCK_STREAM | SOCK_CLOEXEC, 0));
  constexpr int on = 1;
  // Connections inherit it.
  ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDBUF, &send_buffer, sizeof send_buffer);
  ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (at->family() == AF_INET6) {
    ::setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
  }
  if (::bind(socket.get(), at->get(), at->size()) != 0 || ::listen(socket.get(), SOMAXCONN) != 0) {
    throw output_error(fmt::format("{}: {}", address, std::generic_category().message(errno)));
  }
  return socket;
}

/// A name that leads here by chance or by malice is not one of ours.
bool is_own_name(const std::string& host, const host::ip_address& own) {
  constexpr std::uint16_t unnamed_port = 80;
  auto named = host::ip_address::parse(host);
  if (!named) named = host::ip_address::parse(fmt::format("{}:{}", host, unnamed_port));
  return named && named->port() == own.port() &&
         (named->is_loopback() || named->text() == own.text());
}

/// No signal goes to threads that begin in its time.
class signals_blocked {
 public:
  signals_blocked() {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  signals_blocked(const signals_blocked&) = delete;
  signals_blocked& operator=(const signals_blocked&) = delete;
  ~signals_blocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

/// A browser that is served, in the thread that does so.
struct visitor {
  connection to;
  const httplib::Request* request = nullptr;
  std::optional<live_data::follower> follower{};
  connection::clock::time_point quiet_until{};
};

/// Sends the next event, or waits for it. False when there is nothing more to do for this browser.
bool follow(visitor& one, httplib::DataSink& to) {
  const auto send = [&](std::string_view text) {
    one.quiet_until = connection::clock::now() + quiet_time;
    for (; !text.empty(); text.remove_prefix(std::min(piece_size, text.size()))) {
      const auto piece = text.substr(0, piece_size);
      if (!to.write(piece.data(), piece.size())) return false;
    }
    return true;
  };
  live_data::clock::time_point due;
  if (const auto event = one.follower->next(due)) return send(*event);
  switch (one.to.wait(one.follower->changed().descriptor(), std::min(due, one.quiet_until))) {
    case connection::happening::event:
      one.follower->changed().take();
      return true;
    case connection::happening::time_out:
      return due <= connection::clock::now() || send(":\n\n");
    case connection::happening::ending:
      send("event: end\ndata:\n\n");
      to.done();
      return true;
    case connection::happening::closed:
      break;
  }
  return false;
}

}  // namespace

class page_server::implementation final : httplib::Server {
 public:
  implementation(const std::string& address, live_data& data);
  ~implementation() override;

  void serve();
  [[nodiscard]] const std::string& url() const { return url_; }

 private:
  using request = httplib::Request;
  using response = httplib::Response;

  bool process_and_close_socket(socket_t socket) override;
  HandlerResponse refuse(const request& asked, response& answer);
  void send_events(const request& asked, response& answer);
  /// That made the request.
  visitor& visitor_of(const request& asked);

  live_data& data_;
  const std::string page_;
  std::string url_;
  host::wake_event ending_;
  std::mutex mutex_;  // for the next two
  std::list<visitor*> visitors_;
  unsigned followers_ = 0;
  std::latch serving_{1};
  std::thread thread_;
};

page_server::implementation::implementation(const std::string& address, live_data& data)
    : data_(data), page_(filled_page(R"({"live":true})", served_policy)) {
  auto socket = listen_at(address);
  url_ = "http://" + host::ip_address::of_socket(socket.get())->text() + "/";
  svr_sock_ = socket.release();
  set_default_headers(
      {{"Content-Security-Policy",
        std::string(page_policy()).append(served_policy).append("; frame-ancestors 'none'")},
       {"X-Content-Type-Options", "nosniff"},
       {"Referrer-Policy", "no-referrer"},
       {"Cache-Control", "no-store"}});
  set_pre_routing_handler(
      [this](const request& asked, response& answer) { return refuse(asked, answer); });
  Get("/", [this](const request&, response& answer) {
    answer.set_content(page_, "text/html; charset=utf-8");
  });
  Get("/events", [this](const request& asked, response& answer) { send_events(asked, answer); });
  new_task_queue = [this] {
    serving_.count_down();
    return new httplib::ThreadPool(num_threads);
  };
}

page_server::implementation::~implementation() {
  ending_.wake();
  if (!thread_.joinable()) return;
  serving_.wait();  // before that the library would not stop
  stop();
  thread_.join();
}

void page_server::implementation::serve() {
  const signals_blocked blocked;
  thread_ = std::thread([this] {
    try {
      if (listen_after_bind()) return;
    } catch (const std::exception&) {  // no threads to be had
    }
    report("the page is no longer served");
  });
}

bool page_server::implementation::process_and_close_socket(socket_t socket) {
  visitor one{.to = connection(socket, ending_.descriptor())};
  {
    const std::lock_guard held(mutex_);
    if (visitors_.size() == most_connections) {
      one.to.write(turned_away.data(), turned_away.size());
      return false;
    }
    visitors_.push_back(&one);
  }
  bool is_closed = false;
  const bool is_good = process_request(one.to, true, is_closed, [&](request& asked) {
    // Nothing is gained by packing what does not leave the machine.
    asked.headers.erase("Accept-Encoding");
    // Nor by parts of it, which could be asked for many times at once.
    asked.ranges.clear();
    const std::lock_guard held(mutex_);
    one.request = &asked;
  });
  const std::lock_guard held(mutex_);
  if (one.follower) --followers_;
  visitors_.remove(&one);
  return is_good;
}

visitor& page_server::implementation::visitor_of(const request& asked) {
  const std::lock_guard held(mutex_);
  return **std::ranges::find(visitors_, &asked, &visitor::request);
}

httplib::Server::HandlerResponse page_server::implementation::refuse(const request& asked,
                                                                     response& answer) {
  const auto& own = visitor_of(asked).to.own_address();
  const bool is_for_us = own && asked.get_header_value_count("Host") == 1 &&
                         is_own_name(asked.get_header_value("Host"), *own);
  if (!is_for_us) {
    answer.status = forbidden;
  } else if (asked.method != "GET" && asked.method != "HEAD") {
    answer.status = method_not_allowed;
    answer.set_header("Allow", "GET, HEAD");
  } else {
    return HandlerResponse::Unhandled;
  }
  return HandlerResponse::Handled;
}

void page_server::implementation::send_events(const request& asked, response& answer) {
  auto& one = visitor_of(asked);
  const std::lock_guard held(mutex_);
  if (followers_ == most_followers) {
    answer.status = unavailable;
    return;
  }
  ++followers_;
  one.follower.emplace(data_);
  one.quiet_until = connection::clock::now() + quiet_time;
  answer.set_content_provider(
      "text/event-stream", [&one](std::size_t, httplib::DataSink& to) { return follow(one, to); });
}

page_server::page_server(const std::string& address, live_data& data)
    : implementation_(std::make_unique<implementation>(address, data)) {}

page_server::~page_server() = default;

void page_server::serve() {
  implementation_->serve();
}

const std::string& page_server::url() const {
  return implementation_->url();
}

}  // namespace decode::page
