// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/cors.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace corvo::tool {
namespace {

constexpr const char* kAll = "*";

bool isPreflight(const HttpRequest& request) {
  return request.method == "OPTIONS" && !request.header("Origin").empty() &&
         !request.header("Access-Control-Request-Method").empty();
}

HttpResponse preflight() {
  return {.status = 204,
          .headers = {{"Access-Control-Allow-Methods", "GET, HEAD, POST"},
                      {"Access-Control-Allow-Headers",
                       "Authorization, Cache-Control, Content-Type, If-None-Match, Last-Event-ID, "
                       "X-API-Key, token, user-id"},
                      {"Access-Control-Max-Age", "7200"}},
          .route = "preflight"};
}

}  // namespace

std::string complainAboutOrigin(const std::string& text) {
  const std::size_t end = text.find("://");
  const auto isLower = [](char c) { return c > ' ' && c < '\x7F' && !(c >= 'A' && c <= 'Z'); };
  const bool isOrigin = end != std::string::npos && end > 0 && text.size() > end + 3 &&
                        text.find_first_of("/?#@*,", end + 3) == std::string::npos &&
                        std::ranges::all_of(text, isLower);
  return isOrigin || text == kAll ? ""
                                  : "expected * or an origin as browsers send it, such as "
                                    "https://shop.example, not " +
                                        text;
}

bool isAllowedOrigin(const std::vector<std::string>& origins, std::string_view origin) {
  return std::ranges::find(origins, origin) != origins.end() ||
         std::ranges::find(origins, kAll) != origins.end();
}

HttpRoute withOrigins(std::vector<std::string> origins, HttpRoute route) {
  if (origins.empty()) return route;
  const bool isForAll = isAllowedOrigin(origins, kAll);
  return [=, origins = std::move(origins), route = std::move(route)](const HttpRequest& request) {
    const std::string_view origin = request.header("Origin");
    const bool isAllowed = isAllowedOrigin(origins, origin);
    HttpResponse response = isPreflight(request) ? preflight() : route(request);
    if (!isForAll) response.headers.emplace_back("Vary", "Origin");
    if (origin.empty() || !isAllowed) return response;
    response.headers.emplace_back("Access-Control-Allow-Origin",
                                  isForAll ? kAll : std::string(origin));
    response.headers.emplace_back("Access-Control-Expose-Headers", "ETag, Retry-After");
    return response;
  };
}

}  // namespace corvo::tool
