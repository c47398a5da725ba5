// SPDX-License-Identifier: Apache-2.0

#include "tool/http/http_message.h"

#include <algorithm>

namespace corvo::tool {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

bool FieldOrder::operator()(std::string_view a, std::string_view b) const noexcept {
  return std::ranges::lexicographical_compare(a, b, {}, lower, lower);
}

std::string_view HttpRequest::header(std::string_view name) const {
  const auto found = headers.find(name);
  return found == headers.end() ? std::string_view() : found->second;
}

std::string HttpRequest::parameter(const std::string& name) const {
  const auto found = query.find(name);
  return found == query.end() ? "" : found->second;
}

bool hasBody(int status) { return status != 204 && status != 205 && status != 304; }

HttpResponse refusal(int status, const std::string& reason) {
  return {.status = status, .body = reason + "\n"};
}

}  // namespace corvo::tool
