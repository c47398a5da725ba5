#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "base/name_index.h"
#include "base/pool.h"
#include "model/config.h"
#include "project/forced_lists.h"
#include "targeting/property_names.h"
#include "targeting/rules.h"

namespace corvo::corvo_internal::project {

struct PreparedExperiment;

/// A flag that an experiment carries: its rules for each of the flag's groups, by position.
struct CarriedFlag {
  const model::FeatureFlag* record = nullptr;
  const PreparedExperiment* carrier = nullptr;
  base::List<targeting::RuleList> groupRules;
};

/// For each element of a list the position of the first one that has the same name.
using FirstOfName = base::List<std::uint32_t>;

/// An experiment with everything prepared that a question about it needs.
struct PreparedExperiment {
  const model::Experiment* record = nullptr;
  std::optional<targeting::PreparedTarget> target;
  base::List<CarriedFlag> flags;
  std::unique_ptr<const ForcedLists> forced;  // null where the lists are short
  FirstOfName firstFlags;
  FirstOfName firstParams;
  base::List<const PreparedExperiment*> holdouts;  // those it names that there are, in its order
  const PreparedExperiment* nextOfName = nullptr;

  [[nodiscard]] bool isHoldout() const { return record->type == model::ExperimentType::holdout; }
};

/// All that decides one flag: the flag of that name, and the first experiment that carries one.
struct FlagEntry {
  model::Text name;
  const model::FeatureFlag* record = nullptr;  // null where only an experiment knows the name
  targeting::RuleList rules;
  const CarriedFlag* carried = nullptr;  // null where no experiment carries the flag
  bool isPrivate = false;
};

/// A configuration prepared for evaluation: the records, arranged and indexed once, so that the
/// work of a question does not grow with the project.
///
/// Immutable, so any thread may read it. Keeps the records alive that it refers to.
class PreparedProject {
 public:
  explicit PreparedProject(std::shared_ptr<const model::ConfigResponse> config);
  PreparedProject(const PreparedProject&) = delete;
  PreparedProject& operator=(const PreparedProject&) = delete;

  [[nodiscard]] const model::ConfigResponse& config() const noexcept { return *config_; }

  // Names come from the application: the door's check for ill-formed UTF-8 is made only where
  // nothing has the name as it stands, for all names here are well-formed.

  /// What decides the flag of that name, or null when nothing of the project has the name.
  [[nodiscard]] const FlagEntry* findFlag(std::string_view name) const;

  /// All of them: the configuration's flags, each name once, in its order, and then those that only
  /// experiments know.
  [[nodiscard]] const std::vector<FlagEntry>& flags() const noexcept { return flags_; }

  /// The properties that its conditions test.
  [[nodiscard]] const targeting::PropertyNames& propertyNames() const noexcept {
    return propertyNames_;
  }

  /// All experiments, holdouts included, in the configuration's order.
  [[nodiscard]] const std::vector<PreparedExperiment>& experiments() const noexcept {
    return experiments_;
  }

  /// The first experiment of that name, of any type, or null; the others follow it.
  [[nodiscard]] const PreparedExperiment* findExperiment(std::string_view name) const;

  /// The first holdout of that name, or null.
  [[nodiscard]] const PreparedExperiment* findHoldout(std::string_view name) const;

 private:
  FlagEntry& entryOf(model::Text flagName);
  [[nodiscard]] auto flagNameAt() const {
    return [this](std::uint32_t at) { return flags_[at].name.view(); };
  }
  [[nodiscard]] auto experimentNameAt() const {
    return [this](std::uint32_t at) { return experiments_[at].record->name.view(); };
  }
  [[nodiscard]] const PreparedExperiment* experimentAt(std::uint32_t position) const;
  void addFlags(targeting::Vocabulary& vocabulary);
  void addExperiments(targeting::Vocabulary& vocabulary);
  void addCarriedFlags();
  void addNames();
  void addHoldouts();

  std::shared_ptr<const model::ConfigResponse> config_;
  base::Pool pool_;
  targeting::PropertyNames propertyNames_;
  targeting::PreparedLists lists_;
  std::vector<PreparedExperiment> experiments_;
  std::vector<FlagEntry> flags_;
  base::NameIndex flagIndex_;
  base::NameIndex experimentIndex_;  // the first of each name
  base::NameIndex holdoutIndex_;     // the first of each name
};

}  // namespace corvo::corvo_internal::project
