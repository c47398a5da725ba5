// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace corvo::tool {

/// When output for people has colours.
enum class Colour { automatic, always, never };

void addColourOption(CLI::App& command, Colour& colour);

/// Highlights output for people. Without colours, does nothing.
class Style {
 public:
  /// With `automatic`, a terminal has colours unless NO_COLOR is set (no-color.org).
  explicit Style(Colour colour);
  Style() = default;  ///< Without colours.

  [[nodiscard]] std::string bold(std::string_view text) const { return in("1", text); }
  [[nodiscard]] std::string faint(std::string_view text) const { return in("2", text); }
  [[nodiscard]] std::string red(std::string_view text) const { return in("31", text); }
  [[nodiscard]] std::string green(std::string_view text) const { return in("32", text); }
  [[nodiscard]] std::string yellow(std::string_view text) const { return in("33", text); }

 private:
  [[nodiscard]] std::string in(const char* code, std::string_view text) const;

  bool hasColours_ = false;
};

}  // namespace corvo::tool
