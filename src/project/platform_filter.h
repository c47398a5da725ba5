// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/config.h"

namespace corvo::corvo_internal::project {

/// Whether a flag or an experiment is meant for this platform. "all" and "ios" must match exactly,
/// "app" in any letter case.
[[nodiscard]] bool isForThisPlatform(const model::FeatureFlag& flag);
[[nodiscard]] bool isForThisPlatform(const model::Experiment& experiment);

/// Removes the flags and experiments that are not meant for this platform: flags of another
/// platform, and experiments that list only other platforms. The flags that experiments carry are
/// kept.
void filterByPlatform(model::ConfigResponse& config);

}  // namespace corvo::corvo_internal::project
