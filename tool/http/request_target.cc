// SPDX-License-Identifier: Apache-2.0

#include "tool/http/request_target.h"

#include <algorithm>
#include <charconv>

namespace corvo::tool {
namespace {

/// Adds the parameters of "a=1&b=2&c".
void readQuery(std::string_view text, HttpRequest& request) {
  while (!text.empty()) {
    std::string parameter(text.substr(0, text.find('&')));
    text.remove_prefix(std::min(text.size(), parameter.size() + 1));
    if (parameter.empty()) continue;
    std::ranges::replace(parameter, '+', ' ');  // as forms are sent
    const std::size_t equals = std::min(parameter.find('='), parameter.size());
    request.query.emplace(percentDecoded(parameter.substr(0, equals)),
                          percentDecoded(parameter.substr(std::min(parameter.size(), equals + 1))));
  }
}

}  // namespace

std::string percentDecoded(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string_view digits = text.substr(i).substr(1, 2);
    const char* const end = digits.data() + digits.size();
    unsigned byte = 0;
    if (text[i] == '%' && digits.size() == 2 &&
        std::from_chars(digits.data(), end, byte, 16).ptr == end) {
      decoded += static_cast<char>(byte);
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

bool readTarget(std::string_view target, HttpRequest& request) {
  constexpr std::string_view kScheme = "http://";
  if (target.starts_with(kScheme)) {
    target.remove_prefix(kScheme.size());
    const std::string_view host = target.substr(0, target.find_first_of("/?"));
    target.remove_prefix(host.size());
    request.headers.erase("Host");
    request.headers.emplace("Host", host);
    if (target.empty()) target = "/";
  }
  const std::string_view path = target.substr(0, target.find('?'));
  if (!path.starts_with('/') && target != "*") return false;
  request.rawPath = path;
  request.path = percentDecoded(path);
  readQuery(target.substr(std::min(target.size(), path.size() + 1)), request);
  return true;
}

}  // namespace corvo::tool
