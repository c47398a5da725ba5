#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

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

/// One test of one targeting property.
struct Condition {
  std::string name;
  ConditionSign conditionSign{};
  std::vector<std::string> values;

  bool operator==(const Condition&) const = default;
};

/// One value of a flag with the conditions under which it applies.
struct Rule {
  bool isDefault = false;
  std::string value;
  ConditionalStatement conditionalStatement{};
  std::vector<Condition> conditions;

  bool operator==(const Rule&) const = default;
};

/// The rules that a flag uses for one group of an experiment.
struct FeatureFlagGroup {
  std::string name;
  std::vector<Rule> rules;

  bool operator==(const FeatureFlagGroup&) const = default;
};

struct FeatureFlag {
  std::optional<std::string> id;
  std::optional<std::int64_t> projectId;
  std::string name;
  std::string type;
  std::vector<Rule> rules;
  std::vector<FeatureFlagGroup> groups;
  std::optional<bool> isPrivate;
  std::optional<std::string> platform;

  bool operator==(const FeatureFlag&) const = default;
};

/// The users whom an experiment is for.
struct Target {
  ConditionalStatement conditionalStatement{};
  std::vector<Condition> conditions;

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
  std::string name;
  std::optional<std::string> label;
  double weight = 0;
  std::vector<std::string> forcedUserList;

  bool operator==(const Group&) const = default;
};

/// One parameter of an experiment with its value per group.
struct Param {
  struct Value {
    std::string group;
    std::string value;

    bool operator==(const Value&) const = default;
  };

  std::string name;
  std::string type;
  std::vector<Value> values;

  bool operator==(const Param&) const = default;
};

/// One experiment or holdout; the allocation is a fraction of all users.
struct Experiment {
  std::string name;
  std::string salt;
  double allocation = 0;
  std::optional<std::string> layerId;
  std::vector<LayerBounds> layerBounds;
  std::vector<Group> groups;
  std::vector<Param> params;
  std::optional<Target> targets;
  std::vector<FeatureFlag> featureFlags;
  std::vector<std::string> forcedUserList;
  std::optional<bool> isPrivate;
  std::optional<SplitMode> splitMode;
  std::vector<std::string> platforms;
  std::vector<std::string> holdouts;
  std::optional<ExperimentType> type;

  bool operator==(const Experiment&) const = default;
};

/// The configuration document of a project.
struct ConfigResponse {
  std::vector<FeatureFlag> featureFlags;
  std::vector<Experiment> experiments;

  bool operator==(const ConfigResponse&) const = default;
};

/// The experiments that the application forced its user into: the group's index, or none where the
/// user was forced without a group.
using ForcedExperiments = std::map<std::string, std::optional<std::int64_t>, std::less<>>;

}  // namespace corvo::corvo_internal::model
