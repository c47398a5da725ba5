// SPDX-License-Identifier: Apache-2.0

#include <corvo/client.h>

#include "bench/table.h"

namespace corvo::bench {
namespace {

/// A client with a fixed answer, to measure the cost of asking alone.
class ConstantClient final : public CorvoClient {
 public:
  void askFlag(std::string_view, AnswerSink<std::string_view>& sink) override {
    sink.onValue("true");
  }

  void setUser(CorvoUser) override {}
  void setUserProperties(EditUser) override {}
  void editUserProperties(EditUser) override {}
  void clearUserProperties() override {}
  void askFlagReport(AnswerSink<FlagReport>&) override {}
  void askExperiments(AnswerSink<std::vector<CorvoExperimentPointer>>&) override {}
  void askExperimentsText(bool, AnswerSink<std::optional<std::string>>&) override {}
  void askExperiment(std::string_view, AnswerSink<CorvoExperimentPointer>&) override {}
  void askHoldout(std::string_view, AnswerSink<bool>&) override {}
  void askHoldoutsText(AnswerSink<std::optional<std::string>>&) override {}
  void askDetails(bool, AnswerSink<std::vector<CorvoExperimentDetail>>&) override {}
  void askWhyFlag(std::string_view, AnswerSink<Explanation>&) override {}
  void askWhyExperiment(std::string_view, AnswerSink<Explanation>&) override {}
  void askProject(AnswerSink<Project>&) override {}
  void askToInclude(std::string_view, std::optional<std::int64_t>, AnswerSink<Done>&) override {}
  void askToExclude(std::string_view, AnswerSink<Done>&) override {}
  void askToExcludeAll(AnswerSink<Done>&) override {}
  [[nodiscard]] ClientStatus status() override { return {}; }
  [[nodiscard]] std::shared_ptr<MainQueue> mainQueue() const override { return nullptr; }
};

}  // namespace

void addShells() {
  addTime("the callback form alone", kNoGoal, [](benchmark::State& state) {
    const std::unique_ptr<CorvoClient> client = std::make_unique<ConstantClient>();
    for (auto _ : state) {
      client->checkFlag<bool>("f", [](std::optional<bool> on) { benchmark::DoNotOptimize(on); });
    }
  });
  addTime("the suspending form alone", kNoGoal, [](benchmark::State& state) {
    const std::unique_ptr<CorvoClient> client = std::make_unique<ConstantClient>();
    for (auto _ : state) benchmark::DoNotOptimize(client->checkFlag<bool>("f").get());
  });
}

}  // namespace corvo::bench
