// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "lint/checks.h"

namespace corvo::corvo_internal::lint {
namespace {

using model::Experiment;
using model::ExperimentType;
using model::FeatureFlag;
using model::FeatureFlagGroup;
using model::Group;
using model::Param;
using model::Text;

bool isHoldout(const Experiment& experiment) { return experiment.type == ExperimentType::holdout; }

// --- Names ---------------------------------------------------------------------------------------

class NameCheck {
 public:
  NameCheck(const Document& document, Report& report) : document_(document), report_(report) {}

  void check() {
    distinct(document_.keptFlags(), &FeatureFlag::name, "flag");
    distinct(document_.keptExperiments(), &Experiment::name, "experiment");
    for (const auto experiment : document_.experiments()) {
      checkBar(experiment);
      distinct(document_.list(experiment, &Experiment::groups), &Group::name, "group");
      distinct(document_.list(experiment, &Experiment::params), &Param::name, "parameter");
      for (const auto param : document_.list(experiment, &Experiment::params)) {
        distinct(document_.list(param, &Param::values), &Param::Value::group, "value");
      }
      for (const auto flag : document_.list(experiment, &Experiment::featureFlags)) {
        distinct(document_.list(flag, &FeatureFlag::groups), &FeatureFlagGroup::name, "group");
      }
    }
  }

 private:
  template <class R>
  void distinct(const std::vector<Placed<R>>& records, Text R::*name, const char* what) {
    std::set<std::string_view> names;
    for (const auto record : records) {
      const std::string_view own = (*record).*name;
      if (names.insert(own).second) continue;
      report_.add(Code::duplicateName, document_.place(record, name),
                  std::string("an earlier ") + what + " is also named " + quoted(own) +
                      ": only the first one is found");
    }
  }

  void checkBar(Placed<Experiment> experiment) {
    if (experiment->name.view().find('|') == std::string_view::npos) return;
    report_.add(Code::barInName, document_.place(experiment, &Experiment::name),
                "\"|\" separates the names in the text of a user's experiments");
  }

  const Document& document_;
  Report& report_;
};

// --- Groups --------------------------------------------------------------------------------------

// The names of an experiment's groups, and which of them are used elsewhere.
class GroupCheck {
 public:
  GroupCheck(const Document& document, Placed<Experiment> experiment, Report& report)
      : document_(document), report_(report) {
    for (const Group& group : experiment->groups) {
      if (known_.insert(group.name).second) names_.push_back(group.name);
    }
  }

  // Checks that each record names one of the groups, and that each group is named.
  template <class Owner, class R>
  void check(Placed<Owner> owner, model::List<R> Owner::*records, Text R::*name, Code missing,
             const char* consequence) {
    std::set<std::string_view> given;
    for (const auto record : document_.list(owner, records)) {
      const std::string_view own = (*record).*name;
      if (known_.contains(own)) {
        given.insert(own);
      } else {
        report_.add(Code::unknownGroup, document_.place(record, name),
                    "the experiment has no group " + quoted(own));
      }
    }
    checkMissing(*owner.node, given, missing, consequence);
  }

 private:
  // Stops at the third missing group. Otherwise every owner would search all groups.
  void checkMissing(const JsonNode& node, const std::set<std::string_view>& given, Code code,
                    const char* consequence) {
    const std::size_t count = names_.size() - given.size();
    std::vector<std::string_view> first;
    for (auto name = names_.begin(); first.size() < std::min<std::size_t>(count, 3); ++name) {
      if (!given.contains(*name)) first.push_back(*name);
    }
    if (count == 0) return;
    report_.add(code, node, consequence + listed(first, count));
  }

  const Document& document_;
  Report& report_;
  std::vector<std::string_view> names_;
  std::set<std::string_view> known_;
};

void checkGroups(const Document& document, Placed<Experiment> experiment, Report& report) {
  GroupCheck groups(document, experiment, report);
  for (const auto flag : document.list(experiment, &Experiment::featureFlags)) {
    groups.check(flag, &FeatureFlag::groups, &FeatureFlagGroup::name, Code::carriedGroupMissing,
                 "the carried flag has no rules, but an error, for users in group ");
  }
  for (const auto param : document.list(experiment, &Experiment::params)) {
    groups.check(param, &Param::values, &Param::Value::group, Code::paramValueMissing,
                 "the parameter has no value for group ");
  }
}

// --- Carried flags -------------------------------------------------------------------------------

template <class R>
std::set<std::string_view> namesOf(const std::vector<Placed<R>>& records) {
  std::set<std::string_view> names;
  for (const auto record : records) names.insert(record->name);
  return names;
}

void checkCarried(const Document& document, Report& report) {
  const auto own = namesOf(document.keptFlags());
  std::map<std::string_view, std::string_view> carriers;
  for (const auto experiment : document.keptExperiments()) {
    for (const auto flag : document.list(experiment, &Experiment::featureFlags)) {
      const JsonNode& node = document.place(flag, &FeatureFlag::name);
      const auto [carrier, isNew] =
          carriers.try_emplace(flag->name.view(), experiment->name.view());
      if (!isNew) {
        report.add(Code::flagCarriedTwice, node,
                   "the experiment " + quoted(carrier->second) + " already carries the flag " +
                       quoted(flag->name) + ": only that one decides the flag");
      }
      if (!own.contains(flag->name)) {
        report.add(Code::carriedFlagWithoutFlag, node,
                   "clients have no separate flag " + quoted(flag->name) +
                       ": users outside the experiment get an error");
      }
    }
  }
}

// --- Holdouts ------------------------------------------------------------------------------------

class HoldoutCheck {
 public:
  HoldoutCheck(const Document& document, Report& report)
      : document_(document), report_(report), experiments_(namesOf(document.keptExperiments())) {
    for (const auto experiment : document.keptExperiments()) {
      if (!isHoldout(*experiment)) continue;
      holdouts_.try_emplace(experiment->name, experiment);
      for (const Text named : experiment->holdouts)
        pairs_.emplace(experiment->name.view(), named.view());
    }
  }

