// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "json/stored_date.h"
#include "model/codec.h"
#include "storage/merge.h"
#include "storage/storage_protocol.h"

namespace corvo::corvo_internal::storage {

/// The value last read from the store under one key. Keeps the same bytes from being read and
/// decoded twice.
template <class T>
class Stored {
 public:
  explicit Stored(std::string key) : key_(std::move(key)) {}

  [[nodiscard]] const std::string& key() const { return key_; }

  /// The value in the store; null if there is none or the store cannot be read at present. Costs
  /// one load while nothing changes.
  const std::shared_ptr<const T>& read(StorageProtocol& storage) {
    if (const std::uint64_t revision = storage.revision(); !read_ || revision != suiteRevision_) {
      refresh(storage);
      if (isKnown_) suiteRevision_ = revision;
    }
    return value_;
  }

  /// False if the last read failed.
  [[nodiscard]] bool isKnown() const noexcept { return isKnown_; }

  /// Releases the value.
  void forget() noexcept {
    value_.reset();
    read_ = false;
  }

 private:
  void refresh(StorageProtocol& storage) {
    const std::uint64_t revision = storage.revisionOf(key_);
    if (read_ && revision == keyRevision_) return;
    StorageProtocol::Reading reading = storage.read(key_);
    isKnown_ = reading.isKnown;
    if (read_ && !isKnown_) return;  // the previous value stays in use
    value_ = reading.blob ? StorageProtocol::decode<T>(*reading.blob) : nullptr;
    keyRevision_ = revision;
    read_ = reading.blob.has_value();  // a store may return nothing if it could not read
  }

  std::string key_;
  std::shared_ptr<const T> value_;
  bool read_ = false;
  bool isKnown_ = true;
  std::uint64_t suiteRevision_ = 0;
  std::uint64_t keyRevision_ = 0;
};

/// How a written value relates to the stored one. Matters only if the stored value could not be
/// read.
enum class Origin : std::uint8_t {
  replacement,  ///< Replaces the stored value, whatever it is.
  edit,         ///< Derived from the result of `read`: stored entries that it lacks are added.
  placeholder   ///< Created by the library because there was no stored value: gives way to one.
};

/// One persisted value of a client: a typed slot that keeps its value in the store and remembers
/// when it was last written. The value is stored under key + ".value", the time under key +
/// ".update_time". It does not expire; see `ExpiringProperty` for a slot that does.
///
/// Works without a store: the value then stays in memory until the store can be reached. No failure
/// is reported: a value that does not decode reads as absent, and one that does not encode is kept
/// in memory. If an allocation fails, nothing has changed. Not thread-safe.
template <class T>
class StorageProperty {
 public:
  StorageProperty(const std::string& key, std::shared_ptr<StorageProtocol> storage)
      : storage_(std::move(storage)),
        storedValue_(key + ".value"),
        storedTime_(key + ".update_time") {}

  /// The time of the last write, in seconds since 1970; null if there was none. Valid until the
  /// next use of the slot.
  const double* updateTime() {
    if (cachedUpdateTime_) return &*cachedUpdateTime_;
    const auto& stored = storedTime_.read(*storage_);
    return stored ? &stored->secondsSince1970 : nullptr;
  }

  /// The value; null if there is none. The reference is valid until the next use of the slot.
  const std::shared_ptr<const T>& read() {
    if (cachedValue_ || pending_) return cachedValue_;
    return storedValue_.read(*storage_);
  }

  /// A value to write, or null for none. Everything that can fail about writing it has been done.
  struct Prepared {
    std::shared_ptr<const T> value;
    double now;
    std::vector<PreferencesChange> changes;
  };
  [[nodiscard]] Prepared prepare(std::shared_ptr<const T> value, double now) const {
    const json::StoredDate date{now};
    std::vector<PreferencesChange> changes;
    StorageProtocol::change(changes, storedValue_.key(), value.get());
    StorageProtocol::change(changes, storedTime_.key(), &date);
    return {std::move(value), now, std::move(changes)};
  }

