// SPDX-License-Identifier: Apache-2.0

#include "storage/storage_protocol.h"

#include <exception>

namespace corvo::corvo_internal::storage {

StorageProtocol::StorageProtocol(std::shared_ptr<PreferencesStore> store, std::string suiteName,
                                 double now)
    : store_(std::move(store)),
      suiteName_(std::move(suiteName)),
      suite_(store_->open(suiteName_)),
      isReadable_(suite_ != nullptr),
      now_(now) {
  if (!isReadable_) fail();
}

StorageProtocol::Reopened StorageProtocol::reopen() {
  std::shared_ptr<PreferencesSuite> opened = store_->open(suiteName_);
  if (opened == nullptr) return Reopened::no;
  isReadable_ = true;
  hasFailed_ = false;
  if (opened == suite_) return Reopened::sameSuite;
  suite_ = std::move(opened);
  return Reopened::anotherSuite;
}

StorageProtocol::Reading StorageProtocol::read(std::string_view key) {
  if (!isReadable_) return {};
  try {
    return {.isKnown = true, .blob = suite_->read(key)};
  } catch (const std::exception&) {
    isReadable_ = false;
    fail();
    return {};
  }
}

bool StorageProtocol::set(const std::vector<PreferencesChange>& changes) {
  if (hasFailed_) return false;
  try {
    if (suite_->apply(changes)) return true;
  } catch (const std::exception&) {  // a store that throws counts as failed
  }
  fail();
  return false;
}

void StorageProtocol::fail() noexcept {
  hasFailed_ = true;
  attempts_.begin(now_);
}

}  // namespace corvo::corvo_internal::storage
