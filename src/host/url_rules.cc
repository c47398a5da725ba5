#include "host/url_rules.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace corvo::host {
namespace {

struct CurlFree {
  void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
  void operator()(char* text) const noexcept { curl_free(text); }
};

/// What decides with whom one speaks.
struct Origin {
  std::string scheme;  // lower case
  std::string host;
  std::string port;
};

std::string part(CURLU* url, CURLUPart which) {
  char* text = nullptr;
  curl_url_get(url, which, &text, CURLU_DEFAULT_PORT);
  const std::unique_ptr<char, CurlFree> owned(text);
  return text == nullptr ? std::string() : std::string(text);
}

/// By libcurl's own reader, which the transfer uses, too; without a guess at a missing scheme.
std::optional<Origin> originOf(const std::string& text) {
  const std::unique_ptr<CURLU, CurlFree> url(curl_url());
  if (text.find('\0') != std::string::npos) return std::nullopt;
  if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
    return std::nullopt;
  }
  Origin origin{part(url.get(), CURLUPART_SCHEME), part(url.get(), CURLUPART_HOST),
                part(url.get(), CURLUPART_PORT)};
  if ((origin.scheme != "http" && origin.scheme != "https") || origin.port == "0") {
    return std::nullopt;
  }
  return origin;
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
  if (!originOf(request.url)) return "unsupported URL";
  for (const auto& [name, value] : request.headers) {
    if (!isToken(name) || hasControl(value)) return "invalid header field";
  }
  return std::nullopt;
}

bool mayFollow(const std::string& from, const std::string& to) {
  const std::optional<Origin> old = originOf(from);
  const std::optional<Origin> next = originOf(to);
  if (!old || !next || curl_strequal(old->host.c_str(), next->host.c_str()) == 0) return false;
  if (old->scheme == next->scheme) return old->port == next->port;
  return old->scheme == "http";
}

}  // namespace corvo::host
