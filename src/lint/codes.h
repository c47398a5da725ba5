// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/lint.h>

#include <array>
#include <cstdint>
#include <string_view>

#include "model/config.h"

namespace corvo::corvo_internal::lint {

/// All kinds of findings, in the order of docs/lint.md.
enum class Code : std::uint8_t {
  // Decoding.
  notJson,
  notAConfiguration,
  droppedElement,
  holdoutsNotAList,
  unknownKey,
  duplicateKey,
  duplicateIgnoredKey,
  platformMisspelled,
  platformDropsAll,
  platformIgnored,
  // Allocations and weights.
  noGroups,
  weightsSum,
  percentage,
  negativeShare,
  zeroShare,
  notFiniteShare,
  allocationCut,
  sameSalt,
  saltIsLayer,
  // Layers.
  layerWithoutBounds,
  invertedBounds,
  emptyBounds,
  boundsScale,
  boundsWithoutLayer,
  layerOverlap,
  // Rules and conditions.
  noRules,
  noDefaultRule,
  defaultWithConditions,
  dashStatement,
  orWithoutConditions,
  ruleNeverWins,
  contradiction,
  conditionWithoutValues,
  severalValues,
  emptyPart,
  notANumber,
  notAVersion,
  notADate,
  osVersionAsNumber,
  signMisfit,
  unknownProperty,
  privateOperand,
  mixedKinds,
  // Experiments.
  duplicateName,
  barInName,
  flagCarriedTwice,
  carriedFlagWithoutFlag,
  carriedGroupMissing,
  paramValueMissing,
  unknownGroup,
  holdoutNotFound,
  holdoutNamesItself,
  holdoutsNameEachOther,
  forcedTwice
};

struct CodeRow {
  Code code;
  std::string_view text;
  Finding::Severity severity;
};

inline constexpr auto kError = Finding::Severity::error;
inline constexpr auto kWarning = Finding::Severity::warning;

inline constexpr std::array<CodeRow, static_cast<std::size_t>(Code::forcedTwice) + 1> kCodes{{
    {Code::notJson, "not-json", kError},
    {Code::notAConfiguration, "not-a-configuration", kError},
    {Code::droppedElement, "dropped-element", kError},
    {Code::holdoutsNotAList, "holdouts-not-a-list", kError},
    {Code::unknownKey, "unknown-key", kWarning},
    {Code::duplicateKey, "duplicate-key", kError},
    {Code::duplicateIgnoredKey, "duplicate-ignored-key", kWarning},
    {Code::platformMisspelled, "platform-misspelled", kError},
    {Code::platformDropsAll, "platform-drops-all", kError},
    {Code::platformIgnored, "platform-ignored", kWarning},
    {Code::noGroups, "no-groups", kError},
    {Code::weightsSum, "weights-sum", kWarning},
    {Code::percentage, "percentage", kError},
    {Code::negativeShare, "negative-share", kError},
    {Code::zeroShare, "zero-share", kWarning},
    {Code::notFiniteShare, "not-finite-share", kError},
    {Code::allocationCut, "allocation-cut", kWarning},
    {Code::sameSalt, "same-salt", kWarning},
    {Code::saltIsLayer, "salt-is-layer", kWarning},
    {Code::layerWithoutBounds, "layer-without-bounds", kError},
    {Code::invertedBounds, "inverted-bounds", kError},
    {Code::emptyBounds, "empty-bounds", kError},
    {Code::boundsScale, "bounds-scale", kWarning},
    {Code::boundsWithoutLayer, "bounds-without-layer", kWarning},
    {Code::layerOverlap, "layer-overlap", kWarning},
    {Code::noRules, "no-rules", kError},
    {Code::noDefaultRule, "no-default-rule", kWarning},
    {Code::defaultWithConditions, "default-with-conditions", kWarning},
    {Code::dashStatement, "dash-statement", kError},
    {Code::orWithoutConditions, "or-without-conditions", kError},
    {Code::ruleNeverWins, "rule-never-wins", kWarning},
    {Code::contradiction, "contradiction", kError},
    {Code::conditionWithoutValues, "condition-without-values", kError},
    {Code::severalValues, "several-values", kError},
    {Code::emptyPart, "empty-part", kError},
    {Code::notANumber, "not-a-number", kError},
    {Code::notAVersion, "not-a-version", kError},
    {Code::notADate, "not-a-date", kError},
    {Code::osVersionAsNumber, "os-version-as-number", kWarning},
    {Code::signMisfit, "sign-misfit", kWarning},
    {Code::unknownProperty, "unknown-property", kWarning},
    {Code::privateOperand, "private-operand", kError},
    {Code::mixedKinds, "mixed-kinds", kWarning},
    {Code::duplicateName, "duplicate-name", kError},
    {Code::barInName, "bar-in-name", kWarning},
    {Code::flagCarriedTwice, "flag-carried-twice", kWarning},
    {Code::carriedFlagWithoutFlag, "carried-flag-without-flag", kWarning},
    {Code::carriedGroupMissing, "carried-group-missing", kError},
    {Code::paramValueMissing, "param-value-missing", kWarning},
    {Code::unknownGroup, "unknown-group", kWarning},
    {Code::holdoutNotFound, "holdout-not-found", kError},
    {Code::holdoutNamesItself, "holdout-names-itself", kWarning},
    {Code::holdoutsNameEachOther, "holdouts-name-each-other", kWarning},
    {Code::forcedTwice, "forced-twice", kWarning},
}};
static_assert(model::isByEnumerator(kCodes, [](const CodeRow& row) { return row.code; }));

[[nodiscard]] constexpr const CodeRow& rowOf(Code code) {
  return kCodes[static_cast<std::size_t>(code)];
}

}  // namespace corvo::corvo_internal::lint
