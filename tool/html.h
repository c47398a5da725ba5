// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

/// Texts in HTML. Whatever a text contains, it is only a text.
namespace corvo::tool::html {

/// The text unchanged, for attributes that a form sends back.
[[nodiscard]] std::string exact(std::string_view text);

/// The text for people. Characters that control a terminal or the direction of writing are shown as
/// in JSON, and the rest of a text of more than `most` bytes is left out.
[[nodiscard]] std::string shown(std::string_view text, std::size_t most = 500);

/// "<name class="...">...</name>" around HTML.
[[nodiscard]] std::string element(std::string_view name, std::string_view kind,
                                  std::string_view content);

/// The text for people, as code.
[[nodiscard]] std::string code(std::string_view text);

/// A template with each "{{name}}" replaced by that part; a name without a part by nothing.
[[nodiscard]] std::string filled(std::string_view form,
                                 const std::map<std::string, std::string, std::less<>>& parts);

}  // namespace corvo::tool::html
