// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/request_log.h"

#include <cstdlib>
#include <string>
#include <utility>

#include "tool/output.h"

namespace corvo::tool {
namespace {

void log(const HttpRequest& request, int status) try {
  if (request.path == "/" && status == 304) return;
  print(visible(request.method) + " " + visible(request.path) + " " + std::to_string(status) +
        "\n");
} catch (...) {
  std::_Exit(statusOfFailure());
}

}  // namespace

HttpRoute logged(HttpRoute route) {
  return [route = std::move(route)](const HttpRequest& request) {
    HttpResponse response = route(request);
    log(request, response.status);
    return response;
  };
}

}  // namespace corvo::tool
