#include "decode/page/live/page_server.h"

#include <fmt/format.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/status.hpp>

#include "decode/output/record_output.h"
#include "decode/page/live/connection.h"
#include "decode/page/page_template.h"
#include "host/file_descriptor.h"
#include "host/ip_address.h"
#include "host/uninterrupted.h"

namespace decode::page {

namespace {

using namespace std::chrono_literals;
namespace http = boost::beast::http;

/// That show the page at a time.
constexpr unsigned most_followers = 16;
/// With those that only ask for something.
constexpr unsigned most_connections = 24;
/// One more turns browsers away.
constexpr unsigned num_threads = most_connections + 1;
/// After so long without a change, a comment finds out whether the browser is still there.
constexpr auto quiet_time = 30s;
/// All that a browser that does not read holds in the system.
constexpr int send_buffer = 65536;

host::file_descriptor listen_at(const std::string& address) {
  const auto at = host::ip_address::parse(address, 0);
  if (!at) {
    throw output_error(
        fmt::format("{}: not a numeric address (or localhost) and a port number", address));
  }
  host::file_descriptor socket(
      ::socket(at->family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
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

using request_parser = http::request_parser<http::empty_body>;

/// Whether the header of a request came whole and well-formed.
bool read_header(const connection& from, request_parser& header) {
  std::string unread;
  while (!header.is_header_done()) {
    if (!from.read(unread)) return false;
    boost::system::error_code problem;
    unread.erase(0, header.put(boost::asio::buffer(unread), problem));
    if (problem && problem != http::error::need_more) return false;
  }
  return true;
}

/// What a request gets, but for the events.
http::status status_of(const request_parser::value_type& asked,
                       const std::optional<host::ip_address>& own) {
  const auto hosts = asked.count(http::field::host);
  if (!own || hosts != 1 || !is_own_name(std::string(asked[http::field::host]), *own)) {
    return http::status::forbidden;
  }
  if (asked.method() != http::verb::get && asked.method() != http::verb::head) {
    return http::status::method_not_allowed;
  }
  if (asked.target() != "/" && asked.target() != "/events") return http::status::not_found;
  return http::status::ok;
}

/// Counts one more of something, as long as there are not too many.
class place {
 public:
  place(std::atomic<unsigned>& taken, unsigned most)
      : taken_(taken), is_free_(taken.fetch_add(1) < most) {}
  place(const place&) = delete;
  place& operator=(const place&) = delete;
  ~place() { --taken_; }

  [[nodiscard]] bool is_free() const { return is_free_; }

 private:
  std::atomic<unsigned>& taken_;
  const bool is_free_;
};

}  // namespace

class page_server::implementation {
 public:
  implementation(const std::string& address, live_data& data);
  implementation(const implementation&) = delete;
  implementation& operator=(const implementation&) = delete;
  ~implementation() { ending_.wake(); }

  void serve();
  [[nodiscard]] const std::string& url() const { return url_; }

 private:
  void take_connections();
  void answer(const connection& to);
  /// False when there is nothing more to do for this browser.
  [[nodiscard]] bool start_answer(const connection& to, http::status status,
                                  std::string_view more) const;
  void send_events(const connection& to);

  live_data& data_;
  const std::string page_;
  const std::string common_fields_;
  const host::file_descriptor socket_;
  const std::string url_;
  const host::wake_event ending_;
  std::atomic<unsigned> connections_ = 0;
  std::atomic<unsigned> followers_ = 0;
  std::vector<std::jthread> threads_;
};

page_server::implementation::implementation(const std::string& address, live_data& data)
    : data_(data),
      page_(filled_page(R"({"live":true})", served_policy)),
      common_fields_(fmt::format("Content-Security-Policy: {}{}; frame-ancestors 'none'\r\n"
                                 "X-Content-Type-Options: nosniff\r\n"
                                 "Referrer-Policy: no-referrer\r\n"
                                 "Cache-Control: no-store\r\n"
                                 "Connection: close\r\n",
                                 page_policy(), served_policy)),
      socket_(listen_at(address)),
      url_("http://" + host::ip_address::of_socket(socket_.get())->text() + "/") {}

void page_server::implementation::serve() {
  const signals_blocked blocked;
  for (unsigned i = 0; i < num_threads; ++i) {
    threads_.emplace_back([this] { take_connections(); });
  }
}

void page_server::implementation::take_connections() {
  while (true) {
    std::array<pollfd, 2> waits{
        {{.fd = socket_.get(), .events = POLLIN, .revents = 0}, {ending_.descriptor(), POLLIN, 0}}};
    host::uninterrupted([&] { return ::poll(waits.data(), waits.size(), -1); });
    if (waits[1].revents != 0) return;
    // Another thread may have been faster.
    const int socket = ::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (socket >= 0) answer(connection(socket, ending_.descriptor()));
  }
}

bool page_server::implementation::start_answer(const connection& to, http::status status,
                                               std::string_view more) const {
  return to.write(fmt::format("HTTP/1.1 {} {}\r\n{}{}\r\n", static_cast<unsigned>(status),
                              http::obsolete_reason(status).to_string(), common_fields_, more));
}

void page_server::implementation::answer(const connection& to) {
  const place here(connections_, most_connections);
  request_parser header;
  auto status = http::status::service_unavailable;
  if (here.is_free()) {
    status = read_header(to, header) ? status_of(header.get(), to.own_address())
                                     : http::status::bad_request;
  }
  if (status != http::status::ok) {
    const bool is_method = status == http::status::method_not_allowed;
    static_cast<void>(start_answer(
        to, status,
        is_method ? "Allow: GET, HEAD\r\nContent-Length: 0\r\n" : "Content-Length: 0\r\n"));
    return;
  }
  const bool has_body = header.get().method() == http::verb::get;
  if (header.get().target() == "/") {
    const auto fields = fmt::format(
        "Content-Type: text/html; charset=utf-8\r\nContent-Length: {}\r\n", page_.size());
    if (start_answer(to, status, fields) && has_body) static_cast<void>(to.write(page_));
    return;
  }
  const place follower(followers_, most_followers);
  if (!follower.is_free()) {
    static_cast<void>(start_answer(to, http::status::service_unavailable, "Content-Length: 0\r\n"));
    return;
  }
  if (start_answer(to, status, "Content-Type: text/event-stream\r\n") && has_body) send_events(to);
}

void page_server::implementation::send_events(const connection& to) {
  live_data::follower follower(data_);
  while (true) {
    live_data::clock::time_point due;
    if (const auto event = follower.next(due)) {
      if (!to.write(*event)) return;
      continue;
    }
    const auto quiet_until = connection::clock::now() + quiet_time;
    switch (to.wait(follower.changed().descriptor(), std::min(due, quiet_until))) {
      case connection::happening::event:
        follower.changed().take();
        break;
      case connection::happening::time_out:
        if (connection::clock::now() < quiet_until) break;
        if (!to.write(":\n\n")) return;
        break;
      case connection::happening::ending:
        static_cast<void>(to.write("event: end\ndata:\n\n"));
        return;
      case connection::happening::closed:
        return;
    }
  }
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
