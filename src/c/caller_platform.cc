// SPDX-License-Identifier: Apache-2.0

#include "c/caller_platform.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include "c/call.h"
#include "c/caller_bytes.h"
#include "c/caller_functions.h"
#include "c/caller_store.h"
#include "c/caller_work.h"

namespace corvo::corvo_internal::c {
namespace {

class CallerClock final : public CallerService<Clock> {
 public:
  using CallerService::CallerService;

  [[nodiscard]] double now() const override { return functions_->call(functions_->now); }
};

class CallerTimeZone final : public CallerService<TimeZone> {
 public:
  using CallerService::CallerService;

  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override {
    return functions_->call(functions_->offset_at, moment);
  }
  [[nodiscard]] std::uint64_t identifier() const override {
    return functions_->call(functions_->zone_identifier);
  }
};

class CallerDevice final : public CallerService<Device> {
 public:
  using CallerService::CallerService;

  [[nodiscard]] std::optional<std::string> vendorIdentifier() const override {
    return fact(CORVO_VENDOR_IDENTIFIER);
  }
  [[nodiscard]] std::optional<std::string> systemName() const override {
    return fact(CORVO_SYSTEM_NAME);
  }
  [[nodiscard]] std::optional<std::string> systemVersion() const override {
    return fact(CORVO_SYSTEM_VERSION);
  }
  [[nodiscard]] std::optional<std::string> applicationVersion() const override {
    return fact(CORVO_APPLICATION_VERSION);
  }

 private:
  [[nodiscard]] std::optional<std::string> fact(corvo_fact which) const {
    CallerBytes place;
    functions_->call(functions_->fact, which, place.handle());
    return place.take();
  }
};

class CallerRandom final : public CallerService<SecureRandom> {
 public:
  using CallerService::CallerService;

  void fill(std::span<std::byte> bytes) override {
    if (!functions_->call(functions_->fill, bytes.data(), bytes.size())) {
      throw std::runtime_error("the random source gave no bytes");
    }
  }
};

/// Whether a service is the caller's. Throws `Misuse` if functions that it needs are missing.
bool isGiven(std::initializer_list<bool> needed, bool optional = false) {
  const bool all = std::ranges::all_of(needed, std::identity());
  const bool any = optional || std::ranges::any_of(needed, std::identity());
  if (any && !all) {
    throw Misuse(CORVO_INVALID_ARGUMENT, "a service of the platform lacks a function");
  }
  return all;
}

}  // namespace

Platform callerPlatform(const corvo_platform* given) {
  if (given == nullptr) return {};
  CallerFunctions functions(sizedAt(given));  // owns the context even if memory runs out now
  const auto own = std::make_shared<const CallerFunctions>(std::move(functions));
  const corvo_platform& has = *own;
  Platform platform;
  if (has.now != nullptr) platform.clock = std::make_shared<CallerClock>(own);
  if (isGiven({has.offset_at != nullptr, has.zone_identifier != nullptr})) {
    platform.timeZone = std::make_shared<CallerTimeZone>(own);
  }
  if (isGiven({has.post != nullptr}, has.run_until != nullptr)) {
    platform.mainQueue = callerQueue(own);
  }
  if (has.start != nullptr) platform.urlSession = callerSession(own);
  if (isGiven({has.read != nullptr, has.apply != nullptr}, has.open_suite != nullptr)) {
    platform.preferencesStore = callerStore(own);
  }
  if (has.fact != nullptr) platform.device = std::make_shared<CallerDevice>(own);
  if (has.fill != nullptr) platform.secureRandom = std::make_shared<CallerRandom>(own);
  return platform;
}

}  // namespace corvo::corvo_internal::c
