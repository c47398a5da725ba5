// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/fault_injection.h"

#include <corvo/property.h>

#include <CLI/CLI.hpp>
#include <limits>
#include <utility>

namespace corvo::tool {
namespace {

constexpr int kUnavailable = 503;

HttpResponse failure(int status) {
  return {.status = status, .body = hasBody(status) ? "injected failure\n" : ""};
}

std::string complainAboutRate(const std::string& text) {
  const auto rate = fromCorvoString<double>(text);
  return rate && *rate >= 0 && *rate <= 1 ? "" : "must be a number from 0 to 1";
}

}  // namespace

void addFaultOptions(CLI::App& command, FaultOptions& options) {
  constexpr std::int64_t kHour = 3'600'000;
  constexpr std::size_t kGigabyte = 1'000'000'000;
  command
      .add_option("--latency", options.latency, "Wait this many milliseconds before each answer")
      ->check(CLI::Range(std::int64_t{0}, kHour))
      ->type_name("MS");
  command
      .add_option("--fail", options.failRate,
                  "The share of requests that fail, from 0 to 1; the default is 1 with --status")
      ->check(complainAboutRate)
      ->type_name("RATE");
  command.add_option("--status", options.status, "The status of a failure; the default is 503")
      ->check(CLI::Range(200, 599));
  command.add_option("--drip", options.bytesPerSecond, "Send so many bytes of a body per second")
      ->check(CLI::Range(std::size_t{1}, kGigabyte))
      ->type_name("BYTES");
  command
      .add_option("--seed", options.seed,
                  "Determines which requests --fail picks: always the same for one seed")
      ->check(CLI::Range(std::int64_t{0}, std::numeric_limits<std::int64_t>::max()))
      ->capture_default_str();
}

FaultInjector::FaultInjector(const FaultOptions& options)
    : options_(options),
      failRate_(options.failRate.value_or(options.status ? 1 : 0)),
      random_(static_cast<std::uint64_t>(options.seed)) {}

HttpRoute FaultInjector::around(HttpRoute route) {
  return [this, route = std::move(route)](const HttpRequest& request) {
    HttpResponse response =
        fails() ? failure(options_.status.value_or(kUnavailable)) : route(request);
    response.delay = std::chrono::milliseconds(options_.latency);
    response.bytesPerSecond = options_.bytesPerSecond;
    return response;
  };
}

// The standard's distributions differ between libraries; its engines do not.
bool FaultInjector::fails() {
  const std::lock_guard lock(mutex_);
  return static_cast<double>(random_() >> 11) * 0x1p-53 < failRate_;
}

}  // namespace corvo::tool
