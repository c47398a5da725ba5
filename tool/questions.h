// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "tool/report.h"

namespace CLI {
class App;
}

namespace corvo::tool {

/// The arguments of a question.
struct Arguments {
  std::string name;
  std::optional<std::int64_t> index;
  bool all = false;
};

/// A question for `corvo ask`.
struct Question {
  const char* word;                                        ///< Its name on the command line.
  void (*takes)(CLI::App& command, Arguments& arguments);  ///< Declares its arguments.
  const char* help;
  Report (*ask)(CorvoClient& client, const Arguments& arguments);  ///< Throws `CorvoError`.
};

/// All questions.
[[nodiscard]] std::span<const Question> questions();

}  // namespace corvo::tool
