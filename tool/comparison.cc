// SPDX-License-Identifier: Apache-2.0

#include "tool/comparison.h"

#include <corvo/evaluation.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "tool/experiment_list.h"

namespace corvo::tool {
namespace {

using Kind = ItemChange::Kind;

/// An answer. Refers to a text of the project, of a `Side` or of an `Asker`.
struct Seen {
  bool isThere = false;
  std::string_view text;
  std::size_t index = 0;  // of the group

  bool operator==(const Seen&) const = default;
  bool operator<(const Seen& other) const {
    return std::tie(isThere, text, index) < std::tie(other.isThere, other.text, other.index);
  }
};

/// The items of both projects: flags, then experiments, which may be holdouts.
class ItemList {
 public:
  ItemList(const Project& before, const Project& after) {
    for (const Project* project : {&after, &before}) {
      for (const Project::Flag& each : project->flags()) {
        add(flags_, Kind::flag, each.name, project == &after);
      }
    }
    flagCount_ = items_.size();
    for (const Project* project : {&after, &before}) {
      for (const ListedExperiment& each : allExperiments(*project)) {
        const Kind kind = each.isHoldout ? Kind::holdout : Kind::experiment;
        add(experiments_, kind, each.name, project == &after);
      }
    }
  }

  [[nodiscard]] const std::vector<ItemChange>& all() const { return items_; }
  [[nodiscard]] std::size_t flagCount() const { return flagCount_; }
  [[nodiscard]] std::size_t flag(const std::string& name) const { return flags_.at(name); }
  [[nodiscard]] std::size_t experiment(const std::string& name) const {
    return experiments_.at(name);
  }

 private:
  using Places = std::unordered_map<std::string, std::size_t>;

  void add(Places& places, Kind kind, const std::string& name, bool isNew) {
    const auto [place, isFirst] = places.emplace(name, items_.size());
    if (isFirst) items_.push_back({.kind = kind, .name = name});
    ItemChange& item = items_[place->second];
    (isNew ? item.isInNew : item.isInOld) = true;
  }

  std::vector<ItemChange> items_;
  Places flags_;
  Places experiments_;
  std::size_t flagCount_ = 0;
};

/// One of the projects, prepared for questions about all items. Concurrent reads are safe.
struct Side {
  Side(const Project& asked, const ItemList& items)
      : project(asked), isCarried(items.flagCount()), itemCount(items.all().size()) {
    for (const Project::Flag& each : project.flags()) {
      flags.push_back(flags.size());
      itemOfFlag.push_back(items.flag(each.name));
      isCarried[itemOfFlag.back()] = each.carriedBy.has_value();
    }
    for (const ListedExperiment& each : allExperiments(project)) {
      experiments.push_back(each.position);
      itemOfExperiment.push_back(items.experiment(each.name));
      auto& names = groups.emplace_back();
      for (const Project::Group& group : each.groups) names.push_back(group.name);
    }
  }

  const Project& project;
  std::vector<std::size_t> flags;                // all positions, and
  std::vector<std::size_t> itemOfFlag;           // the item at each
  std::vector<std::size_t> experiments;          // all positions, and
  std::vector<std::size_t> itemOfExperiment;     // the item at each
  std::vector<std::vector<std::string>> groups;  // names, by position
  std::vector<bool> isCarried;                   // by item: whether an experiment decides the flag
  std::size_t itemCount;
};

/// Asks one project about one user at a time. For use by one thread.
class Asker {
 public:
  Asker(const Side& side, const std::vector<ItemChange>& items)
      : side_(side),
        items_(items),
        about_(side.project.evaluate({.now = 0})),
        standard_(side.itemCount) {}

  void ask(const EvaluationContext& context) {
    about_.reset(context);
    answers_ = standard_;
    for (const auto& [flag, text] : about_.flagTexts(side_.flags)) {
      answers_[side_.itemOfFlag[flag]] = {true, text};
    }
    for (std::size_t item = 0; item < side_.isCarried.size(); ++item) {
      if (!answers_[item].isThere && answers_[item].text.empty()) answers_[item] = askByName(item);
    }
    for (const auto& [experiment, group] : about_.memberships(side_.experiments)) {
      Seen& answer = answers_[side_.itemOfExperiment[experiment]];
      if (answer.isThere) continue;  // of several with one name, the first counts
      answer = {true, side_.groups[experiment][group], group};
    }
  }

  /// In the order of the items. Texts stay valid as long as this object.
  [[nodiscard]] const std::vector<Seen>& answers() const noexcept { return answers_; }

  [[nodiscard]] Explanation explain(std::size_t item) {
    const auto& [kind, name] = std::tie(items_[item].kind, items_[item].name);
    return kind == Kind::flag ? about_.explainFlag(name) : about_.explainExperiment(name);
  }

 private:
  // The list of texts has neither flags that only experiments carry, nor errors. The error of a
  // flag that no experiment carries is the same for all users.
  Seen askByName(std::size_t item) {
    const auto answer = about_.checkFlag<std::string>(items_[item].name);
    const CorvoError* const error = answer.error();
    if (error == nullptr) return {true, *texts_.insert(answer.value().value_or("")).first};
    const Seen seen{false, error->name()};
    if (!side_.isCarried[item]) standard_[item] = seen;
    return seen;
  }

