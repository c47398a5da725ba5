#pragma once

#include <corvo/platform/secure_random.h>

#include <string>

namespace corvo::corvo_internal::network {

/// A new identifier under which a client speaks to its backend: 80 ASCII letters and digits, each
/// drawn independently and uniformly. Throws what the source throws, and a `std::runtime_error`
/// when its bytes are stuck at values that cannot be used.
[[nodiscard]] std::string makePrivateIdentifier(SecureRandom& random);

}  // namespace corvo::corvo_internal::network
