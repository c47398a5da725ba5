// SPDX-License-Identifier: Apache-2.0

#include "c/value.h"

#include <cstdint>

#include "c/call.h"
#include "model/typed_text.h"

namespace corvo::corvo_internal::c {
namespace {

using model::readAs;
using model::TextType;

struct MakeValue {
  corvo_value operator()() const { return {}; }
  corvo_value operator()(bool value) const {
    return {.type = CORVO_BOOLEAN, .boolean = value, .integer = 0, .number = 0, .text = {}};
  }
  corvo_value operator()(std::int64_t value) const {
    return {.type = CORVO_INTEGER, .boolean = false, .integer = value, .number = 0, .text = {}};
  }
  corvo_value operator()(double value) const {
    return {.type = CORVO_DOUBLE, .boolean = false, .integer = 0, .number = value, .text = {}};
  }
  corvo_value operator()(TextType type, std::string_view text) const {
    return {.type = static_cast<corvo_type>(type),
            .boolean = false,
            .integer = 0,
            .number = 0,
            .text = asText(text)};
  }
};

}  // namespace

void checkType(corvo_type type) {
  if (type <= CORVO_ABSENT || type > CORVO_ANY) {
    throw Misuse(CORVO_INVALID_ARGUMENT, "there is no such type");
  }
}

corvo_value valueOf(std::optional<std::string_view> text, corvo_type type) {
  return text ? readAs(static_cast<TextType>(type), *text, MakeValue()) : corvo_value{};
}

corvo_value stringValue(std::optional<std::string_view> text) {
  return text ? MakeValue()(TextType::string, *text) : corvo_value{};
}

}  // namespace corvo::corvo_internal::c

using namespace corvo::corvo_internal::c;

corvo_status corvo_read_value(corvo_text text, corvo_type type, corvo_value* value) {
  return call([&] {
    corvo_value& result = resultAt(value);
    checkType(type);
    result = valueOf(optionalViewOf(text), type);
  });
}
