// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/user.h>

#include <memory>
#include <string>

#include "model/config.h"

namespace corvo::corvo_internal::storage {

/// The result of an edit that was made without knowing the stored value: the edit's entries, plus
/// the stored entries of other names. Entries that the edit could not know and removed reappear.
[[nodiscard]] inline std::shared_ptr<const model::ForcedExperiments> merged(
    const model::ForcedExperiments& stored, const model::ForcedExperiments& edited) {
  auto both = std::make_shared<model::ForcedExperiments>(edited);
  both->insert(stored.begin(), stored.end());
  return both;
}

[[nodiscard]] inline std::shared_ptr<const CorvoUser> merged(const CorvoUser& stored,
                                                             const CorvoUser& edited) {
  auto both = std::make_shared<CorvoUser>(edited);
  for (const auto& [name, value] : stored.properties) {
    if (!both->properties.emplace(name, value).second || !stored.corvoExpiration) continue;
    const auto expiry = stored.corvoExpiration->find(name);
    if (expiry == stored.corvoExpiration->end()) continue;
    if (!both->corvoExpiration) both->corvoExpiration.emplace();
    both->corvoExpiration->insert(*expiry);
  }
  return both;
}

template <class T>
concept Mergeable = requires(const T& value) {
  merged(value, value);
};

}  // namespace corvo::corvo_internal::storage
