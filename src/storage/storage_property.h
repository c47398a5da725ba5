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

/// What was last read from the store under one key, so that the same bytes are read and decoded
/// only once.
template <class T>
class Stored {
 public:
  explicit Stored(std::string key) : key_(std::move(key)) {}

  [[nodiscard]] const std::string& key() const { return key_; }

  /// The value in the store; null when there is none, or when that cannot be told just now. Costs a
  /// load while nothing changes.
  const std::shared_ptr<const T>& read(StorageProtocol& storage) {
    if (const std::uint64_t revision = storage.revision(); !read_ || revision != suiteRevision_) {
      refresh(storage);
      if (isKnown_) suiteRevision_ = revision;
    }
    return value_;
  }

  /// False when the last reading failed.
  [[nodiscard]] bool isKnown() const noexcept { return isKnown_; }

  /// Lets go of the value.
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
    if (read_ && !isKnown_) return;  // the value of before still serves
    value_ = reading.blob ? StorageProtocol::decode<T>(*reading.blob) : nullptr;
    keyRevision_ = revision;
    read_ = reading.blob.has_value();  // a store may answer nothing where it could not read
  }

  std::string key_;
  std::shared_ptr<const T> value_;
  bool read_ = false;
  bool isKnown_ = true;
  std::uint64_t suiteRevision_ = 0;
  std::uint64_t keyRevision_ = 0;
};

/// What a value that is written is to the stored one. It matters only where that could not be read.
enum class Origin : std::uint8_t {
  replacement,  ///< Takes its place, whatever it is.
  edit,         ///< Made from what `read` answered: stored entries that it lacks belong to it, too.
  makeshift     ///< Made by the library for want of a stored one: gives way to it.
};

/// One persisted value of a client: a typed slot that keeps its value in the store and remembers
/// when it was last written. The value lies under key + ".value", the moment under key +
/// ".update_time". It lasts; see `ExpiringProperty` for one that does not.
///
/// Works without a store: the value then lives in memory until the store can be reached. Nothing
/// here fails outward: what does not decode reads as none, what does not encode is kept in memory.
/// Should an allocation fail, nothing has changed. For one thread at a time.
template <class T>
class StorageProperty {
 public:
  StorageProperty(const std::string& key, std::shared_ptr<StorageProtocol> storage)
      : storage_(std::move(storage)),
        storedValue_(key + ".value"),
        storedTime_(key + ".update_time") {}

  /// When it was written, in seconds since 1970; null when it never was. Valid until the next use
  /// of the slot.
  const double* updateTime() {
    if (cachedUpdateTime_) return &*cachedUpdateTime_;
    const auto& stored = storedTime_.read(*storage_);
    return stored ? &stored->secondsSince1970 : nullptr;
  }

  /// The value; null when there is none. The reference holds until the next use of the slot.
  const std::shared_ptr<const T>& read() {
    if (cachedValue_ || owed_) return cachedValue_;
    return storedValue_.read(*storage_);
  }

  /// A value, which is none where it is null, with all that can fail about writing it done.
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

  /// Replaces the value, or removes it, and stamps the slot with the moment. What the store does
  /// not take is owed to it.
  void write(Prepared prepared, Origin origin = Origin::replacement) {
    const Origin standing = standingOf(origin);
    cachedValue_ = std::move(prepared.value);
    cachedUpdateTime_ = prepared.now;
    storedValue_.forget();
    owed_ = standing;
    if (standing == Origin::replacement && storage_->set(prepared.changes)) owed_.reset();
  }
  void write(std::shared_ptr<const T> value, double now, Origin origin = Origin::replacement) {
    write(prepare(std::move(value), now), origin);
  }

  /// Whether the store lacks the value.
  [[nodiscard]] bool isOwed() const noexcept { return owed_.has_value(); }

  /// Whether it could be told what is stored when that was last looked at.
  [[nodiscard]] bool isKnown() const noexcept { return storedValue_.isKnown(); }

  /// Lets go of what was read, for the store now gives another suite.
  void forgetStored() noexcept {
    storedValue_.forget();
    storedTime_.forget();
  }

  /// Gives the store, which can be reached again, what is owed to it, or gives way to what it
  /// holds.
  void settle() {
    if (!owed_ || (*owed_ != Origin::replacement && !settleWithStored())) return;
    if (storage_->set(prepare(cachedValue_, *cachedUpdateTime_).changes)) owed_.reset();
  }

 private:
  // What a value is to the stored one, where that may be known, or be replaced already.
  [[nodiscard]] Origin standingOf(Origin origin) const {
    const bool standsAlone = owed_ ? *owed_ == Origin::replacement : storedValue_.isKnown();
    return standsAlone ? Origin::replacement : origin;
  }

  // Whether there is now a value that replaces the stored one.
  bool settleWithStored() {
    const std::shared_ptr<const T>& stored = storedValue_.read(*storage_);
    if (!storedValue_.isKnown()) return false;
    if (stored != nullptr && *owed_ == Origin::makeshift) {
      cachedValue_.reset();
      cachedUpdateTime_.reset();
      owed_.reset();
      return false;
    }
    if constexpr (Mergeable<T>) {
      if (stored != nullptr) cachedValue_ = merged(*stored, *cachedValue_);
    }
    owed_ = Origin::replacement;
    return true;
  }

  std::shared_ptr<StorageProtocol> storage_;
  std::shared_ptr<const T> cachedValue_;    // last written through this slot in this process
  std::optional<double> cachedUpdateTime_;  // when that was
  std::optional<Origin> owed_;              // none when the store has it
  Stored<T> storedValue_;
  Stored<json::StoredDate> storedTime_;
};

/// A slot with a time-to-live, in seconds, which is empty once that has passed.
template <class T>
class ExpiringProperty : private StorageProperty<T> {
 public:
  ExpiringProperty(const std::string& key, std::shared_ptr<StorageProtocol> storage,
                   std::uint64_t cacheTTL)
      : StorageProperty<T>(key, std::move(storage)), cacheTTL_(static_cast<double>(cacheTTL)) {}

  /// Whether the value may be used at the moment: less than the time-to-live, to the bit, has
  /// passed since it was written. A clock set back leaves it valid.
  [[nodiscard]] bool isValid(double now) {
    const double* written = updateTime();
    return written != nullptr && now - *written < cacheTTL_;
  }

  /// The value; null when there is none, or it is not valid at the moment. The reference holds
  /// until the next use of the slot.
  const std::shared_ptr<const T>& read(double now) {
    return isValid(now) ? StorageProperty<T>::read() : none_;
  }

  /// The moments from which and until which the value, valid or not, may be used.
  struct Lifetime {
    double from;
    double until;
  };
  /// None without a value.
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
  using StorageProperty<T>::isOwed;
  using StorageProperty<T>::isKnown;
  using StorageProperty<T>::forgetStored;
  using StorageProperty<T>::settle;

 private:
  double cacheTTL_;
  const std::shared_ptr<const T> none_;
};

}  // namespace corvo::corvo_internal::storage
