// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "tool/http/http_message.h"

namespace corvo::tool {

/// Limits on what clients may use.
struct HttpLimits {
  std::size_t connections = 4'000;            ///< The requests of more are surplus.
  std::size_t bodyBytes = 65'536;             ///< Of a request. A larger one is answered with 413.
  std::size_t headerBytes = 65'536;           ///< Of a request. Larger ones are answered with 431.
  std::chrono::milliseconds request{10'000};  ///< For a whole request, from its first byte.
  std::chrono::milliseconds idle{60'000};     ///< Without a request.
  std::chrono::milliseconds answer{10'000};   ///< To read an answer, and more for a long one:
  std::size_t leastBytesPerSecond = 1'024;    ///< At which a client reads, after that time.
  std::size_t unsentBytes = std::size_t{1} << 18;  ///< In a stream, before it is closed.
  std::chrono::milliseconds ending{10'000};        ///< For answers under way, when the server ends.
};

/// An HTTP/1.1 server. Only its own files know the HTTP library.
///
/// Requests that break the protocol, are too large or too slow get a 4xx or 5xx status, and their
/// connection is closed; the handler never sees them. If the handler throws, the status is 500, and
/// nobody reads why. Ranges are ignored, and nothing is compressed.
class HttpServer {
 public:
  explicit HttpServer(HttpRoute handler, HttpLimits limits = {});
  ~HttpServer();  ///< No thread may use a stream of this server from now on.

  /// Starts to listen, and returns the port; 0 picks a free one. The host is an IPv4 or IPv6
  /// address. Throws `std::runtime_error`. Call it once.
  int listen(const std::string& host, int port);

  /// Answers requests on so many threads, this one included, but at least on two: a handler that
  /// takes long occupies one. An idle connection or stream costs no thread, and neither does an
  /// answer that is slow on purpose.
  ///
  /// When SIGINT or SIGTERM arrives, it accepts no more, closes streams, answers all requests of
  /// which a byte has arrived or arrives within a second, and returns; slow answers are sent at
  /// full speed then. A second signal ends the process at once.
  void run(std::size_t threads);

  /// How many admitted connections are open, and how many were refused because too many were.
  [[nodiscard]] std::size_t connections() const noexcept;
  [[nodiscard]] std::size_t refused() const noexcept;

 private:
  struct State;

  std::unique_ptr<State> state_;
};

}  // namespace corvo::tool
