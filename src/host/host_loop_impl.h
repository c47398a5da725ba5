// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/host.h>

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "base/concurrent_use_guard.h"
#include "host/curl_transfers.h"

namespace corvo::corvo_internal::host {

/// The queue of tasks and the transfers, advanced in turns by the thread that runs the loop.
/// `HostLoop` documents which thread may call what.
class HostLoopImpl final : public HostLoop, public std::enable_shared_from_this<HostLoopImpl> {
 public:
  explicit HostLoopImpl(const TransferLimits& limits) : transfers_(limits) {}

  void post(Callback<void()> task) override;
  bool runUntil(const std::function<bool()>& condition) override;
  void run() override;
  void stop() override;
  void tick() override;
  [[nodiscard]] bool busy() const override;
  void onWork(std::function<void()> listener) override;

  /// Starts a transfer. Thread-safe.
  void start(TransferJob job);
  /// Makes the running thread check for work. Thread-safe.
  void wake() noexcept { transfers_.wake(); }

 private:
  using Access = base::ConcurrentUseGuard<base::Detection::exact>;

  /// Advances the transfers and runs the tasks queued by then. Returns true immediately when the
  /// condition holds.
  bool turn(const std::function<bool()>& condition);
  void moveTransfers();
  void runTask();
  void wait();
  void notify(bool isNewWork);

  mutable std::mutex mutex_;
  std::deque<Callback<void()>> tasks_;                     // guarded by the mutex
  TransferJobs jobs_;                                      // guarded; not yet among the transfers
  bool waiting_ = false;                                   // guarded
  std::shared_ptr<const std::function<void()>> listener_;  // guarded
  std::atomic<bool> stop_ = false;
  Access access_{"the main queue was run by two threads at once"};
  CurlTransfers transfers_;  // for the running thread, except its thread-safe operations
};

/// Loads URLs on a loop. Thread-safe; answers arrive while the loop runs. Shares the loop.
class CurlSession final : public UrlSession {
 public:
  explicit CurlSession(std::shared_ptr<HostLoopImpl> loop) : loop_(std::move(loop)) {}
  CurlSession(const CurlSession&) = delete;
  CurlSession& operator=(const CurlSession&) = delete;
  ~CurlSession() override;

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override;

 private:
  std::shared_ptr<HostLoopImpl> loop_;
  std::shared_ptr<const void> life_ = std::make_shared<char>();
};

}  // namespace corvo::corvo_internal::host
