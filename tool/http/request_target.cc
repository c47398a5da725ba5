// SPDX-License-Identifier: Apache-2.0

#include "tool/http/request_target.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace corvo::tool {
namespace {

/// Adds the parameters of "a=1&b=2&c".
bool readQuery(std::string_view text, HttpRequest& request) {
  while (!text.empty()) {
    std::string parameter(text.substr(0, text.find('&')));
    text.remove_prefix(std::min(text.size(), parameter.size() + 1));
    if (parameter.empty()) continue;
    std::ranges::replace(parameter, '+', ' ');  // as forms are sent
    const std::size_t equals = std::min(parameter.find('='), parameter.size());
    std::optional<std::string> name = percentDecoded(parameter.substr(0, equals));
    std::optional<std::string> value =
        percentDecoded(parameter.substr(std::min(parameter.size(), equals + 1)));
    if (!name || !value) return false;
    request.query.emplace(*std::move(name), *std::move(value));
  }
  return true;
}

}  // namespace

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    const std::string_view digits = text.substr(i + 1, 2);
    unsigned byte = 0;
    const char* const end = digits.data() + digits.size();
    if (digits.size() < 2 || std::from_chars(digits.data(), end, byte, 16).ptr != end) return {};
    decoded += static_cast<char>(byte);
    i += 2;
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
  std::optional<std::string> decoded = percentDecoded(path);
  if (!decoded) return false;
  request.rawPath = path;
  request.path = *std::move(decoded);
  return readQuery(target.substr(std::min(target.size(), path.size() + 1)), request);
}

}  // namespace corvo::tool
