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

/// What may follow the word of a question.
struct Arguments {
  std::string name;
  std::optional<std::int64_t> index;
  bool all = false;
};

/// A question that `corvo ask` can put to a client.
struct Question {
  const char* word;  ///< What it is called on the command line.
  void (*takes)(CLI::App& command, Arguments& arguments);  ///< Declares what may follow the word.
  const char* help;
  Report (*ask)(CorvoClient& client, const Arguments& arguments);  ///< Throws `CorvoError`.
};

/// All of them.
[[nodiscard]] std::span<const Question> questions();

}  // namespace corvo::tool
