// SPDX-License-Identifier: Apache-2.0

#include "tool/html.h"

#include "tool/output.h"

namespace corvo::tool {

std::string escaped(std::string_view text) {
  std::string html;
  for (const char c : visible(text)) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      case '\'':
        html += "&#39;";
        break;
      default:
        html += c;
    }
  }
  return html;
}

}  // namespace corvo::tool
