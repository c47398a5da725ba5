#pragma once

#include <cstddef>

namespace corvo::bench {

/// How often the program has allocated so far, and how many bytes it holds at present.
std::size_t allocationCount();
std::size_t liveBytes();

}  // namespace corvo::bench
