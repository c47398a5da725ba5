// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes/experiment_builder.h>

#include <limits>

#include "fakes/arguments.h"
#include "model/fields.h"

namespace corvo::fakes {
namespace {

namespace model = corvo_internal::model;
using TypeInModel = model::ExperimentType;
using model::SplitMode;

static_assert(sameNumber(SplitBy::userId, SplitMode::userId));
static_assert(sameNumber(SplitBy::deviceId, SplitMode::deviceId));
static_assert(sameNumber(SplitBy::profileId, SplitMode::profileId));
static_assert(sameNumber(ExperimentType::featureFlag, TypeInModel::featureFlag));
static_assert(sameNumber(ExperimentType::param, TypeInModel::param));
static_assert(sameNumber(ExperimentType::splitUrl, TypeInModel::splitUrl));
static_assert(sameNumber(ExperimentType::webBuilder, TypeInModel::webBuilder));

JsonArray textsOf(const OneOrMore<std::string>& texts) {
  return {texts.list().begin(), texts.list().end()};
}

/// Omits an empty list, which means the same.
void putList(JsonObject& object, const char* key, const JsonArray& list) {
  if (!list.empty()) object.emplace(key, list);
}

bool isFraction(double number) { return number >= 0 && number <= 1; }

/// The end of the last group's share in percent, added up as in the engine.
double endOf(const std::vector<double>& weights) {
  double end = 0;
  for (const double weight : weights) end += weight * 100;
  return end;
}

void append(JsonArray& list, const OneOrMore<std::string>& texts) {
  for (const std::string& each : texts.list()) list.emplace_back(each);
}

}  // namespace

ExperimentBuilder::ExperimentBuilder(std::string_view name, const std::vector<Group>& groups,
                                     bool isHoldout)
    : name_(name), isHoldout_(isHoldout) {
  for (const Group& each : groups) group(each);
}

ExperimentBuilder& ExperimentBuilder::group(const Group& group) {
  double sum = group.weight.value_or(0);
  for (const Member& each : groups_) {
    sum += each.group.weight.value_or(0);
    if (each.group.name == group.name) {
      throw wrong({"experiment \"", name_, "\" already has a group \"", group.name, "\""});
    }
  }
  if (!isFraction(group.weight.value_or(0)) || sum > 1 + 1e-9) {
    throw wrong({"the weights of experiment \"", name_,
                 "\" must be fractions from 0 to 1, with a sum of at most 1"});
  }
  groups_.push_back({group});
  return *this;
}

std::size_t ExperimentBuilder::indexOf(std::string_view group) const {
  std::string known;
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    if (groups_[i].group.name == group) return i;
    known += (i == 0 ? " \"" : ", \"") + groups_[i].group.name + '"';
  }
  throw wrong({"experiment \"", name_, "\" has no group \"", group,
               "\"; its groups so far:", known.empty() ? " none" : known});
}

ExperimentBuilder& ExperimentBuilder::everyoneIn(std::string_view group) {
  everyoneIn_ = indexOf(group);
  return *this;
}

ExperimentBuilder& ExperimentBuilder::nobody() {
  allocation_ = -1;  // an allocation of 0 admits users with a hash of 0
  return *this;
}

ExperimentBuilder& ExperimentBuilder::allocation(double fraction) {
  if (!isFraction(fraction)) {
    throw wrong({"the allocation of experiment \"", name_, "\" must be a fraction from 0 to 1"});
  }
  allocation_ = fraction;
  return *this;
}

ExperimentBuilder& ExperimentBuilder::forceUsers(std::string_view group,
                                                 const OneOrMore<std::string>& users) {
  append(groups_[indexOf(group)].forcedUsers, users);
  return *this;
}

ExperimentBuilder& ExperimentBuilder::forceUsers(const OneOrMore<std::string>& users) {
  append(forcedUsers_, users);
  return *this;
}

ExperimentBuilder& ExperimentBuilder::layer(std::string_view id, double lower, double upper) {
  if (!(lower <= upper)) {
    throw wrong({"the interval of experiment \"", name_, "\" in its layer ends before it begins"});
  }
  if (layer_ && *layer_ != id) {
    throw wrong({"experiment \"", name_, "\" is already in the layer \"", *layer_, "\""});
  }
  layer_ = id;
  layerBounds_.push_back(JsonObject{{"lower_bound", lower}, {"upper_bound", upper}});
  return *this;
}

ExperimentBuilder& ExperimentBuilder::targets(const Requirement& requirement) {
  targets_ = requirement;
  return *this;
}

ExperimentBuilder& ExperimentBuilder::heldOutBy(const OneOrMore<std::string>& holdouts) {
  holdouts_.insert(holdouts_.end(), holdouts.list().begin(), holdouts.list().end());
  return *this;
}

ExperimentBuilder& ExperimentBuilder::flag(std::string_view name,
                                           std::initializer_list<GroupRules> groups) {
  FlagBuilder carried(name, {});
  for (const auto& [group, rules] : groups) carried.inGroup(group, rules);
  return flag(carried);
}

