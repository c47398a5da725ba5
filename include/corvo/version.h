// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

// The version of these headers (https://semver.org). The build reads it from here.
#define CORVO_VERSION_MAJOR 0
#define CORVO_VERSION_MINOR 1
#define CORVO_VERSION_PATCH 0

/// The version as one number, for comparisons: `#if CORVO_VERSION_NUMBER >= 100`. Minor and patch
/// have two digits each.
#define CORVO_VERSION_NUMBER \
  (CORVO_VERSION_MAJOR * 10000 + CORVO_VERSION_MINOR * 100 + CORVO_VERSION_PATCH)

#define CORVO_VERSION_TEXT_OF(number) #number
#define CORVO_VERSION_TEXT(major, minor, patch) \
  CORVO_VERSION_TEXT_OF(major) "." CORVO_VERSION_TEXT_OF(minor) "." CORVO_VERSION_TEXT_OF(patch)
/// The version as text: "0.1.0".
#define CORVO_VERSION \
  CORVO_VERSION_TEXT(CORVO_VERSION_MAJOR, CORVO_VERSION_MINOR, CORVO_VERSION_PATCH)

namespace corvo {

/// The same text. Requests carry it as "sdk-version".
inline constexpr std::string_view kVersion = CORVO_VERSION;

}  // namespace corvo
