// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/project.h>

#include <string_view>
#include <vector>

namespace corvo::corvo_internal::evaluation {

/// Everything that decoding and then the platform filter drop from a readable document, in document
/// order.
[[nodiscard]] std::vector<Project::Drop> dropsOf(std::string_view text, Project::Filter filter);

}  // namespace corvo::corvo_internal::evaluation