ExperimentBuilder& ExperimentBuilder::flag(const FlagBuilder& flag) {
  for (const std::string& group : flag.groups()) static_cast<void>(indexOf(group));
  flags_.push_back(flag);
  return *this;
}

ExperimentBuilder& ExperimentBuilder::param(std::string_view name,
                                            std::initializer_list<GroupValue> groups) {
  JsonArray values;
  std::string type = "string";
  for (const auto& [group, value] : groups) {
    static_cast<void>(indexOf(group));
    if (values.empty()) type = value.type();
    values.push_back(JsonObject{{"group", group}, {"value", value.text()}});
  }
  params_.push_back(
      JsonObject{{"name", std::string(name)}, {"type", type}, {"values", std::move(values)}});
  return *this;
}

ExperimentBuilder& ExperimentBuilder::label(std::string_view group, std::string_view label) {
  groups_[indexOf(group)].label = label;
  return *this;
}

ExperimentBuilder& ExperimentBuilder::salt(std::string_view salt) {
  return field("salt", std::string(salt));
}

ExperimentBuilder& ExperimentBuilder::splitBy(SplitBy property) {
  const auto mode = static_cast<SplitMode>(property);
  return field("split_by", std::string(model::textOf(mode)));
}

ExperimentBuilder& ExperimentBuilder::platforms(const OneOrMore<std::string>& platforms) {
  return field("platforms", textsOf(platforms));
}

ExperimentBuilder& ExperimentBuilder::type(ExperimentType type) {
  if (isHoldout_) throw wrong({"\"", name_, "\" is a holdout, so its type cannot change"});
  type_ = type;
  return *this;
}

ExperimentBuilder& ExperimentBuilder::isPrivate() {
  isPrivate_ = true;
  return *this;
}

ExperimentBuilder& ExperimentBuilder::field(std::string_view key, JsonValue value) {
  fields_.insert_or_assign(std::string(key), std::move(value));
  return *this;
}

std::vector<double> ExperimentBuilder::weights() const {
  std::vector<double> weights;
  if (everyoneIn_) {
    // A point of 0 lies in a share that ends at 0, so the shares before the group end below 0.
    weights.assign(*everyoneIn_, -std::numeric_limits<double>::min());
    weights.push_back(1);
    weights.resize(groups_.size());
    return weights;
  }
  double rest = 1;
  std::size_t sharing = 0;
  for (const Member& each : groups_) {
    rest -= each.group.weight.value_or(0);
    sharing += each.group.weight ? 0 : 1;
  }
  double* last = nullptr;
  weights.reserve(groups_.size());
  for (const Member& each : groups_) {
    weights.push_back(each.group.weight.value_or(rest / static_cast<double>(sharing)));
    if (!each.group.weight) last = &weights.back();
  }
  // Three thirds may add up to less than one; users in the gap would have no group.
  for (double end = endOf(weights); last != nullptr && end < 100; end = endOf(weights)) {
    *last += (100 - end) / 100;
  }
  return weights;
}

JsonObject ExperimentBuilder::json() const {
  JsonObject experiment = fields_;
  JsonArray groups;
  const std::vector<double> weights = this->weights();
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    const auto& [group, label, forcedUsers] = groups_[i];
    JsonObject json{{"name", group.name}, {"weight", weights[i]}};
    if (label) json.emplace("label", *label);
    putList(json, "forced_user_list", forcedUsers);
    groups.emplace_back(std::move(json));
  }
  JsonArray flags;
  for (const FlagBuilder& each : flags_) flags.push_back(each.json(isPrivate_));
  const auto usual =
      flags_.empty() && !params_.empty() ? ExperimentType::param : ExperimentType::featureFlag;
  const auto type =
      isHoldout_ ? TypeInModel::holdout : static_cast<TypeInModel>(type_.value_or(usual));
  experiment.emplace("name", name_);
  experiment.emplace("salt", name_);
  experiment.emplace("allocation", allocation_);
  if (layer_) experiment.emplace("layer_id", *layer_);
  putList(experiment, "layer_bounds", layerBounds_);
  putList(experiment, "forced_user_list", forcedUsers_);
  experiment.emplace("groups", std::move(groups));
  putList(experiment, "params", params_);
  if (targets_) experiment.emplace("targets", targets_->json(isPrivate_));
  putList(experiment, "feature_flags", flags);
  if (isPrivate_) experiment.emplace("is_private", true);
  putList(experiment, "holdouts", textsOf(holdouts_));
  experiment.emplace("type", static_cast<int>(type));
  return experiment;
}

ExperimentBuilder experiment(std::string_view name, std::initializer_list<Group> groups) {
  return {name, groups, false};
}

ExperimentBuilder holdout(std::string_view name, std::initializer_list<Group> groups) {
  return {name, groups, true};
}

}  // namespace corvo::fakes
