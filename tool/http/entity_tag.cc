// SPDX-License-Identifier: Apache-2.0

#include "tool/http/entity_tag.h"

#include <algorithm>

namespace corvo::tool {
namespace {

// A quoted tag may contain commas, but no quotes.
bool hasTag(std::string_view list, std::string_view tag) {
  constexpr std::string_view kBetween = " \t,";
  if (list == "*") return true;
  for (;;) {
    list.remove_prefix(std::min(list.find_first_not_of(kBetween), list.size()));
    if (list.starts_with("W/")) list.remove_prefix(2);
    if (!list.starts_with('"')) return false;
    const std::size_t end = list.find('"', 1);
    if (end == std::string_view::npos) return false;
    if (list.substr(0, end + 1) == tag) return true;
    list.remove_prefix(end + 1);
  }
}

}  // namespace

bool isKnownTag(const HttpRequest& request, std::string_view tag) {
  const auto [first, last] = request.headers.equal_range(std::string_view("If-None-Match"));
  return std::any_of(first, last, [&](const auto& field) { return hasTag(field.second, tag); });
}

}  // namespace corvo::tool
