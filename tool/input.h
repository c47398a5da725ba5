// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace corvo::tool {

/// The name for standard input.
constexpr const char* kStandardInput = "-";

/// The name of an input in messages about places in it.
[[nodiscard]] std::string shownName(const std::string& name);

/// Why a file name from the command line is invalid; empty if it is valid.
[[nodiscard]] std::string complainAboutName(const std::string& name);

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// Opens a file, which is not standard input, for reading. Throws a `Failure`.
[[nodiscard]] File openInput(const std::string& name);

/// The content of a file or of standard input. Throws a `Failure`.
[[nodiscard]] std::string readInput(const std::string& name);

}  // namespace corvo::tool
