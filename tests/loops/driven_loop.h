// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <corvo/host.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tests/host/loopback_server.h"

namespace corvo::tests {

/// The event loop of an application.
class AppLoop {
 public:
  virtual ~AppLoop() = default;

  /// Creates an adapter that drives the other loop from this one until it is destroyed.
  virtual std::shared_ptr<void> drive(std::shared_ptr<HostLoop> other) = 0;
  /// Waits for an event and handles it, or a few.
  virtual void once() = 0;
  /// Handles all pending events, without waiting.
  virtual void settle() = 0;
  /// Whether it would wake up by itself, for a timer or a pending event.
  virtual bool isArmed() = 0;
};
/// The loop under test. Each loop has its own program, which runs the common tests.
std::unique_ptr<AppLoop> makeAppLoop();

inline const std::string kConfig = fakes::project().flag("on", true).toJson();

/// Counts the ticks of a loop.
class CountedLoop final : public HostLoop {
 public:
  explicit CountedLoop(std::shared_ptr<HostLoop> loop) : loop_(std::move(loop)) {}

  void post(Callback<void()> task) override { loop_->post(std::move(task)); }
  bool runUntil(const std::function<bool()>& met) override { return loop_->runUntil(met); }
  void run() override { loop_->run(); }
  void stop() override { loop_->stop(); }
  void tick() override {
    ++ticks;
    loop_->tick();
  }
  [[nodiscard]] bool busy() const override { return loop_->busy(); }
  void onWork(std::function<void()> listener) override { loop_->onWork(std::move(listener)); }

  int ticks = 0;

 private:
  const std::shared_ptr<HostLoop> loop_;
};

/// Configuration and location for every token except "broken". Each answer comes in two pieces, so
/// that a loop must be ticked again for the second.
inline RawReply reply(const std::string& head) {
  if (head.find("token: broken") < head.size()) return answer(500, "");
  RawReply whole = answer(200, head.starts_with("GET /geo") ? "{}" : kConfig);
  std::string& first = whole.pieces.front();
  whole.pieces.push_back(first.substr(first.size() - 1));
  first.pop_back();
  return whole;
}

/// Clients of a loopback server. Their answers come on a loop that another loop drives.
class DrivenLoop : public testing::Test {
 protected:
  std::shared_ptr<CorvoClient> makeClient(const std::string& token = "token") {
    return registry.initializeClient(token, std::nullopt, server.url(""), 300, 0, token);
  }
  void runUntil(const std::function<bool()>& met) {
    while (!met()) loop->once();
  }
  void drive() {
    adapter.reset();  // first, because a loop has one adapter at a time
    adapter = loop->drive(counted);
  }

  LoopbackServer server{reply};
  std::unique_ptr<AppLoop> loop = makeAppLoop();
  Host host = makeHost({.inMemory = true});
  ClientRegistry registry{host.platform};
  std::shared_ptr<CountedLoop> counted = std::make_shared<CountedLoop>(host.loop);
  std::shared_ptr<void> adapter = loop->drive(counted);
};

}  // namespace corvo::tests
