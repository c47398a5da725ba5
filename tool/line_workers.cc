#include "tool/line_workers.h"

#include <system_error>
#include <utility>

namespace corvo::tool {

LineWorkers::LineWorkers(std::vector<Work> work) : work_(std::move(work)) {
  threads_.reserve(work_.size());
  try {
    for (const Work& each : work_) threads_.emplace_back([this, &each] { run(each); });
  } catch (const std::system_error&) {
    if (threads_.empty()) throw;
  }
}

LineWorkers::~LineWorkers() {
  {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
    waiting_.clear();
  }
  change_.notify_all();
  for (std::thread& each : threads_) each.join();
}

void LineWorkers::begin(std::unique_ptr<LineBatch> batch) {
  Order order{batch.get(), {}};
  underWay_.push_back({std::move(batch), order.done.get_future()});
  {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(order));
  }
  change_.notify_one();
}

std::unique_ptr<LineBatch> LineWorkers::finish() {
  Begun first = std::move(underWay_.front());
  underWay_.pop_front();
  first.done.get();
  return std::move(first.batch);
}

std::optional<LineWorkers::Order> LineWorkers::take() {
  std::unique_lock lock(mutex_);
  change_.wait(lock, [this] { return isOver_ || !waiting_.empty(); });
  if (isOver_) return std::nullopt;
  Order order = std::move(waiting_.front());
  waiting_.pop_front();
  return order;
}

void LineWorkers::run(const Work& work) {
  while (std::optional<Order> order = take()) {
    try {
      work(*order->batch);
      order->done.set_value();
    } catch (...) {
      order->done.set_exception(std::current_exception());
    }
  }
}

}  // namespace corvo::tool
