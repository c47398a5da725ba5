// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/device_facts.h>
#include <corvo/evaluation_context.h>
#include <corvo/platform/platform.h>
#include <corvo/platform/time_zone.h>

#include <memory>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace corvo::tool {

/// Options that describe the device and the time. Nothing is read from this machine except its
/// clock, and that only if no time is given.
struct SurroundingsOptions {
  DeviceFacts device;
  std::optional<std::string> now;
  std::string zone = "UTC";
};

void addSurroundingsOptions(CLI::App& command, SurroundingsOptions& options);

/// The parsed options.
struct Surroundings {
  DeviceFacts device;
  std::optional<double> now;  ///< Absent: the time of each question.
  std::shared_ptr<const TimeZone> zone;

  /// Throws a `CLI::ParseError`.
  explicit Surroundings(const SurroundingsOptions& options);

  /// If no time is given, sets it to the clock's, so that all questions are about one moment.
  void freeze();

  void describe(EvaluationContext& context) const;
  /// Replaces a platform's device, clock and time zone.
  void describe(Platform& platform) const;
};

}  // namespace corvo::tool
