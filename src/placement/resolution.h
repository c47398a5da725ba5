// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "placement/bucketing.h"
#include "placement/observer.h"
#include "placement/placement.h"
#include "project/prepared_project.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::placement {

/// Decides who takes part in the experiments of one project. The checks are, in this order: the
/// split identifier, the holdouts that the experiment names, the group, and, unless a forced list
/// decided, the targets.
///
/// The group by lists, layer and weights depends only on the project and the identifier. It is
/// remembered for each experiment until the identifier or the user changes. Holdouts and targets
/// can depend on the clock, so every question checks them again.
///
/// The project must outlive it, and all contexts must come from one source. Not thread-safe.
class Resolver {
 public:
  explicit Resolver(const project::PreparedProject& project) : project_(project) {}

  [[nodiscard]] Placement resolve(const project::PreparedExperiment& experiment,
                                  const targeting::Context& context);

  /// The same, but ignores holdouts. This decides whether a user is in a holdout.
  [[nodiscard]] Placement resolveIgnoringHoldouts(const project::PreparedExperiment& experiment,
                                                  const targeting::Context& context);

  /// A question about many experiments. Each experiment and each holdout is resolved at most once,
  /// and the digests of neighbours are computed together. Only one report at a time; resolver and
  /// context must outlive it.
  class Report {
   public:
    Report(Resolver& resolver, const targeting::Context& context);

    const Placement& resolve(const project::PreparedExperiment& experiment);

   private:
    bool isInHoldout(const project::PreparedExperiment& holdout);

    Resolver& resolver_;
    const targeting::Context& context_;
  };

 private:
  // A remembered placement, or a part of one.
  struct Remembered {
    std::uint64_t revision = 0;
    const char* identifier = nullptr;  // within one revision, an equal address means an equal text
    bool hasBucket = false;
    bool isPlaced = false;
    double bucket = 0;
    Placement placement;
  };
  // The results of the report with this number.
  struct Reported {
    std::uint64_t resolvedIn = 0;
    std::uint64_t holdoutIn = 0;
    bool isInHoldout = false;
    Placement placement;
  };
  enum class Digests : std::uint8_t { single, together };

  template <class IsInHoldout>
  Placement resolve(const project::PreparedExperiment& experiment,
                    const targeting::Context& context, Digests digests, IsInHoldout isInHoldout);
  const Placement& assignOnce(std::string_view splitId,
                              const project::PreparedExperiment& experiment,
                              const targeting::Context& context, Digests digests);
  Remembered& recall(std::size_t position, std::string_view splitId,
                     const targeting::Context& context);
  void makeBuckets(std::size_t position, const targeting::Context& context);
  [[nodiscard]] std::size_t positionOf(const project::PreparedExperiment& experiment) const;

  const project::PreparedProject& project_;
  std::vector<Remembered> memory_;  // by position, like the next member; allocated on first use
  std::vector<Reported> reported_;
  std::uint64_t report_ = 0;  // the number of the current report
};

/// Makes the same decisions with an observer, for one question. Remembers the results of holdouts,
/// because many experiments may name the same one. Context and observer must outlive it.
class ObservedResolver {
 public:
  ObservedResolver(const targeting::Context& context, Observer& observer)
      : context_(context), observer_(observer) {}

  [[nodiscard]] Placement resolve(const project::PreparedExperiment& experiment);

 private:
  template <class IsInHoldout>
  Placement resolve(const project::PreparedExperiment& experiment, IsInHoldout isInHoldout);
  bool isIn(const project::PreparedExperiment& holdout);

  const targeting::Context& context_;
  Observer& observer_;
  std::unordered_map<const project::PreparedExperiment*, bool> isIn_;
};

}  // namespace corvo::corvo_internal::placement
