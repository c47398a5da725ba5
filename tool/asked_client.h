// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client.h>
#include <corvo/client_registry.h>
#include <corvo/error.h>
#include <corvo/platform/platform.h>
#include <corvo/user.h>

#include <memory>
#include <optional>
#include <string>

#include "tool/waiting.h"
#include "tool/watched_session.h"

namespace corvo::tool {

/// A client for one command.
class AskedClient {
 public:
  AskedClient(Platform platform, const std::string& url, const std::string& token,
              std::optional<CorvoUser> user);

  /// The answer to the question. A `CorvoError` becomes a `Failure` that also says why the last
  /// request failed, if it did.
  template <class Question>
  auto ask(Question question) {
    const Waiting waiting(address_);
    try {
      return question(*client_);
    } catch (const CorvoError& error) {
      fail(error);
    }
  }

  [[nodiscard]] const WatchedSession& session() const noexcept { return *session_; }

 private:
  [[noreturn]] void fail(const CorvoError& error) const;

  const std::string address_;
  std::shared_ptr<WatchedSession> session_;
  ClientRegistry registry_;
  std::shared_ptr<CorvoClient> client_;
};

}  // namespace corvo::tool
