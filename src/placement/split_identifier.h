#pragma once

#include <optional>
#include <string_view>

#include "model/config.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::placement {

/// The text by which an experiment places the user of the context: the user's property that its
/// split mode names, "userId" where it has none. Read from the user's own properties only, but the
/// device's identifier stands in for a missing "deviceId". Absent when there is none, or it has
/// expired. Valid as long as the context.
[[nodiscard]] std::optional<std::string_view> splitIdentifier(
    std::optional<model::SplitMode> splitMode, const targeting::Context& context);

}  // namespace corvo::corvo_internal::placement
