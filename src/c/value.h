// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/base.h>

#include <optional>
#include <string_view>

namespace corvo::corvo_internal::c {

/// Throws `Misuse` for a type that cannot be asked for.
void checkType(corvo_type type);
/// The text read as a type that can be asked for; absent if it is not valid for the type.
corvo_value valueOf(std::optional<std::string_view> text, corvo_type type);

/// A string that is absent where there is none.
corvo_value stringValue(std::optional<std::string_view> text);

}  // namespace corvo::corvo_internal::c
