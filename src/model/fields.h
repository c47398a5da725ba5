// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/user.h>

#include <array>
#include <string_view>
#include <tuple>

#include "model/config.h"

namespace corvo::corvo_internal::model {

/// A list that drops the elements that cannot be decoded.
template <class L>
struct LossyArray {
  explicit LossyArray(L& list) : wrappedValue(list) {}
  L& wrappedValue;
};

/// A lossy list that becomes empty if the value is not a list at all.
template <class L>
struct LossyOrEmpty {
  explicit LossyOrEmpty(L& list) : wrappedValue(list) {}
  L& wrappedValue;
};

/// A number, or a string that contains one.
struct NumberOrText {
  explicit NumberOrText(double& number) : wrappedValue(number) {}
  double& wrappedValue;
};

/// A list of strings, or a single string, which becomes a list of one.
struct TextOrList {
  explicit TextOrList(List<Text>& list) : wrappedValue(list) {}
  List<Text>& wrappedValue;
};

/// A single string, which becomes a list of one.
struct SingleText {
  explicit SingleText(List<Text>& list) : wrappedValue(list) {}
  List<Text>& wrappedValue;
};

enum class Presence : std::uint8_t {
  required,  ///< The key must be present.
  optional,  ///< May be absent or null; an absent value is not written.
  nullable,  ///< May be absent or null; an absent value is written as null.
  fallback   ///< Read if another field is absent or null; never written.
};

/// One key of a record. The member is read as a `Form`: the member itself or one of the wrappers
/// above.
template <class Form, class Record, class Member>
struct Field {
  using ReadAs = Form;
  std::string_view key;
  Member Record::*member;
  Presence presence;
  std::string_view fallbackFor = {};  ///< The key of the field that this one replaces.
};

template <class R, class M>
constexpr Field<M&, R, M> required(std::string_view key, M R::*member) {
  return {key, member, Presence::required};
}
template <class Form, class R, class M>
constexpr Field<Form, R, M> requiredAs(std::string_view key, M R::*member) {
  return {key, member, Presence::required};
}
template <class R, class M>
constexpr Field<M&, R, M> optional(std::string_view key, M R::*member) {
  return {key, member, Presence::optional};
}
template <class R, class M>
constexpr Field<M&, R, M> nullable(std::string_view key, M R::*member) {
  return {key, member, Presence::nullable};
}
template <class R, class L>
constexpr Field<LossyArray<L>, R, L> lossy(std::string_view key, L R::*member) {
  return {key, member, Presence::optional};
}
template <class R, class L>
constexpr Field<LossyOrEmpty<L>, R, L> lossyOrEmpty(std::string_view key, L R::*member) {
  return {key, member, Presence::optional};
}
template <class R>
constexpr Field<SingleText, R, List<Text>> fallback(std::string_view fallbackFor,
                                                    std::string_view key, List<Text> R::*member) {
  return {key, member, Presence::fallback, fallbackFor};
}

/// The keys of each record, in the order in which they are read and written.
template <class Record>
struct Fields;

template <>
struct Fields<Condition> {
  static constexpr auto list = std::tuple(required("name", &Condition::name),
                                          required("condition_sign", &Condition::conditionSign),
                                          requiredAs<TextOrList>("value", &Condition::values));
};

template <>
struct Fields<Rule> {
  static constexpr auto list =
      std::tuple(required("is_default", &Rule::isDefault), required("value", &Rule::value),
                 required("conditional_statement", &Rule::conditionalStatement),
                 required("conditions", &Rule::conditions));
};

template <>
struct Fields<FeatureFlagGroup> {
  static constexpr auto list = std::tuple(required("group", &FeatureFlagGroup::name),
                                          lossy("rules", &FeatureFlagGroup::rules));
};

template <>
struct Fields<FeatureFlag> {
  static constexpr auto list =
      std::tuple(optional("id", &FeatureFlag::id), optional("project_id", &FeatureFlag::projectId),
                 required("name", &FeatureFlag::name), required("type", &FeatureFlag::type),
                 lossy("rules", &FeatureFlag::rules), lossy("groups", &FeatureFlag::groups),
                 optional("is_private", &FeatureFlag::isPrivate),
                 optional("platform", &FeatureFlag::platform));
};

template <>
struct Fields<Target> {
  static constexpr auto list =
      std::tuple(required("conditional_statement", &Target::conditionalStatement),
                 required("conditions", &Target::conditions));
};

template <>
struct Fields<LayerBounds> {
  static constexpr auto list =
      std::tuple(requiredAs<NumberOrText>("lower_bound", &LayerBounds::lowerBound),
                 requiredAs<NumberOrText>("upper_bound", &LayerBounds::upperBound));
};

template <>
struct Fields<Group> {
  static constexpr auto list =
      std::tuple(required("name", &Group::name), optional("label", &Group::label),
                 requiredAs<NumberOrText>("weight", &Group::weight),
                 lossy("forced_user_list", &Group::forcedUserList));
};

template <>
struct Fields<Param::Value> {
  static constexpr auto list =
      std::tuple(required("group", &Param::Value::group), required("value", &Param::Value::value));
};

template <>
struct Fields<Param> {
  static constexpr auto list =
      std::tuple(required("name", &Param::name), required("type", &Param::type),
                 lossy("values", &Param::values));
};

template <>
struct Fields<Experiment> {
  static constexpr auto list = std::tuple(
      required("name", &Experiment::name), required("salt", &Experiment::salt),
      requiredAs<NumberOrText>("allocation", &Experiment::allocation),
      nullable("layer_id", &Experiment::layerId), lossy("layer_bounds", &Experiment::layerBounds),
      lossy("groups", &Experiment::groups), lossy("params", &Experiment::params),
      nullable("targets", &Experiment::targets), lossy("feature_flags", &Experiment::featureFlags),
      lossy("forced_user_list", &Experiment::forcedUserList),
      nullable("is_private", &Experiment::isPrivate), nullable("split_by", &Experiment::splitMode),
      optional("platforms", &Experiment::platforms),
      fallback("platforms", "platform", &Experiment::platforms),
      lossyOrEmpty("holdouts", &Experiment::holdouts), nullable("type", &Experiment::type));
};

template <>
struct Fields<ConfigResponse> {
  static constexpr auto list = std::tuple(lossy("feature_flags", &ConfigResponse::featureFlags),
                                          lossy("experiments", &ConfigResponse::experiments));
};

template <>
struct Fields<CorvoUser> {
  static constexpr auto list = std::tuple(required("properties", &CorvoUser::properties),
                                          optional("corvoExpiration", &CorvoUser::corvoExpiration));
};

/// An enumerator and its text.
template <class E>
struct EnumText {
  E value;
  std::string_view text;
};

/// The texts of an enumeration in the order of its enumerators, and the enumeration's name.
template <class E>
struct EnumTexts;

template <>
struct EnumTexts<ConditionalStatement> {
  using E = ConditionalStatement;
  static constexpr std::string_view what = "conditional statement";
  static constexpr std::array<EnumText<E>, 3> list{
      {{E::and_, "AND"}, {E::or_, "OR"}, {E::empty, "-"}}};
};

template <>
struct EnumTexts<SplitMode> {
  using E = SplitMode;
  static constexpr std::string_view what = "split mode";
  static constexpr std::array<EnumText<E>, 3> list{
      {{E::userId, "userId"}, {E::deviceId, "deviceId"}, {E::profileId, "profileId"}}};
};

template <>
struct EnumTexts<ConditionSign> {
  using E = ConditionSign;
  static constexpr std::string_view what = "condition sign";
  static constexpr std::array<EnumText<E>, kConditionSignCount> list{
      {{E::equal, "equal"},
       {E::notEqual, "not equal"},
       {E::anyOf, "any of"},
       {E::noneOf, "none of"},
       {E::containsAnyOf, "contains any of"},
       {E::containsNoneOf, "contains none of"},
       {E::onDate, "on date"},
       {E::afterTime, "after time"},
       {E::beforeTime, "before time"},
       {E::greater, "greater"},
       {E::less, "less"},
       {E::greaterEqual, "greater equal"},
       {E::lessEqual, "less equal"},
       {E::startsWith, "starts with"},
       {E::notStartsWith, "not starts with"},
       {E::endsWith, "ends with"},
       {E::notEndsWith, "not ends with"},
       {E::contains, "contains"},
       {E::notContains, "not contains"}}};
};

template <class E>
constexpr bool hasEveryEnumerator() {
  return isByEnumerator(EnumTexts<E>::list, [](const auto& row) { return row.value; });
}
static_assert(hasEveryEnumerator<ConditionalStatement>() && hasEveryEnumerator<SplitMode>() &&
              hasEveryEnumerator<ConditionSign>());

template <class T>
concept JsonRecord = requires {
  Fields<T>::list;
};
template <class T>
concept TextEnum = requires {
  EnumTexts<T>::list;
};

/// The text of an enumerator.
template <TextEnum E>
[[nodiscard]] constexpr std::string_view textOf(E enumerator) {
  return EnumTexts<E>::list.at(static_cast<std::size_t>(enumerator)).text;
}

}  // namespace corvo::corvo_internal::model
