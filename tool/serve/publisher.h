// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "tool/ofrep/publication.h"
#include "tool/serve/event_stream.h"
#include "tool/serve/served_project.h"

namespace corvo::tool {

/// Publishes what was read or fetched, and tells the listeners of changes. For one thread. Refers
/// to its arguments.
class Publisher {
 public:
  using Clock = Publication::Clock;

  Publisher(Publication& publication, EventStream& events)
      : publication_(publication), events_(events) {}

  /// Publishes the project, or withdraws the current one if this one may not be evaluated. It is a
  /// change only if its version differs from the version that was published last.
  void offer(const Snapshot& snapshot, Clock::time_point confirmed,
             Clock::time_point expires = Clock::time_point::max());

  /// Nothing may be evaluated, for this reason.
  void withdraw(std::string refusal) { publication_.withdraw(std::move(refusal)); }

  /// The same, unless an edition may still answer.
  void complain(std::string reason);

 private:
  Publication& publication_;
  EventStream& events_;
  std::shared_ptr<const Edition> last_;
};

}  // namespace corvo::tool
