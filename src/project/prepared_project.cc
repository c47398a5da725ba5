// SPDX-License-Identifier: Apache-2.0

#include "project/prepared_project.h"

#include <algorithm>
#include <span>
#include <unordered_map>
#include <utility>

#include "base/cold.h"
#include "base/text.h"

namespace corvo::corvo_internal::project {
namespace {

template <class NameAt>
CORVO_COLD std::uint32_t positionOfRepaired(const base::NameIndex& index, std::string_view name,
                                            NameAt nameAt) {
  return index.find(base::wellFormed(name), nameAt);
}

template <class NameAt>
std::uint32_t positionOf(const base::NameIndex& index, std::string_view name, NameAt nameAt) {
  const std::uint32_t position = index.find(name, nameAt);
  // Most unknown names are well-formed.
  if (position != base::NameIndex::kNone || base::isWellFormed(name)) return position;
  return positionOfRepaired(index, name, nameAt);
}

CarriedFlag prepared(const model::FeatureFlag& flag, const PreparedExperiment& carrier,
                     targeting::Vocabulary& vocabulary) {
  const auto addGroups = [&](std::span<targeting::RuleList> list) {
    std::ranges::transform(flag.groups, list.begin(), [&](const model::FeatureFlagGroup& group) {
      return targeting::RuleList(group.rules, vocabulary);
    });
  };
  return {&flag, &carrier,
          vocabulary.pool.list<targeting::RuleList>(flag.groups.size(), addGroups)};
}

template <class Record>
FirstOfName firstOfName(model::List<Record> records, base::Pool& pool) {
  return pool.list<std::uint32_t>(records.size(), [&](std::span<std::uint32_t> first) {
    if (first.size() == 1) return;
    std::unordered_map<std::string_view, std::uint32_t, base::TextHash> positions(first.size());
    for (std::uint32_t position = 0; position < first.size(); ++position) {
      first[position] = positions.try_emplace(records[position].name, position).first->second;
    }
  });
}

// The experiment must already be at its final address, because its flags point to it.
void prepare(PreparedExperiment& experiment, targeting::Vocabulary& vocabulary) {
  const model::Experiment& record = *experiment.record;
  if (record.targets) experiment.target.emplace(*record.targets, vocabulary);
  experiment.forced = ForcedLists::of(record);
  const auto addFlags = [&](std::span<CarriedFlag> list) {
    std::ranges::transform(record.featureFlags, list.begin(), [&](const model::FeatureFlag& flag) {
      return prepared(flag, experiment, vocabulary);
    });
  };
  experiment.flags = vocabulary.pool.list<CarriedFlag>(record.featureFlags.size(), addFlags);
  experiment.firstFlags = firstOfName(record.featureFlags, vocabulary.pool);
  experiment.firstParams = firstOfName(record.params, vocabulary.pool);
}

}  // namespace

PreparedProject::PreparedProject(std::shared_ptr<const model::ConfigResponse> config)
    : config_(std::move(config)),
      flagIndex_(config_->featureFlags.size()),
      experimentIndex_(config_->experiments.size()) {
  targeting::Vocabulary vocabulary{pool_};
  addFlags(vocabulary);
  addExperiments(vocabulary);
  propertyNames_ = std::move(vocabulary.names);
  lists_ = std::move(vocabulary.lists);
  addCarriedFlags();
  addNames();
  addHoldouts();
}

// If two flags have one name, the first decides.
void PreparedProject::addFlags(targeting::Vocabulary& vocabulary) {
  flags_.reserve(config_->featureFlags.size());
  for (const model::FeatureFlag& flag : config_->featureFlags) {
    FlagEntry& entry = entryOf(flag.name);
    if (entry.record != nullptr) continue;
    entry.record = &flag;
    entry.isPrivate = flag.isPrivate.value_or(false);
    entry.rules = targeting::RuleList(flag.rules, vocabulary);
  }
}

void PreparedProject::addExperiments(targeting::Vocabulary& vocabulary) {
  experiments_.reserve(config_->experiments.size());  // elements must not move: they are pointed to
  for (const model::Experiment& experiment : config_->experiments) {
    experiments_.emplace_back().record = &experiment;
    prepare(experiments_.back(), vocabulary);
  }
}

// The first experiment that carries a flag decides it, by the first flag of that name.
void PreparedProject::addCarriedFlags() {
  for (const PreparedExperiment& experiment : experiments_) {
    for (const CarriedFlag& flag : experiment.flags) {
      FlagEntry& entry = entryOf(flag.record->name);
      if (entry.carried == nullptr) entry.carried = &flag;
    }
  }
  flags_.shrink_to_fit();
}

// Backwards, so that each experiment links to the next one of its name.
void PreparedProject::addNames() {
  for (auto i = static_cast<std::uint32_t>(experiments_.size()); i-- > 0;) {
    PreparedExperiment& experiment = experiments_[i];
    const base::HashedName name(experiment.record->name);
    experiment.nextOfName = experimentAt(experimentIndex_.put(name, i, experimentNameAt()));
    if (experiment.isHoldout()) holdoutIndex_.put(name, i, experimentNameAt());
  }
}

// A holdout that is named twice would only give the same answer again.
void PreparedProject::addHoldouts() {
  std::unordered_map<const PreparedExperiment*, const PreparedExperiment*> namedLastBy;
  std::vector<const PreparedExperiment*> holdouts;
  for (PreparedExperiment& experiment : experiments_) {
    holdouts.clear();
    for (const model::Text name : experiment.record->holdouts) {
      const PreparedExperiment* holdout = findHoldout(name);
      if (holdout == nullptr) continue;
      if (std::exchange(namedLastBy[holdout], &experiment) == &experiment) continue;
      holdouts.push_back(holdout);
    }
    experiment.holdouts = pool_.list(holdouts);
  }
}

FlagEntry& PreparedProject::entryOf(model::Text flagName) {
  const base::HashedName name(flagName);
  const std::uint32_t known = flagIndex_.find(name, flagNameAt());
  if (known != base::NameIndex::kNone) return flags_[known];
  flags_.emplace_back().name = flagName;
  flagIndex_.put(name, static_cast<std::uint32_t>(flags_.size() - 1), flagNameAt());
  return flags_.back();
}

const FlagEntry* PreparedProject::findFlag(std::string_view name) const {
  const std::uint32_t position = positionOf(flagIndex_, name, flagNameAt());
  return position == base::NameIndex::kNone ? nullptr : &flags_[position];
}

const PreparedExperiment* PreparedProject::experimentAt(std::uint32_t position) const {
  return position == base::NameIndex::kNone ? nullptr : &experiments_[position];
}

const PreparedExperiment* PreparedProject::findExperiment(std::string_view name) const {
  return experimentAt(positionOf(experimentIndex_, name, experimentNameAt()));
}

const PreparedExperiment* PreparedProject::findHoldout(std::string_view name) const {
  return experimentAt(positionOf(holdoutIndex_, name, experimentNameAt()));
}

}  // namespace corvo::corvo_internal::project
