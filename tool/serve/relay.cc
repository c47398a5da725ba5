// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/relay.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

#include "tool/asked_client.h"
#include "tool/failure.h"
#include "tool/output.h"

namespace corvo::tool {
namespace {

constexpr std::chrono::seconds kAfterFailure{1};

/// Moves on so far for each fetch that the client's last copy has expired: `Relay` decides when to
/// fetch, and every fetch must ask the backend.
class JumpingClock final : public Clock {
 public:
  void jump() { now_ += 3'600; }
  [[nodiscard]] double now() const override { return now_; }

 private:
  double now_ = 0;
};

}  // namespace

std::chrono::milliseconds Relay::step() {
  try {
    publish(fetch_());
  } catch (const std::exception& failure) {
    publisher_.complain(failure.what());
    say(failure.what());
    return kAfterFailure;
  }
  if (!std::exchange(said_, "").empty()) printFailure("fetched", name_ + ": fetched again");
  return std::chrono::milliseconds(life_) / 2;
}

void Relay::publish(std::string text) {
  const Clock::time_point fetched = Clock::now();
  if (!last_ || last_->configuration != text) {
    last_ = snapshotOf({name_ + ": configuration", std::move(text)}, {"location", "{}"});
  }
  publisher_.offer(*last_, fetched, fetched + life_);
  if (!last_->refusal.empty()) throw Failure("refused", last_->refusal);
}

void Relay::say(const std::string& reason) {
  if (std::exchange(said_, reason) != reason) printFailure("cannot-fetch", name_ + ": " + reason);
}

Relay::Fetch fetchWithClient(SourceOptions options, std::chrono::seconds life) {
  if (!options.timeout) {
    options.timeout = std::max(1.0, static_cast<double>(life.count()) / 4);
  }
  const auto clock = std::make_shared<JumpingClock>();
  Platform platform = platformOf(options, {.inMemory = true});
  platform.clock = clock;
  const auto asked =
      std::make_shared<AskedClient>(std::move(platform), options.url, options.token, std::nullopt);
  return [clock, asked] {
    clock->jump();
    asked->ask([](CorvoClient& client) { client.getProject().get(); });
    return asked->session().configuration();
  };
}

}  // namespace corvo::tool
