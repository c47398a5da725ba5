// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/explanation.h>

#include <optional>
#include <string>
#include <vector>

namespace corvo::tool {

/// Where two explanations part. Contains only facts of the configurations, none of the user, so
/// that it is the same for all users who part there.
struct Difference {
  using Step = Explanation::Step;

  /// The steps around it, from the outermost: each its code and the fact that identifies it.
  std::vector<Step> within;
  std::optional<Step> before = {};  ///< Without inner steps; absent if only `after` has one.
  std::optional<Step> after = {};

  /// In one line: "holdout "quiet": allocation: holds (...) -> allocation: does not hold (...)".
  /// Equal differences have equal texts.
  [[nodiscard]] std::string text() const;
};

/// The first step, in the order in which they were decided, whose result differs: an outcome, a
/// group, a hash or a value. Inner steps are decided before those that contain them. Steps that
/// only one explanation has are skipped if nothing depends on them. The explanations answer the
/// same question differently.
[[nodiscard]] Difference firstDifference(const Explanation& before, const Explanation& after);

}  // namespace corvo::tool
