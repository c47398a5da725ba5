// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace CLI {
class App;
}

namespace corvo::tool {

/// Sets the number of threads to the number of cores, and adds the option that changes it.
void addJobsOption(CLI::App& command, std::size_t& jobs);

}  // namespace corvo::tool
