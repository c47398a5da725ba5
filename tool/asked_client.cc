// SPDX-License-Identifier: Apache-2.0

#include "tool/asked_client.h"

#include <corvo/corvo.h>

#include <cstdint>
#include <utility>

#include "tool/failure.h"

namespace corvo::tool {
namespace {

constexpr std::uint64_t kCacheSeconds = 10;
constexpr std::uint64_t kRetries = 0;

Platform with(std::shared_ptr<UrlSession> session, Platform platform) {
  platform.urlSession = std::move(session);
  return platform;
}

}  // namespace

AskedClient::AskedClient(Platform platform, const std::string& url, const std::string& token,
                         std::optional<CorvoUser> user)
    : address_(url),
      session_(std::make_shared<WatchedSession>(platform.urlSession)),
      registry_(with(session_, std::move(platform))),
      client_(registry_.initializeClient({.projectToken = token,
                                          .apiURL = url,
                                          .initialUser = std::move(user),
                                          .cacheTTL = kCacheSeconds,
                                          .retryCount = kRetries})) {}

void AskedClient::fail(const CorvoError& error) const {
  std::string message = error.description();
  if (session_->failure()) message += "\nthe last request failed: " + *session_->failure();
  throw Failure(std::string(error.name()), message);
}

}  // namespace corvo::tool
