// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes/scripted_random.h>

#include <stdexcept>

namespace corvo::fakes {

ScriptedRandom::ScriptedRandom() : script_(256) {
  for (std::size_t i = 0; i < script_.size(); ++i) script_[i] = static_cast<std::byte>(i);
}

ScriptedRandom::ScriptedRandom(std::vector<std::byte> script) : script_(std::move(script)) {}

void ScriptedRandom::fill(std::span<std::byte> bytes) {
  if (fails_ || script_.empty()) throw std::runtime_error("no random bytes");
  for (std::byte& byte : bytes) {
    byte = script_[next_];
    next_ = (next_ + 1) % script_.size();
  }
}

}  // namespace corvo::fakes
