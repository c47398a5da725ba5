// SPDX-License-Identifier: Apache-2.0

#include "model/pool_writer.h"

#include <algorithm>

namespace corvo::corvo_internal::model {

// The hash covers only a few texts, which distinguish most lists. Equality is checked in full.
List<Text> PoolWriter::list(std::span<const Text> texts) {
  if (texts.empty()) return {};
  std::size_t hash = texts.size();
  for (const Text text : {texts.front(), texts[texts.size() / 2], texts.back()}) {
    hash = 31 * hash + base::TextHash()(text);
  }
  List<Text>& latest = lists_[hash % kRemembered];
  if (!std::ranges::equal(latest, texts)) latest = pool_->list(texts);
  return latest;
}

}  // namespace corvo::corvo_internal::model
