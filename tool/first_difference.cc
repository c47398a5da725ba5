// SPDX-License-Identifier: Apache-2.0

#include "tool/first_difference.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "model/config.h"

namespace corvo::tool {
namespace {

using Step = Explanation::Step;
using Code = Explanation::Code;
using Outcome = Explanation::Outcome;
using Steps = std::vector<Step>;

/// Names of facts; no fact has an empty one.
using Names = std::array<std::string_view, 4>;

/// How steps of a kind are compared and shown.
struct Form {
  Code code;
  Names identity;  ///< Two steps with the same are versions of one.
  Names results;   ///< Together with the outcome.
  Names shown;     ///< The facts of the configuration, and of the answer.
};

constexpr std::array<Form, 18> kForms{{
    {Code::flag, {}, {}, {}},
    {Code::experiment, {"name"}, {"group"}, {"name", "reason", "heldOutBy", "group"}},
    {Code::splitIdentifier, {}, {"value"}, {"property"}},
    {Code::holdout, {"name"}, {}, {"name"}},
    {Code::forcedGroup, {}, {"group"}, {"group"}},
    {Code::forcedExperiment, {}, {}, {}},
    {Code::layer, {}, {}, {"layer", "salt"}},
    {Code::interval, {}, {}, {"lower", "upper"}},
    {Code::bucket, {}, {"hash"}, {"salt"}},
    {Code::allocation, {}, {}, {"allocation"}},
    {Code::group, {}, {"group"}, {"group"}},
    {Code::share, {"group"}, {}, {"group", "weight", "end"}},
    {Code::targets, {}, {}, {"statement", "private"}},
    {Code::carriedFlag, {}, {"group"}, {"group"}},
    {Code::rules, {}, {}, {"private"}},
    {Code::rule, {"default", "statement"}, {}, {"position", "default", "statement", "value"}},
    {Code::condition, {"property", "sign"}, {}, {"property", "sign", "values"}},
    {Code::value, {}, {"text"}, {"text", "type"}},
}};
static_assert(corvo_internal::model::isByEnumerator(kForms,
                                                    [](const Form& row) { return row.code; }));

const Form& formOf(Code code) { return kForms.at(static_cast<std::size_t>(code)); }

bool agree(const Step& a, const Step& b, const Names& facts) {
  return std::ranges::all_of(facts, [&](std::string_view fact) {
    const JsonValue* const inA = a.find(fact);
    const JsonValue* const inB = b.find(fact);
    return inA == nullptr || inB == nullptr ? inA == inB : *inA == *inB;
  });
}

bool areVersionsOfOne(const Step& a, const Step& b) {
  if (a.code != b.code || !agree(a, b, formOf(a.code).identity)) return false;
  // Rules have no names. Those that begin with another condition are others.
  const bool haveConditions = a.code == Code::rule && !a.steps.empty() && !b.steps.empty();
  return !haveConditions || areVersionsOfOne(a.steps.front(), b.steps.front());
}

bool haveSameResult(const Step& a, const Step& b) {
  if (a.outcome != b.outcome || !agree(a, b, formOf(a.code).results)) return false;
  // The value counts only if the rule gives it to the user; the inner rules are the result of a
  // list.
  if (a.code == Code::rule) return a.outcome != Outcome::holds || agree(a, b, {"value"});
  return a.code != Code::rules;
}

/// Which steps that only one explanation has are a difference.
enum class Missing : std::uint8_t { ifNeeded, always };

/// Whether something may depend on a step that only one explanation has. `around` is the step
/// around it, if there is one.
bool matters(const Step& step, const Step* around, Missing missing) {
  if (missing == Missing::always) return true;
  const Outcome outer = around == nullptr ? Outcome::done : around->outcome;
  switch (step.code) {
    case Code::condition:
    case Code::interval:
      return step.outcome == outer;
    case Code::rule:
      return step.outcome == (outer == Outcome::found ? Outcome::holds : Outcome::fails);
    case Code::targets:
      return step.outcome == Outcome::fails;
    default:
      return step.outcome == Outcome::in || step.outcome == Outcome::holds ||
             step.outcome == Outcome::found || step.outcome == Outcome::rest ||
             step.outcome == Outcome::done;
  }
}

/// The fact that tells a step around the difference from others of its kind; empty if nothing does,
/// or if the inner steps make it obvious.
std::string_view placingFact(Code code) {
  switch (code) {
    case Code::experiment:
    case Code::holdout:
      return "name";
    case Code::layer:
      return "layer";
    case Code::rule:
      return "position";
    default:
      return "";
  }
}

/// What users who differ inside the step have in common.
Step placeOf(const Step& step) {
  Step place{.code = step.code};
  const std::string_view name = placingFact(step.code);
  if (const JsonValue* const fact = step.find(name)) place.facts.push_back({name, *fact});
  return place;
}

/// The step itself, without the facts of the user.
Step shownPart(const Step& step) {
  Step shown{.code = step.code, .outcome = step.outcome};
  for (const Explanation::Fact& fact : step.facts) {
    if (std::ranges::count(formOf(step.code).shown, fact.name) > 0) shown.facts.push_back(fact);
  }
  return shown;
}

std::optional<Difference> firstIn(const Steps& before, const Step* aroundBefore, const Steps& after,
                                  const Step* aroundAfter, Missing missing);

/// Whether conditions, intervals or rules that are the same in both configurations have different
/// results. The cause is a fact of a step around them: a layer's name, a statement, privacy.
bool isCausedAround(const Difference& difference) {
  const auto& [within, before, after] = difference;
  if (!before || !after || before->code != after->code) return false;
  const Code code = before->code;
  return (code == Code::condition || code == Code::interval || code == Code::rule) &&
         agree(*before, *after, formOf(code).shown);
}

/// The difference inside two versions of one step, or of the steps themselves.
std::optional<Difference> differenceOf(const Step& before, const Step& after, Missing missing) {
  if (haveSameResult(before, after)) return std::nullopt;
  const Difference ofThese{{}, shownPart(before), shownPart(after)};
  if (before.outcome == Outcome::notReached || after.outcome == Outcome::notReached) return ofThese;
  if (auto inner = firstIn(before.steps, &before, after.steps, &after, missing)) {
    if (isCausedAround(*inner)) return ofThese;
    inner->within.insert(inner->within.begin(), placeOf(inner->after ? after : before));
    return inner;
  }
  const bool isDecidedInside = before.code == Code::rules && before.outcome == after.outcome;
  if (isDecidedInside) return std::nullopt;
  return ofThese;
}

std::optional<Difference> firstIn(const Steps& before, const Step* aroundBefore, const Steps& after,
                                  const Step* aroundAfter, Missing missing) {
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < before.size() || j < after.size()) {
    const Step* const a = i < before.size() ? &before[i] : nullptr;
    const Step* const b = j < after.size() ? &after[j] : nullptr;
    if (a != nullptr && b != nullptr && areVersionsOfOne(*a, *b)) {
      if (auto difference = differenceOf(*a, *b, missing)) return difference;
      ++i;
      ++j;
    } else if (a != nullptr && !matters(*a, aroundBefore, missing)) {
      ++i;
    } else if (b != nullptr && !matters(*b, aroundAfter, missing)) {
      ++j;
    } else {
      Difference difference;  // codes are in the order of decision
      if (a != nullptr && (b == nullptr || a->code <= b->code)) difference.before = shownPart(*a);
      if (b != nullptr && (a == nullptr || b->code <= a->code)) difference.after = shownPart(*b);
      return difference;
    }
  }
  return std::nullopt;
}

/// The engine's line about a step.
std::string lineOf(const std::optional<Step>& step) {
  if (!step) return "(no such step)";
  std::string line = step->toText();
  line.pop_back();
  return line;
}

}  // namespace

std::string Difference::text() const {
  std::string text;
  for (const Step& each : within) {
    if (each.facts.empty() && each.code != Code::targets) continue;
    text += textOf(each.code);
    if (!each.facts.empty()) text += " " + each.facts.front().value.toJson();
    text += ": ";
  }
  return text + lineOf(before) + " -> " + lineOf(after);
}

Difference firstDifference(const Explanation& before, const Explanation& after) {
  std::optional<Difference> difference;
  for (const Missing missing : {Missing::ifNeeded, Missing::always}) {
    difference = firstIn(before.steps, nullptr, after.steps, nullptr, missing);
    if (difference) break;
  }
  if (!difference) return {};
  // The experiment in question is around every step.
  const bool isObvious = before.question == Explanation::Question::experiment;
  if (isObvious && !difference->within.empty())
    difference->within.erase(difference->within.begin());
  return *std::move(difference);
}

}  // namespace corvo::tool
