// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/callback.h>
#include <corvo/export.h>

#include <map>
#include <optional>
#include <string>

namespace corvo {

/// One HTTP request. It has no body.
struct UrlRequest {
  std::string method;                          ///< "GET" or "POST".
  std::string url;                             ///< May have only one slash after the scheme.
  std::map<std::string, std::string> headers;  ///< Field names and values, UTF-8.
  double timeoutSeconds = 60.0;                ///< The longest time without any progress.

  bool operator==(const UrlRequest&) const = default;
};

/// The result of a request.
struct UrlResponse {
  std::optional<int> status;           ///< The HTTP status code; absent without an HTTP response.
  std::string body;                    ///< The decoded body; empty means that no data came.
  std::optional<std::string> failure;  ///< Why the transfer did not complete. If present, the
                                       ///< status and the body are ignored.
};

/// Loads URLs.
class CORVO_TYPE UrlSession {
 public:
  virtual ~UrlSession() = default;

  /// Starts one request. Calls the completion at most once, on any thread, possibly inside this
  /// call. A session that is destroyed drops the completions of requests still under way.
  virtual void start(UrlRequest request, Callback<void(UrlResponse)> completion) = 0;
};

}  // namespace corvo
