// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

namespace corvo::corvo_internal::network {

/// The components of a URI reference (RFC 3986) as written, without their delimiters. Valid as long
/// as the parsed text.
struct UriReference {
  std::optional<std::string_view> scheme;
  std::optional<std::string_view> authority;
  std::string_view path;
  std::optional<std::string_view> query;
  std::optional<std::string_view> fragment;
};

/// Splits a URI reference; empty if the text is not valid. As an extension of the RFC, an authority
/// may follow a scheme and a single slash, as in "http:/[::1]:8080/geo". It is then part of the
/// path, which may contain the brackets of an IP literal.
[[nodiscard]] std::optional<UriReference> parseUriReference(std::string_view text);

/// Whether the character never needs percent-encoding (RFC 3986, section 2.3).
[[nodiscard]] bool isUnreserved(char c) noexcept;

}  // namespace corvo::corvo_internal::network
