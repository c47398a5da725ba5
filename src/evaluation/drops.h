#pragma once

#include <corvo/project.h>

#include <string_view>
#include <vector>

namespace corvo::corvo_internal::evaluation {

/// What the reader drops of a document that it can read, and then the filter, in the document's
/// order.
[[nodiscard]] std::vector<Project::Drop> dropsOf(std::string_view text, Project::Filter filter);

}  // namespace corvo::corvo_internal::evaluation
