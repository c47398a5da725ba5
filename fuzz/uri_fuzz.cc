// Addresses: what is accepted is split as RFC 3986 says, holds no illegal character and becomes a
// URL that is accepted again; IPv6 addresses are those of the C library.

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "fuzz/input.h"
#include "network/request_url.h"
#include "network/uri_reference.h"

namespace {

using namespace corvo;
using namespace corvo::corvo_internal::network;
using fuzz::Input;
using fuzz::require;

constexpr const char* kPieces[] = {
    "http:",  "https://",    "//", "/",        "user:pass@", "[::1]", "[::ffff:192.0.2.1]",
    "[v1.a]", "[",           "]",  "::",       "1.2",        "h",     ".example",
    ":80",    "%41",         "%4", "?",        "a=b&c",      "#",     "..",
    ":",      "config.json", " ",  "\xC3\xA9", "^"};

std::string address(Input& in) {
  std::string text;
  for (std::size_t count = in.below(12); count > 0; --count) {
    text += in.oneIn(8) ? in.text(in.below(4)) : in.oneOf(kPieces);
  }
  return text;
}

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
  require(uri.scheme == group(1, 2), "the scheme");
  require(uri.authority == group(3, 4), "the authority");
  require(uri.path == found[5].str(), "the path");
  require(uri.query == group(6, 7), "the query");
  require(uri.fragment == group(8, 9), "the fragment");
}

// "a%20b" is "a b".
std::string decoded(std::string_view text) {
  std::string plain;
  for (; !text.empty(); text.remove_prefix(text.front() == '%' ? 3 : 1)) {
    plain += text.front() == '%'
                 ? static_cast<char>(std::stoi(std::string(text.substr(1, 2)), nullptr, 16))
                 : text.front();
  }
  return plain;
}

void requireQuery(std::string_view query, const std::vector<QueryItem>& items) {
  for (const QueryItem& item : items) {
    const std::string_view written = query.substr(0, query.find('&'));
    query.remove_prefix(std::min(written.size() + 1, query.size()));
    const std::size_t sign = written.find('=');
    require(decoded(written.substr(0, sign)) == item.name, "the item's name");
    require((sign == written.npos) == !item.value, "whether the item has a value");
    if (item.value) require(decoded(written.substr(sign + 1)) == *item.value, "the item's value");
  }
  require(query.empty(), "no other items");
}

void request(const std::string& text, const UriReference& uri, Input& in) {
  std::vector<QueryItem> items;
  for (std::size_t count = in.below(3); count > 0; --count) {
    items.push_back({std::string(in.text(in.below(4))), std::nullopt});
    if (in.oneIn(2)) items.back().value = in.text(in.below(4));
  }
  const auto url = requestUrl(text, items);
  require(url.has_value(), "what is accepted can be requested");
  const auto again = parseUriReference(*url);
  require(again.has_value(), "the URL is accepted again");
  require(again->scheme == uri.scheme && again->authority == uri.authority &&
              again->path == uri.path && again->fragment == uri.fragment,
          "all but the query stays");
  require(again->query.has_value() == !items.empty(), "a query where there are items");
  if (again->query) requireQuery(*again->query, items);
}

// Of every run of slashes half are left, an odd one too.
void join(std::string_view base, std::string_view path) {
  static const std::regex doubled("//");
  const std::string joined = std::string(base).append("/").append(path);
  require(joinAddress(base, path) == std::regex_replace(joined, doubled, "/"),
          "two slashes are one");
}

// What stands in brackets, against the C library's reader.
void readLiteral(Input& in) {
  constexpr const char* kFields[] = {"1", "0", "abCD", "12345", "", "192.0.2.1", "1.2.3.256"};
  constexpr const char* kColons[] = {":", ":", ":", "::", ""};
  std::string text;
  for (std::size_t count = in.below(10); count > 0; --count) {
    text.append(in.oneOf(kFields)).append(in.oneOf(kColons));
  }
  in6_addr address{};
  require(parseUriReference("//[" + text + "]").has_value() ==
              (inet_pton(AF_INET6, text.c_str(), &address) == 1),
          text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in({data, std::min<std::size_t>(size, 256)});  // regular expressions need much stack
  const std::string text = in.oneIn(4) ? std::string(in.text(64)) : address(in);
  join(text, in.text(in.below(8)));
  readLiteral(in);
  if (const auto uri = parseUriReference(text)) {
    requireLegal(text);
    requireSplit(text, *uri);
    request(text, *uri, in);
  } else {
    require(!requestUrl(text, {}), "what is refused is not requested");
  }
  return 0;
}
