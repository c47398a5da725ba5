// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/callback.h>
#include <corvo/export.h>

#include <functional>

namespace corvo {

/// The serial queue on which answers from the network are handled and delivered.
class CORVO_TYPE MainQueue {
 public:
  virtual ~MainQueue() = default;

  /// Runs the task later, after those posted before it, never inside this call. May be called from
  /// any thread, and from a task.
  virtual void post(Callback<void()> task) = 0;

  /// Runs tasks on the calling thread until the condition holds (it is tested before each task).
  /// Returns false if the condition does not hold and nothing under way could change it: no task is
  /// queued and none can come. May be called from a task. An exception that a task throws
  /// propagates to the caller; the other tasks stay queued.
  virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

}  // namespace corvo
