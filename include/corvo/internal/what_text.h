// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>

#include <atomic>
#include <string>

namespace corvo::corvo_internal {

/// The text behind a `what()`: built once, on first use, on any thread. A copy starts without it.
class CORVO_EXPORT WhatText {
 public:
  WhatText() noexcept = default;
  WhatText(const WhatText&) noexcept {}
  WhatText& operator=(const WhatText&) noexcept;
  ~WhatText();

  /// Returns the stored text; if there is none, stores the given one first.
  const char* keep(std::string text) const;
  const char* get() const noexcept;

 private:
  mutable std::atomic<const std::string*> text_{nullptr};
};

}  // namespace corvo::corvo_internal
