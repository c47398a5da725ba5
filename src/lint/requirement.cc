// SPDX-License-Identifier: Apache-2.0

#include "lint/requirement.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "base/number.h"
#include "base/text.h"
#include "model/fields.h"
#include "targeting/condition.h"
#include "targeting/local_time.h"

namespace corvo::corvo_internal::lint {
namespace {

using Sign = model::ConditionSign;

// A text preceded by its size, so that different lists never concatenate to the same text.
std::string sized(std::string_view piece) {
  return std::to_string(piece.size()) + ':' + std::string(piece);
}

std::string requirementText(std::uint32_t property, Sign sign,
                            const std::vector<std::string>& values) {
  std::string text = std::to_string(property) + ' ' + std::string(model::textOf(sign)) + ' ';
  for (const std::string& value : values) text += sized(value);
  return text;
}

// Whether the operator compares whole texts, which it does by canonical equivalence.
bool comparesWholes(Sign sign) { return sign <= Sign::noneOf; }

std::vector<std::string> valuesOf(const model::Condition& condition) {
  std::vector<std::string> values;
  for (const std::string_view value : condition.values) {
    auto decomposition =
        comparesWholes(condition.conditionSign) ? base::decomposed(value) : std::nullopt;
    values.push_back(decomposition ? *std::move(decomposition) : std::string(value));
  }
  std::ranges::sort(values);
  values.erase(std::unique(values.begin(), values.end()), values.end());
  return values;
}

// For a single value, these operators mean the same.
Sign signOf(const model::Condition& condition) {
  if (condition.conditionSign == Sign::equal) return Sign::anyOf;
  return condition.conditionSign == Sign::notEqual ? Sign::noneOf : condition.conditionSign;
}

// Operators that give opposite answers for every text. The ordering operators do not: both fail for
// a text that they cannot parse.
constexpr std::pair<Sign, Sign> kOpposites[] = {
    {Sign::containsAnyOf, Sign::containsNoneOf},
    {Sign::startsWith, Sign::notStartsWith},
    {Sign::endsWith, Sign::notEndsWith},
    {Sign::contains, Sign::notContains},
};

std::optional<Sign> oppositeOf(Sign sign) {
  for (const auto& [one, other] : kOpposites) {
    if (sign == one) return other;
    if (sign == other) return one;
  }
  return std::nullopt;
}

// Every text contains the empty text.
std::optional<bool> answerByEmptyPart(const model::Condition& condition) {
  const Sign sign = condition.conditionSign;
  if (sign != Sign::containsAnyOf && sign != Sign::containsNoneOf) return std::nullopt;
  if (std::ranges::find(condition.values, std::string_view()) == condition.values.end()) {
    return std::nullopt;
  }
  return sign == Sign::containsAnyOf;
}

struct OrderingSign {
  Sign sign;
  bool isLower;
  bool isOpen;
};
constexpr OrderingSign kOrderingSigns[] = {
    {Sign::greater, true, true},       {Sign::less, false, true},
    {Sign::greaterEqual, true, false}, {Sign::lessEqual, false, false},
    {Sign::afterTime, true, true},     {Sign::beforeTime, false, true},
};

template <class T>
std::optional<Point> pointIfAny(const std::optional<T>& value) {
  return value ? std::optional<Point>(*value) : std::nullopt;
}

std::optional<Point> pointOf(const model::Condition& condition) {
  const std::string_view value = condition.values[0];
  if (condition.conditionSign < Sign::greater) {
    return pointIfAny(targeting::parseConditionDate(value));
  }
  return targeting::ordersVersions(condition) ? pointIfAny(targeting::parseVersion(value))
                                              : pointIfAny(base::parseDecimal(value));
}

std::optional<Bound> boundOf(const model::Condition& condition, std::uint32_t property) {
  const auto* const found =
      std::ranges::find(kOrderingSigns, condition.conditionSign, &OrderingSign::sign);
  if (found == std::end(kOrderingSigns)) return std::nullopt;
  const auto point = pointOf(condition);
  if (!point) return std::nullopt;
  return Bound{{property, point->index()}, found->isLower, found->isOpen, *point};
}

template <class T>
int orderOf(const T& a, const T& b) {
  return (a > b) - (a < b);
}

}  // namespace

Requirement::Requirement(const model::Condition& condition, targeting::Vocabulary& vocabulary) {
  const targeting::PreparedCondition prepared(condition, vocabulary);
  property = prepared.property();
  constant = prepared.constant();
  if (!constant) constant = answerByEmptyPart(condition);
  if (constant) return;
  const auto values = valuesOf(condition);
  const Sign sign = signOf(condition);
  text = requirementText(property, sign, values);
  if (comparesWholes(sign)) {
    auto& each = sign == Sign::anyOf ? oneOf : noneOf;
    for (const std::string& value : values) {
      each.push_back(requirementText(property, Sign::anyOf, {value}));
    }
    std::ranges::sort(each);
  }
  if (const auto other = oppositeOf(sign)) opposite = requirementText(property, *other, values);
  bound = boundOf(condition, property);
}

PreparedBound::PreparedBound(Bound bound) : bound_(std::move(bound)) {
  if (const auto* version = std::get_if<targeting::Version>(&bound_.point)) {
    version_.emplace(*version);
  }
}

int PreparedBound::insideBy(const Bound& other) const {
  int order = 0;
  if (version_) {
    order = version_->orderTo(std::get<targeting::Version>(other.point));
  } else if (const auto* number = std::get_if<double>(&bound_.point)) {
    order = orderOf(*number, std::get<double>(other.point));
  } else {
    order = orderOf(std::get<base::LocalSeconds>(bound_.point),
                    std::get<base::LocalSeconds>(other.point));
  }
  return other.isLower ? order : -order;
}

bool PreparedBound::covers(const Bound& other) const {
  const int inside = insideBy(other);
  return inside < 0 || (inside == 0 && (other.isOpen || !bound_.isOpen));
}

bool PreparedBound::excludes(const Bound& other) const {
  const int inside = insideBy(other);
  return inside < 0 || (inside == 0 && (other.isOpen || bound_.isOpen));
}

// Never longer than the shortest list so far, so that all lists together take linear time.
void RemainingValues::Texts::allow(const std::vector<std::string>& texts) {
  if (!allowed) {
    allowed = texts;
    return;
  }
  std::vector<std::string> both;
  std::ranges::set_intersection(*allowed, texts, std::back_inserter(both));
  allowed = std::move(both);
}

// Removes the texts it has checked, so that asking again costs nothing.
bool RemainingValues::Texts::isNone() {
  if (!allowed) return false;
  while (!allowed->empty() && excluded.contains(allowed->back())) allowed->pop_back();
  return allowed->empty();
}

void RemainingValues::require(const Requirement& requirement) {
  limit(requirement.property, requirement.oneOf, requirement.noneOf);
  meet(requirement.text, requirement.opposite);
  if (requirement.bound) meet(*requirement.bound);
}

void RemainingValues::forbid(const Requirement& requirement) {
  limit(requirement.property, requirement.noneOf, requirement.oneOf);
  meet(requirement.opposite, requirement.text);
}

void RemainingValues::limit(std::uint32_t property, const std::vector<std::string>& allowed,
                            const std::vector<std::string>& excluded) {
  Texts& own = texts_[property];
  if (!allowed.empty()) own.allow(allowed);
  own.excluded.insert(excluded.begin(), excluded.end());
  isEmpty_ = isEmpty_ || own.isNone();
}

void RemainingValues::meet(const std::string& text, const std::string& opposite) {
  if (text.empty() || opposite.empty()) return;
  met_.insert(text);
  isEmpty_ = isEmpty_ || met_.contains(opposite);
}

void RemainingValues::meet(const Bound& bound) {
  const auto other = closest_.find({bound.line, !bound.isLower});
  isEmpty_ = isEmpty_ || (other != closest_.end() && other->second.excludes(bound));
  const auto [same, isNew] = closest_.try_emplace({bound.line, bound.isLower}, bound);
  if (!isNew && same->second.covers(bound)) same->second = PreparedBound(bound);
}

bool isContradictory(const std::vector<Requirement>& requirements) {
  RemainingValues rest;
  for (const Requirement& requirement : requirements) rest.require(requirement);
  return rest.isEmpty();
}

bool isExhaustive(const std::vector<Requirement>& requirements) {
  RemainingValues rest;
  for (const Requirement& requirement : requirements) rest.forbid(requirement);
  return rest.isEmpty();
}

}  // namespace corvo::corvo_internal::lint
