// SPDX-License-Identifier: Apache-2.0

#include "targeting/prepared_list.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace corvo::corvo_internal::targeting {
namespace {

// Most lists are short and ASCII.
bool isPlain(model::List<model::Text> list) {
  return list.size() < base::TextPositions::kWorthwhile &&
         std::ranges::all_of(list, [](model::Text text) { return base::isAscii(text); });
}

}  // namespace

PreparedList::PreparedList(model::List<model::Text> list) {
  for (const model::Text text : list) {
    if (auto other = base::decomposed(text)) decompositions_.push_back(*std::move(other));
  }
  decompositions_.shrink_to_fit();
  if (list.size() < base::TextPositions::kWorthwhile) return;
  std::vector<std::string_view> texts(list.begin(), list.end());
  texts.insert(texts.end(), decompositions_.begin(), decompositions_.end());
  positions_.emplace(std::move(texts));
}

const PreparedList* PreparedLists::of(model::List<model::Text> list) {
  if (isPlain(list)) return nullptr;
  auto& prepared = lists_[list.data()];
  if (prepared == nullptr) prepared = std::make_unique<const PreparedList>(list);
  return prepared.get();
}

}  // namespace corvo::corvo_internal::targeting
