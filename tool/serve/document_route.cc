// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/document_route.h"

#include <optional>
#include <string>
#include <utility>

namespace corvo::tool {
namespace {

/// A header that the library always sends and that this request lacks, or null.
const char* missingHeader(const HttpRequest& request) {
  for (const char* name : {"token", "user-id"}) {
    if (request.header(name).empty()) return name;
  }
  return nullptr;
}

}  // namespace

HttpRoute documentRoute(ServedFile& file) {
  return [&file](const HttpRequest& request) {
    if (const char* header = missingHeader(request)) {
      return refusal(400, std::string("missing header: ") + header);
    }
    std::optional<std::string> content = file.read();
    if (!content) return refusal(404, "cannot read " + file.path());
    return HttpResponse{.type = "application/json", .body = *std::move(content)};
  };
}

}  // namespace corvo::tool
