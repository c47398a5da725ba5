// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation_context.h>
#include <corvo/project.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "tool/user_document.h"

namespace corvo::tool {

/// What is written for each user, and how many threads work.
struct AssignOptions {
  std::vector<std::string> flags;        ///< Together with the experiments: all if both are empty.
  std::vector<std::string> experiments;  ///< Including holdouts.
  std::size_t jobs = 1;
};

/// Answers the users on standard input, one per line, on standard output. The context, which has a
/// zone and no user, and the documents supply everything that a line omits. Answers all lines read
/// so far before it waits for more. Throws a `Failure` after the last line if any line was invalid.
void assign(const Project& project, const EvaluationContext& defaults,
            std::span<const UserDocument* const> common, const AssignOptions& options);

}  // namespace corvo::tool
