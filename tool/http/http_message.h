// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
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

struct HttpRequest {
  std::string method = {};
  std::string rawPath = {};                            ///< As it was sent, without the query.
  std::string path = {};                               ///< Decoded.
  std::multimap<std::string, std::string> query = {};  ///< Decoded.
  std::multimap<std::string, std::string, FieldOrder> headers = {};
  std::string body = {};
  bool isSurplus = false;  ///< Too many connections are open. This one ends with the answer.

  /// The first header of that name, or the first query parameter; empty if there is none.
  [[nodiscard]] std::string_view header(std::string_view name) const;
  [[nodiscard]] std::string parameter(const std::string& name) const;
};

/// A connection whose response has no end. Copies share it. Thread-safe.
class HttpStream {
 public:
  /// Takes texts; false if the connection is closed.
  using Sink = std::function<bool(std::string text)>;

  explicit HttpStream(Sink sink) : sink_(std::move(sink)) {}

  /// Sends more, without waiting. False if the connection is closed: for example because its client
  /// stopped reading and too much is unsent.
  [[nodiscard]] bool send(std::string text) const { return sink_(std::move(text)); }

 private:
  Sink sink_;
};

/// What to answer, and how slowly. A value, so that the server decides how it waits.
struct HttpResponse {
  int status = 200;
  std::string type = "text/plain; charset=utf-8";
  std::string body = {};
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::chrono::milliseconds delay{0};              ///< Before anything is sent.
  std::optional<std::size_t> bytesPerSecond = {};  ///< Of the body; absent: at full speed.
  /// If set, the response has no end: the body is only its beginning. Called once, before anything
  /// is sent, with the connection. What is sent there follows the body.
  std::function<void(HttpStream)> stream = {};
  std::string_view route = "other";  ///< The path of its route, for statistics. Static storage.
};

/// Whether a response with this status has a body (RFC 9110, section 6.4.1).
[[nodiscard]] bool hasBody(int status);

/// A one-line answer that gives the reason for a refusal.
[[nodiscard]] HttpResponse refusal(int status, const std::string& reason);

/// Answers a request. Called by several threads at once.
using HttpRoute = std::function<HttpResponse(const HttpRequest&)>;

}  // namespace corvo::tool
