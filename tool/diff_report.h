// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tool/comparison.h"
#include "tool/style.h"

namespace corvo::tool {

/// "flag", "experiment" or "holdout".
[[nodiscard]] std::string wordOf(ItemChange::Kind kind);

/// The items with a difference, each with its moves and their reasons, and a summary.
[[nodiscard]] std::string forPeople(const Comparison& comparison, const Style& style);

/// Everything, as a JSON document with a newline.
[[nodiscard]] std::string inJson(const Comparison& comparison);

/// A heading, then for each item the number of users who keep their answer, and a line per move.
[[nodiscard]] std::string inCsv(const Comparison& comparison);

}  // namespace corvo::tool
