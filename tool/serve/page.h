// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tool/http/http_message.h"
#include "tool/serve/served_project.h"

namespace corvo::tool {

/// The page that shows the project, its findings, and the answers for a user. Refers to the
/// project.
[[nodiscard]] HttpRoute pageOf(ServedProject& project);

}  // namespace corvo::tool
