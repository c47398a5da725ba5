// SPDX-License-Identifier: Apache-2.0

#include "tool/surroundings.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <utility>

#include "tool/moment.h"
#include "zones/named_zone.h"

namespace corvo::tool {
namespace {

class StatedDevice final : public Device {
 public:
  explicit StatedDevice(DeviceFacts facts) : facts_(std::move(facts)) {}

  [[nodiscard]] std::optional<std::string> vendorIdentifier() const override {
    return facts_.vendorIdentifier;
  }
  [[nodiscard]] std::optional<std::string> systemName() const override { return facts_.systemName; }
  [[nodiscard]] std::optional<std::string> systemVersion() const override {
    return facts_.systemVersion;
  }
  [[nodiscard]] std::optional<std::string> applicationVersion() const override {
    return facts_.applicationVersion;
  }

 private:
  const DeviceFacts facts_;
};

class StatedClock final : public Clock {
 public:
  explicit StatedClock(double now) : now_(now) {}

  [[nodiscard]] double now() const override { return now_; }

 private:
  const double now_;
};

}  // namespace

void addSurroundingsOptions(CLI::App& command, SurroundingsOptions& options) {
  command.add_option("--device-id", options.device.vendorIdentifier,
                     "The device's vendor identifier; the user's own is the property deviceId");
  command.add_option("--system-name", options.device.systemName,
                     "The system's name, such as \"iOS\"");
  command.add_option("--system-version", options.device.systemVersion, "The system's version");
  command.add_option("--app-version", options.device.applicationVersion,
                     "The application's version");
  command
      .add_option("--now", options.now,
                  "The time, in ISO 8601 or in seconds since 1970; by default the clock's")
      ->type_name("MOMENT");
  command
      .add_option("--zone", options.zone,
                  "The time zone by its IANA name, such as \"Europe/Berlin\"; by default UTC")
      ->type_name("ZONE");
}

Surroundings::Surroundings(const SurroundingsOptions& options)
    : device(options.device), zone(corvo_internal::zones::namedZone(options.zone)) {
  if (!zone) throw CLI::ValidationError("--zone", "unknown time zone " + options.zone);
  if (!options.now) return;
  now = parseMoment(*options.now, *zone);
  if (!now) {
    throw CLI::ValidationError("--now", *options.now +
                                            " is neither a date and time in ISO 8601 nor a "
                                            "number of seconds");
  }
}

void Surroundings::freeze() {
  if (now) return;
  const std::chrono::duration<double> time = std::chrono::system_clock::now().time_since_epoch();
  now = time.count();
}

void Surroundings::describe(EvaluationContext& context) const {
  context.device = device;
  context.now = now;
  context.timeZone = zone;
}

void Surroundings::describe(Platform& platform) const {
  platform.device = std::make_shared<StatedDevice>(device);
  platform.timeZone = std::const_pointer_cast<TimeZone>(zone);
  if (now) platform.clock = std::make_shared<StatedClock>(*now);
}

}  // namespace corvo::tool
