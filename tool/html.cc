// SPDX-License-Identifier: Apache-2.0

#include "tool/html.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/text.h"
#include "tool/output.h"

namespace corvo::tool::html {
namespace {

/// Characters that reorder the text around them, or end a line.
constexpr std::array<std::pair<std::string_view, std::string_view>, 14> kMarks{{
    {"\u061C", "\\u061c"},
    {"\u200E", "\\u200e"},
    {"\u200F", "\\u200f"},
    {"\u2028", "\\u2028"},
    {"\u2029", "\\u2029"},
    {"\u202A", "\\u202a"},
    {"\u202B", "\\u202b"},
    {"\u202C", "\\u202c"},
    {"\u202D", "\\u202d"},
    {"\u202E", "\\u202e"},
    {"\u2066", "\\u2066"},
    {"\u2067", "\\u2067"},
    {"\u2068", "\\u2068"},
    {"\u2069", "\\u2069"},
}};

std::string withVisibleMarks(std::string_view text) {
  std::string all;
  while (!text.empty()) {
    const bool isAscii = (text.front() & 0x80) == 0;
    const auto* const mark =
        isAscii ? kMarks.end() : std::ranges::find_if(kMarks, [&](const auto& each) {
          return text.starts_with(each.first);
        });
    const bool isMark = mark != kMarks.end();
    all += isMark ? mark->second : text.substr(0, 1);
    text.remove_prefix(isMark ? mark->first.size() : 1);
  }
  return all;
}

/// The beginning of the text, at most so many bytes, without a part of a character.
std::string_view beginning(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text;
  while (most > 0 && (text[most] & 0xC0) == 0x80) --most;
  return text.substr(0, most);
}

}  // namespace

std::string exact(std::string_view text) {
  std::string all;
  for (const char c : corvo_internal::base::wellFormed(text)) {
    switch (c) {
      case '&':
        all += "&amp;";
        break;
      case '<':
        all += "&lt;";
        break;
      case '>':
        all += "&gt;";
        break;
      case '"':
        all += "&quot;";
        break;
      case '\'':
        all += "&#39;";
        break;
      default:
        all += c;
    }
  }
  return all;
}

std::string shown(std::string_view text, std::size_t most) {
  const std::string_view begin = beginning(text, most);
  std::string all = exact(withVisibleMarks(visible(begin)));
  if (begin.size() < text.size()) all += "… (" + std::to_string(text.size()) + " bytes)";
  return all;
}

std::string element(std::string_view name, std::string_view kind, std::string_view content) {
  std::string all;
  all.append("<").append(name);
  if (!kind.empty()) all.append(" class=\"").append(kind).append("\"");
  return all.append(">").append(content).append("</").append(name).append(">");
}

std::string filled(std::string_view form,
                   const std::map<std::string, std::string, std::less<>>& parts) {
  std::string all;
  for (;;) {
    const std::size_t begin = form.find("{{");
    const std::size_t end = begin == std::string_view::npos ? begin : form.find("}}", begin);
    if (end == std::string_view::npos) return all.append(form);
    all.append(form.substr(0, begin));
    const auto part = parts.find(form.substr(begin + 2, end - begin - 2));
    if (part != parts.end()) all += part->second;
    form.remove_prefix(end + 2);
  }
}

}  // namespace corvo::tool::html
