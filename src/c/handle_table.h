// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <utility>
#include <vector>

namespace corvo::corvo_internal::c {

/// The type of a handle's object, which each handle names.
enum class Mark : std::uintptr_t {
  project = 1,
  evaluation,
  experiment,
  findings,
  registry,
  user,
  client,
  reply,
  exchange,
  task,
  bytes
};

/// How many bits of a handle each of its parts has.
struct HandleBits {
  unsigned mark = 4;
  unsigned index = sizeof(std::uintptr_t) >= 8 ? 24 : 16;
  unsigned count = unsigned{std::numeric_limits<std::uintptr_t>::digits} - mark - index;
};

/// Gives objects of one type handles: numbers in place of addresses, so that a handle that is
/// freed, made up, or of another type is found out and never followed. Any thread may use any
/// operation.
///
/// A handle consists of a mark for the type, the index of a slot, and the count of the slot's
/// earlier handles. Slots are never freed, so looking at one is always safe.
///
/// A slot is reused at once until it has used up all its handles. Then it retires, and other slots
/// take its place. Only when there is room for no other does the slot that retired first start
/// again. So on 32 bits, where a slot has 4096 handles, a freed handle becomes valid again only
/// after 268 million others, if few objects live at once.
///
/// Shared objects may be used by any number of threads at once. Other objects have one user at a
/// time; a second one finds them busy.
template <class Object, Mark mark, bool kIsShared, HandleBits kBits = HandleBits{}>
class HandleTable {
  static constexpr auto kMark = static_cast<std::uintptr_t>(mark);
  static constexpr std::uintptr_t kMaxIndex = (std::uintptr_t{1} << kBits.index) - 1;
  static constexpr std::uintptr_t kMaxCount = (std::uintptr_t{1} << kBits.count) - 1;
  static_assert(kMark > 0 && kMark < (std::uintptr_t{1} << kBits.mark));

  /// All but the flag changes only while `busy` is set.
  struct Slot {
    std::atomic_flag busy;
    std::atomic<std::uintptr_t> handle = 0;  // none while there is no object
    std::uintptr_t earlier = 0;
    std::shared_ptr<Object> object;
  };

 public:
  using Pointer = std::shared_ptr<Object>;

  /// The state of a handle that an operation finds.
  enum class Found : std::uint8_t { valid, invalid, busy };

  /// An object whose slot nobody else uses until the end of the scope.
  class Use {
   public:
    Use(HandleTable& table, const void* handle)
        : slot_(table.slotOf(reinterpret_cast<std::uintptr_t>(handle))) {
      if (slot_ == nullptr) return;
      // A handle that is already invalid does not make the slot busy for its new owner.
      if (slot_->handle != reinterpret_cast<std::uintptr_t>(handle)) {
        slot_ = nullptr;
        return;
      }
      while (slot_->busy.test_and_set(std::memory_order_acquire)) {
        if constexpr (!kIsShared) {
          found_ = Found::busy;
          slot_ = nullptr;
          return;
        }
        std::this_thread::yield();
      }
      if (slot_->handle == reinterpret_cast<std::uintptr_t>(handle)) found_ = Found::valid;
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    ~Use() {
      if (slot_ != nullptr) slot_->busy.clear(std::memory_order_release);
    }

    [[nodiscard]] Found found() const { return found_; }
    /// The handle must be valid.
    [[nodiscard]] std::shared_ptr<Object>& object() const { return slot_->object; }
    void end() { slot_->handle = 0; }

   private:
    Slot* slot_;
    Found found_ = Found::invalid;
  };

  HandleTable() = default;
  HandleTable(const HandleTable&) = delete;
  HandleTable& operator=(const HandleTable&) = delete;
  ~HandleTable() {
    for (const auto& block : blocks_) delete[] block.load(std::memory_order_relaxed);
  }

  /// A shared object; null if the handle is invalid.
  std::shared_ptr<Object> share(const void* handle) requires kIsShared {
    const Use use(*this, handle);
    return use.found() == Found::valid ? use.object() : nullptr;
  }

  void* add(std::shared_ptr<Object> object) {
    const std::lock_guard lock(mutex_);
    if (free_.empty() || (hasRetired(free_.back()) && count_ < kMaxIndex)) grow();
    const std::uintptr_t index = free_.back();
    free_.pop_back();
    Slot& slot = *at(index);
    while (slot.busy.test_and_set(std::memory_order_acquire)) std::this_thread::yield();
    const std::uintptr_t earlier = slot.earlier++ & kMaxCount;
    slot.handle = (((earlier << kBits.index) | index) << kBits.mark) | kMark;
    slot.object = std::move(object);
    const std::uintptr_t handle = slot.handle;
    slot.busy.clear(std::memory_order_release);
    return reinterpret_cast<void*>(handle);  // NOLINT(performance-no-int-to-ptr): not an address
  }

  /// Makes the handle invalid, and moves its object to `last`.
  Found take(const void* handle, Pointer& last) {
    {
      Use use(*this, handle);
      if (use.found() != Found::valid) return use.found();
      use.end();
      last = std::move(use.object());
    }
    const std::lock_guard lock(mutex_);
    const std::uintptr_t index = indexOf(reinterpret_cast<std::uintptr_t>(handle));
    free_.insert(hasRetired(index) ? free_.begin() : free_.end(), index);
    return Found::valid;
  }

 private:
  static std::uintptr_t indexOf(std::uintptr_t handle) {
    return (handle >> kBits.mark) & kMaxIndex;
  }

  /// The slot that a handle names, whether or not it is still valid.
  Slot* slotOf(std::uintptr_t handle) {
    const std::uintptr_t named = handle & ((std::uintptr_t{1} << kBits.mark) - 1);
    return named == kMark ? at(indexOf(handle)) : nullptr;
  }

  /// Whether a free slot has used up its handles. Under the mutex.
  bool hasRetired(std::uintptr_t index) {
    const std::uintptr_t earlier = at(index)->earlier;
    return earlier > 0 && (earlier & kMaxCount) == 0;
  }

  /// Block n has 2^n slots. Null for a slot that there is not yet.
  Slot* at(std::uintptr_t index) {
    const std::size_t block = std::bit_width(index + 1) - 1;
    Slot* const slots = blocks_[block].load(std::memory_order_acquire);
    return slots == nullptr ? nullptr : slots + (index + 1 - std::bit_floor(index + 1));
  }

  /// Under the mutex.
  void grow() {
    if (count_ >= kMaxIndex) throw std::bad_alloc();
    const std::size_t block = std::bit_width(count_ + 1) - 1;
    const std::uintptr_t size = count_ + 1;
    free_.reserve(free_.size() + count_ + size);  // so that `take` does not allocate
    blocks_[block].store(new Slot[size], std::memory_order_release);
    for (std::uintptr_t i = size; i > 0; --i) free_.push_back(count_ + i - 1);
    count_ += size;
  }

  std::array<std::atomic<Slot*>, kBits.index + 1> blocks_{};
  std::mutex mutex_;
  // From the slot that retired last to the one to be reused next.
  std::vector<std::uintptr_t> free_;
  std::uintptr_t count_ = 0;
};

/// The table of all objects of a type. Never destroyed, so that programs may still free handles
/// while they end.
template <class Object, Mark mark, bool kIsShared>
auto& tableOf() {
  static auto& table = *new HandleTable<Object, mark, kIsShared>();
  return table;
}

/// A new handle of the interface's type for an object.
template <class Handle, class Table>
Handle* handleIn(Table& table, typename Table::Pointer object) {
  return static_cast<Handle*>(table.add(std::move(object)));
}

}  // namespace corvo::corvo_internal::c
