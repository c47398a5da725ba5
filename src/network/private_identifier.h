// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/secure_random.h>

#include <string>

namespace corvo::corvo_internal::network {

/// Creates the identifier that a client sends to its backend: 80 ASCII letters and digits, each
/// drawn independently and uniformly. Throws what the source throws, and a `std::runtime_error` if
/// the source keeps returning unusable bytes.
[[nodiscard]] std::string makePrivateIdentifier(SecureRandom& random);

}  // namespace corvo::corvo_internal::network
