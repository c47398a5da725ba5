#include "project/prepared_project.h"

#include <unordered_map>
#include <utility>

#include "base/cold.h"
#include "base/text.h"

namespace corvo::corvo_internal::project {
namespace {

template <class NameAt>
CORVO_COLD std::uint32_t positionOfMended(const base::NameIndex& index, std::string_view name,
                                          NameAt nameAt) {
  return index.find(base::wellFormed(name), nameAt);
}

template <class NameAt>
std::uint32_t positionOf(const base::NameIndex& index, std::string_view name, NameAt nameAt) {
  const std::uint32_t position = index.find(name, nameAt);
  // Most names that nothing has are well-formed.
  if (position != base::NameIndex::kNone || base::isWellFormed(name)) return position;
  return positionOfMended(index, name, nameAt);
}

CarriedFlag prepared(const model::FeatureFlag& flag, const model::Experiment& experiment,
                     targeting::RuleBook& rules, targeting::Vocabulary& vocabulary) {
  CarriedFlag carried{&flag, &experiment, {}};
  carried.groupRules.reserve(flag.groups.size());
  for (const model::FeatureFlagGroup& group : flag.groups) {
    carried.groupRules.push_back(rules.add(group.rules, vocabulary));
  }
  return carried;
}

template <class Record>
FirstOfName firstOfName(model::List<Record> list) {
  if (list.size() == 1) return {0};
  std::unordered_map<std::string_view, std::uint32_t, base::TextHash> positions(list.size());
  FirstOfName first;
  first.reserve(list.size());
  for (const Record& record : list) {
    const auto position = static_cast<std::uint32_t>(first.size());
    first.push_back(positions.try_emplace(record.name, position).first->second);
  }
  return first;
}

PreparedExperiment prepared(const model::Experiment& experiment, targeting::RuleBook& rules,
                            targeting::Vocabulary& vocabulary) {
  PreparedExperiment result;
  result.record = &experiment;
  if (experiment.targets) result.target.emplace(*experiment.targets, vocabulary);
  result.forced = ForcedLists::of(experiment);
  result.flags.reserve(experiment.featureFlags.size());
  for (const model::FeatureFlag& flag : experiment.featureFlags) {
    result.flags.push_back(prepared(flag, experiment, rules, vocabulary));
  }
  result.firstFlags = firstOfName(experiment.featureFlags);
  result.firstParams = firstOfName(experiment.params);
  return result;
}

}  // namespace

PreparedProject::PreparedProject(std::shared_ptr<const model::ConfigResponse> config)
    : config_(std::move(config)),
      flagIndex_(config_->featureFlags.size()),
      experimentIndex_(config_->experiments.size()) {
  targeting::Vocabulary vocabulary;
  addFlags(vocabulary);
  addExperiments(vocabulary);
  rules_.close();
  propertyNames_ = std::move(vocabulary.names);
  lists_ = std::move(vocabulary.lists);
  addCarriedFlags();
  addNames();
  addHoldouts();
}

// Of two flags with one name the first decides.
void PreparedProject::addFlags(targeting::Vocabulary& vocabulary) {
  for (const model::FeatureFlag& flag : config_->featureFlags) {
    FlagEntry& entry = entryOf(flag.name);
    if (entry.record != nullptr) continue;
    entry.record = &flag;
    entry.isPrivate = flag.isPrivate.value_or(false);
    entry.rules = rules_.add(flag.rules, vocabulary);
  }
}

void PreparedProject::addExperiments(targeting::Vocabulary& vocabulary) {
  experiments_.reserve(config_->experiments.size());  // much points into it
  for (const model::Experiment& experiment : config_->experiments) {
    experiments_.push_back(prepared(experiment, rules_, vocabulary));
  }
}

// The first experiment that carries a flag decides it, by the first flag of that name.
void PreparedProject::addCarriedFlags() {
  for (const PreparedExperiment& experiment : experiments_) {
    for (const CarriedFlag& flag : experiment.flags) {
      FlagEntry& entry = entryOf(flag.record->name);
      if (entry.carrier != nullptr) continue;
      entry.carrier = &experiment;
      entry.carried = &flag;
    }
  }
}

// Backwards, so that each experiment comes before those of its name that follow it.
void PreparedProject::addNames() {
  for (auto i = static_cast<std::uint32_t>(experiments_.size()); i-- > 0;) {
    PreparedExperiment& experiment = experiments_[i];
    const base::HashedName name(experiment.record->name);
    experiment.nextOfName = experimentAt(experimentIndex_.put(name, i, experimentNameAt()));
    if (experiment.isHoldout()) holdoutIndex_.put(name, i, experimentNameAt());
  }
}

// A holdout that is named again could only answer the same again.
void PreparedProject::addHoldouts() {
  std::unordered_map<const PreparedExperiment*, const PreparedExperiment*> namedLastBy;
  for (PreparedExperiment& experiment : experiments_) {
    for (const model::Text name : experiment.record->holdouts) {
      const PreparedExperiment* holdout = findHoldout(name);
      if (holdout == nullptr) continue;
      if (std::exchange(namedLastBy[holdout], &experiment) == &experiment) continue;
      experiment.holdouts.push_back(holdout);
    }
  }
}

FlagEntry& PreparedProject::entryOf(std::string_view flagName) {
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
