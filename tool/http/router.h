// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tool/http/http_message.h"

namespace corvo::tool {

/// What "*" at the end of a route stands for in a request that the route answers, decoded, slashes
/// included.
[[nodiscard]] std::string starOf(std::string_view route, const HttpRequest& request);

/// Finds the route of a request by its method and its path.
class Router {
 public:
  /// Answers requests with this method for this path. A path that ends in "/*" stands for all that
  /// begin with the rest and go on. "GET" answers HEAD, too. Both texts have static storage.
  void add(std::string_view method, std::string_view path, HttpRoute route);

  /// The answer of the route. Without one: 404, or 405 if the path has routes for other methods.
  [[nodiscard]] HttpResponse answer(const HttpRequest& request) const;

 private:
  struct Entry {
    std::string_view method;
    std::string_view path;
    HttpRoute route;
  };
  std::vector<Entry> entries_;
};

}  // namespace corvo::tool
