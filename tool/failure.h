// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace corvo::tool {

/// Why a command failed: a sentence for people and a stable code for programs.
class Failure : public std::runtime_error {
 public:
  /// The code is a case of `CorvoError`, or lower-case words joined by hyphens. Codes never change.
  Failure(std::string code, const std::string& message)
      : std::runtime_error(message), code_(std::move(code)) {}

  [[nodiscard]] const std::string& code() const noexcept { return code_; }

 private:
  std::string code_;
};

}  // namespace corvo::tool
