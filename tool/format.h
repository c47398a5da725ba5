// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "tool/style.h"

namespace corvo::tool {

/// The format of a result.
enum class Format : std::uint8_t { text, json, csv };

/// Adds --json and --csv, of which only one may be given.
void addFormatOptions(CLI::App& command, Format& format);

/// The result by its own function for the format. Only `forPeople` uses the style.
template <class Result>
[[nodiscard]] std::string inFormat(Format format, const Result& result, const Style& style) {
  switch (format) {
    case Format::json:
      return inJson(result);
    case Format::csv:
      return inCsv(result);
    case Format::text:
      break;
  }
  return forPeople(result, style);
}

}  // namespace corvo::tool
