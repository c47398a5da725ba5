// SPDX-License-Identifier: Apache-2.0

#include "tool/format.h"

#include <CLI/CLI.hpp>

namespace corvo::tool {

void addFormatOptions(CLI::App& command, Format& format) {
  CLI::Option* const json = command.add_flag_callback(
      "--json", [&format] { format = Format::json; }, "Print JSON");
  command
      .add_flag_callback(
          "--csv", [&format] { format = Format::csv; }, "Print comma-separated values")
      ->excludes(json);
}

}  // namespace corvo::tool
