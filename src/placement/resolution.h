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

/// Decides who takes part in the experiments of one project. Looked at in this order: the split
/// identifier, the holdouts that the experiment names, the group, and, unless a forced list put the
/// user there, the targets.
///
/// Which group lists, layer and weights give an identifier depends on the project alone. It is
/// remembered for each experiment until another identifier, or another user, is asked about.
/// Holdouts and targets can depend on the clock: they are looked at anew at every question.
///
/// The project must outlive it, and all contexts come from one source. For one thread at a time.
class Resolver {
 public:
  explicit Resolver(const project::PreparedProject& project) : project_(project) {}

  [[nodiscard]] Placement resolve(const project::PreparedExperiment& experiment,
                                  const targeting::Context& context);

  /// The same without regard to holdouts: what counts for being in a holdout oneself.
  [[nodiscard]] Placement resolveIgnoringHoldouts(const project::PreparedExperiment& experiment,
                                                  const targeting::Context& context);

  /// A question about many experiments: each is resolved at most once, and so is each holdout. The
  /// digests of neighbours are made together. One at a time; resolver and context must outlive it.
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
  // Where an identifier was put, or what is known about that.
  struct Remembered {
    std::uint64_t revision = 0;
    const char* identifier = nullptr;  // within one revision, the same place is the same text
    bool hasBucket = false;
    bool isPlaced = false;
    double bucket = 0;
    Placement placement;
  };
  // What a report has found out, if its number is this.
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
  std::vector<Remembered> memory_;  // by position, as what follows; made on first use
  std::vector<Reported> reported_;
  std::uint64_t report_ = 0;  // the number of the present one
};

/// Decides the same, seen by an observer, for one question. Remembers who is in the holdouts that
/// have been looked at: many experiments may name one. Context and observer must outlive it.
class SeenResolver {
 public:
  SeenResolver(const targeting::Context& context, Observer& observer)
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
