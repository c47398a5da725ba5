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

using InModel = model::ConditionSign;

static_assert(sameNumber(Sign::equal, InModel::equal));
static_assert(sameNumber(Sign::notEqual, InModel::notEqual));
static_assert(sameNumber(Sign::anyOf, InModel::anyOf));
static_assert(sameNumber(Sign::noneOf, InModel::noneOf));
static_assert(sameNumber(Sign::containsAnyOf, InModel::containsAnyOf));
static_assert(sameNumber(Sign::containsNoneOf, InModel::containsNoneOf));
static_assert(sameNumber(Sign::onDate, InModel::onDate));
static_assert(sameNumber(Sign::afterTime, InModel::afterTime));
static_assert(sameNumber(Sign::beforeTime, InModel::beforeTime));
static_assert(sameNumber(Sign::greater, InModel::greater));
static_assert(sameNumber(Sign::less, InModel::less));
static_assert(sameNumber(Sign::greaterEqual, InModel::greaterEqual));
static_assert(sameNumber(Sign::lessEqual, InModel::lessEqual));
static_assert(sameNumber(Sign::startsWith, InModel::startsWith));
static_assert(sameNumber(Sign::notStartsWith, InModel::notStartsWith));
static_assert(sameNumber(Sign::endsWith, InModel::endsWith));
static_assert(sameNumber(Sign::notEndsWith, InModel::notEndsWith));
static_assert(sameNumber(Sign::contains, InModel::contains));
static_assert(sameNumber(Sign::notContains, InModel::notContains));

InModel inModel(Sign sign) { return static_cast<InModel>(sign); }

std::string digestOf(std::string_view text) {
  return std::string(corvo_internal::base::view(corvo_internal::base::md5Hex(text)));
}

JsonValue written(const Condition& condition, bool isPrivate) {
  const InModel sign = inModel(condition.sign);
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
    throw wrong({"the condition on \"", property, "\" takes one value with the sign \"",
                 model::textOf(inModel(sign)), "\", not ", std::to_string(values.list().size()),
                 "; for lists there are anyOf and noneOf"});
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
  if (hasDefault_) throw wrong({"these rules have a default value already"});
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
