// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>
#include <corvo/fakes/flag_builder.h>
#include <corvo/fakes/rules.h>
#include <corvo/json_value.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvo::fakes {

/// A group of an experiment, by its name or with its weight: `"new"`, `{"new", 0.25}`.
struct Group {
  /// A group with that name, and optionally that weight.
  template <CorvoText Text>
  Group(const Text& groupName) : name(std::string_view(groupName)) {}
  template <CorvoText Text>
  Group(const Text& groupName, double groupWeight)
      : name(std::string_view(groupName)), weight(groupWeight) {}

  std::string name;              ///< Not empty.
  std::optional<double> weight;  ///< From 0 to 1. Groups without one share the rest evenly.
};

/// A group and what its users get: `{"new", 3}`, or rules instead of the value.
struct GroupRules {
  std::string group;  ///< The group's name.
  Rules rules;        ///< For the group's users.
};
/// The same with one value for all of them.
struct GroupValue {
  std::string group;  ///< The group's name.
  Value value;        ///< For the group's users.
};

/// The user property that is hashed to assign users to groups.
enum class SplitBy : std::uint8_t { userId, deviceId, profileId };

/// Determines which values the report of experiment details lists: those of the experiment's flags,
/// those of its parameters, or none.
enum class ExperimentType : std::uint8_t { featureFlag = 1, param, splitUrl, webBuilder };

/// An experiment of a fake project, or a holdout. Created by `experiment` or `holdout`; setters
/// return the builder, so calls chain. A setter throws `std::invalid_argument` if the experiment
/// has no such group, if a number is out of range, or if it contradicts an earlier setter.
///
/// Everyone who has a user ID takes part, unless the builder says otherwise; the hash assigns them
/// to groups by weight. The salt is the experiment's name.
class CORVO_FAKES_EXPORT ExperimentBuilder {
 public:
  /// Used by `experiment` and `holdout`.
  ExperimentBuilder(std::string_view name, const std::vector<Group>& groups, bool isHoldout);

  /// Adds a group.
  ExperimentBuilder& group(const Group& group);

  /// Assigns everyone who takes part to that group, whatever the weights.
  ExperimentBuilder& everyoneIn(std::string_view group);
  /// Nobody takes part, except forced users.
  ExperimentBuilder& nobody();
  /// The fraction of all users who take part, from 0 to 1; 0.995 already means everyone.
  ExperimentBuilder& allocation(double fraction);
  /// Assigns these users to that group, regardless of layer, allocation, targets and weights, but
  /// not of holdouts. Specify users by the identifier that the experiment splits by.
  ExperimentBuilder& forceUsers(std::string_view group, const OneOrMore<std::string>& users);
  /// These users take part regardless of layer, allocation and targets; weights assign them.
  ExperimentBuilder& forceUsers(const OneOrMore<std::string>& users);

  /// Only users whose layer point, a whole number from 0 to 994, lies in the interval, both ends
  /// included, take part. Call again to add intervals of the same layer.
  ExperimentBuilder& layer(std::string_view id, double lower, double upper);
  /// Only users who meet the requirement take part.
  ExperimentBuilder& targets(const Requirement& requirement);
  /// Users in one of these holdouts do not take part. The project must contain the holdouts.
  ExperimentBuilder& heldOutBy(const OneOrMore<std::string>& holdouts);

  /// Adds a flag that the experiment carries: its users get the value of their group. Add a flag of
  /// that name to the project, too, for all other users and for the report of all flags.
  ExperimentBuilder& flag(std::string_view name, std::initializer_list<GroupRules> groups);
  ExperimentBuilder& flag(const FlagBuilder& flag);
  /// Adds a parameter with a value for each of these groups.
  ExperimentBuilder& param(std::string_view name, std::initializer_list<GroupValue> groups);

  /// A group's label; no answer depends on it.
  ExperimentBuilder& label(std::string_view group, std::string_view label);
  /// Sets the salt. The default is the experiment's name.
  ExperimentBuilder& salt(std::string_view salt);
  /// Sets the property that is hashed. The default is the user ID.
  ExperimentBuilder& splitBy(SplitBy property);
  /// Clients keep the experiment if one of the platforms is exactly "all" or "ios", or "app" in any
  /// letter case, or if there are none.
  ExperimentBuilder& platforms(const OneOrMore<std::string>& platforms);
  /// Sets the type. The default is `param` for an experiment with parameters and without flags, and
  /// `featureFlag` for all others. Not for holdouts.
  ExperimentBuilder& type(ExperimentType type);
  /// Compares MD5 digests instead of texts, in targets and in the flags' groups. The builder writes
  /// the digests of the conditions' values.
  ExperimentBuilder& isPrivate();
  /// Sets a key of the document by hand; overrides what the builder would write there.
  ExperimentBuilder& field(std::string_view key, JsonValue value);

  /// For the project builder.
  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] bool isHoldout() const { return isHoldout_; }
  /// The holdouts that `heldOutBy` named.
  [[nodiscard]] const std::vector<std::string>& holdouts() const { return holdouts_; }
  /// The experiment as in the document.
  [[nodiscard]] JsonObject json() const;

 private:
  struct Member {
    Group group;
    std::optional<std::string> label = {};
    JsonArray forcedUsers = {};
  };

  [[nodiscard]] std::size_t indexOf(std::string_view group) const;
  [[nodiscard]] std::vector<double> weights() const;

  std::string name_;
  bool isHoldout_;
  bool isPrivate_ = false;
  double allocation_ = 1;
  std::vector<Member> groups_;
  std::optional<std::size_t> everyoneIn_;
  std::optional<ExperimentType> type_;
  std::optional<std::string> layer_;
  JsonArray layerBounds_;
  JsonArray forcedUsers_;
  std::optional<Requirement> targets_;
  std::vector<FlagBuilder> flags_;
  JsonArray params_;
  std::vector<std::string> holdouts_;
  JsonObject fields_;  // override the others
};

/// An experiment with these groups. `experiment("page", {"control", {"new", 0.25}})`
[[nodiscard]] CORVO_FAKES_EXPORT ExperimentBuilder
experiment(std::string_view name, std::initializer_list<Group> groups = {});
/// A holdout that everyone is in, unless `.allocation(0.1)`, `.targets(...)` or `.nobody()` changes
/// that.
[[nodiscard]] CORVO_FAKES_EXPORT ExperimentBuilder
holdout(std::string_view name, std::initializer_list<Group> groups = {"held out"});

}  // namespace corvo::fakes
