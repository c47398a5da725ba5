// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tool/http/http_message.h"

namespace corvo::tool {

/// The route, with a line on standard output for each request: method, path and status. It comes
/// before the answer, so that a client that has the answer finds the line. It ends the process if
/// it cannot be written. An open page asks every second whether something is new; that nothing is
/// would only fill the log.
[[nodiscard]] HttpRoute logged(HttpRoute route);

}  // namespace corvo::tool
