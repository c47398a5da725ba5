// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "tool/serve/http_message.h"

namespace corvo::tool {

/// A server for one address. Only this class knows the HTTP library.
class HttpServer {
 public:
  HttpServer();
  ~HttpServer();

  /// Answers GET and HEAD requests for exactly this path, which has only letters, digits, "/" and
  /// "-". All other paths get a 404.
  void get(const std::string& path, HttpRoute route);

  /// Called for every request immediately before the answer is sent, by several threads at once.
  using Observer = std::function<void(std::string_view method, std::string_view path, int status)>;
  void observe(Observer observer);

  /// Starts to listen, and returns the port; 0 picks a free one. Throws `std::runtime_error`.
  int listen(const std::string& host, int port);

  /// Answers requests until the process ends. A request that takes long delays no other.
  void run();

 private:
  struct State;

  std::unique_ptr<State> state_;
};

}  // namespace corvo::tool
