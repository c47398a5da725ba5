#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "experiments/bucketing.h"
#include "experiments/placement.h"
#include "experiments/project.h"
#include "targeting/context.h"

namespace corvo::experiments {

/// Decides about one experiment for the user of the context. Looked at in this order: the split
/// identifier, the holdouts that the experiment names, the group, and, unless a forced list put the
/// user there, the targets.
[[nodiscard]] Placement resolveExperiment(const PreparedExperiment& experiment,
                                          const targeting::Context& context);

/// The same without regard to holdouts: what counts for being in a holdout oneself.
[[nodiscard]] Placement resolveIgnoringHoldouts(const PreparedExperiment& experiment,
                                                const targeting::Context& context);

/// Resolves each experiment of a project at most once, and so each holdout; the digests of
/// neighbours are made together. For a question about many of them; project and context must
/// outlive it.
class Resolver {
 public:
  Resolver(const Project& project, const targeting::Context& context);

  /// What `resolveExperiment` answers for an experiment of the project.
  const Placement& resolve(const PreparedExperiment& experiment);

 private:
  bool isInHoldout(const PreparedExperiment& holdout);
  const double* bucketOf(const PreparedExperiment& experiment);
  [[nodiscard]] Buckets bucketsFrom(std::size_t first) const;
  [[nodiscard]] std::size_t positionOf(const PreparedExperiment& experiment) const;

  const Project& project_;
  const targeting::Context& context_;
  std::vector<std::optional<Placement>> placements_;  // by position
  std::vector<std::optional<bool>> isInHoldout_;      // by position
  std::vector<std::optional<Buckets>> buckets_;       // by position, several in one
};

}  // namespace corvo::experiments
