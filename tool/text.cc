// SPDX-License-Identifier: Apache-2.0

#include "tool/text.h"

#include <corvo/json_value.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "base/text.h"

namespace corvo::tool {
namespace {

/// Whether people see the character, and it does not control a terminal, end a line, or reorder the
/// text around it.
bool isShown(std::int32_t code) {
  struct Range {
    std::int32_t first;
    std::int32_t last;
  };
  static constexpr Range kActing[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x61C, 0x61C},
                                      {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
  return std::ranges::none_of(
      kActing, [&](const Range& range) { return code >= range.first && code <= range.last; });
}

std::string escaped(std::int32_t code) {
  if (code < 0x20) {  // JSON has shorter forms of some
    const std::string json = JsonValue(std::string(1, static_cast<char>(code))).toJson();
    return json.substr(1, json.size() - 2);
  }
  std::array<char, 12> text{};
  std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(code));
  return text.data();
}

}  // namespace

std::string counted(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string visible(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    std::string_view rest = text;
    const auto character = corvo_internal::base::takeCharacter(rest);
    if (!character) rest.remove_prefix(1);  // a byte that is not UTF-8
    const std::int32_t code = character.value_or(static_cast<unsigned char>(text.front()));
    shown += isShown(code) ? std::string(text.substr(0, text.size() - rest.size())) : escaped(code);
    text = rest;
  }
  return shown;
}

}  // namespace corvo::tool