  const Side& side_;
  const std::vector<ItemChange>& items_;
  Evaluation about_;
  std::vector<Seen> standard_;  // the answers that do not depend on the user, as far as known
  std::vector<Seen> answers_;
  std::unordered_set<std::string> texts_;
};

/// What one thread has seen of an item.
struct Tally {
  std::map<std::pair<Seen, Seen>, std::size_t> moves;  // without indexes
  std::map<std::pair<Seen, std::size_t>, std::size_t> renumberings;
  std::size_t explained = 0;
  std::map<std::string, Reason> reasons;  // by their texts
};

/// Asks both projects about the users of one thread.
class Comparer {
 public:
  Comparer(const Side& before, const Side& after, const std::vector<ItemChange>& items,
           std::size_t explainedUsers)
      : items_(items),
        explainedUsers_(explainedUsers),
        before_(before, items),
        after_(after, items),
        tallies_(items.size()) {}

  void compare(std::size_t user, const EvaluationContext& context) {
    before_.ask(context);
    after_.ask(context);
    for (std::size_t item = 0; item < items_.size(); ++item) {
      Seen from = before_.answers()[item];
      Seen to = after_.answers()[item];
      if (from == to) continue;
      if (from.isThere == to.isThere && from.text == to.text) {
        ++tallies_[item].renumberings[{from, to.index}];
        continue;
      }
      from.index = to.index = 0;
      ++tallies_[item].moves[{from, to}];
      if (user < explainedUsers_ && items_[item].isInBoth()) explain(item, user);
    }
  }

  [[nodiscard]] const std::vector<Tally>& tallies() const noexcept { return tallies_; }

 private:
  void explain(std::size_t item, std::size_t user) {
    Difference difference = firstDifference(before_.explain(item), after_.explain(item));
    Tally& tally = tallies_[item];
    ++tally.explained;
    std::string text = difference.text();
    Reason& reason = tally.reasons[std::move(text)];
    if (reason.users == 0) reason = {std::move(difference), 0, user};
    ++reason.users;
  }

  const std::vector<ItemChange>& items_;
  const std::size_t explainedUsers_;
  Asker before_;
  Asker after_;
  std::vector<Tally> tallies_;
};

/// Adds the elements of a map as records, most users first.
template <class Counts, class Record>
void addInOrder(Counts& counts, std::vector<Record>& records) {
  for (auto& [key, record] : counts) records.push_back(std::move(record));
  std::ranges::stable_sort(records, std::ranges::greater(), &Record::users);
}

ItemAnswer answerOf(const Seen& seen) { return {seen.isThere, std::string(seen.text)}; }

/// Adds what all threads have seen of an item.
void add(std::span<const std::unique_ptr<Comparer>> comparers, std::size_t position,
         ItemChange& item) {
  std::map<std::pair<ItemAnswer, ItemAnswer>, Move> moves;
  std::map<std::tuple<std::string, std::size_t, std::size_t>, Renumbering> renumberings;
  std::map<std::string, Reason> reasons;
  for (const auto& comparer : comparers) {
    const Tally& tally = comparer->tallies()[position];
    for (const auto& [seen, users] : tally.moves) {
      const auto& [from, to] = seen;
      (from.isThere == to.isThere ? item.changed : to.isThere ? item.entered : item.left) += users;
      Move& move = moves[{answerOf(from), answerOf(to)}];
      move = {answerOf(from), answerOf(to), move.users + users};
    }
    for (const auto& [seen, users] : tally.renumberings) {
      const auto& [from, to] = seen;
      const std::string group(from.text);
      Renumbering& renumbering = renumberings[{group, from.index, to}];
      renumbering = {group, from.index, to, renumbering.users + users};
    }
    for (const auto& [text, reason] : tally.reasons) {
      const auto [known, isFirst] = reasons.emplace(text, reason);
      if (isFirst) continue;
      known->second.users += reason.users;
      known->second.firstUser = std::min(known->second.firstUser, reason.firstUser);
    }
    item.explained += tally.explained;
  }
  addInOrder(moves, item.moves);
  addInOrder(renumberings, item.renumberings);
  addInOrder(reasons, item.reasons);
}

}  // namespace

Comparison compare(const Project& before, const Project& after, const Population& population,
                   const EvaluationContext& defaults, std::size_t jobs,
                   std::size_t explainedUsers) {
  const ItemList items(before, after);
  const Side old(before, items);
  const Side current(after, items);
  std::vector<std::unique_ptr<Comparer>> comparers;
  std::vector<Population::Visit> visits;
  for (std::size_t i = 0; i < jobs; ++i) {
    comparers.push_back(std::make_unique<Comparer>(old, current, items.all(), explainedUsers));
    visits.emplace_back(
        [&comparer = *comparers.back()](std::size_t user, const EvaluationContext& context) {
          comparer.compare(user, context);
        });
  }
  Comparison comparison{items.all(), population.visit(defaults, visits)};
  for (std::size_t i = 0; i < comparison.items.size(); ++i) {
    ItemChange& item = comparison.items[i];
    add(comparers, i, item);
    item.kept = comparison.users - item.changed - item.entered - item.left;
  }
  return comparison;
}

}  // namespace corvo::tool
