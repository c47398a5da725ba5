// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/config.h"
#include "placement/observer.h"
#include "placement/placement.h"
#include "project/prepared_project.h"

namespace corvo::corvo_internal::flags {

using targeting::NoObserver;

/// Looking for the user in the experiment that carries the flag.
struct CarrierBegun {
  const project::PreparedExperiment& experiment;
};
struct CarrierDecided {
  const project::CarriedFlag& flag;
  const placement::Placement& placement;
};

/// The carried flag was searched for the user's group.
struct GroupMatched {
  const project::CarriedFlag& flag;
  const model::Group& group;
  bool isFound;
};

/// Trying a list of rules. `hashed` is the privacy setting of the flag or experiment that decides.
struct RulesBegun {
  model::List<model::Rule> rules;
  bool hashed;
};
struct RulesDecided {
  const targeting::PreparedRule* rule;  ///< Null if no rule holds.
};

/// Observes how the value of a flag is decided.
class Observer : public placement::Observer {
 public:
  using placement::Observer::on;
  virtual void on(const CarrierBegun& event) = 0;
  virtual void on(const CarrierDecided& event) = 0;
  virtual void on(const GroupMatched& event) = 0;
  virtual void on(const RulesBegun& event) = 0;
  virtual void on(const RulesDecided& event) = 0;

 protected:
  ~Observer() = default;
};

}  // namespace corvo::corvo_internal::flags
