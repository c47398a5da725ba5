// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/secure_random.h>

#include <string>
#include <string_view>

namespace corvo::corvo_internal::host {

/// A random UUID (RFC 9562, version 4) in upper-case canonical form.
[[nodiscard]] std::string randomUuid(SecureRandom& random);

/// Whether the text is a UUID of any version in upper-case canonical form.
[[nodiscard]] bool isUuid(std::string_view text) noexcept;

}  // namespace corvo::corvo_internal::host
