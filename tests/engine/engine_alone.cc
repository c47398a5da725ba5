// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/lint.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#if defined(__cpp_exceptions) || defined(__cpp_rtti)
#error "To be compiled without exceptions and RTTI."
#endif

namespace {

// Everybody is in the only group of the experiment, whatever the hash.
constexpr std::string_view kDocument = R"({
  "feature_flags": [{"name": "discount", "type": "number", "rules": [
    {"value": "0.25", "conditional_statement": "AND", "is_default": false, "conditions": [
      {"name": "custom.plan", "condition_sign": "equal", "value": "gold"}]},
    {"value": "0", "conditional_statement": "-", "is_default": true, "conditions": []}]}],
  "experiments": [{"name": "layout", "salt": "s", "allocation": 1, "split_by": "userId",
    "groups": [{"name": "wide", "weight": 1}],
    "feature_flags": [{"name": "columns", "type": "number", "groups": [{"group": "wide", "rules": [
      {"value": "3", "conditional_statement": "-", "is_default": true, "conditions": []}]}]}]}]
})";
constexpr std::array<corvo::EvaluationContext::Property, 2> kUser{
    {{"userId", "u-17"}, {"custom.plan", "gold"}}};

bool isUnreadable(std::string_view text) {
  const auto project = corvo::Project::decode(text);
  return !project && project.error()->which() == corvo::CorvoError::Case::requestConfigFailed;
}

bool answers(corvo::Evaluation& about) {
  const auto layout = about.getExperiment("layout").value();
  return about.checkFlag<double>("discount").valueOr(0.0) == 0.25 &&
         about.checkFlag<bool>("missing").valueOr(true) &&
         about.checkFlag<std::int64_t>("columns").value() == 3 && layout != nullptr &&
         layout->userGroupName() == "wide" &&
         layout->getFeatureValue<std::int64_t>("columns") == 3 &&
         about.getUserFeatureFlagsDetails().value().size() == 1;
}

}  // namespace

// Prints nothing if everything is right, except for the last question, which aborts the process.
int main() {
  // An experiment carries a flag that the project does not contain.
  if (corvo::lint(kDocument).size() != 1) return std::puts("lint"), 1;
  if (!isUnreadable("{") || !isUnreadable("[]")) return std::puts("unreadable"), 1;
  auto about = corvo::Project::decode(kDocument).value().evaluate({.properties = kUser});
  if (!answers(about)) return std::puts("wrong answers"), 1;
  std::signal(SIGABRT, [](int) { std::_Exit(0); });
  (void)about.checkFlag<bool>("missing").value();
  std::puts("gone on");
  return 1;
}
