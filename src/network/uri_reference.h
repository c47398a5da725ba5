#pragma once

#include <optional>
#include <string_view>

namespace corvo::corvo_internal::network {

/// The components of a URI reference (RFC 3986), as they are written, without their delimiters.
/// They live as long as the text they were parsed from.
struct UriReference {
  std::optional<std::string_view> scheme;
  std::optional<std::string_view> authority;
  std::string_view path;
  std::optional<std::string_view> query;
  std::optional<std::string_view> fragment;
};

/// Splits a URI reference; none when the text is not one. Beyond the RFC, an authority may also
/// stand after a scheme and a single slash, as in "http:/[::1]:8080/geo": it is then part of the
/// path, which may thus hold the brackets of an IP literal.
[[nodiscard]] std::optional<UriReference> parseUriReference(std::string_view text);

/// Whether the character never needs percent-encoding (RFC 3986, section 2.3).
[[nodiscard]] bool isUnreserved(char c) noexcept;

}  // namespace corvo::corvo_internal::network
