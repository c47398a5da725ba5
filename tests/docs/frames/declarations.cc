// Declarations outside of any function: they only have to compile.
#include <corvo/corvo.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// block

int run() { return 0; }
