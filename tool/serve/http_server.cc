// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/http_server.h"

#include <httplib.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace corvo::tool {
namespace {

/// Gives every connection a thread of its own, because an answer may be slow on purpose. More
/// connections than that wait.
class ThreadPerConnection final : public httplib::TaskQueue {
 public:
  void enqueue(std::function<void()> connection) override {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [this] { return count_ < kMost; });
    ++count_;
    lock.unlock();
    const auto all = [this, connection = std::move(connection)] {
      connection();
      const std::lock_guard guard(mutex_);
      --count_;
      ended_.notify_all();
    };
    try {
      std::thread(all).detach();
    } catch (const std::system_error&) {
      all();  // the system has no more threads
    }
  }

  void shutdown() override {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [this] { return count_ == 0; });
  }

 private:
  static constexpr std::size_t kMost = 1'000;

  std::mutex mutex_;
  std::condition_variable ended_;
  std::size_t count_ = 0;  // guarded
};

/// Overrides the default of the library, which shares the port with a server that already listens
/// on it.
void reuseOnlyFreedAddress([[maybe_unused]] socket_t socket) {
#ifndef _WIN32
  const int yes = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
#endif
}

HttpRequest requestOf(const httplib::Request& request) {
  return {request.method,
          request.path,
          request.path,
          {request.params.begin(), request.params.end()},
          {request.headers.begin(), request.headers.end()},
          {},
          {}};
}

/// Sends a body. With a pace, each call waits until the next bytes are due.
class Body {
 public:
  Body(std::string text, std::optional<std::size_t> bytesPerSecond)
      : text_(std::move(text)), bytesPerSecond_(bytesPerSecond) {}

  bool send(std::size_t offset, std::size_t length, httplib::DataSink& sink) {
    if (bytesPerSecond_) {
      length = std::min(length, std::max<std::size_t>(1, *bytesPerSecond_ / kPartsPerSecond));
      const auto seconds = std::chrono::duration<double>(static_cast<double>(length) /
                                                         static_cast<double>(*bytesPerSecond_));
      due_ += std::chrono::duration_cast<Clock::duration>(seconds);
      std::this_thread::sleep_until(due_);
    }
    return sink.write(text_.data() + offset, length);
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::size_t kPartsPerSecond = 20;

  const std::string text_;
  const std::optional<std::size_t> bytesPerSecond_;
  Clock::time_point due_ = Clock::now();
};

/// Sent uncompressed: compressing would take longer than anything else, and local traffic is free.
void send(HttpResponse from, httplib::Response& to) {
  std::this_thread::sleep_for(from.delay);
  to.status = from.status;
  for (const auto& [name, value] : from.headers) to.set_header(name, value);
  if (from.body.empty()) return to.set_content("", from.type);
  const std::size_t size = from.body.size();
  const auto body = std::make_shared<Body>(std::move(from.body), from.bytesPerSecond);
  to.set_content_provider(size, from.type,
                          [body](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                            return body->send(offset, length, sink);
                          });
}

}  // namespace

struct HttpServer::State {
  httplib::Server server;
};

HttpServer::HttpServer() : state_(std::make_unique<State>()) {
  state_->server.new_task_queue = [] { return new ThreadPerConnection; };
  state_->server.set_socket_options(reuseOnlyFreedAddress);
  state_->server.set_tcp_nodelay(true);  // a body is not in the packet of its header
  // By default, the answer would contain what the exception says.
  state_->server.set_exception_handler([](const httplib::Request&, httplib::Response& response,
                                          const std::exception_ptr&) { response.status = 500; });
}

HttpServer::~HttpServer() = default;

void HttpServer::get(const std::string& path, HttpRoute route) {
  state_->server.Get(path, [route = std::move(route)](const httplib::Request& request,
                                                      httplib::Response& response) {
    // A server may ignore ranges (RFC 9110, section 14.2). The library would not compare them with
    // the size, so a provider would read beyond its body.
    const_cast<httplib::Request&>(request).ranges.clear();
    send(route(requestOf(request)), response);
  });
}

void HttpServer::observe(Observer observer) {
  state_->server.set_post_routing_handler(
      [observer = std::move(observer)](const httplib::Request& request,
                                       httplib::Response& response) {
        observer(request.method, request.path, response.status);
      });
}

int HttpServer::listen(const std::string& host, int port) {
  if (port == 0) return state_->server.bind_to_any_port(host);
  if (!state_->server.bind_to_port(host, port)) {
    throw std::runtime_error("cannot listen on " + host + ":" + std::to_string(port));
  }
  return port;
}

void HttpServer::run() { state_->server.listen_after_bind(); }

}  // namespace corvo::tool
