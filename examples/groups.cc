// SPDX-License-Identifier: Apache-2.0

// Counts the groups of an experiment over a million users, on all cores: groups CONFIG EXPERIMENT

#include <corvo/evaluation.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <thread>
#include <vector>

using namespace corvo;
using Counts = std::map<std::string, int>;

// Every thread evaluates its part of the users with its own evaluation.
Counts countGroups(const Project& project, const std::string& experiment, int first, int step) {
  Counts counts;
  std::string userId;
  Evaluation about = project.evaluate({});
  for (int i = first; i < 1'000'000; i += step) {
    userId = "user-" + std::to_string(i);
    const EvaluationContext::Property user[] = {{"userId", userId}};
    about.reset({.properties = user});
    const CorvoExperimentPointer handle = about.getExperiment(experiment).value();
    ++counts[handle ? handle->userGroupName().value_or("") : "(none)"];
  }
  return counts;
}

int main(int argc, char** argv) try {
  if (argc != 3) return 2;
  std::ifstream file(argv[1], std::ios::binary);
  const std::string document(std::istreambuf_iterator<char>(file), {});
  const Project project = Project::decode(document).value();

  const int cores = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  std::vector<Counts> parts(static_cast<std::size_t>(cores));
  std::vector<std::thread> threads;
  threads.reserve(parts.size());
  for (int i = 0; i < cores; ++i) {
    threads.emplace_back(
        [&, i] { parts[static_cast<std::size_t>(i)] = countGroups(project, argv[2], i, cores); });
  }
  for (std::thread& each : threads) each.join();

  Counts all;
  for (const Counts& part : parts) {
    for (const auto& [group, count] : part) all[group] += count;
  }
  for (const auto& [group, count] : all) std::cout << group << ": " << count << '\n';
} catch (const CorvoError& error) {
  std::cerr << error.description() << '\n';
  return 1;
}
