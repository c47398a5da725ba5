#pragma once

#include <optional>

namespace corvo {

/// Which copies a client has, and how fresh they are.
struct ClientStatus {
  /// One cached copy. Times are in seconds since 1970, by the platform's clock.
  struct Copy {
    double storedAt = 0;  ///< When the copy was stored.
    /// Questions use the copy before this moment, and fetch a new one from it on.
    double freshUntil = 0;
  };
  /// Absent when none was ever stored, or the stored one cannot be read.
  std::optional<Copy> configuration;
  std::optional<Copy> location;
};

}  // namespace corvo
