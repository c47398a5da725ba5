// SPDX-License-Identifier: Apache-2.0

// Any text: decoded, encoded, decoded again and compared, for each type that is stored or received.

#include <corvo/lint.h>
#include <corvo/property.h>

#include <bit>
#include <cmath>

#include "fuzz/documents.h"
#include "json/json_places.h"
#include "json/json_tree.h"
#include "json/stored_date.h"

namespace {

using namespace corvo;
using namespace corvo_internal;
using fuzz::require;
using fuzz::roundTrip;

// The first encoding may change a number's kind ("-1e-999" becomes "-0"). After that, the text no
// longer changes.
void dictionary(std::string_view text) {
  const auto object = fromCorvoString<JsonObject>(text);
  if (!object) return;
  const auto once = fromCorvoString<JsonObject>(JsonValue(*object).toJson());
  require(once.has_value(), "a dictionary that is written can be read");
  const auto written = JsonValue(*once).toJson();
  const auto twice = fromCorvoString<JsonObject>(written);
  require(twice && JsonValue(*twice).toJson() == written, "it is encoded the same way again");
}

// Every double keeps all its digits, and zero keeps its sign.
void number(double value) {
  if (!std::isfinite(value)) return;
  const auto again = fromCorvoString<double>(JsonValue(value).toJson());
  require(again == value && std::signbit(*again) == std::signbit(value), "the same number");
}

// The parser that records positions finds the same values, or also rejects the text.
void places(std::string_view text) {
  const json::JsonTree tree(text);
  const json::JsonPlaces found = json::jsonPlaces(text);
  require(found.fault.has_value() == (tree.root() == nullptr), "JSON or not");
  require(found.fault || found.nodes.size() == tree.root()->span, "the same values");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  roundTrip<model::ConfigResponse>(text);
  roundTrip<CorvoUser>(text);
  roundTrip<PropertyMap>(text);
  roundTrip<model::ForcedExperiments>(text);
  roundTrip<std::string>(text);
  places(text);
  dictionary(text);
  number(std::bit_cast<double>(fuzz::Input({data, size}).number()));
  static_cast<void>(model::decodeJson<json::StoredDate>(text));
  static_cast<void>(typedProperty(text));
  static_cast<void>(lint(text));
  return 0;
}
