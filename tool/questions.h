#pragma once

#include <corvo/client.h>

#include <span>
#include <string>

#include "tool/report.h"

namespace corvo::tool {

/// A question that `corvo ask` can put to a client.
struct Question {
  const char* word;      ///< What it is called on the command line.
  const char* argument;  ///< The name of its argument; null when it takes none.
  const char* help;
  Report (*ask)(CorvoClient& client, const std::string& argument);  ///< Throws `CorvoError`.
};

/// All of them.
[[nodiscard]] std::span<const Question> questions();

}  // namespace corvo::tool