  void check() {
    for (const auto experiment : document_.keptExperiments()) {
      for (const auto named : document_.list(experiment, &Experiment::holdouts)) {
        check(*experiment, *named, *named.node);
      }
      checkRings(experiment->name);
    }
  }

 private:
  // A holdout on the current path, and the holdouts that it names and that remain to be followed.
  struct Step {
    std::string_view name;
    std::vector<Placed<Text>> named;
    std::size_t next = 0;
  };

  // Follows the references from holdout to holdout, each once. A reference to a holdout on the
  // current path closes a ring.
  void checkRings(std::string_view start) {
    std::vector<Step> way;
    enter(start, way);
    while (!way.empty()) {
      Step& last = way.back();
      if (last.next == last.named.size()) {
        isOnWay_[last.name] = false;
        way.pop_back();
        continue;
      }
      const auto named = last.named[last.next++];
      const auto known = isOnWay_.find(*named);
      if (known == isOnWay_.end()) {
        enter(*named, way);
      } else if (known->second && !pairs_.contains({named->view(), last.name})) {
        report_.add(Code::holdoutsNameEachOther, *named.node,
                    "the holdout " + quoted(*named) +
                        " leads back to this one: users in all holdouts of this ring are reported "
                        "to be in none");
      }
    }
  }

  void enter(std::string_view name, std::vector<Step>& way) {
    const auto found = holdouts_.find(name);
    if (found == holdouts_.end() || !isOnWay_.try_emplace(found->first, true).second) return;
    way.push_back({found->first, document_.list(found->second, &Experiment::holdouts)});
  }

  void check(const Experiment& owner, std::string_view name, const JsonNode& node) {
    if (!holdouts_.contains(name)) {
      const std::string why = experiments_.contains(name)
                                  ? "the experiment " + quoted(name) + " is not a holdout"
                                  : "clients have no holdout " + quoted(name);
      return report_.add(Code::holdoutNotFound, node, why + ": it holds nobody out");
    }
    if (!isHoldout(owner)) return;
    if (name == owner.name.view()) {
      report_.add(Code::holdoutNamesItself, node,
                  "this holdout names itself: nobody is reported to be in it");
    } else if (pairs_.contains({name, owner.name})) {
      report_.add(Code::holdoutsNameEachOther, node,
                  "the holdout " + quoted(name) +
                      " names this one, too: users in both are reported to be in "
                      "neither");
    }
  }

  const Document& document_;
  Report& report_;
  std::set<std::string_view> experiments_;
  std::map<std::string_view, Placed<Experiment>> holdouts_;
  std::map<std::string_view, bool> isOnWay_;                       // of the visited holdouts
  std::set<std::pair<std::string_view, std::string_view>> pairs_;  // naming and named holdout
};

// --- Forced users --------------------------------------------------------------------------------

// The lists of one experiment.
class ForcedCheck {
 public:
  explicit ForcedCheck(Report& report) : report_(report) {}

  void check(const std::vector<Placed<Text>>& list, const std::string& name) {
    for (const auto identifier : list) {
      const auto [first, isNew] = names_.try_emplace(*identifier, name);
      if (isNew) continue;
      report_.add(Code::forcedTwice, *identifier.node,
                  quoted(*identifier) + (first->second == name ? " is already" : " is also") +
                      " in the list of " + first->second +
                      (first->second == name ? "" : ", and only that list counts"));
    }
  }

 private:
  Report& report_;
  std::map<std::string_view, std::string> names_;  // of the lists, by identifier
};

void checkForced(const Document& document, Placed<Experiment> experiment, Report& report) {
  ForcedCheck lists(report);
  for (const auto group : document.list(experiment, &Experiment::groups)) {
    lists.check(document.list(group, &Group::forcedUserList), "the group " + quoted(group->name));
  }
  lists.check(document.list(experiment, &Experiment::forcedUserList), "the experiment");
}

}  // namespace

void checkExperiments(const Document& document, Report& report) {
  NameCheck(document, report).check();
  for (const auto experiment : document.experiments()) {
    checkGroups(document, experiment, report);
    checkForced(document, experiment, report);
  }
  checkCarried(document, report);
  HoldoutCheck(document, report).check();
}

}  // namespace corvo::corvo_internal::lint
