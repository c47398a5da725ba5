// SPDX-License-Identifier: Apache-2.0

#include "tool/deciding_steps.h"

#include <algorithm>
#include <sstream>

namespace corvo::tool {
namespace {

using Step = Explanation::Step;
using Code = Explanation::Code;
using Outcome = Explanation::Outcome;

bool isReached(const Step& step) { return step.outcome != Outcome::notReached; }

/// Whether a step decides the user's placement in an experiment or holdout. The last of the steps
/// is the one that decides it.
bool settlesPlacement(const Step& step, const Step& placement) {
  const auto last = std::find_if(placement.steps.rbegin(), placement.steps.rend(), isReached);
  if (last != placement.steps.rend() && &*last == &step) return true;
  if (placement.outcome != Outcome::in) return false;
  const bool isForced = step.code == Code::forcedGroup || step.code == Code::forcedExperiment;
  return step.code == Code::group || (isForced && step.outcome == Outcome::found);
}

/// Whether an inner step decides an outer one.
bool settles(const Step& inner, const Step& outer) {
  switch (outer.code) {
    case Code::experiment:
    case Code::holdout:
      return settlesPlacement(inner, outer);
    case Code::rules:
    case Code::group:
      return inner.outcome == (outer.outcome == Outcome::found ? Outcome::holds : Outcome::fails);
    default:
      return inner.outcome == outer.outcome;
  }
}

/// Whether an outermost step decides the answer.
bool settles(const Step& step, const Explanation& explanation) {
  const bool isIn = std::ranges::any_of(explanation.steps, [](const Step& each) {
    return each.code == Code::experiment && each.outcome == Outcome::in;
  });
  switch (step.code) {
    case Code::flag:
      return step.outcome == Outcome::notFound && !isIn;
    case Code::experiment:
      return step.outcome == Outcome::in || (!isIn && isReached(step));
    case Code::value:
      return false;
    default:
      return true;
  }
}

void add(const Step& step, bool decides, std::vector<bool>& all) {
  all.push_back(decides);
  for (const Step& inner : step.steps) add(inner, decides && settles(inner, step), all);
}

}  // namespace

std::vector<bool> decidingSteps(const Explanation& explanation) {
  std::vector<bool> all;
  for (const Step& step : explanation.steps) add(step, settles(step, explanation), all);
  return all;
}

ExplainedLines explainedLines(const Explanation& explanation) {
  ExplainedLines all;
  std::istringstream text(explanation.toText());
  std::getline(text, all.answer);
  for (const bool decides : decidingSteps(explanation)) {
    std::getline(text, all.lines.emplace_back(ExplainedLines::Line{{}, decides}).text);
  }
  return all;
}

}  // namespace corvo::tool
