// SPDX-License-Identifier: Apache-2.0
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

/// A flag that an experiment carries: the rules for each of the flag's groups, by position.
struct CarriedFlag {
  const model::FeatureFlag* record = nullptr;
  const PreparedExperiment* carrier = nullptr;
  base::List<targeting::RuleList> groupRules;
};

/// For each element of a list, the position of the first element with the same name.
using FirstOfName = base::List<std::uint32_t>;

/// An experiment with everything prepared that a question about it needs.
struct PreparedExperiment {
  const model::Experiment* record = nullptr;
  std::optional<targeting::PreparedTarget> target;
  base::List<CarriedFlag> flags;
  std::unique_ptr<const ForcedLists> forced;  // null if the lists are short
  FirstOfName firstFlags;
  FirstOfName firstParams;
  base::List<const PreparedExperiment*> holdouts;  // the holdouts it names that exist, in its order
  const PreparedExperiment* nextOfName = nullptr;

  [[nodiscard]] bool isHoldout() const { return record->type == model::ExperimentType::holdout; }
};

/// Everything that decides one flag: the flag of that name, and the first experiment that carries
/// one.
struct FlagEntry {
  model::Text name;
  const model::FeatureFlag* record = nullptr;  // null if only an experiment knows the name
  targeting::RuleList rules;
  const CarriedFlag* carried = nullptr;  // null if no experiment carries the flag
  bool isPrivate = false;
};

/// A configuration prepared for evaluation: the records, arranged and indexed once, so that the
/// cost of a question does not grow with the project.
///
/// Immutable and therefore thread-safe. Keeps the records that it refers to alive.
class PreparedProject {
 public:
  explicit PreparedProject(std::shared_ptr<const model::ConfigResponse> config);
  PreparedProject(const PreparedProject&) = delete;
  PreparedProject& operator=(const PreparedProject&) = delete;

  [[nodiscard]] const model::ConfigResponse& config() const noexcept { return *config_; }

  // Names come from the application and may be ill-formed UTF-8. This is checked only if a name is
  // not found, because all names in here are well-formed.

  /// The entry of the flag, or null if nothing in the project has the name.
  [[nodiscard]] const FlagEntry* findFlag(std::string_view name) const;

  /// All entries: the configuration's flags, each name once, in its order, and then those that only
  /// experiments know.
  [[nodiscard]] const std::vector<FlagEntry>& flags() const noexcept { return flags_; }

  /// The properties that the project's conditions test.
  [[nodiscard]] const targeting::PropertyNames& propertyNames() const noexcept {
    return propertyNames_;
  }

  /// All experiments, including holdouts, in the configuration's order.
  [[nodiscard]] const std::vector<PreparedExperiment>& experiments() const noexcept {
    return experiments_;
  }

  /// The first experiment of that name, of any type, or null. The others of that name are linked to
  /// it.
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
