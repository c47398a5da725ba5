// SPDX-License-Identifier: Apache-2.0

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
  Job job{batch.get(), {}};
  underWay_.push_back({std::move(batch), job.done.get_future()});
  {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(job));
  }
  change_.notify_one();
}

std::unique_ptr<LineBatch> LineWorkers::finish() {
  Begun first = std::move(underWay_.front());
  underWay_.pop_front();
  first.done.get();
  return std::move(first.batch);
}

std::optional<LineWorkers::Job> LineWorkers::take() {
  std::unique_lock lock(mutex_);
  change_.wait(lock, [this] { return isOver_ || !waiting_.empty(); });
  if (isOver_) return std::nullopt;
  Job job = std::move(waiting_.front());
  waiting_.pop_front();
  return job;
}

void LineWorkers::run(const Work& work) {
  while (std::optional<Job> job = take()) {
    try {
      work(*job->batch);
      job->done.set_value();
    } catch (...) {
      job->done.set_exception(std::current_exception());
    }
  }
}

}  // namespace corvo::tool
