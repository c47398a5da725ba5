// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "base/md5.h"
#include "model/config.h"
#include "project/prepared_project.h"
#include "targeting/observer.h"

namespace corvo::corvo_internal::placement {

using targeting::NoObserver;

/// The identifier by which an experiment places the user was looked up.
struct SplitIdentified {
  model::SplitMode mode;
  const std::optional<std::string_view>& identifier;
};

/// Looking for the user in a holdout that the experiment names.
struct HoldoutBegun {
  const project::PreparedExperiment& holdout;
};
struct HoldoutDecided {
  bool isIn;
};
/// Sent between these two: the holdout has been resolved before and is not resolved again.
struct HoldoutRemembered {};

/// The forced lists of the groups, and then that of the experiment, were searched.
struct GroupsForced {
  const model::Experiment& experiment;
  std::optional<std::size_t> group;
};
struct ExperimentForced {
  bool isListed;
};

/// Looking for the user in the experiment's layer.
struct LayerBegun {
  const model::Experiment& experiment;
};
struct IntervalTested {
  const model::LayerBounds& bounds;
  double point;
  bool admits;
};
struct LayerDecided {
  bool isInside;
};

/// An identifier was hashed with a salt: the layer's while a layer is examined, otherwise the
/// experiment's.
struct Hashed {
  std::string_view identifier;
  std::string_view salt;
  const base::Md5Digest& digest;
  double bucket;
};

/// The allocation was compared with the bucket's magnitude.
struct AllocationTested {
  double allocation;
  double used;   ///< The compared value: a hundredth of the magnitude.
  double limit;  ///< Its limit: the allocation in per cent.
  bool isInside;
};

/// Searching for the group whose range contains a point from 0 to 100. Each range ends at the sum
/// of the weights so far. If no range contains the point, one group may take it.
struct WeightsBegun {
  const model::Experiment& experiment;
  double point;
};
struct WeightTested {
  double end;
  bool holds;
};
struct WeightsDecided {
  std::optional<std::size_t> group;
};

/// Testing the targets.
struct TargetsBegun {
  const model::Experiment& experiment;
};
struct TargetsDecided {
  bool areMet;
};

/// Observes where users are placed, and why.
class Observer : public targeting::Observer {
 public:
  using targeting::Observer::on;
  virtual void on(const SplitIdentified& event) = 0;
  virtual void on(const HoldoutBegun& event) = 0;
  virtual void on(const HoldoutDecided& event) = 0;
  virtual void on(const HoldoutRemembered& event) = 0;
  virtual void on(const GroupsForced& event) = 0;
  virtual void on(const ExperimentForced& event) = 0;
  virtual void on(const LayerBegun& event) = 0;
  virtual void on(const IntervalTested& event) = 0;
  virtual void on(const LayerDecided& event) = 0;
  virtual void on(const Hashed& event) = 0;
  virtual void on(const AllocationTested& event) = 0;
  virtual void on(const WeightsBegun& event) = 0;
  virtual void on(const WeightTested& event) = 0;
  virtual void on(const WeightsDecided& event) = 0;
  virtual void on(const TargetsBegun& event) = 0;
  virtual void on(const TargetsDecided& event) = 0;

 protected:
  ~Observer() = default;
};

}  // namespace corvo::corvo_internal::placement
