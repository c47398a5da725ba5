#pragma once

#include <cstddef>

#include "targeting/condition.h"
#include "targeting/subject.h"

namespace corvo::corvo_internal::targeting {

// What can be seen of a decision while it is made. Each folder tells of its own steps; an observer
// of a higher one sees those below as well. Events refer to what lasts as long as their call.

/// Sees nothing, and costs nothing. Functions that can be seen at work take it by value, so that it
/// is passed as nothing, or an observer by reference.
struct Silent {
  template <class Event>
  void on(const Event& /*event*/) const noexcept {}
};

/// A condition was tested; its position is that in its list.
struct ConditionTested {
  std::size_t position;
  const PreparedCondition& condition;
  const Subject& subject;
  bool holds;
};

/// The next rule of a list is tried, in the order of trial: default rules last.
struct RuleBegun {};
struct RuleDecided {
  bool holds;
};

/// Sees how conditions and rules are decided.
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
