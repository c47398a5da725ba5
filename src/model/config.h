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

/// How the conditions of a list are joined.
enum class ConditionalStatement : std::uint8_t { and_, or_, empty };

/// What a condition tests. The order is that of the document's format.
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

/// Whether the rows of a table stand in the order of their enumerators, from the first on, so that
/// an enumerator is the position of its row.
template <class Table, class EnumeratorOf>
constexpr bool isByEnumerator(const Table& table, EnumeratorOf enumeratorOf) {
  std::size_t position = 0;
  for (const auto& row : table) {
    if (static_cast<std::size_t>(enumeratorOf(row)) != position++) return false;
  }
  return true;
}

/// Which property of the user an experiment splits by.
enum class SplitMode : std::uint8_t { userId, deviceId, profileId };

/// What an experiment is for. The numbers are those of the document.
enum class ExperimentType : std::uint8_t {
  featureFlag = 1,
  param = 2,
  splitUrl = 3,
  webBuilder = 4,
  holdout = 5
};

// The records of a configuration are plain: their texts and lists lie in a pool.

using base::List;
using base::Text;

/// Keeps a pool as long as there are records that refer to it. It is no part of their content.
struct PoolOwner {
  std::shared_ptr<const base::Pool> pool;

  bool operator==(const PoolOwner& /*other*/) const { return true; }
};

/// One test of one targeting property.
struct Condition {
  Text name;
  ConditionSign conditionSign{};
  List<Text> values;

  bool operator==(const Condition&) const = default;
};

/// One value of a flag with the conditions under which it applies.
struct Rule {
  Text value;
  List<Condition> conditions;
  ConditionalStatement conditionalStatement{};
  bool isDefault = false;

  bool operator==(const Rule&) const = default;
};

/// The rules that a flag uses for one group of an experiment.
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

/// The users whom an experiment is for.
struct Target {
  ConditionalStatement conditionalStatement{};
  List<Condition> conditions;

  bool operator==(const Target&) const = default;
};

/// One interval of a layer that an experiment occupies, both ends included.
struct LayerBounds {
  double lowerBound = 0;
  double upperBound = 0;

  bool operator==(const LayerBounds&) const = default;
};

/// One group of an experiment; the weight is a fraction of its users.
struct Group {
  Text name;
  std::optional<Text> label;
  double weight = 0;
  List<Text> forcedUserList;

  bool operator==(const Group&) const = default;
};

/// One parameter of an experiment with its value per group.
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

/// One experiment or holdout; the allocation is a fraction of all users.
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
  PoolOwner own;  ///< Of what the configuration's pool lacks; none in one that was read.

  bool operator==(const Experiment&) const = default;
};

/// The configuration document of a project.
struct ConfigResponse {
  std::vector<FeatureFlag> featureFlags;
  std::vector<Experiment> experiments;
  PoolOwner owner;  ///< Of all that they refer to.

  bool operator==(const ConfigResponse&) const = default;
};

/// The experiments that the application forced its user into: the group's index, or none where the
/// user was forced without a group.
using ForcedExperiments = std::map<std::string, std::optional<std::int64_t>, std::less<>>;

}  // namespace corvo::corvo_internal::model
