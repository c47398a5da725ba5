// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation.h>
#include <corvo/experiment.h>
#include <corvo/experiment_detail.h>
#include <corvo/explanation.h>
#include <corvo/flag_report.h>
#include <corvo/result.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "experiments/memberships.h"
#include "placement/resolution.h"
#include "project/prepared_project.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::evaluation {

/// Answers questions about one project, each with the context passed to it. Remembers the user's
/// placements, so all contexts must come from one source. Ill-formed UTF-8 in names is replaced.
/// Not thread-safe.
class Evaluator {
 public:
  explicit Evaluator(std::shared_ptr<const project::PreparedProject> project)
      : project_(std::move(project)), resolver_(*project_) {}
  Evaluator(const Evaluator&) = delete;
  Evaluator& operator=(const Evaluator&) = delete;

  [[nodiscard]] const std::shared_ptr<const project::PreparedProject>& project() const noexcept {
    return project_;
  }

  /// The text of the flag's value for the user; valid as long as the project.
  [[nodiscard]] Result<std::string_view> flag(std::string_view name,
                                              const targeting::Context& context);

  /// All flags of the configuration that have a value, each with the type that its text implies.
  [[nodiscard]] FlagReport flags(const targeting::Context& context);

  /// Fills a list with the texts of the flags at these positions that have a value.
  void flagTexts(std::span<const std::size_t> flags, const targeting::Context& context,
                 std::vector<Evaluation::FlagText>& texts);

  /// Fills a list with what decides the flags at these positions.
  void flagDecisions(std::span<const std::size_t> flags, const targeting::Context& context,
                     std::vector<Evaluation::FlagDecision>& decisions);

  /// The handle of the first experiment of that name that the user takes part in, or null. Resolves
  /// only experiments of that name.
  [[nodiscard]] Result<CorvoExperimentPointer> experiment(std::string_view name,
                                                          const targeting::Context& context);

  /// Whether the user is in the first holdout of that name.
  [[nodiscard]] Result<bool> holdout(std::string_view name, const targeting::Context& context);

  /// The experiments that the user takes part in, as handles, as text and as details. The details
  /// fail if the values of repeated names take more memory than allowed.
  [[nodiscard]] std::vector<CorvoExperimentPointer> experiments(const targeting::Context& context);
  [[nodiscard]] std::optional<std::string> experimentsText(experiments::Scope scope,
                                                           const targeting::Context& context);
  [[nodiscard]] Result<std::vector<CorvoExperimentDetail>> details(
      experiments::Scope scope, const targeting::Context& context);

  /// Fills a list with the user's groups in the experiments at these positions.
  void memberships(std::span<const std::size_t> experiments, const targeting::Context& context,
                   std::vector<Evaluation::Membership>& memberships);

  /// Fills a list with the user's placements in the experiments at these positions.
  void placements(std::span<const std::size_t> experiments, const targeting::Context& context,
                  std::vector<Evaluation::Placement>& placements);

  /// Why a flag has its value, and why the user is or is not in an experiment of that name: the
  /// answers of `flag` and `experiment` with the steps that lead to them. Nothing remembered is
  /// used.
  [[nodiscard]] Explanation explainFlag(std::string_view name, const targeting::Context& context);
  [[nodiscard]] Explanation explainExperiment(std::string_view name,
                                              const targeting::Context& context);

 private:
  template <class Visit>
  void placeInEach(std::span<const std::size_t> experiments, const targeting::Context& context,
                   Visit visit);
  [[nodiscard]] std::vector<experiments::Membership> memberships(experiments::Scope scope,
                                                                 const targeting::Context& context);

  std::shared_ptr<const project::PreparedProject> project_;
  placement::Resolver resolver_;
};

}  // namespace corvo::corvo_internal::evaluation
