#pragma once

#include <corvo/platform/url_session.h>

#include <optional>
#include <string>

namespace corvo::corvo_internal::host {

/// Why a request must not be put on the wire; none when it may. It must have "GET" or "POST", an
/// address of scheme http or https with a port that exists, and header fields (RFC 9110, section 5)
/// without control characters.
[[nodiscard]] std::optional<std::string> refusal(const UrlRequest& request);

/// The scheme, host and port of an address that may be requested, in one spelling for all of the
/// same.
[[nodiscard]] std::string originName(const std::string& url);

/// Whether a redirect is followed: within the same scheme, host and port, or from http to https of
/// the same host, so that header fields never reach another host. The port may change on the way to
/// https, as it does from 80 to 443: whoever could forge such an answer has read the fields
/// already, and the https side still has to prove that it is the host.
[[nodiscard]] bool mayFollow(const std::string& from, const std::string& to);

}  // namespace corvo::corvo_internal::host
