// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/// The number of branches taken by the instrumented code: a measure of work that is the same in
/// every run and on every machine. A call of another library counts only as the call.
extern std::size_t corvoBranchCount;
