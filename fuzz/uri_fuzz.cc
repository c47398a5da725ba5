// SPDX-License-Identifier: Apache-2.0

// Addresses. An accepted one is split as RFC 3986 says, contains no illegal character, and becomes
// a URL that is accepted again. IPv6 addresses agree with the C library.

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <regex>

#include "fuzz/input.h"
#include "network/request_url.h"
#include "network/uri_reference.h"

namespace {

using namespace corvo::corvo_internal::network;
using corvo::fuzz::Input;
using corvo::fuzz::require;

constexpr const char* kPieces[] = {
    "http:",  "https://",    "//", "/",        "user:pass@", "[::1]", "[::ffff:192.0.2.1]",
    "[v1.a]", "[",           "]",  "::",       "1.2",        "h",     ".example",
    ":80",    "%41",         "%4", "?",        "a=b&c",      "#",     "..",
    ":",      "config.json", " ",  "\xC3\xA9", "^"};

// Unreserved, reserved and percent-encoded characters (section 2); brackets only around a literal.
void requireLegal(std::string_view text) {
  static const std::regex legal(R"(([A-Za-z0-9\-._~:/?#\[\]@!$&'()*+,;=]|%[0-9A-Fa-f]{2})*)");
  require(std::regex_match(text.begin(), text.end(), legal), "only legal characters");
  require(std::ranges::count(text, '[') < 2 && std::ranges::count(text, ']') < 2, "one literal");
}

// The split of appendix B.
void requireSplit(const std::string& text, const UriReference& uri) {
  static const std::regex split(R"(^(([^:/?#]+):)?(//([^/?#]*))?([^?#]*)(\?([^#]*))?(#(.*))?)");
  std::smatch found;
  require(std::regex_match(text, found, split), "it can be split");
  const auto group = [&](std::size_t outer, std::size_t inner) {
    return found[outer].matched ? std::optional(found[inner].str()) : std::nullopt;
  };
  require(uri.scheme == group(1, 2) && uri.authority == group(3, 4), "scheme and authority");
  require(uri.path == found[5].str(), "the path");
  require(uri.query == group(6, 7) && uri.fragment == group(8, 9), "query and fragment");
}

// The items replace the query; everything else is kept.
void request(const std::string& text, const UriReference& uri, Input& in) {
  const std::string item(in.text(in.below(4)));
  const auto url = requestUrl(text, {{item, std::nullopt}, {"k", item}});
  require(url.has_value(), "an accepted address can be requested");
  const auto again = parseUriReference(*url);
  require(again && again->query && again->query->find("&k=") != again->query->npos,
          "the URL is accepted again");
  requireLegal(*url);
  require(again->scheme == uri.scheme && again->authority == uri.authority &&
              again->path == uri.path && again->fragment == uri.fragment,
          "all but the query stays");
}

// Compares the text in brackets with the C library's parser.
void readLiteral(Input& in) {
  constexpr const char* kFields[] = {
      "1", "0:", "1:", "abCD:", "12345:", "::", "::1", ":0:0:", "192.0.2.1", "1.2.3.256"};
  const std::string text = in.joined(kFields, 10);
  in6_addr address{};
  const bool isLegal = inet_pton(AF_INET6, text.c_str(), &address) == 1;
  require(parseUriReference("//[" + text + "]").has_value() == isLegal, text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in({data, std::min<std::size_t>(size, 256)});  // regular expressions need much stack
  const std::string text = in.oneIn(4) ? std::string(in.text(64)) : in.joined(kPieces, 12);
  readLiteral(in);
  if (const auto uri = parseUriReference(text)) {
    requireLegal(text);
    requireSplit(text, *uri);
    request(text, *uri, in);
  } else {
    require(!requestUrl(text, {}), "a rejected address is not requested");
  }
  return 0;
}
