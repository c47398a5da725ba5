#pragma once

#include <corvo/explanation.h>

#include <vector>

namespace corvo::tool {

/// For each step of an explanation, in the order of its lines, whether the answer rests on it: the
/// ways from the question to the conditions, shares and lists that settled it.
[[nodiscard]] std::vector<bool> decidingSteps(const Explanation& explanation);

}  // namespace corvo::tool
