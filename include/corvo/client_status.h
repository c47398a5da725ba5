// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

namespace corvo {

/// The cached copies that a client has, and how fresh they are.
struct ClientStatus {
  /// One cached copy. Times are in seconds since 1970 on the platform's clock.
  struct Copy {
    double storedAt = 0;  ///< When it was stored; `includeForce` stores the configuration again.
    /// Until this moment, questions use the copy; from this moment on, they fetch a new one.
    double freshUntil = 0;
  };
  /// Absent if no copy has been stored yet, or if the stored one cannot be read.
  std::optional<Copy> configuration;
  std::optional<Copy> location;
};

}  // namespace corvo
