#pragma once

#include "model/config.h"

namespace corvo::corvo_internal::project {

/// Whether a flag or an experiment is meant for this platform. "all" and "ios" count exactly as
/// written, "app" in any letter case.
[[nodiscard]] bool isOurs(const model::FeatureFlag& flag);
[[nodiscard]] bool isOurs(const model::Experiment& experiment);

/// Removes the flags and experiments that are not meant for this platform: a flag of another
/// platform, and an experiment whose platforms are all others. The flags that experiments carry
/// stay.
void filterByPlatform(model::ConfigResponse& config);

}  // namespace corvo::corvo_internal::project
