// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/platform.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace corvo::corvo_internal::c {

/// Where a function of the caller's platform puts bytes, with a handle that is valid as long as
/// this object.
class CallerBytes {
 public:
  using Bytes = std::optional<std::string>;

  CallerBytes();
  CallerBytes(const CallerBytes&) = delete;
  CallerBytes& operator=(const CallerBytes&) = delete;
  ~CallerBytes();

  [[nodiscard]] corvo_bytes* handle() const { return handle_; }
  [[nodiscard]] Bytes take() { return std::move(*bytes_); }

 private:
  std::shared_ptr<Bytes> bytes_ = std::make_shared<Bytes>();
  corvo_bytes* handle_;
};

}  // namespace corvo::corvo_internal::c
