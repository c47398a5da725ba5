// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>

#include <cstdint>
#include <string_view>

namespace corvo {

/// Why a flag has a value for a user, or has none. All but the first are also cases of
/// `CorvoError`: the ones in which `checkFlag` fails.
enum class FlagReason : std::uint8_t {
  rule,                          ///< A rule holds, and its value counts.
  featureFlagNotFound,           ///< Only experiments have the flag, and the one that decides it
                                 ///< has no group for the user.
  featureFlagNoRules,            ///< The list of rules that decides is empty.
  featureFlagRulesNotSatisfied,  ///< No rule of that list holds.
  experimentGroupNotMatchingFeatureFlagGroup  ///< The experiment's flag lacks the user's group.
};

/// The name of the enumerator. It never changes.
[[nodiscard]] CORVO_EXPORT std::string_view textOf(FlagReason reason) noexcept;

}  // namespace corvo
