#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "base/md5.h"
#include "model/config.h"
#include "project/prepared_project.h"
#include "targeting/observer.h"

namespace corvo::corvo_internal::placement {

using targeting::Silent;

/// The identifier by which an experiment places the user was looked for.
struct SplitIdentified {
  model::SplitMode mode;
  const std::optional<std::string_view>& identifier;
};

/// The user is looked for in a holdout that the experiment names.
struct HoldoutBegun {
  const project::PreparedExperiment& holdout;
};
struct HoldoutDecided {
  bool isIn;
};
/// Between these two: the holdout has been looked at before, and is not again.
struct HoldoutRemembered {};

/// The forced lists of the groups, and then that of the experiment, were looked at.
struct GroupsForced {
  const model::Experiment& experiment;
  std::optional<std::size_t> group;
};
struct ExperimentForced {
  bool isListed;
};

/// The user is looked for in the experiment's layer.
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

/// An identifier was hashed with a salt: of the layer where that has begun, else of the experiment.
struct Hashed {
  std::string_view identifier;
  std::string_view salt;
  const base::Md5Digest& digest;
  double bucket;
};

/// The allocation was compared with the bucket's magnitude.
struct AllocationTested {
  double allocation;
  double used;   ///< What is compared: a hundredth of the magnitude,
  double limit;  ///< and with what: the allocation in per cent.
  bool isInside;
};

/// The group is looked for in whose share a point from 0 to 100 lies; each share ends where the
/// weights so far do. Where it lies in none, one group may take the rest.
struct SharesBegun {
  const model::Experiment& experiment;
  double point;
};
struct ShareTested {
  double end;
  bool holds;
};
struct SharesDecided {
  std::optional<std::size_t> group;
};

/// The targets are looked at.
struct TargetsBegun {
  const model::Experiment& experiment;
};
struct TargetsDecided {
  bool areMet;
};

/// Sees where users are placed, and why.
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
  virtual void on(const SharesBegun& event) = 0;
  virtual void on(const ShareTested& event) = 0;
  virtual void on(const SharesDecided& event) = 0;
  virtual void on(const TargetsBegun& event) = 0;
  virtual void on(const TargetsDecided& event) = 0;

 protected:
  ~Observer() = default;
};

}  // namespace corvo::corvo_internal::placement
