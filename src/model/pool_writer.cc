#include "model/pool_writer.h"

#include <algorithm>

namespace corvo::corvo_internal::model {

// The words that stand for the texts are hashed, not what they say: nearly all equal texts are the
// same.
List<Text> PoolWriter::list(std::span<const Text> texts) {
  if (texts.empty()) return {};
  const std::string_view words(reinterpret_cast<const char*>(texts.data()), texts.size_bytes());
  List<Text>& latest = lists_[base::TextHash()(words) % kRemembered];
  if (!std::ranges::equal(latest, texts)) latest = pool_->list(texts);
  return latest;
}

}  // namespace corvo::corvo_internal::model
