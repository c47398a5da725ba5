#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>

#include "model/codec.h"
#include "tests/base/case_table.h"

namespace corvo::model {
namespace {

/// What decoding gives, encoded again; or the failure in angle brackets.
template <class T>
std::string again(const std::string& json) {
  const auto decoded = decodeJson<T>(json);
  if (const auto* failure = std::get_if<DecodingFailure>(&decoded))
    return '<' + failure->description() + '>';
  return encodeJson(std::get<T>(decoded)).value_or("<not encodable>");
}

TEST(StoredCodec, ReadsAndWritesAsTheTableSays) {
  const std::map<std::string, std::string (*)(const std::string&)> types{
      {"user", again<CorvoUser>},
      {"properties", again<PropertyMap>},
      {"forced", again<ForcedExperiments>},
      {"text", again<std::string>},
      {"date", again<StoredDate>}};
  for (const auto& [type, json, written] : tests::caseTable<3>(CORVO_MODEL_CASES "stored.txt")) {
    EXPECT_EQ(types.at(type)(json), written) << type << ' ' << json;
  }
}

TEST(StoredCodec, DatesCountFrom2001) {
  EXPECT_EQ(encodeJson(StoredDate{978307200.5}), "0.5");
  EXPECT_EQ(std::get<StoredDate>(decodeJson<StoredDate>("-978307200")), StoredDate{0});
  for (const double moment : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    EXPECT_EQ(encodeJson(StoredDate{moment}), std::nullopt);
  }
}

}  // namespace
}  // namespace corvo::model
