// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/explanation.h>

#include <string>
#include <vector>

namespace corvo::tool {

/// For each step of an explanation, in the order of its lines, whether the answer depends on it.
/// These are the steps from the question down to the conditions, weights and lists that decided it.
[[nodiscard]] std::vector<bool> decidingSteps(const Explanation& explanation);

/// An explanation for people: the answer, and one line per step.
struct ExplainedLines {
  struct Line {
    std::string text;  ///< Indented by two spaces more than its depth, from 0.
    bool decides = false;
  };

  std::string answer;
  std::vector<Line> lines;
};
[[nodiscard]] ExplainedLines explainedLines(const Explanation& explanation);

}  // namespace corvo::tool
