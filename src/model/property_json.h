// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/json_value.h>
#include <corvo/property.h>

#include <cmath>
#include <variant>

namespace corvo::corvo_internal::model {

/// A double that JSON cannot express becomes the string "inf", "-inf" or "nan".
[[nodiscard]] inline JsonValue jsonOf(const CorvoProperty& property) {
  const double* const number = std::get_if<double>(&property);
  if (number != nullptr && std::isnan(*number)) return "nan";
  if (number != nullptr && std::isinf(*number)) return *number < 0 ? "-inf" : "inf";
  return std::visit([](const auto& value) { return JsonValue(value); }, property);
}

}  // namespace corvo::corvo_internal::model
