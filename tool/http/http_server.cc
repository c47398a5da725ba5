// SPDX-License-Identifier: Apache-2.0

#include "tool/http/http_server.h"

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <csignal>
#include <exception>
#include <new>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#ifndef _WIN32
#include <sys/resource.h>
#endif

#include "tool/http/http_sessions.h"

namespace corvo::tool {

namespace asio = boost::asio;
using asio::ip::tcp;
using Error = boost::system::error_code;

namespace {

/// Allows as many connections as the system does.
void raiseFileLimit() {
#ifndef _WIN32
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) != 0) return;
  files.rlim_cur = files.rlim_max;
  setrlimit(RLIMIT_NOFILE, &files);
#endif
}

/// Runs what is ready until there is no more. Without memory for one operation, its connection is
/// lost, but no other.
void runAll(asio::io_context& context) {
  while (true) {
    try {
      context.run();
      return;
    } catch (const std::exception&) {
      continue;
    }
  }
}

}  // namespace

struct HttpServer::State {
  State(HttpRoute handler, const HttpLimits& limits)
      : sessions(std::move(handler), limits, [this] { context.stop(); }) {}

  int listen(const std::string& host, int port);
  void awaitConnections();
  void accept();
  void pause();
  void end();

  HttpSessions sessions;  // outlives its connections, which the context owns
  asio::io_context context;
  asio::strand<asio::io_context::executor_type> strand = asio::make_strand(context);
  tcp::acceptor acceptor{strand};
  asio::steady_timer timer{strand};
  asio::signal_set signals{strand};
};

int HttpServer::State::listen(const std::string& host, int port) {
  const tcp::endpoint endpoint(asio::ip::make_address(host), static_cast<unsigned short>(port));
  acceptor.open(endpoint.protocol());
#ifndef _WIN32  // where it would share the port with a server that already listens on it
  acceptor.set_option(tcp::acceptor::reuse_address(true));
#endif
  acceptor.bind(endpoint);
  acceptor.listen();
  acceptor.non_blocking(true);
  raiseFileLimit();
  for (const int signal : {SIGINT, SIGTERM}) signals.add(signal);
  signals.async_wait([this](const Error& error, int) {
    if (!error) end();
  });
  awaitConnections();
  return acceptor.local_endpoint().port();
}

void HttpServer::State::awaitConnections() {
  acceptor.async_wait(tcp::acceptor::wait_read, [this](const Error& error) {
    if (!error) accept();
  });
}

/// Accepts all connections that wait.
void HttpServer::State::accept() try {
  while (acceptor.is_open()) {
    Error error;
    HttpSession::Socket socket = acceptor.accept(asio::make_strand(context), error);
    if (error == asio::error::would_block) return awaitConnections();
    if (error) return pause();
    socket.set_option(tcp::no_delay(true), error);
    sessions.add(std::move(socket));
  }
} catch (const std::bad_alloc&) {
  pause();
}

/// Goes on later, if the process has too many files or no memory. Meanwhile, connections wait in
/// the system's queue.
void HttpServer::State::pause() {
  timer.expires_after(std::chrono::milliseconds(100));
  timer.async_wait([this](const Error& cancelled) {
    if (!cancelled) accept();
  });
}

void HttpServer::State::end() {
  signals.clear();  // the next one ends the process
  timer.cancel();
  accept();  // their requests may have arrived
  acceptor.close();
  timer.expires_after(sessions.limits.ending);
  timer.async_wait([this](const Error& cancelled) {
    if (!cancelled) context.stop();
  });
  sessions.end();
}

HttpServer::HttpServer(HttpRoute handler, HttpLimits limits)
    : state_(std::make_unique<State>(std::move(handler), limits)) {}

HttpServer::~HttpServer() = default;

int HttpServer::listen(const std::string& host, int port) try {
  return state_->listen(host, port);
} catch (const boost::system::system_error& error) {
  throw std::runtime_error("cannot listen on " + host + ":" + std::to_string(port) + ": " +
                           error.code().message());
}

void HttpServer::run(std::size_t threads) {
  std::vector<std::jthread> others;
  try {
    while (others.size() + 1 < std::max<std::size_t>(threads, 2)) {
      others.emplace_back([this] { runAll(state_->context); });
    }
  } catch (const std::system_error&) {
    // The system has no more threads. One suffices.
  }
  runAll(state_->context);
}

std::size_t HttpServer::connections() const noexcept { return state_->sessions.admitted(); }
std::size_t HttpServer::refused() const noexcept { return state_->sessions.refused(); }

}  // namespace corvo::tool
