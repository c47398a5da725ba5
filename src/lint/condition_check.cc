// SPDX-License-Identifier: Apache-2.0

#include "lint/condition_check.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "base/nearest_word.h"
#include "lint/report.h"
#include "targeting/condition.h"
#include "targeting/device_properties.h"

namespace corvo::corvo_internal::lint {
namespace {

using model::Condition;
using Sign = model::ConditionSign;

bool isAbout(Sign sign, Sign first, Sign last) { return first <= sign && sign <= last; }
bool isDated(Sign sign) { return isAbout(sign, Sign::onDate, Sign::beforeTime); }
bool isOrdering(Sign sign) { return isAbout(sign, Sign::greater, Sign::lessEqual); }

// --- Values that the operator cannot use ---------------------------------------------------------

Code codeOfUnreadable(const Condition& condition) {
  if (isDated(condition.conditionSign)) return Code::notADate;
  return targeting::ordersVersions(condition) ? Code::notAVersion : Code::notANumber;
}

std::string describedUnreadable(Code code) {
  if (code == Code::notADate) return R"(a date ("2024-05-01" or "2024-05-01 18:30"))";
  return code == Code::notAVersion ? "a version (\"2.4.1\")" : "a number";
}

void checkValues(const Condition& condition, bool holds, const JsonNode& node, Report& report) {
  const std::string sign = quoted(model::textOf(condition.conditionSign));
  const std::string answer = holds ? "the condition always holds" : "the condition never holds";
  if (condition.values.empty()) {
    report.add(Code::conditionWithoutValues, node, "without a value " + answer);
  } else if (targeting::takesSeveralValues(condition.conditionSign)) {
    report.add(Code::emptyPart, node, "every text contains the empty text: " + answer);
  } else if (condition.values.size() > 1) {
    report.add(Code::severalValues, node, sign + " takes a single value: " + answer);
  } else {
    const Code code = codeOfUnreadable(condition);
    report.add(code, node,
               sign + " needs " + describedUnreadable(code) + ", but " +
                   quoted(condition.values[0]) + " is not one: " + answer);
  }
}

// --- The property --------------------------------------------------------------------------------

// Properties with their own setter on the user builder, in addition to those of device and
// application.
constexpr std::array<std::string_view, 3> kOfUsers{"userId", "profileId", "email"};
constexpr std::array<std::string_view, 2> kPrefixes{"custom.", "geo."};

bool isFilled(std::string_view name) {
  return targeting::whatShows(name) != targeting::Shows::neither ||
         std::ranges::find(kOfUsers, name) != kOfUsers.end() ||
         std::ranges::any_of(kPrefixes, [=](auto prefix) { return name.starts_with(prefix); });
}

std::string meantProperty(std::string_view name) {
  constexpr std::array<std::string_view, 13> kNames{
      "userId", "profileId", "email",    "appVersion",  "deviceId",  "os.name", "os.version",
      "time",   "date",      "geo.code", "geo.country", "geo.state", "geo.city"};
  if (const auto near = base::nearestWord(name, kNames); !near.empty()) return std::string(near);
  const std::size_t dot = name.find('.');
  if (dot == std::string_view::npos) return "custom." + std::string(name);
  const auto prefix = base::nearestWord(name.substr(0, dot + 1), kPrefixes);
  return prefix.empty() ? "" : std::string(prefix) + std::string(name.substr(dot + 1));
}

// The type that an operator requires and a property of device or clock lacks. The user may have
// another property of that name.
std::string_view missingType(const Condition& condition) {
  const std::string_view name = condition.name;
  if (isOrdering(condition.conditionSign) && (name == "date" || name == "time")) return "number";
  if (isDated(condition.conditionSign) && targeting::whatShows(name) == targeting::Shows::device) {
    return "date";
  }
  return {};
}

void checkProperty(const Document& document, Placed<Condition> condition, Report& report) {
  const std::string_view name = condition->name;
  const JsonNode& node = document.place(condition, &Condition::name);
  if (!isFilled(name)) {
    report.add(Code::unknownProperty, node,
               "the property " + quoted(name) + " is never set" + didYouMean(meantProperty(name)));
  }
  if (const auto wanted = missingType(*condition); !wanted.empty()) {
    report.add(Code::signMisfit, node,
               quoted(name) + " is not a " + std::string(wanted) + ", so " +
                   quoted(model::textOf(condition->conditionSign)) + " does not hold for it");
  }
  if (name == "os.version" && isOrdering(condition->conditionSign)) {
    report.add(Code::osVersionAsNumber, node,
               "\"os.version\" is compared as a number: 17.10 counts as less than 17.9, and 17.4.1 "
               "is not a number");
  }
}

// --- Private values ------------------------------------------------------------------------------

bool isDigest(std::string_view text) {
  constexpr std::size_t kDigits = 32;
  return text.size() == kDigits &&
         text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

void checkDigests(const Document& document, Placed<Condition> condition, Report& report) {
  for (const auto value : document.list(condition, &Condition::values)) {
    const std::string_view text = *value;
    if (text.empty() || isDigest(text)) continue;
    report.add(Code::privateOperand, *value.node,
               "private conditions compare MD5 digests (32 lower-case hexadecimal digits), but " +
                   quoted(text) + " is not one");
  }
}

}  // namespace

void checkCondition(const Document& document, Placed<Condition> condition,
                    std::optional<bool> constant, bool isPrivate, Report& report) {
  if (constant) {
    checkValues(*condition, *constant, document.place(condition, &Condition::values), report);
  }
  checkProperty(document, condition, report);
  if (isPrivate && targeting::comparesDigests(condition->conditionSign)) {
    checkDigests(document, condition, report);
  }
}

}  // namespace corvo::corvo_internal::lint
