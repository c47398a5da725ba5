#pragma once

#include <corvo/evaluation_context.h>
#include <corvo/project.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "tool/user_document.h"

namespace corvo::tool {

/// What is written of each user, and by how many threads.
struct AssignOptions {
  std::vector<std::string> flags;        ///< With the experiments: all where both are empty.
  std::vector<std::string> experiments;  ///< Holdouts, too.
  std::size_t jobs = 1;
};

/// Answers the users of the standard input, one a line, on the standard output. What a line does
/// not say is as in the context, which has a zone and no user, and in the documents. All that was
/// read is answered before it waits for more. Throws a `Failure` where a line could not be used,
/// after the last one was answered.
void assign(const Project& project, const EvaluationContext& defaults,
            std::span<const UserDocument* const> common, const AssignOptions& options);

}  // namespace corvo::tool
