#pragma once

#include <atomic>
#include <cstdint>

#include "base/stop_process.h"

namespace corvo::base {

/// Notices when something that is for one thread at a time is used from two, and stops the process
/// then. Readers may overlap each other. A relaxed flag, no lock: it costs a load and two stores,
/// and does not notice every overlap.
class ExclusiveAccess {
 public:
  /// In force while it lives.
  class Scope {
   public:
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    ~Scope() { state_.store(kIdle, std::memory_order_relaxed); }

   private:
    friend class ExclusiveAccess;
    Scope(std::atomic<std::uint8_t>& state, std::uint8_t mine, std::uint8_t tolerated)
        : state_(state) {
      if (state.load(std::memory_order_relaxed) > tolerated) {
        stopProcess("a client was used from two threads at once");
      }
      state.store(mine, std::memory_order_relaxed);
    }

    std::atomic<std::uint8_t>& state_;
  };

  [[nodiscard]] Scope reading() const { return {state_, kReading, kReading}; }
  [[nodiscard]] Scope writing() { return {state_, kWriting, kIdle}; }

 private:
  static constexpr std::uint8_t kIdle = 0;
  static constexpr std::uint8_t kReading = 1;
  static constexpr std::uint8_t kWriting = 2;

  mutable std::atomic<std::uint8_t> state_{kIdle};
};

}  // namespace corvo::base
