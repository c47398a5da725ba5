// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tool/http/http_message.h"
#include "tool/serve/served_file.h"

namespace corvo::tool {

/// Answers clients with a document, if they send the headers that they always send. Reads the file
/// for every request, so that an edit shows at the next one. Refers to the file.
[[nodiscard]] HttpRoute documentRoute(ServedFile& file);

}  // namespace corvo::tool
