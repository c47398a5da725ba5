// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/access.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "base/md5.h"
#include "base/text.h"
#include "tool/ofrep/ofrep.h"
#include "tool/serve/cors.h"
#include "tool/serve/event_stream.h"
#include "tool/serve/monitoring.h"

namespace corvo::tool {
namespace {

using corvo_internal::base::hexDigits;
using corvo_internal::base::md5;
using corvo_internal::base::Md5Digest;

bool isVisible(char c) { return c > ' ' && c < '\x7F'; }

/// Compares without an early end. The time depends on the length of the given text, which its
/// sender knows anyway.
bool isSame(std::string_view given, std::string_view secret) {
  unsigned difference = given.size() == secret.size() ? 0 : 1;
  for (std::size_t i = 0; i < given.size(); ++i) {
    difference |= static_cast<unsigned char>(given[i] ^ secret[i % secret.size()]);
  }
  return difference == 0;
}

/// Compares with all, even after a match.
bool isAmong(std::string_view given, const std::vector<std::string>& secrets) {
  bool isFound = false;
  for (const std::string& secret : secrets) isFound |= isSame(given, secret);
  return isFound;
}

std::string_view bytes(const Md5Digest& digest) {
  return {reinterpret_cast<const char*>(digest.data()), digest.size()};
}

/// HMAC-MD5 (RFC 2104) of a text. Collisions of the digest do not help to forge it, or to find the
/// key.
std::string ticketOf(std::string_view key) {
  constexpr std::string_view kMeaning = "corvo: this opens the event stream";
  std::array<char, 64> inner{};
  const Md5Digest shorter = md5(key);
  const std::string_view used = key.size() > inner.size() ? bytes(shorter) : key;
  std::ranges::copy(used, inner.begin());
  std::array<char, 64> outer = inner;
  for (char& each : inner) each = static_cast<char>(each ^ 0x36);
  for (char& each : outer) each = static_cast<char>(each ^ 0x5C);
  const Md5Digest first = md5({inner.data(), inner.size()}, kMeaning);
  return std::string(
      corvo_internal::base::view(hexDigits(md5({outer.data(), outer.size()}, bytes(first)))));
}

/// The token of "Bearer TOKEN", whose scheme may have any letter case; otherwise empty.
std::string_view bearerIn(std::string_view authorization) {
  const std::size_t end = std::min(authorization.find(' '), authorization.size());
  if (!corvo_internal::base::equalsLowerCased(authorization.substr(0, end), "bearer")) return {};
  const std::size_t begin =
      std::min(authorization.find_first_not_of(' ', end), authorization.size());
  return authorization.substr(begin);
}

/// Whether nobody can make the host mean another machine: it is an address, whose last part has
/// digits only, or `localhost`. Clients of HTTP/1.0 send none.
bool isLocal(std::string_view host) {
  if (host.starts_with('[')) return host.find(']') != std::string_view::npos;
  const std::string_view name = host.substr(0, host.find(':'));
  const std::string_view last = name.substr(name.rfind('.') + 1);
  const bool isNumber = last.find_first_not_of("0123456789") == std::string_view::npos;
  return host.empty() || corvo_internal::base::equalsLowerCased(name, "localhost") ||
         (!last.empty() && isNumber);
}

bool isForProxies(std::string_view path) {
  return path.starts_with(kOfrepPath) || path == kHealthPath || path == kMetricsPath;
}

}  // namespace

ApiKeys::ApiKeys(std::vector<std::string> keys) : keys_(std::move(keys)) {
  for (const std::string& key : keys_) {
    if (key.empty()) throw std::invalid_argument("a key must not be empty");
    if (!std::ranges::all_of(key, isVisible)) {
      throw std::invalid_argument("a key must have visible ASCII characters only");
    }
    tickets_.push_back(ticketOf(key));
  }
}

bool ApiKeys::admit(const HttpRequest& request) const {
  bool isAdmitted = false;
  for (const std::string_view given :
       {request.header("X-API-Key"), bearerIn(request.header("Authorization")),
        request.header("token")}) {
    isAdmitted |= isAmong(given, keys_);
  }
  return isAdmitted;
}

std::string ApiKeys::addressOfEvents() const {
  const std::string path(kEventsPath);
  return tickets_.empty() ? path : path + "?ticket=" + tickets_.front();
}

HttpRoute ApiKeys::around(HttpRoute route) const {
  if (keys_.empty()) return route;
  return [keys = *this, route = std::move(route)](const HttpRequest& request) {
    const bool hasTicket =
        request.path == kEventsPath && isAmong(request.parameter("ticket"), keys.tickets_);
    if (request.path == kHealthPath || hasTicket || keys.admit(request)) return route(request);
    HttpResponse response = refusal(401, "an API key is required");
    response.headers.emplace_back("WWW-Authenticate", "Bearer");
    return response;
  };
}

HttpRoute onlyForLocalNames(std::vector<std::string> origins, HttpRoute route) {
  return [origins = std::move(origins), route = std::move(route)](const HttpRequest& request) {
    const std::string_view origin = request.header("Origin");
    const bool isForeign = !origin.empty() && !isAllowedOrigin(origins, origin);
    if (isLocal(request.header("Host")) || (isForProxies(request.path) && !isForeign)) {
      return route(request);
    }
    return refusal(403, "this server is only for http://localhost");
  };
}

}  // namespace corvo::tool
