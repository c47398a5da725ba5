#pragma once

#include <corvo/user.h>

namespace corvo::corvo_internal::targeting {

/// The properties that a location, as the backend answers it, gives: every name prefixed with
/// "geo.", ill-formed texts replaced.
[[nodiscard]] PropertyMap locationProperties(const PropertyMap& location);

}  // namespace corvo::corvo_internal::targeting
