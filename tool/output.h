// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "tool/text.h"

namespace corvo::tool {

// The exit statuses. The help lists them, too.
constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kFound = 3;  ///< The command found what it looks for, such as errors in a document.

/// The reader of standard output has gone, for example because `head` has seen enough.
class ReaderGone : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "nobody reads the output"; }
};

/// Call at the start of main. Makes `print` report every write failure. Prevents files and
/// connections of the program from taking the number of a standard stream that is closed at the
/// start.
void prepareStandardStreams();

/// Writes to standard output and flushes it. Throws `ReaderGone`, or a `Failure` that says why the
/// text cannot be written.
void print(std::string_view text);

/// Writes a text to a file. Throws a `Failure` if it cannot be written completely.
void writeFile(const std::string& name, std::string_view text);

/// Throws the `Failure` to write to the output of that name, for the reason in `errno`.
[[noreturn]] void failToWrite(const std::string& name);

/// From now on, failures are printed as JSON: {"error": {"code": ..., "message": ...}}.
void printFailuresAsJson();

/// Prints the failure on standard error.
void printFailure(const std::string& code, const std::string& message);

/// To be called in a catch block. Prints the exception on standard error and returns the exit
/// status. If the reader of standard output has gone, prints nothing and ends the process as the
/// system does by default.
[[nodiscard]] int statusOfFailure();

}  // namespace corvo::tool
