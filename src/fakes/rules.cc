// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes/rules.h>

#include <utility>

#include "base/md5.h"
#include "fakes/arguments.h"
#include "model/fields.h"
#include "targeting/condition.h"

namespace corvo::fakes {
namespace {

namespace model = corvo_internal::model;
namespace targeting = corvo_internal::targeting;

using SignInModel = model::ConditionSign;

static_assert(sameNumber(Sign::equal, SignInModel::equal));
static_assert(sameNumber(Sign::notEqual, SignInModel::notEqual));
static_assert(sameNumber(Sign::anyOf, SignInModel::anyOf));
static_assert(sameNumber(Sign::noneOf, SignInModel::noneOf));
static_assert(sameNumber(Sign::containsAnyOf, SignInModel::containsAnyOf));
static_assert(sameNumber(Sign::containsNoneOf, SignInModel::containsNoneOf));
static_assert(sameNumber(Sign::onDate, SignInModel::onDate));
static_assert(sameNumber(Sign::afterTime, SignInModel::afterTime));
static_assert(sameNumber(Sign::beforeTime, SignInModel::beforeTime));
static_assert(sameNumber(Sign::greater, SignInModel::greater));
static_assert(sameNumber(Sign::less, SignInModel::less));
static_assert(sameNumber(Sign::greaterEqual, SignInModel::greaterEqual));
static_assert(sameNumber(Sign::lessEqual, SignInModel::lessEqual));
static_assert(sameNumber(Sign::startsWith, SignInModel::startsWith));
static_assert(sameNumber(Sign::notStartsWith, SignInModel::notStartsWith));
static_assert(sameNumber(Sign::endsWith, SignInModel::endsWith));
static_assert(sameNumber(Sign::notEndsWith, SignInModel::notEndsWith));
static_assert(sameNumber(Sign::contains, SignInModel::contains));
static_assert(sameNumber(Sign::notContains, SignInModel::notContains));

SignInModel inModel(Sign sign) { return static_cast<SignInModel>(sign); }

std::string digestOf(std::string_view text) {
  return std::string(corvo_internal::base::view(corvo_internal::base::md5Hex(text)));
}

JsonValue written(const Condition& condition, bool isPrivate) {
  const SignInModel sign = inModel(condition.sign);
  JsonArray values;
  for (const Value& value : condition.values) {
    values.emplace_back(isPrivate && targeting::comparesDigests(sign) ? digestOf(value.text())
                                                                      : value.text());
  }
  return JsonObject{{"name", condition.property},
                    {"condition_sign", std::string(model::textOf(sign))},
                    {"value", std::move(values)}};
}

}  // namespace

Value::Value(const JsonValue& value)
    : text_(value.toJson()), type_(value.as<JsonObject>() != nullptr ? "json" : "number") {
  if (text_ == "null") throw wrong({"a value must be a finite number"});
}

Condition where(std::string_view property, Sign sign, const OneOrMore<Value>& values) {
  if (!targeting::takesSeveralValues(inModel(sign)) && values.list().size() != 1) {
    throw wrong({"the condition on \"", property, "\" needs one value with the sign \"",
                 model::textOf(inModel(sign)), "\", not ", std::to_string(values.list().size()),
                 "; for lists, use anyOf or noneOf"});
  }
  return {std::string(property), sign, values.list()};
}

All operator&&(All all, Condition more) {
  all.conditions.push_back(std::move(more));
  return all;
}

Any operator||(Any any, Condition more) {
  any.conditions.push_back(std::move(more));
  return any;
}

JsonObject Requirement::json(bool isPrivate) const {
  JsonArray conditions;
  for (const Condition& each : conditions_) conditions.push_back(written(each, isPrivate));
  return {{"conditional_statement", statement_}, {"conditions", std::move(conditions)}};
}

void Rules::add(const JsonObject& plain, const JsonObject& ofPrivate, const Value& value) {
  if (plain_.empty()) type_ = value.type();
  for (const auto& [list, requirement] : {std::pair(&plain_, &plain), {&private_, &ofPrivate}}) {
    JsonObject rule = *requirement;
    rule["value"] = value.text();
    list->push_back(std::move(rule));
  }
}

Rules& Rules::when(const Requirement& requirement, const Value& value) {
  JsonObject plain = requirement.json(false);
  JsonObject ofPrivate = requirement.json(true);
  plain["is_default"] = ofPrivate["is_default"] = false;
  add(plain, ofPrivate, value);
  return *this;
}

Rules& Rules::otherwise(const Value& value) {
  if (hasDefault_) throw wrong({"these rules already have a default value"});
  hasDefault_ = true;
  const JsonObject rule{
      {"is_default", true}, {"conditional_statement", "-"}, {"conditions", JsonArray()}};
  add(rule, rule, value);
  return *this;
}

Rules& Rules::json(std::string_view rule) {
  plain_.push_back(byHand(rule));
  private_.push_back(plain_.back());
  return *this;
}

Rules when(const Requirement& requirement, const Value& value) {
  return Rules().when(requirement, value);
}

}  // namespace corvo::fakes
