// SPDX-License-Identifier: Apache-2.0

#include "network/request_url.h"

#include "network/uri_reference.h"

namespace corvo::corvo_internal::network {
namespace {

void appendEncoded(std::string& url, std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  for (const char c : text) {
    if (isUnreserved(c)) {
      url += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      url.append({'%', kDigits[byte >> 4U], kDigits[byte & 0xFU]});
    }
  }
}

void appendQuery(std::string& url, const std::vector<QueryItem>& items) {
  char separator = '?';
  for (const QueryItem& item : items) {
    url += separator;
    appendEncoded(url, item.name);
    if (item.value) {
      url += '=';
      appendEncoded(url, *item.value);
    }
    separator = '&';
  }
}

}  // namespace

std::string joinAddress(std::string_view baseAddress, std::string_view path) {
  const std::string joined = std::string(baseAddress).append("/").append(path);
  std::string address;
  for (std::size_t i = 0; i < joined.size(); ++i) {
    address += joined[i];
    if (joined.compare(i, 2, "//") == 0) ++i;
  }
  return address;
}

std::optional<std::string> requestUrl(std::string_view address,
                                      const std::vector<QueryItem>& queryItems) {
  const auto uri = parseUriReference(address);
  if (!uri) return std::nullopt;
  std::string url(address.substr(0, address.find_first_of("?#")));
  appendQuery(url, queryItems);
  if (uri->fragment) url.append("#").append(*uri->fragment);
  return url;
}

}  // namespace corvo::corvo_internal::network
