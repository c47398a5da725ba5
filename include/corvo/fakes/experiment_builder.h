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
  /// A group of that name, and of that weight.
  template <CorvoText Text>
  Group(const Text& groupName) : name(std::string_view(groupName)) {}
  template <CorvoText Text>
  Group(const Text& groupName, double groupWeight)
      : name(std::string_view(groupName)), weight(groupWeight) {}

  std::string name;              ///< Not empty.
  std::optional<double> weight;  ///< From 0 to 1. Groups without one share the rest evenly.
};

/// What the users of a group get: `{"new", 3}`, or rules in place of the value.
struct GroupRules {
  std::string group;  ///< The group's name.
  Rules rules;        ///< For its users.
};
/// The same with one value for all of them.
struct GroupValue {
  std::string group;  ///< The group's name.
  Value value;        ///< For its users.
};

/// The property of the user by which the hash assigns them to groups.
enum class SplitBy : std::uint8_t { userId, deviceId, profileId };

/// What the report of experiment details shows of an experiment: the values of its flags, those of
/// its parameters, or none.
enum class ExperimentType : std::uint8_t { featureFlag = 1, param, splitUrl, webBuilder };

/// An experiment of a fake project, or a holdout. Made by `experiment` or `holdout`; setters return
/// the builder, so calls chain. A setter throws `std::invalid_argument` for a group that the
/// experiment does not have, or a number outside its range.
///
/// Everyone who has a user ID takes part, unless the builder says otherwise; the hash assigns them
/// to groups by weight. The salt is the experiment's name.
class CORVO_FAKES_EXPORT ExperimentBuilder {
 public:
  /// What `experiment` and `holdout` make.
  ExperimentBuilder(std::string_view name, const std::vector<Group>& groups, bool isHoldout);

  /// One more group.
  ExperimentBuilder& group(const Group& group);

  /// Assigns everyone who takes part to that group, whatever the weights.
  ExperimentBuilder& everyoneIn(std::string_view group);
  /// Nobody takes part, except the users who are forced.
  ExperimentBuilder& nobody();
  /// The fraction of all users who take part, from 0 to 1; 0.995 is already everyone.
  ExperimentBuilder& allocation(double fraction);
  /// Assigns these users to that group, regardless of layer, allocation, targets and weights.
  /// Holdouts still keep them out. Users are given by the identifier that the experiment splits by.
  ExperimentBuilder& forceUsers(std::string_view group, const OneOrMore<std::string>& users);
  /// These users take part regardless of layer, allocation and targets; weights assign them.
  ExperimentBuilder& forceUsers(const OneOrMore<std::string>& users);

  /// Only users whose layer point, a whole number from 0 to 994, lies in the interval, both ends
  /// included. May be called again, for more intervals of the same layer.
  ExperimentBuilder& layer(std::string_view id, double lower, double upper);
  /// Only users who meet the requirement.
  ExperimentBuilder& targets(const Requirement& requirement);
  /// Users in one of these holdouts do not take part. The project must have them.
  ExperimentBuilder& heldOutBy(const OneOrMore<std::string>& holdouts);

  /// A flag that the experiment carries: its users get the value of their group. Give the project a
  /// flag of that name, too, for all other users and for the report of all flags.
  ExperimentBuilder& flag(std::string_view name, std::initializer_list<GroupRules> groups);
  ExperimentBuilder& flag(const FlagBuilder& flag);
  /// Adds a parameter with a value for each of these groups.
  ExperimentBuilder& param(std::string_view name, std::initializer_list<GroupValue> groups);

  /// A group's label, which no answer depends on.
  ExperimentBuilder& label(std::string_view group, std::string_view label);
  /// Sets the salt. The default is the experiment's name.
  ExperimentBuilder& salt(std::string_view salt);
  /// Sets the property that is hashed. The default is the user ID.
  ExperimentBuilder& splitBy(SplitBy property);
  /// Clients keep the experiment if one of them is "all", "ios", or "app" in any letter case, or if
  /// there are none.
  ExperimentBuilder& platforms(const OneOrMore<std::string>& platforms);
  /// Replaces the type, which is otherwise `param` for an experiment with parameters and without
  /// flags, and `featureFlag` for all others. Not for a holdout.
  ExperimentBuilder& type(ExperimentType type);
  /// Compares MD5 digests in place of texts, in targets and in the flags' groups. The builder
  /// writes the digests of the conditions' values.
  ExperimentBuilder& isPrivate();
  /// Sets a key of the document by hand, whatever the builder would write there.
  ExperimentBuilder& field(std::string_view key, JsonValue value);

  /// What the project asks of it.
  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] bool isHoldout() const { return isHoldout_; }
  /// The holdouts that `heldOutBy` named.
  [[nodiscard]] const std::vector<std::string>& holdouts() const { return holdouts_; }
  /// The experiment as the document has it.
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
  JsonObject fields_;  // they come before what the others would write
};

/// An experiment with these groups. `experiment("page", {"control", {"new", 0.25}})`
[[nodiscard]] CORVO_FAKES_EXPORT ExperimentBuilder
experiment(std::string_view name, std::initializer_list<Group> groups = {});
/// A holdout that everyone is in: `.allocation(0.1)`, `.targets(...)` or `.nobody()` change that.
[[nodiscard]] CORVO_FAKES_EXPORT ExperimentBuilder
holdout(std::string_view name, std::initializer_list<Group> groups = {"held out"});

}  // namespace corvo::fakes
