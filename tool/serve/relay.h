// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "tool/serve/publisher.h"
#include "tool/serve/served_project.h"
#include "tool/source.h"

namespace corvo::tool {

/// Keeps the project of a backend published. For one thread. Refers to the publisher.
class Relay {
 public:
  using Clock = Publication::Clock;

  /// Returns the text of the configuration. An exception says why there is none.
  using Fetch = std::function<std::string()>;

  /// A fetched copy may answer for `life`. The name is the backend's, for messages.
  Relay(Fetch fetch, std::string name, std::chrono::seconds life, Publisher& publisher)
      : fetch_(std::move(fetch)), name_(std::move(name)), life_(life), publisher_(publisher) {}

  /// Fetches the configuration, and publishes it. Returns how long to wait before the next time:
  /// half a copy's life, or a second after a failure. Says on standard error why a fetch failed,
  /// once for each reason in a row, and that it works again.
  std::chrono::milliseconds step();

 private:
  void publish(std::string text);
  void say(const std::string& reason);

  const Fetch fetch_;
  const std::string name_;
  const std::chrono::seconds life_;
  Publisher& publisher_;
  std::shared_ptr<const Snapshot> last_;
  std::string said_;
};

/// Fetches with one client, which sends the same private identifier each time. It does not ask for
/// the location: the users are elsewhere. Each request has the time limit of the options, or else
/// a quarter of a copy's life, so that a failed one leaves time for others.
[[nodiscard]] Relay::Fetch fetchWithClient(SourceOptions options, std::chrono::seconds life);

}  // namespace corvo::tool
