// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "base/pool.h"
#include "base/text_hash.h"
#include "model/config.h"

namespace corvo::corvo_internal::model {

/// Writes the texts and lists of a configuration into a pool. Many records have the same few texts
/// and lists of texts. Recently written equal ones are reused, so that the data stays in the
/// processor's cache.
class PoolWriter {
 public:
  /// Starts a new pool, which the returned object owns.
  [[nodiscard]] PoolOwner open() {
    pool_ = std::make_shared<base::Pool>();
    texts_.assign(kRemembered, Text());
    lists_.assign(kRemembered, List<Text>());
    return {pool_};
  }

  [[nodiscard]] Text text(std::string_view text) {
    Text& latest = texts_[base::TextHash()(text) % kRemembered];
    if (latest != text) latest = pool_->text(text);
    return latest;
  }

  template <class T>
  [[nodiscard]] List<T> list(std::span<const T> elements) {
    return pool_->list(elements);
  }
  [[nodiscard]] List<Text> list(std::span<const Text> texts);

 private:
  static constexpr std::size_t kRemembered = 1'024;

  std::shared_ptr<base::Pool> pool_;
  // Indexed by hash.
  std::vector<Text> texts_;
  std::vector<List<Text>> lists_;
};

}  // namespace corvo::corvo_internal::model
