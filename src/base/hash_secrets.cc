// SPDX-License-Identifier: Apache-2.0

#include <chrono>
#include <random>

#include "base/exceptions.h"
#include "base/text_hash.h"

namespace corvo::corvo_internal::base {
namespace {

std::uint64_t drawn() noexcept {
  const auto draw = [] {
    std::random_device device;
    return static_cast<std::uint64_t>(device()) << 32 | device();
  };
  return attempt(draw, [] { return std::uint64_t{0}; });  // the clock and the address still vary
}

std::uint64_t moment() noexcept {
  return static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
}

}  // namespace

HashSecrets drawHashSecrets() noexcept {
  constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
  static const char place = 0;  // with address randomisation, its address differs from run to run
  const std::uint64_t address{reinterpret_cast<std::uintptr_t>(&place)};
  const std::uint64_t start = drawn() ^ moment() ^ address << 20;
  return {start, (drawn() ^ start * kOdd) | 1};
}

}  // namespace corvo::corvo_internal::base
