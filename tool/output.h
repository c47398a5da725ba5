#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace corvo::tool {

// The exit statuses, which are also stated in the help.
constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kFound = 3;  ///< What was asked for was found, as errors in a document.

/// Nobody reads the standard output any more, as when `head` has seen enough.
class ReaderGone : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "nobody reads the output"; }
};

/// Lets `print` report every failure to write, and sees to it that no file or connection of the
/// program comes to stand for a standard stream that it was started without. For the start of main.
void prepareStandardStreams();

/// Writes to standard output and sees that it arrives. Throws `ReaderGone`, or a
/// `Failure` that says why the text cannot be written.
void print(std::string_view text);

/// From now on failures are said as JSON: {"error": {"code": ..., "message": ...}}.
void sayFailuresInJson();

/// Says on standard error why the command failed.
void sayFailure(const std::string& code, const std::string& message);

/// The text with its control characters written as in JSON, so that none reaches a terminal.
[[nodiscard]] std::string visible(std::string_view text);

/// Inside a handler: says on standard error what was thrown, and answers the exit status for it.
/// Where the reader has gone it says nothing, and the process ends as the system ends others then.
[[nodiscard]] int statusOfFailure();

}  // namespace corvo::tool
