// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "targeting/condition.h"
#include "targeting/subject.h"

namespace corvo::corvo_internal::targeting {

// Events of a decision in progress. Each folder reports its own steps; an observer of a higher
// folder receives those of the lower ones, too. Whatever an event refers to is valid during its
// call.

/// Ignores all events at no cost. Observable functions take an observer by value: either this one,
/// or a reference to a real one.
struct NoObserver {
  template <class Event>
  void on(const Event& /*event*/) const noexcept {}
};

/// A condition was tested; `position` is its index in its list.
struct ConditionTested {
  std::size_t position;
  const PreparedCondition& condition;
  const Subject& subject;
  bool holds;
};

/// Trying the next rule of a list. Default rules are tried last.
struct RuleBegun {};
struct RuleDecided {
  bool holds;
};

/// Observes how conditions and rules are decided.
class Observer {
 public:
  Observer() = default;
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;

  virtual void on(const ConditionTested& event) = 0;
  virtual void on(const RuleBegun& event) = 0;
  virtual void on(const RuleDecided& event) = 0;

 protected:
  ~Observer() = default;
};

}  // namespace corvo::corvo_internal::targeting
