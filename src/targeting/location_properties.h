// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/user.h>

namespace corvo::corvo_internal::targeting {

/// The properties of a location as the backend returned it: every name is prefixed with "geo.", and
/// ill-formed UTF-8 is replaced.
[[nodiscard]] PropertyMap locationProperties(const PropertyMap& location);

}  // namespace corvo::corvo_internal::targeting
