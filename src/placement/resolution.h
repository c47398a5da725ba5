#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "placement/bucketing.h"
#include "placement/placement.h"
#include "project/prepared_project.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::placement {

/// Decides about one experiment for the user of the context. Looked at in this order: the split
/// identifier, the holdouts that the experiment names, the group, and, unless a forced list put the
/// user there, the targets.
[[nodiscard]] Placement resolveExperiment(const project::PreparedExperiment& experiment,
                                          const targeting::Context& context);

/// The same without regard to holdouts: what counts for being in a holdout oneself.
[[nodiscard]] Placement resolveIgnoringHoldouts(const project::PreparedExperiment& experiment,
                                                const targeting::Context& context);

/// Resolves each experiment of a project at most once, and so each holdout; the digests of
/// neighbours are made together. For a question about many of them; project and context must
/// outlive it.
class Resolver {
 public:
  Resolver(const project::PreparedProject& project, const targeting::Context& context);

  /// What `resolveExperiment` answers for an experiment of the project.
  const Placement& resolve(const project::PreparedExperiment& experiment);

 private:
  bool isInHoldout(const project::PreparedExperiment& holdout);
  const double* bucketOf(const project::PreparedExperiment& experiment);
  [[nodiscard]] Buckets bucketsFrom(std::size_t first) const;
  [[nodiscard]] std::size_t positionOf(const project::PreparedExperiment& experiment) const;

  const project::PreparedProject& project_;
  const targeting::Context& context_;
  std::vector<std::optional<Placement>> placements_;  // by position
  std::vector<std::optional<bool>> isInHoldout_;      // by position
  std::vector<std::optional<Buckets>> buckets_;       // by position, several in one
};

}  // namespace corvo::corvo_internal::placement
