// SPDX-License-Identifier: Apache-2.0

#include "project/forced_lists.h"

namespace corvo::corvo_internal::project {
namespace {

// Calls a function with each entry and the index of its group. The experiment's own list comes
// last, as if it were one more group.
template <class Function>
void forEachEntry(const model::Experiment& experiment, Function function) {
  std::uint32_t owner = 0;
  const auto visit = [&](model::List<model::Text> list) {
    for (const model::Text entry : list) function(entry, owner);
    ++owner;
  };
  for (const model::Group& group : experiment.groups) visit(group.forcedUserList);
  visit(experiment.forcedUserList);
}

std::vector<std::string_view> entriesOf(const model::Experiment& experiment) {
  std::vector<std::string_view> entries;
  forEachEntry(experiment,
               [&](model::Text entry, std::uint32_t /*owner*/) { entries.push_back(entry); });
  return entries;
}

}  // namespace

ForcedLists::ForcedLists(const model::Experiment& experiment) : positions_(entriesOf(experiment)) {
  forEachEntry(experiment,
               [this](model::Text /*entry*/, std::uint32_t owner) { owners_.push_back(owner); });
}

std::unique_ptr<const ForcedLists> ForcedLists::of(const model::Experiment& experiment) {
  std::size_t count = experiment.forcedUserList.size();
  for (const model::Group& group : experiment.groups) count += group.forcedUserList.size();
  if (count < base::TextPositions::kWorthwhile) return nullptr;
  return std::make_unique<const ForcedLists>(experiment);
}

}  // namespace corvo::corvo_internal::project
