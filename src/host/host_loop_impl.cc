// SPDX-License-Identifier: Apache-2.0

#include "host/host_loop_impl.h"

#include <utility>

namespace corvo::corvo_internal::host {

void HostLoopImpl::post(Callback<void()> task) {
  bool isFirst = false;
  {
    const std::lock_guard lock(mutex_);
    isFirst = tasks_.empty();
    tasks_.push_back(std::move(task));
  }
  notify(isFirst);
}

void HostLoopImpl::start(TransferJob job) {
  TransferJobs one;
  one.push_back(std::move(job));
  {
    const std::lock_guard lock(mutex_);
    jobs_.splice(jobs_.end(), one);
  }
  notify(true);
}

void HostLoopImpl::notify(bool isNewWork) {
  bool isWaiting = false;
  std::shared_ptr<const std::function<void()>> listener;
  {
    const std::lock_guard lock(mutex_);
    isWaiting = waiting_;
    if (isNewWork) listener = listener_;
  }
  if (isWaiting) transfers_.wake();
  if (listener != nullptr && *listener) (*listener)();
}

void HostLoopImpl::onWork(std::function<void()> listener) {
  auto shared = std::make_shared<const std::function<void()>>(std::move(listener));
  const std::lock_guard lock(mutex_);
  listener_.swap(shared);
}

bool HostLoopImpl::busy() const {
  const std::lock_guard lock(mutex_);
  return !tasks_.empty() || !jobs_.empty() || transfers_.count() > 0;
}

bool HostLoopImpl::runUntil(const std::function<bool()>& condition) {
  const auto self = shared_from_this();  // a task may release the loop
  const Access::Scope running(access_);
  while (!turn(condition)) {
    if (!busy()) return condition();
    wait();
  }
  return true;
}

void HostLoopImpl::run() {
  const auto self = shared_from_this();
  const Access::Scope running(access_);
  const auto stopped = [this] { return stop_.exchange(false); };
  while (!turn(stopped)) wait();
}

void HostLoopImpl::stop() {
  stop_ = true;
  transfers_.wake();
}

void HostLoopImpl::tick() {
  const auto self = shared_from_this();
  const Access::Scope running(access_);
  turn([] { return false; });
}

bool HostLoopImpl::turn(const std::function<bool()>& condition) {
  if (condition()) return true;
  moveTransfers();
  std::size_t left = 0;
  {
    const std::lock_guard lock(mutex_);
    left = tasks_.size();
  }
  for (; left > 0; --left) {
    if (condition()) return true;
    runTask();
  }
  return condition();
}

void HostLoopImpl::moveTransfers() {
  {
    const std::lock_guard lock(mutex_);  // a transfer is always in one of the two
    transfers_.start(std::move(jobs_));
    jobs_.clear();
  }
  transfers_.perform();
  for (TransferJobs one = transfers_.takeAnswered(); !one.empty();
       one = transfers_.takeAnswered()) {
    one.front().completion(std::move(one.front().response));
  }
}

void HostLoopImpl::runTask() {
  Callback<void()> task;
  {
    const std::lock_guard lock(mutex_);
    if (tasks_.empty()) return;  // an earlier task ran the loop itself
    task = std::move(tasks_.front());
    tasks_.pop_front();
  }
  task();
}

void HostLoopImpl::wait() {
  {
    const std::lock_guard lock(mutex_);
    if (!tasks_.empty() || !jobs_.empty()) return;
    waiting_ = true;
  }
  transfers_.wait();
  const std::lock_guard lock(mutex_);
  waiting_ = false;
}

CurlSession::~CurlSession() {
  life_.reset();
  loop_->wake();
}

void CurlSession::start(UrlRequest request, Callback<void(UrlResponse)> completion) {
  loop_->start(
      {.request = std::move(request), .completion = std::move(completion), .owner = life_});
}

}  // namespace corvo::corvo_internal::host
