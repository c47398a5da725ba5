// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/url_session.h>

#include <memory>
#include <optional>
#include <string>

namespace corvo::tool {

/// Forwards requests and remembers their outcomes. Not thread-safe.
class WatchedSession final : public UrlSession {
 public:
  explicit WatchedSession(std::shared_ptr<UrlSession> session);

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override;

  /// Why the last request failed in transport; empty if it was answered.
  [[nodiscard]] const std::optional<std::string>& failure() const { return seen_->failure; }
  /// The bodies of the last answers with these documents.
  [[nodiscard]] const std::string& configuration() const { return seen_->configuration; }
  [[nodiscard]] const std::string& location() const { return seen_->location; }

 private:
  struct Seen {
    std::optional<std::string> failure;
    std::string configuration;
    std::string location;
  };

  std::shared_ptr<UrlSession> session_;
  std::shared_ptr<Seen> seen_ = std::make_shared<Seen>();
};

}  // namespace corvo::tool
