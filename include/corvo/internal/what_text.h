#pragma once

#include <corvo/export.h>

#include <atomic>
#include <string>

namespace corvo::corvo_internal {

/// The text behind a `what()`: made once, on first use, from any thread. A copy starts without it.
class CORVO_EXPORT WhatText {
 public:
  WhatText() noexcept = default;
  WhatText(const WhatText&) noexcept {}
  WhatText& operator=(const WhatText&) noexcept;
  ~WhatText();

  /// The text kept, or else the one given, which is kept from now on.
  const char* keep(std::string text) const;
  const char* get() const noexcept;

 private:
  mutable std::atomic<const std::string*> text_{nullptr};
};

}  // namespace corvo::corvo_internal
