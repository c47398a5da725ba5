// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tool/serve/served_project.h"

namespace corvo::tool {

/// The findings of lint, and what clients drop, as HTML. `file` is the name of the configuration.
[[nodiscard]] std::string findingsOf(const Snapshot& snapshot, const std::string& file);

}  // namespace corvo::tool
