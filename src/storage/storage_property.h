#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "model/codec.h"
#include "storage/storage_protocol.h"

namespace corvo::storage {

/// What was last read from the store under one key, so that the same bytes are read and decoded
/// only once.
template <class T>
class Stored {
 public:
  explicit Stored(std::string key) : key_(std::move(key)) {}

  [[nodiscard]] const std::string& key() const { return key_; }

  /// The value in the store; null when there is none. Costs a load while nothing changes.
  const std::shared_ptr<const T>& read(const StorageProtocol& storage) {
    if (const std::uint64_t revision = storage.revision(); !read_ || revision != suiteRevision_) {
      refresh(storage);
      suiteRevision_ = revision;
    }
    return value_;
  }

  /// Lets go of the value.
  void forget() {
    value_.reset();
    read_ = false;
  }

 private:
  void refresh(const StorageProtocol& storage) {
    const std::uint64_t revision = storage.revisionOf(key_);
    if (read_ && revision == keyRevision_) return;
    const std::optional<std::string> blob = storage.read(key_);
    value_ = blob ? StorageProtocol::decode<T>(*blob) : nullptr;
    keyRevision_ = revision;
    read_ = blob.has_value();  // nothing may only mean that it could not be read just now
  }

  std::string key_;
  std::shared_ptr<const T> value_;
  bool read_ = false;
  std::uint64_t suiteRevision_ = 0;
  std::uint64_t keyRevision_ = 0;
};

/// One persisted value of a client: a typed slot that keeps its value in the store, remembers when
/// it was last written, and, where it has a time-to-live, is empty once that has passed. The value
/// lies under key + ".value", the moment under key + ".update_time".
///
/// Works without a store: the value then lives as long as the slot. Nothing here fails outward:
/// what does not decode reads as none, what does not encode is kept in memory. For one thread at a
/// time.
template <class T>
class StorageProperty {
 public:
  /// The time-to-live is in seconds; none means that the value never expires.
  StorageProperty(const std::string& key, std::shared_ptr<StorageProtocol> storage,
                  std::optional<std::uint64_t> cacheTTL)
      : storage_(std::move(storage)),
        storedValue_(key + ".value"),
        storedTime_(key + ".update_time") {
    if (cacheTTL) cacheTTL_ = static_cast<double>(*cacheTTL);
  }

  /// Whether the value may be used at the moment: less than the time-to-live, to the bit, has
  /// passed since it was written. A clock set back leaves it valid.
  [[nodiscard]] bool isValid(double now) {
    return servesAt(now);
  }

  /// The value; null when there is none, or the slot is not valid at the moment. The reference
  /// holds until the next use of the slot.
  const std::shared_ptr<const T>& read(double now) {
    if (!servesAt(now)) return none_;
    if (cachedValue_ || !storage_) return cachedValue_;
    return storedValue_.read(*storage_);
  }

  /// The value of a slot that never expires.
  const std::shared_ptr<const T>& read() { return read(0); }

  /// Replaces the value, or removes it where it is null, and stamps the slot with the moment.
  void write(std::shared_ptr<const T> value, double now) {
    cachedValue_ = std::move(value);
    cachedUpdateTime_ = now;
    storedValue_.forget();
    if (!storage_) return;
    const model::StoredDate date{now};
    std::vector<PreferencesChange> changes;
    StorageProtocol::change(changes, storedValue_.key(), cachedValue_.get());
    StorageProtocol::change(changes, storedTime_.key(), &date);
    storage_->set(changes);
  }

 private:
  bool servesAt(double now) {
    if (!cacheTTL_) return true;
    const double* written = updateTime();
    return written != nullptr && now - *written < *cacheTTL_;
  }

  // Null when it was never written.
  const double* updateTime() {
    if (cachedUpdateTime_) return &*cachedUpdateTime_;
    if (!storage_) return nullptr;
    const auto& stored = storedTime_.read(*storage_);
    return stored ? &stored->secondsSince1970 : nullptr;
  }

  std::shared_ptr<StorageProtocol> storage_;
  std::optional<double> cacheTTL_;
  std::shared_ptr<const T> cachedValue_;    // last written through this slot in this process
  std::optional<double> cachedUpdateTime_;  // when that was
  Stored<T> storedValue_;
  Stored<model::StoredDate> storedTime_;
  const std::shared_ptr<const T> none_;
};

}  // namespace corvo::storage
