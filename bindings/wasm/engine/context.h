// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation_context.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace corvo::corvo_internal::wasm {

/// A context that JavaScript wrote, with all of its texts.
class WrittenContext {
 public:
  explicit WrittenContext(std::vector<char>& bytes) { take(bytes); }

  /// Takes the bytes and gives back memory for others. They are:
  /// - a `Header`
  /// - the size of each text, 32 bits; `kAbsent` for a fact about the device that is absent
  /// - the texts, one after the other: the four facts in the order of `DeviceFacts`; the names and
  ///   values of the location; the names and values of the properties.
  void take(std::vector<char>& bytes);

  [[nodiscard]] const EvaluationContext& context() const { return context_; }

 private:
  struct Header {
    double now;
    std::uint32_t zone;
    std::uint32_t locationCount;
    std::uint32_t propertyCount;
    std::uint32_t unused;
  };
  static constexpr std::uint32_t kAbsent = UINT32_MAX;
  class Texts;

  EvaluationContext context_;
  std::vector<char> bytes_;
  std::vector<EvaluationContext::Property> properties_;
};

}  // namespace corvo::corvo_internal::wasm
