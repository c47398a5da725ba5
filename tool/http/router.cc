// SPDX-License-Identifier: Apache-2.0

#include "tool/http/router.h"

#include <utility>

#include "tool/http/request_target.h"

namespace corvo::tool {
namespace {

/// Whether the path is the route's.
bool fits(std::string_view route, const HttpRequest& request) {
  if (!route.ends_with("/*")) return request.path == route;
  route.remove_suffix(1);
  const std::string_view path = request.rawPath;
  return path.starts_with(route) && path.size() > route.size();
}

/// Adds a method to a list of them, once.
void list(std::string& methods, std::string_view method) {
  if (!methods.empty()) methods += ", ";
  methods += method;
  if (method == "GET") methods += ", HEAD";
}

}  // namespace

std::string starOf(std::string_view route, const HttpRequest& request) {
  return percentDecoded(std::string_view(request.rawPath).substr(route.size() - 1));
}

void Router::add(std::string_view method, std::string_view path, HttpRoute route) {
  entries_.push_back({method, path, std::move(route)});
}

HttpResponse Router::answer(const HttpRequest& request) const {
  const std::string method = request.method == "HEAD" ? "GET" : request.method;
  std::string allowed;
  std::string_view found = "other";
  for (const Entry& entry : entries_) {
    if (!fits(entry.path, request)) continue;
    found = entry.path;
    if (entry.method != method) {
      list(allowed, entry.method);
      continue;
    }
    HttpResponse response = entry.route(request);
    response.route = entry.path;
    return response;
  }
  if (allowed.empty()) return refusal(404, "there is nothing at this path");
  HttpResponse response = refusal(405, "this path has no such method");
  response.headers.emplace_back("Allow", std::move(allowed));
  response.route = found;
  return response;
}

}  // namespace corvo::tool
