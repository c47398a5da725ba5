// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvo::tool {

/// Orders the names of header fields, for which letter case does not count.
struct FieldOrder {
  using is_transparent = void;
  [[nodiscard]] bool operator()(std::string_view a, std::string_view b) const noexcept;
};

/// A request without a body.
struct HttpRequest {
  std::string method;
  std::string path;                               ///< Decoded, without the query.
  std::multimap<std::string, std::string> query;  ///< Decoded.
  std::multimap<std::string, std::string, FieldOrder> headers;

  /// The first header of that name, or the first query parameter; empty if there is none.
  [[nodiscard]] std::string_view header(std::string_view name) const;
  [[nodiscard]] std::string parameter(const std::string& name) const;
};

/// What to answer, and how slowly. A value, so that the server decides how it waits.
struct HttpResponse {
  int status = 200;
  std::string type = "text/plain; charset=utf-8";
  std::string body = {};
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::chrono::milliseconds delay{0};              ///< Before anything is sent.
  std::optional<std::size_t> bytesPerSecond = {};  ///< Of the body; absent: at full speed.
};

/// Answers a request. Called by several threads at once.
using HttpRoute = std::function<HttpResponse(const HttpRequest&)>;

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
