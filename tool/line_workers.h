// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "tool/line_batch.h"

namespace corvo::tool {

/// Threads that process batches and return them in the order in which they were submitted. For use
/// by one thread. Unfinished batches are dropped on destruction.
class LineWorkers {
 public:
  /// What a thread does with a batch.
  using Work = std::function<void(LineBatch&)>;

  /// Starts one thread per function; fewer, but at least one, if the system cannot create as many.
  explicit LineWorkers(std::vector<Work> work);
  LineWorkers(const LineWorkers&) = delete;
  LineWorkers& operator=(const LineWorkers&) = delete;
  ~LineWorkers();

  [[nodiscard]] bool areIdle() const { return underWay_.empty(); }
  /// Whether all threads have enough work for a while.
  [[nodiscard]] bool areBusy() const { return underWay_.size() > 2 * threads_.size(); }

  void begin(std::unique_ptr<LineBatch> batch);

  /// Waits for the batch that was submitted first and returns it. Throws what the work threw.
  std::unique_ptr<LineBatch> finish();

 private:
  struct Job {
    LineBatch* batch;
    std::promise<void> done;
  };
  struct Begun {
    std::unique_ptr<LineBatch> batch;
    std::future<void> done;
  };

  void run(const Work& work);
  std::optional<Job> take();

  std::vector<Work> work_;
  std::deque<Begun> underWay_;
  std::mutex mutex_;
  std::condition_variable change_;
  std::deque<Job> waiting_;  // guarded
  bool isOver_ = false;      // guarded
  std::vector<std::thread> threads_;
};

}  // namespace corvo::tool
