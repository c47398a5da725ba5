// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/platform.h>

#include <memory>
#include <utility>

#include "c/service_call.h"

namespace corvo::corvo_internal::c {

/// A context that is destroyed with the last copy.
inline std::shared_ptr<void> ownedContext(void* context, void (*destroy)(void*)) {
  return {context, [destroy](void* last) {
            if (destroy != nullptr) destroy(last);
          }};
}

/// The functions that an application in C brings, and their context, which is destroyed when
/// nothing uses it any more.
struct CallerFunctions : corvo_platform {
  explicit CallerFunctions(const corvo_platform& given)
      : corvo_platform(given), owned(ownedContext(given.context, given.destroy)) {}

  template <class Function, class... Args>
  auto call(Function function, Args... args) const {
    const ServiceCall inside;
    return function(context, args...);
  }

  std::shared_ptr<void> owned;
};

/// A service of the platform by such functions.
template <class Service>
class CallerService : public Service {
 public:
  explicit CallerService(std::shared_ptr<const CallerFunctions> functions)
      : functions_(std::move(functions)) {}

 protected:
  const std::shared_ptr<const CallerFunctions> functions_;
};

}  // namespace corvo::corvo_internal::c
