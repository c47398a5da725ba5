#pragma once

#include "model/config.h"

namespace corvo::corvo_internal::project {

/// Removes the flags and experiments that are not meant for this platform: a flag of another
/// platform, and an experiment whose platforms are all others. "all" and "ios" count exactly as
/// written, "app" in any letter case. The flags that experiments carry stay.
void filterByPlatform(model::ConfigResponse& config);

}  // namespace corvo::corvo_internal::project
