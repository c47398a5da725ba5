#include "experiments/project.h"

#include <utility>

namespace corvo::experiments {
namespace {

CarriedFlag prepared(const model::FeatureFlag& flag) {
  CarriedFlag carried{&flag, {}};
  carried.groupRules.reserve(flag.groups.size());
  for (const model::FeatureFlagGroup& group : flag.groups) {
    carried.groupRules.emplace_back(group.rules);
  }
  return carried;
}

PreparedExperiment prepared(const model::Experiment& experiment) {
  PreparedExperiment result{&experiment, {}};
  result.flags.reserve(experiment.featureFlags.size());
  for (const model::FeatureFlag& flag : experiment.featureFlags) {
    result.flags.push_back(prepared(flag));
  }
  return result;
}

}  // namespace

Project::Project(std::shared_ptr<const model::ConfigResponse> config)
    : config_(std::move(config)), flags_(config_->featureFlags.size()) {
  addFlags();
  addExperiments();
}

// Of two flags with one name the first decides.
void Project::addFlags() {
  for (const model::FeatureFlag& flag : config_->featureFlags) {
    FlagEntry& entry = flags_[flag.name];
    if (entry.record != nullptr) continue;
    entry.record = &flag;
    entry.rules = targeting::RuleList(flag.rules);
  }
}

// The first experiment that carries a flag decides it, by the first flag of that name.
void Project::addExperiments() {
  experiments_.reserve(config_->experiments.size());  // entries point into it
  for (const model::Experiment& experiment : config_->experiments) {
    const PreparedExperiment& added = experiments_.emplace_back(prepared(experiment));
    for (const CarriedFlag& flag : added.flags) {
      FlagEntry& entry = flags_[flag.record->name];
      if (entry.carrier != nullptr) continue;
      entry.carrier = &added;
      entry.carried = &flag;
    }
  }
}

const FlagEntry* Project::findFlag(std::string_view name) const {
  const auto found = flags_.find(name);
  return found == flags_.end() ? nullptr : &found->second;
}

}  // namespace corvo::experiments
