// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "tool/http/http_server.h"
#include "tool/http/http_session.h"

namespace corvo::tool {

/// The open connections of a server, and what they share. Thread-safe.
class HttpSessions {
 public:
  const HttpRoute handler;
  const HttpLimits limits;

  /// `ended` is called, on any thread, once the last connection has closed after `end`.
  HttpSessions(HttpRoute theHandler, const HttpLimits& theLimits, std::function<void()> ended);

  /// Serves a new connection; refuses it if there are too many. Called by one thread at a time.
  void add(HttpSession::Socket socket);
  /// Called by a connection that ends.
  void remove(const HttpSession& session);
  /// Ends all connections as soon as they have no request to answer.
  void end();

  [[nodiscard]] bool isEnding() const { return isEnding_; }
  [[nodiscard]] std::size_t admitted() const;
  [[nodiscard]] std::size_t refused() const;

 private:
  const std::function<void()> ended_;
  mutable std::mutex mutex_;
  std::unordered_map<const HttpSession*, std::weak_ptr<HttpSession>> open_;  // guarded
  std::size_t admitted_ = 0;                                                 // guarded
  std::size_t refused_ = 0;                                                  // guarded
  std::atomic<bool> isEnding_ = false;  // written with the lock, or the last one could be missed
};

}  // namespace corvo::tool
