// SPDX-License-Identifier: Apache-2.0

#include "placement/split_identifier.h"

namespace corvo::corvo_internal::placement {

std::optional<std::string_view> splitIdentifier(std::optional<model::SplitMode> splitMode,
                                                const targeting::Context& context) {
  const model::SplitMode mode = splitMode.value_or(model::SplitMode::userId);
  if (const std::string_view* own = context.findOwn(mode)) return *own;
  return mode == model::SplitMode::deviceId ? context.vendorIdentifier : std::nullopt;
}

}  // namespace corvo::corvo_internal::placement
