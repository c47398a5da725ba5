// SPDX-License-Identifier: Apache-2.0

#include "host/url_rules.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace corvo::corvo_internal::host {
namespace {

struct CurlFree {
  void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
  void operator()(char* text) const noexcept { curl_free(text); }
};

/// The parts of an address that identify the server, in lower case, so that they can be compared.
struct Parts {
  std::string scheme;
  std::string host;
  std::string port;
};

std::string part(CURLU* url, CURLUPart which) {
  char* text = nullptr;
  curl_url_get(url, which, &text, CURLU_DEFAULT_PORT);
  const std::unique_ptr<char, CurlFree> owned(text);
  std::string lower = text == nullptr ? std::string() : std::string(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

/// Parses with libcurl's own parser, which the transfer uses, too. A missing scheme is not guessed.
std::optional<Parts> partsOf(const std::string& text) {
  const std::unique_ptr<CURLU, CurlFree> url(curl_url());
  if (text.find('\0') != std::string::npos) return std::nullopt;
  if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
    return std::nullopt;
  }
  Parts parts{part(url.get(), CURLUPART_SCHEME), part(url.get(), CURLUPART_HOST),
              part(url.get(), CURLUPART_PORT)};
  const bool isHttp = parts.scheme == "http" || parts.scheme == "https";
  if (!isHttp || parts.host.empty() || parts.port == "0") return std::nullopt;
  return parts;
}

bool isToken(std::string_view name) {
  constexpr std::string_view kTokenCharacters =
      "!#$%&'*+-.^_`|~0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  return !name.empty() && name.find_first_not_of(kTokenCharacters) == std::string_view::npos;
}

bool hasControl(std::string_view value) {
  return std::any_of(value.begin(), value.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
  });
}

}  // namespace

std::optional<std::string> refusal(const UrlRequest& request) {
  if (request.method != "GET" && request.method != "POST") return "unsupported method";
  if (!partsOf(request.url)) return "unsupported URL";
  for (const auto& [name, value] : request.headers) {
    if (!isToken(name) || hasControl(value)) return "invalid header field";
  }
  return std::nullopt;
}

std::string originName(const std::string& url) {
  const Parts parts = partsOf(url).value_or(Parts{});
  return parts.scheme + ' ' + parts.host + ' ' + parts.port;
}

bool mayFollow(const std::string& from, const std::string& to) {
  const std::optional<Parts> old = partsOf(from);
  const std::optional<Parts> next = partsOf(to);
  if (!old || !next || old->host != next->host) return false;
  if (old->scheme == next->scheme) return old->port == next->port;
  return old->scheme == "http";
}

}  // namespace corvo::corvo_internal::host
