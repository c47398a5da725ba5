// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/project.h>
#include <corvo/user.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace corvo::tool {

/// A project that may answer questions. Immutable.
struct Edition {
  Project project;            ///< Without `stops()`: a question that reaches one ends the process.
  PropertyMap location = {};  ///< Of users without one of their own.
  /// Of project and location; differs if one of them does. Letters, digits, "-" and "_".
  std::string version = {};
  std::int64_t lastModified = 0;  ///< When it was published, in seconds since 1970.
};

/// The current edition, published by one thread and read by many. Thread-safe.
class Publication {
 public:
  using Clock = std::chrono::steady_clock;

  /// What may answer questions now, or why nothing may.
  struct Current {
    std::shared_ptr<const Edition> edition;  ///< Null if there is none, or if it has expired.
    std::string refusal;                     ///< Then the reason, for people.
    Clock::time_point confirmed;             ///< When the edition was read or fetched.
  };
  [[nodiscard]] Current now() const;

  /// Replaces the edition, or confirms it if it is the same object.
  void publish(std::shared_ptr<const Edition> edition, Clock::time_point confirmed,
               Clock::time_point expires = Clock::time_point::max());
  /// There is no edition, for this reason.
  void withdraw(std::string refusal);

 private:
  mutable std::mutex mutex_;
  Current current_{nullptr, "not ready", {}};             // guarded
  Clock::time_point expires_ = Clock::time_point::max();  // guarded
};

}  // namespace corvo::tool
