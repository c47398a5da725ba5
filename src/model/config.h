// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/pool.h"

namespace corvo::corvo_internal::model {

/// How the conditions of a list are combined.
enum class ConditionalStatement : std::uint8_t { and_, or_, empty };

/// The comparison that a condition makes, in the order of the document format.
enum class ConditionSign : std::uint8_t {
  equal,
  notEqual,
  anyOf,
  noneOf,
  containsAnyOf,
  containsNoneOf,
  onDate,
  afterTime,
  beforeTime,
  greater,
  less,
  greaterEqual,
  lessEqual,
  startsWith,
  notStartsWith,
  endsWith,
  notEndsWith,
  contains,
  notContains
};
constexpr std::size_t kConditionSignCount =
    static_cast<std::size_t>(ConditionSign::notContains) + 1;

/// Whether a table has one row per enumerator in their order, so that an enumerator is the index of
/// its row.
template <class Table, class EnumeratorOf>
constexpr bool isByEnumerator(const Table& table, EnumeratorOf enumeratorOf) {
  std::size_t position = 0;
  for (const auto& row : table) {
    if (static_cast<std::size_t>(enumeratorOf(row)) != position++) return false;
  }
  return true;
}

/// The property of the user by which an experiment splits.
enum class SplitMode : std::uint8_t { userId, deviceId, profileId };

/// The purpose of an experiment. The numbers are those of the document.
enum class ExperimentType : std::uint8_t {
  featureFlag = 1,
  param = 2,
  splitUrl = 3,
  webBuilder = 4,
  holdout = 5
};

// The records of a configuration are plain: a pool holds their texts and lists.

using base::List;
using base::Text;

/// Keeps a pool alive as long as records refer to it. Not part of their content.
struct PoolOwner {
  std::shared_ptr<const base::Pool> pool;

  bool operator==(const PoolOwner& /*other*/) const { return true; }
};

/// A test of one targeting property.
struct Condition {
  Text name;
  ConditionSign conditionSign{};
  List<Text> values;

  bool operator==(const Condition&) const = default;
};

/// One value of a flag, and the conditions under which it applies.
struct Rule {
  Text value;
  List<Condition> conditions;
  ConditionalStatement conditionalStatement{};
  bool isDefault = false;

  bool operator==(const Rule&) const = default;
};

/// The rules of a flag for one group of an experiment.
struct FeatureFlagGroup {
  Text name;
  List<Rule> rules;

  bool operator==(const FeatureFlagGroup&) const = default;
};

struct FeatureFlag {
  std::optional<Text> id;
  std::optional<std::int64_t> projectId;
  Text name;
  Text type;
  List<Rule> rules;
  List<FeatureFlagGroup> groups;
  std::optional<bool> isPrivate;
  std::optional<Text> platform;

  bool operator==(const FeatureFlag&) const = default;
};

/// The users that an experiment targets.
struct Target {
  ConditionalStatement conditionalStatement{};
  List<Condition> conditions;

  bool operator==(const Target&) const = default;
};

/// An interval of a layer that an experiment occupies, including both ends.
struct LayerBounds {
  double lowerBound = 0;
  double upperBound = 0;

  bool operator==(const LayerBounds&) const = default;
};

/// A group of an experiment; the weight is a fraction of the experiment's users.
struct Group {
  Text name;
  std::optional<Text> label;
  double weight = 0;
  List<Text> forcedUserList;

  bool operator==(const Group&) const = default;
};

/// A parameter of an experiment, with its value per group.
struct Param {
  struct Value {
    Text group;
    Text value;

    bool operator==(const Value&) const = default;
  };

  Text name;
  Text type;
  List<Value> values;

  bool operator==(const Param&) const = default;
};

/// An experiment or a holdout; the allocation is a fraction of all users.
struct Experiment {
  Text name;
  Text salt;
  double allocation = 0;
  std::optional<Text> layerId;
  List<LayerBounds> layerBounds;
  List<Group> groups;
  List<Param> params;
  std::optional<Target> targets;
  List<FeatureFlag> featureFlags;
  List<Text> forcedUserList;
  std::optional<bool> isPrivate;
  std::optional<SplitMode> splitMode;
  List<Text> platforms;
  List<Text> holdouts;
  std::optional<ExperimentType> type;
  PoolOwner own;  ///< Holds records that were added to the configuration; null in a decoded one.

  bool operator==(const Experiment&) const = default;
};

/// The configuration document of a project.
struct ConfigResponse {
  std::vector<FeatureFlag> featureFlags;
  std::vector<Experiment> experiments;
  PoolOwner owner;  ///< Holds everything that they refer to.

  bool operator==(const ConfigResponse&) const = default;
};

/// The experiments into which the application forced its user: the group's index, or nothing if the
/// user was forced without a group.
using ForcedExperiments = std::map<std::string, std::optional<std::int64_t>, std::less<>>;

}  // namespace corvo::corvo_internal::model
