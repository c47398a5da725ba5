// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tool/http/http_message.h"
#include "tool/subject.h"
#include "tool/surroundings.h"

namespace corvo::tool {

/// What the form of the page says. An empty field is the same as an absent one.
struct PageQuery {
  SubjectOptions subject;
  SurroundingsOptions surroundings;
  std::string only;       ///< A part of the names to list.
  bool isAsked = false;   ///< Whether the form was sent.
  std::string complaint;  ///< Why it is invalid; empty if it is valid.

  explicit PageQuery(const HttpRequest& request);
};

}  // namespace corvo::tool
