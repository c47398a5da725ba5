// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

#include "model/config.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::placement {

/// The text by which an experiment places the context's user: the user's property that its split
/// mode names, "userId" if it has no mode. Read only from the user's own properties, except that
/// the device's identifier replaces a missing "deviceId". Empty if there is none or it has expired.
/// Valid as long as the context.
[[nodiscard]] std::optional<std::string_view> splitIdentifier(
    std::optional<model::SplitMode> splitMode, const targeting::Context& context);

}  // namespace corvo::corvo_internal::placement
