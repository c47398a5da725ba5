// SPDX-License-Identifier: Apache-2.0

#include <corvo/property.h>

#include <array>
#include <map>
#include <string>
#include <string_view>

#include "lint/checks.h"
#include "project/platform_filter.h"

namespace corvo::corvo_internal::lint {
namespace {

using model::Experiment;
using model::FeatureFlag;
using model::Rule;

constexpr std::string_view kText = "a text";

// The type that a text is read as if no type is requested; integers and doubles count as numbers.
std::string_view kindOf(std::string_view text) {
  constexpr std::array<std::string_view, 5> kKinds{"a JSON object", "a boolean", "a number",
                                                   "a number", kText};
  return kKinds.at(typedProperty(text).index());
}

// Finds the first value of a flag whose type differs from an earlier one. A flag declared as a
// string may have any texts, including ones that look like numbers.
class KindCheck {
 public:
  KindCheck(const Document& document, Report& report) : document_(document), report_(report) {}

  template <class Owner>
  void values(const FeatureFlag& flag, Placed<Owner> owner) {
    for (const auto rule : document_.list(owner, &Owner::rules)) value(flag, rule);
  }

 private:
  void value(const FeatureFlag& flag, Placed<Rule> rule) {
    const std::string_view kind = kindOf(rule->value);
    const auto [known, isNew] = kinds_.try_emplace(flag.name.view(), kind);
    std::string_view& before = known->second;
    if (isNew || before == kind || before.empty()) return;
    if (flag.type == "string" && (kind == kText || before == kText)) return;
    report_.add(Code::mixedKinds, document_.place(rule, &Rule::value),
                "this value is " + std::string(kind) + ", but an earlier value of the flag " +
                    quoted(flag.name) + " is " + std::string(before));
    before = {};  // report once
  }

  const Document& document_;
  Report& report_;
  std::map<std::string_view, std::string_view> kinds_;  // empty once reported
};

}  // namespace

void checkValues(const Document& document, Report& report) {
  KindCheck kept(document, report);
  for (const auto flag : document.flags()) {
    KindCheck alone(document, report);
    (project::isForThisPlatform(*flag) ? kept : alone).values(*flag, flag);
  }
  for (const auto experiment : document.experiments()) {
    KindCheck alone(document, report);
    for (const auto flag : document.list(experiment, &Experiment::featureFlags)) {
      for (const auto group : document.list(flag, &FeatureFlag::groups)) {
        (project::isForThisPlatform(*experiment) ? kept : alone).values(*flag, group);
      }
    }
  }
}

}  // namespace corvo::corvo_internal::lint
