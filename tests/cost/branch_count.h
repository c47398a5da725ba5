#pragma once

#include <cstddef>

/// How many branches the counted code has taken so far: a measure of work that is the same in every
/// run and on every machine. What it calls of other libraries counts as the call alone.
extern std::size_t corvoBranchCount;
