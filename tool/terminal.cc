// SPDX-License-Identifier: Apache-2.0

#include "tool/terminal.h"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace corvo::tool {

#ifdef _WIN32
bool isTerminal(std::FILE* stream) { return ::_isatty(::_fileno(stream)) != 0; }
#else
bool isTerminal(std::FILE* stream) { return ::isatty(::fileno(stream)) != 0; }
#endif

void showInPlace(const std::string& line) {
  std::fputs(("\r\033[K" + line).c_str(), stderr);
  std::fflush(stderr);
}

}  // namespace corvo::tool
