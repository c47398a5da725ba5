// SPDX-License-Identifier: Apache-2.0

#include "host/memory_database.h"

#include <exception>
#include <vector>

namespace corvo::corvo_internal::host {

std::optional<std::string> MemoryDatabase::read(std::string_view suite, std::string_view key) {
  const std::lock_guard lock(mutex_);
  const auto values = suites_.find(suite);
  if (values == suites_.end()) return std::nullopt;
  const auto found = values->second.find(key);
  return found == values->second.end() ? std::nullopt : found->second;
}

bool MemoryDatabase::apply(std::string_view suite,
                           std::span<const PreferencesChange> changes) noexcept try {
  std::vector<std::optional<std::string>> copies;
  copies.reserve(changes.size());
  for (const PreferencesChange& change : changes) copies.push_back(change.value);

  const std::lock_guard lock(mutex_);
  auto values = suites_.find(suite);
  if (values == suites_.end()) values = suites_.try_emplace(std::string(suite)).first;
  // Everything that can fail precedes the first change: a key with an empty slot counts as absent.
  for (const PreferencesChange& change : changes) values->second.try_emplace(change.key);
  for (std::size_t i = 0; i < changes.size(); ++i) {
    values->second.find(changes[i].key)->second.swap(copies[i]);
  }
  return true;
} catch (const std::exception&) {
  return false;
}

std::string MemoryDatabase::installation(std::string_view proposed) {
  const std::lock_guard lock(mutex_);
  if (!installation_) installation_ = proposed;
  return *installation_;
}

}  // namespace corvo::corvo_internal::host
