// Any text: decoded, encoded, decoded again and compared, as each type that is stored or received.

#include <corvo/property.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <variant>
#include <vector>

#include "json/stored_date.h"
#include "model/codec.h"

namespace {

using namespace corvo;
using namespace corvo::corvo_internal::model;

void require(bool condition) {
  if (!condition) std::abort();
}

template <class T>
void roundTrip(std::string_view text) {
  const auto first = decodeJson<T>(text);
  if (const auto* failure = std::get_if<DecodingFailure>(&first))
    return require(!failure->description().empty());

  const auto written = encodeJson(std::get<T>(first));
  if (!written) return;  // it holds a number that JSON lacks
  const auto second = decodeJson<T>(*written);
  require(std::holds_alternative<T>(second));
  require(std::get<T>(second) == std::get<T>(first));
  require(encodeJson(std::get<T>(second)) == written);
}

void drops(std::string_view text) {
  std::vector<Drop> drops;
  const bool decoded = std::holds_alternative<ConfigResponse>(decodeConfig(text, drops));
  require(decoded == std::holds_alternative<ConfigResponse>(decodeJson<ConfigResponse>(text)));
  for (const auto& [pointer, reason] : drops) require(!pointer.empty() && !reason.empty());
}

// A number may change its kind when first written ("-1e-999" is written "-0"), but not its text
// from then on.
void dictionary(std::string_view text) {
  const auto object = fromCorvoString<JsonObject>(text);
  if (!object) return;
  const auto once = fromCorvoString<JsonObject>(JsonValue(*object).toJson());
  require(once.has_value());
  const auto written = JsonValue(*once).toJson();
  const auto twice = fromCorvoString<JsonObject>(written);
  require(twice && JsonValue(*twice).toJson() == written);
}

// Every double keeps all its bits.
void number(std::string_view text) {
  std::array<char, sizeof(double)> bytes{};
  std::copy_n(text.begin(), std::min(text.size(), bytes.size()), bytes.begin());
  for (const double each : {-0.0, std::bit_cast<double>(bytes)}) {
    if (!std::isfinite(each)) continue;
    const auto again = fromCorvoString<double>(JsonValue(each).toJson());
    require(again && std::bit_cast<std::uint64_t>(*again) == std::bit_cast<std::uint64_t>(each));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  roundTrip<ConfigResponse>(text);
  roundTrip<CorvoUser>(text);
  roundTrip<PropertyMap>(text);
  roundTrip<ForcedExperiments>(text);
  roundTrip<std::string>(text);
  drops(text);
  dictionary(text);
  number(text);
  static_cast<void>(decodeJson<json::StoredDate>(text));
  static_cast<void>(typedProperty(text));
  return 0;
}
