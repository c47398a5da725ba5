// SPDX-License-Identifier: Apache-2.0

#include "base/text_hash.h"

#include <corvo/text_hash.h>

namespace corvo {

using namespace corvo_internal;

std::size_t TextHash::operator()(std::string_view text) const { return base::TextHash()(text); }

}  // namespace corvo