  /// Replaces the value, or removes it, and stamps the slot with the current time. If the store
  /// does not accept the value, writing it stays pending.
  void write(Prepared prepared, Origin origin = Origin::replacement) {
    const Origin effective = effectiveOrigin(origin);
    cachedValue_ = std::move(prepared.value);
    cachedUpdateTime_ = prepared.now;
    storedValue_.forget();
    pending_ = effective;
    if (effective == Origin::replacement && storage_->set(prepared.changes)) pending_.reset();
  }
  void write(std::shared_ptr<const T> value, double now, Origin origin = Origin::replacement) {
    write(prepare(std::move(value), now), origin);
  }

  /// Whether the value has yet to be written to the store.
  [[nodiscard]] bool isPending() const noexcept { return pending_.has_value(); }

  /// Whether the last read of the store succeeded.
  [[nodiscard]] bool isKnown() const noexcept { return storedValue_.isKnown(); }

  /// Forgets what was read, because the store now returns another suite.
  void forgetStored() noexcept {
    storedValue_.forget();
    storedTime_.forget();
  }

  /// Called when the store can be reached again. Writes the pending value, or gives way to the
  /// stored one.
  void settle() {
    if (!pending_ || (*pending_ != Origin::replacement && !settleWithStored())) return;
    if (storage_->set(prepare(cachedValue_, *cachedUpdateTime_).changes)) pending_.reset();
  }

 private:
  // The origin to record for the value, given that the stored value may be known or already
  // replaced.
  [[nodiscard]] Origin effectiveOrigin(Origin origin) const {
    const bool standsAlone = pending_ ? *pending_ == Origin::replacement : storedValue_.isKnown();
    return standsAlone ? Origin::replacement : origin;
  }

  // Merges with the stored value. Returns whether there is now a value to write.
  bool settleWithStored() {
    const std::shared_ptr<const T>& stored = storedValue_.read(*storage_);
    if (!storedValue_.isKnown()) return false;
    if (stored != nullptr && *pending_ == Origin::placeholder) {
      cachedValue_.reset();
      cachedUpdateTime_.reset();
      pending_.reset();
      return false;
    }
    if constexpr (Mergeable<T>) {
      if (stored != nullptr) cachedValue_ = merged(*stored, *cachedValue_);
    }
    pending_ = Origin::replacement;
    return true;
  }

  std::shared_ptr<StorageProtocol> storage_;
  std::shared_ptr<const T> cachedValue_;    // last written through this slot in this process
  std::optional<double> cachedUpdateTime_;  // the time of that write
  std::optional<Origin> pending_;           // empty if nothing is pending
  Stored<T> storedValue_;
  Stored<json::StoredDate> storedTime_;
};

/// A slot with a time-to-live in seconds, after which it is empty.
template <class T>
class ExpiringProperty : private StorageProperty<T> {
 public:
  ExpiringProperty(const std::string& key, std::shared_ptr<StorageProtocol> storage,
                   std::uint64_t cacheTTL)
      : StorageProperty<T>(key, std::move(storage)), cacheTTL_(static_cast<double>(cacheTTL)) {}

  /// Whether the value may be used at this time: less than the time-to-live, to the bit, has passed
  /// since it was written. Setting the clock back does not invalidate it.
  [[nodiscard]] bool isValid(double now) {
    const double* written = updateTime();
    return written != nullptr && now - *written < cacheTTL_;
  }

  /// The value; null if there is none or it has expired. The reference is valid until the next use
  /// of the slot.
  const std::shared_ptr<const T>& read(double now) {
    return isValid(now) ? StorageProperty<T>::read() : none_;
  }

  /// The start and the end of the period in which the value, valid or not, may be used.
  struct Lifetime {
    double from;
    double until;
  };
  /// Absent if there is no value.
  [[nodiscard]] std::optional<Lifetime> lifetime() {
    const double* written = updateTime();
    if (written == nullptr) return std::nullopt;
    const Lifetime lifetime{*written, *written + cacheTTL_};
    if (StorageProperty<T>::read() == nullptr) return std::nullopt;
    return lifetime;
  }

  using typename StorageProperty<T>::Prepared;
  using StorageProperty<T>::updateTime;
  using StorageProperty<T>::prepare;
  using StorageProperty<T>::write;
  using StorageProperty<T>::isPending;
  using StorageProperty<T>::isKnown;
  using StorageProperty<T>::forgetStored;
  using StorageProperty<T>::settle;

 private:
  double cacheTTL_;
  const std::shared_ptr<const T> none_;
};

}  // namespace corvo::corvo_internal::storage
