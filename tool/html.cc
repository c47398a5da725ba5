// SPDX-License-Identifier: Apache-2.0

#include "tool/html.h"

#include "base/text.h"
#include "tool/text.h"

namespace corvo::tool::html {
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
  const std::string_view begin = corvo_internal::base::beginning(text, most);
  std::string all = exact(visible(begin));
  if (begin.size() < text.size()) all += "… (" + std::to_string(text.size()) + " bytes)";
  return all;
}

std::string element(std::string_view name, std::string_view kind, std::string_view content) {
  std::string all;
  all.append("<").append(name);
  if (!kind.empty()) all.append(" class=\"").append(kind).append("\"");
  return all.append(">").append(content).append("</").append(name).append(">");
}

std::string code(std::string_view text) { return element("code", "", shown(text)); }

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
