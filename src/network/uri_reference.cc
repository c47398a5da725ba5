// SPDX-License-Identifier: Apache-2.0

#include "network/uri_reference.h"

#include <algorithm>
#include <cstddef>

namespace corvo::corvo_internal::network {
namespace {

constexpr auto kNone = std::string_view::npos;

constexpr bool isOneOf(char c, std::string_view set) { return set.find(c) != kNone; }
constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
constexpr bool isHexDigit(char c) { return isDigit(c) || isOneOf(c, "abcdefABCDEF"); }
constexpr bool isSubDelimiter(char c) { return isOneOf(c, "!$&'()*+,;="); }

// *( unreserved / pct-encoded / sub-delims / others )
bool isEncoded(std::string_view text, std::string_view others) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (isUnreserved(c) || isSubDelimiter(c) || isOneOf(c, others)) continue;
    if (c != '%' || text.size() - i < 3) return false;
    if (!isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2])) return false;
    i += 2;
  }
  return true;
}

bool isScheme(std::string_view text) {
  return !text.empty() && isAlpha(text.front()) &&
         std::all_of(text.begin(), text.end(),
                     [](char c) { return isAlpha(c) || isDigit(c) || isOneOf(c, "+-."); });
}

// Removes and returns the text up to the delimiter, and removes the delimiter; the whole text if
// there is no delimiter.
std::string_view takePiece(std::string_view& text, char delimiter) {
  const std::size_t end = text.find(delimiter);
  const std::string_view piece = text.substr(0, end);
  text = end == kNone ? std::string_view() : text.substr(end + 1);
  return piece;
}

// 0 to 255, without leading zeros.
bool isDecOctet(std::string_view text) {
  if (text.empty() || text.size() > 3 || !std::all_of(text.begin(), text.end(), isDigit)) {
    return false;
  }
  if (text.size() > 1 && text.front() == '0') return false;
  return text.size() < 3 || text <= "255";
}

bool isIpv4(std::string_view text) {
  if (std::count(text.begin(), text.end(), '.') != 3) return false;
  for (int i = 0; i < 4; ++i) {
    if (!isDecOctet(takePiece(text, '.'))) return false;
  }
  return true;
}

bool isH16(std::string_view text) {
  return !text.empty() && text.size() <= 4 && std::all_of(text.begin(), text.end(), isHexDigit);
}

// The number of 16-bit pieces in a sequence like "1:2:3" or "1:2:192.0.2.1"; empty if it is
// invalid.
std::optional<int> countPieces(std::string_view run) {
  int count = 0;
  while (!run.empty()) {
    const bool isLast = run.find(':') == kNone;
    if (!isLast && run.back() == ':') return std::nullopt;
    const std::string_view piece = takePiece(run, ':');
    if (isH16(piece)) {
      ++count;
    } else if (isLast && isIpv4(piece)) {
      count += 2;
    } else {
      return std::nullopt;
    }
  }
  return count;
}

// Eight pieces, or fewer if one "::" stands for the rest.
bool isIpv6(std::string_view text) {
  const std::size_t gap = text.find("::");
  if (gap == kNone) return countPieces(text) == 8;
  const std::string_view before = text.substr(0, gap);
  const auto left = countPieces(before);
  const auto right = countPieces(text.substr(gap + 2));
  const bool ipv4IsLast = before.find('.') == kNone;
  return left && right && ipv4IsLast && *left + *right < 8;
}

// "v" 1*HEXDIG "." 1*( unreserved / sub-delims / ":" )
bool isIpFuture(std::string_view text) {
  if (text.empty() || !isOneOf(text.front(), "vV")) return false;
  text.remove_prefix(1);
  const std::string_view version = takePiece(text, '.');
  return !version.empty() && std::all_of(version.begin(), version.end(), isHexDigit) &&
         !text.empty() && text.find('%') == kNone && isEncoded(text, ":");
}

bool isPort(std::string_view text) { return std::all_of(text.begin(), text.end(), isDigit); }

// [ userinfo "@" ] host [ ":" port ]
bool isAuthority(std::string_view text) {
  if (const std::size_t at = text.find('@'); at != kNone) {
    if (!isEncoded(text.substr(0, at), ":")) return false;
    text.remove_prefix(at + 1);
  }
  if (text.substr(0, 1) != "[") {
    return isEncoded(takePiece(text, ':'), "") && isPort(text);
  }
  const std::size_t end = text.find(']');
  if (end == kNone) return false;
  const std::string_view literal = text.substr(1, end - 1);
  const std::string_view rest = text.substr(end + 1);
  return (isIpv6(literal) || isIpFuture(literal)) &&
         (rest.empty() || (rest.front() == ':' && isPort(rest.substr(1))));
}

bool isPath(std::string_view text) { return isEncoded(text, ":@/"); }

// A path after a scheme and a single slash; its first segment may be an authority.
bool isPathAfterScheme(std::string_view text) {
  if (isPath(text)) return true;
  if (text.empty() || text.front() != '/') return false;
  text.remove_prefix(1);
  return isAuthority(takePiece(text, '/')) && isPath(text);
}

bool isValid(const UriReference& uri) {
  if (uri.scheme && !isScheme(*uri.scheme)) return false;
  if (uri.authority && !isAuthority(*uri.authority)) return false;
  if (!(uri.scheme && !uri.authority ? isPathAfterScheme(uri.path) : isPath(uri.path)))
    return false;
  return isEncoded(uri.query.value_or(""), ":@/?") && isEncoded(uri.fragment.value_or(""), ":@/?");
}

}  // namespace

bool isUnreserved(char c) noexcept { return isAlpha(c) || isDigit(c) || isOneOf(c, "-._~"); }

std::optional<UriReference> parseUriReference(std::string_view text) {
  UriReference uri;
  // Takes the first component that ends before one of the delimiters (RFC 3986, appendix B). A
  // relative reference has no colon in its first segment, so a colon there always ends a scheme.
  if (const auto end = text.find_first_of(":/?#"); end != kNone && text[end] == ':') {
    uri.scheme = takePiece(text, ':');
  }
  if (const auto hash = text.find('#'); hash != kNone) {
    uri.fragment = text.substr(hash + 1);
    text = text.substr(0, hash);
  }
  if (const auto mark = text.find('?'); mark != kNone) {
    uri.query = text.substr(mark + 1);
    text = text.substr(0, mark);
  }
  if (text.substr(0, 2) == "//") {
    const std::size_t end = text.find('/', 2);
    uri.authority = text.substr(2, end == kNone ? kNone : end - 2);
    text = end == kNone ? std::string_view() : text.substr(end);
  }
  uri.path = text;
  return isValid(uri) ? std::optional(uri) : std::nullopt;
}

}  // namespace corvo::corvo_internal::network
