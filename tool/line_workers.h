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

/// Threads that work on batches, which are handed back in the order in which they were begun. For
/// one thread at a time. What is unfinished when it is destroyed is dropped.
class LineWorkers {
 public:
  /// What one of the threads does with a batch.
  using Work = std::function<void(LineBatch&)>;

  /// A thread for each; where the system has not that many, fewer, but one at least.
  explicit LineWorkers(std::vector<Work> work);
  LineWorkers(const LineWorkers&) = delete;
  LineWorkers& operator=(const LineWorkers&) = delete;
  ~LineWorkers();

  [[nodiscard]] bool areIdle() const { return underWay_.empty(); }
  /// Whether there is enough to do for all, and for a while.
  [[nodiscard]] bool areBusy() const { return underWay_.size() > 2 * threads_.size(); }

  void begin(std::unique_ptr<LineBatch> batch);

  /// Of those under way the one that was begun first; waits until it is done. Throws what the work
  /// threw.
  std::unique_ptr<LineBatch> finish();

 private:
  struct Order {
    LineBatch* batch;
    std::promise<void> done;
  };
  struct Begun {
    std::unique_ptr<LineBatch> batch;
    std::future<void> done;
  };

  void run(const Work& work);
  std::optional<Order> take();

  std::vector<Work> work_;
  std::deque<Begun> underWay_;
  std::mutex mutex_;
  std::condition_variable change_;
  std::deque<Order> waiting_;  // guarded
  bool isOver_ = false;        // guarded
  std::vector<std::thread> threads_;
};

}  // namespace corvo::tool
