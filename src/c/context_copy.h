// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/engine.h>
#include <corvo/evaluation_context.h>
#include <corvo/user.h>

#include <memory>
#include <string>
#include <vector>

namespace corvo::corvo_internal::c {

/// A context with all of its texts, since a caller's need not outlive a call.
class ContextCopy {
 public:
  /// Null is a context without properties. Throws `Misuse` for one that cannot be read.
  explicit ContextCopy(const corvo_context* given) { take(given); }
  ContextCopy(const ContextCopy&) = delete;
  ContextCopy& operator=(const ContextCopy&) = delete;

  /// Replaces the context. The properties reuse the memory of earlier ones.
  void take(const corvo_context* given);

  [[nodiscard]] const EvaluationContext& context() const { return context_; }

 private:
  void takeProperties(const corvo_property* properties, std::size_t count);

  EvaluationContext context_;
  CorvoUser user_;
  std::string texts_;  // of the properties
  std::vector<EvaluationContext::Property> properties_;
  corvo_time_zone zone_{};  // what `context_.timeZone` calls
};

}  // namespace corvo::corvo_internal::c
