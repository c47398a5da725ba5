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

/// What a command is told about the device and the moment. Nothing of this machine enters but its
/// clock, where no moment is given.
struct SurroundingsOptions {
  DeviceFacts device;
  std::optional<std::string> now;
  std::string zone = "UTC";
};

void addSurroundingsOptions(CLI::App& command, SurroundingsOptions& options);

/// The same, understood.
struct Surroundings {
  DeviceFacts device;
  std::optional<double> now;  ///< Absent: the moment of each question.
  std::shared_ptr<const TimeZone> zone;

  /// Throws a `CLI::ParseError`.
  explicit Surroundings(const SurroundingsOptions& options);

  void describe(EvaluationContext& context) const;
  /// Replaces what a platform says of them.
  void describe(Platform& platform) const;
};

}  // namespace corvo::tool
