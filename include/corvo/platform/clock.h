#pragma once

#include <corvo/export.h>

namespace corvo {

/// Tells the time. Called on whatever thread asks a question; never concurrently by one client.
class CORVO_TYPE Clock {
 public:
  virtual ~Clock() = default;

  /// The current moment, in seconds since 1970-01-01 00:00:00 UTC, leap seconds not counted.
  [[nodiscard]] virtual double now() const = 0;
};

}  // namespace corvo
