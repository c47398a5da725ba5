// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tool/serve/page_query.h"
#include "tool/serve/served_project.h"

/// The parts of the page that change with the files, as HTML.
namespace corvo::tool {

/// The project in numbers, and the properties that it reads.
[[nodiscard]] std::string glanceOf(const Snapshot& snapshot);

/// All flags, experiments and holdouts. If the form was sent, with the user's answers, explained.
[[nodiscard]] std::string answersOf(const Snapshot& snapshot, const PageQuery& query);

}  // namespace corvo::tool
