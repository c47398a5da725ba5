// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation_context.h>

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "tool/synthetic_users.h"

namespace CLI {
class App;
}

namespace corvo::tool {

/// The users that a command tries a configuration on.
struct PopulationOptions {
  std::size_t users = 100'000;
  std::vector<std::string> variations;  ///< "NAME=SHARE:VALUE"
  std::string from;                     ///< A file of users, or empty: synthetic ones.
  std::string out;                      ///< Where to write synthetic users, or empty.
};

void addPopulationOptions(CLI::App& command, PopulationOptions& options);

/// Synthetic users, generated on the fly, or users from a file of lines as `corvo assign` reads
/// them. Memory does not depend on their number.
class Population {
 public:
  /// Throws a `CLI::ParseError`. Refers to the options.
  explicit Population(const PopulationOptions& options);

  /// Called for each user with their position, from 0, and everything that their answers depend on,
  /// which is valid during the call.
  using Visit = std::function<void(std::size_t position, const EvaluationContext& context)>;

  /// Visits each user once, with one of the visitors, and returns how many there are. Each visitor
  /// has a thread of its own (some may have none) and sees ascending positions. The
  /// defaults, which have a zone and no user, supply everything that a line of the file omits.
  /// Synthetic users are written first if the options say so.
  ///
  /// Throws a `Failure` if a file cannot be read or written, or about the first invalid line; and
  /// what a visitor throws. Standard input can be read only once.
  std::size_t visit(const EvaluationContext& defaults, std::span<const Visit> visitors) const;

  [[nodiscard]] const Variations& variations() const noexcept { return variations_; }

 private:
  void write() const;

  const PopulationOptions& options_;
  Variations variations_;
};

}  // namespace corvo::tool
