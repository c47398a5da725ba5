#include "targeting/prepared_list.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace corvo::corvo_internal::targeting {
namespace {

// Most lists are short and ASCII.
bool isPlain(const std::vector<std::string>& list) {
  return list.size() < base::TextPositions::kWorthwhile &&
         std::ranges::all_of(list, [](const std::string& text) { return base::isAscii(text); });
}

}  // namespace

PreparedList::PreparedList(const std::vector<std::string>& list) {
  for (const std::string& text : list) {
    if (auto other = base::decomposed(text)) decompositions_.push_back(*std::move(other));
  }
  decompositions_.shrink_to_fit();
  if (list.size() < base::TextPositions::kWorthwhile) return;
  std::vector<std::string_view> texts(list.begin(), list.end());
  texts.insert(texts.end(), decompositions_.begin(), decompositions_.end());
  positions_.emplace(std::move(texts));
}

const PreparedList* PreparedLists::of(const std::vector<std::string>& list) {
  if (isPlain(list)) return nullptr;
  auto& prepared = lists_[&list];
  if (prepared == nullptr) prepared = std::make_unique<const PreparedList>(list);
  return prepared.get();
}

}  // namespace corvo::corvo_internal::targeting
