// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tool/http/http_message.h"

namespace corvo::tool {

/// Status line and header fields of a response. `keepsAlive` says whether the connection stays open
/// after it, and `readsChunks` whether the client speaks HTTP/1.1.
[[nodiscard]] std::string headOf(const HttpResponse& response, bool keepsAlive, bool readsChunks);

/// A text, not empty, as a chunk of a body without a known length.
[[nodiscard]] std::string chunkOf(const std::string& text);
constexpr const char* kLastChunk = "0\r\n\r\n";

}  // namespace corvo::tool
