// SPDX-License-Identifier: Apache-2.0

#include "evaluation/explanation_facts.h"

#include <corvo/property.h>

#include <array>
#include <cstddef>
#include <variant>

#include "base/md5.h"
#include "base/text.h"
#include "experiments/details.h"
#include "model/fields.h"
#include "placement/bucketing.h"
#include "targeting/device_properties.h"

namespace corvo::corvo_internal::evaluation {
namespace {

// The kinds of a typed property, by index.
constexpr std::array<const char*, std::variant_size_v<CorvoProperty>> kTypes{
    "object", "boolean", "integer", "double", "string"};

JsonValue word(const char* text) { return std::string(text); }

template <class E>
JsonValue wordOf(E enumerator) {
  return std::string(model::textOf(enumerator));
}

// A user's text. Many steps may show it, so a long one is truncated. Otherwise an explanation could
// take any amount of memory.
JsonValue shown(std::string_view text) { return base::shortened(text, 1'024); }

JsonValue secondsOrNull(double expiry) {
  return expiry == targeting::kForGood ? JsonValue() : JsonValue(expiry);
}

// The source of a property's value. Device and clock properties hide location properties of the
// same name.
const char* sourceOf(std::string_view name, std::uint32_t number, const std::string_view& value,
                     const targeting::Context& context) {
  if (context.properties->isUsers(number, value)) return "user";
  switch (targeting::whatShows(name)) {
    case targeting::Shows::device:
      return "device";
    case targeting::Shows::clock:
      return "clock";
    case targeting::Shows::neither:
      break;
  }
  return "location";
}

const targeting::OwnIdentifier* ownIdentifier(model::SplitMode mode,
                                              const targeting::Context& context) {
  if (context.own == nullptr) return nullptr;
  const targeting::OwnIdentifier& own = (*context.own)[static_cast<std::size_t>(mode)];
  return own.isThere ? &own : nullptr;
}

}  // namespace

Facts factsOf(const project::PreparedExperiment& experiment,
              const project::PreparedProject& project) {
  const model::Experiment& record = *experiment.record;
  Facts facts{{"name", std::string(record.name)},
              {"position", static_cast<std::int64_t>(&experiment - project.experiments().data())}};
  if (record.type) facts.push_back({"type", word(experiments::wordOf(*record.type))});
  return facts;
}

void addPlacement(const placement::Placement& placement, Facts& facts) {
  facts.push_back({"reason", std::string(textOf(placement.reason))});
  if (placement.holdout != nullptr)
    facts.push_back({"heldOutBy", std::string(placement.holdout->name)});
  if (placement.group == nullptr) return;
  facts.push_back({"group", std::string(placement.group->name)});
  facts.push_back({"index", static_cast<std::int64_t>(placement.index)});
}

bool hasExpired(model::SplitMode mode, const targeting::Context& context) {
  return ownIdentifier(mode, context) != nullptr && context.findOwn(mode) == nullptr;
}

Facts factsOf(const placement::SplitIdentified& event, const targeting::Context& context) {
  Facts facts{{"property", wordOf(event.mode)}};
  if (event.identifier) {
    facts.push_back({"value", shown(*event.identifier)});
    const bool isUsers = context.findOwn(event.mode) != nullptr;
    facts.push_back({"source", word(isUsers ? "user" : "device")});
  }
  if (hasExpired(event.mode, context)) {
    facts.push_back({"expired", secondsOrNull(ownIdentifier(event.mode, context)->expiry)});
  }
  return facts;
}

Facts factsOf(const model::LayerBounds& interval) {
  return {{"lower", interval.lowerBound}, {"upper", interval.upperBound}};
}

Facts factsOf(const model::Group& share) {
  return {{"group", std::string(share.name)}, {"weight", share.weight}};
}

Facts factsOf(const placement::Hashed& event) {
  return {{"identifier", shown(event.identifier)},
          {"salt", std::string(event.salt)},
          {"digest", std::string(base::view(base::hexDigits(event.digest)))},
          {"hash", static_cast<std::int64_t>(placement::stringHash32(event.digest))},
          {"bucket", event.bucket}};
}

Facts factsOf(const placement::AllocationTested& event) {
  return {{"allocation", event.allocation}, {"used", event.used}, {"limit", event.limit}};
}

Facts factsOf(const model::Rule& rule, std::size_t position) {
  return {{"position", static_cast<std::int64_t>(position)},
          {"default", rule.isDefault},
          {"statement", wordOf(rule.conditionalStatement)},
          {"value", std::string(rule.value)}};
}

Facts factsOf(const model::Condition& condition) {
  JsonArray values;
  for (const model::Text value : condition.values) values.emplace_back(std::string(value));
  return {{"property", std::string(condition.name)},
          {"sign", wordOf(condition.conditionSign)},
          {"values", std::move(values)}};
}

void addTest(const targeting::ConditionTested& event, const model::Condition& condition,
             const targeting::Context& context, Facts& facts) {
  using Comparison = targeting::PreparedCondition::Comparison;
  const std::uint32_t number = event.condition.property();
  const std::string_view* value = event.subject.value();
  facts.push_back({"actual", value != nullptr ? shown(*value) : JsonValue()});
  if (value != nullptr) {
    facts.push_back({"source", word(sourceOf(condition.name, number, *value, context))});
  }
  if (const auto expiry = context.properties->expired(number, context.now)) {
    facts.push_back({"expired", secondsOrNull(*expiry)});
  }
  const Comparison comparison = event.condition.comparisonWith(event.subject);
  facts.push_back({"comparable", comparison != Comparison::nothing});
  facts.push_back({"hashed", comparison == Comparison::digest});
  if (comparison == Comparison::digest) {
    facts.push_back({"digest", std::string(event.subject.text())});
  }
}

Facts factsOfValue(std::string_view text) {
  return {{"text", std::string(text)}, {"type", word(kTypes.at(typedProperty(text).index()))}};
}

}  // namespace corvo::corvo_internal::evaluation
