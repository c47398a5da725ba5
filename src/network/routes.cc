// SPDX-License-Identifier: Apache-2.0

#include "network/routes.h"

#include <utility>

namespace corvo::corvo_internal::network {
namespace {

// Credentials are sent in headers, so that neither addresses nor their logs contain them.
NetworkRoute getRoute(std::string path, std::string token, std::string userId) {
  return {.method = Method::get,
          .path = std::move(path),
          .headers = {{"token", std::move(token)}, {"user-id", std::move(userId)}},
          .queryItems = {}};
}

}  // namespace

ConfigRoute::ConfigRoute(std::string token, std::string userId)
    : NetworkRoute(getRoute("config.json", std::move(token), std::move(userId))) {}

LocationRoute::LocationRoute(std::string token, std::string userId)
    : NetworkRoute(getRoute("geo", std::move(token), std::move(userId))) {}

}  // namespace corvo::corvo_internal::network
