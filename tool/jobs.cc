// SPDX-License-Identifier: Apache-2.0

#include "tool/jobs.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <thread>

namespace corvo::tool {
namespace {

constexpr std::size_t kMostJobs = 1'024;

}  // namespace

void addJobsOption(CLI::App& command, std::size_t& jobs) {
  jobs = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, kMostJobs);
  command.add_option("--jobs", jobs, "The number of threads; by default one per core")
      ->check(CLI::Range(std::size_t{1}, kMostJobs))
      ->type_name("COUNT");
}

}  // namespace corvo::tool
