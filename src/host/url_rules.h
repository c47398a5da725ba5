// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/url_session.h>

#include <optional>
#include <string>

namespace corvo::corvo_internal::host {

/// Why a request must not be sent; empty if it may. A request must have "GET" or "POST", an http or
/// https address with a valid port, and header fields (RFC 9110, section 5) without control
/// characters.
[[nodiscard]] std::optional<std::string> refusal(const UrlRequest& request);

/// The scheme, host and port of a permitted address, normalised for comparison.
[[nodiscard]] std::string originName(const std::string& url);

/// Whether a redirect is followed: within the same scheme, host and port, or from http to https of
/// the same host, so that header fields never reach another host. On the way to https, the port may
/// change, for example from 80 to 443. This is safe, because anybody who could forge such an answer
/// has already read the fields, and the https server must still prove its identity.
[[nodiscard]] bool mayFollow(const std::string& from, const std::string& to);

}  // namespace corvo::corvo_internal::host
