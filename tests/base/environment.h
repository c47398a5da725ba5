// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdlib.h>

#include <optional>
#include <string>

namespace corvo::tests {

/// Sets or unsets an environment variable.
inline void setVariable(const char* name, const std::optional<std::string>& text) {
#ifdef _WIN32
  _putenv_s(name, text.value_or("").c_str());
#else
  text ? setenv(name, text->c_str(), 1) : unsetenv(name);
#endif
}

}  // namespace corvo::tests
