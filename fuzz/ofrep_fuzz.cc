// SPDX-License-Identifier: Apache-2.0

// Any body of an OFREP request: the answer is JSON, and the same from a server that has answered
// others before as from a new one.

#include <array>

#include "fuzz/input.h"
#include "json/json_tree.h"
#include "tool/ofrep/ofrep.h"

namespace {

using namespace corvo;
using namespace corvo::tool;
using corvo_internal::json::JsonTree;
using fuzz::Input;
using fuzz::require;

constexpr std::array kFlags{"f", "split", "only", "none", "\xFF"};

constexpr std::string_view kProject = R"({"feature_flags": [
  {"name": "f", "type": "t", "rules": [
    {"value": "1", "is_default": false, "conditional_statement": "OR", "conditions": [
      {"name": "custom.plan", "condition_sign": "equal", "value": "gold"},
      {"name": "plan", "condition_sign": "greater", "value": "1"},
      {"name": "custom.custom.plan", "condition_sign": "contains", "value": "e"}]},
    {"value": "{\"a\": 1}", "is_default": false, "conditional_statement": "OR", "conditions": [
      {"name": "geo.country", "condition_sign": "equal", "value": "AT"}]}]},
  {"name": "split", "type": "t", "rules": []}],
 "experiments": [{"name": "e", "salt": "s", "allocation": 0.5,
   "groups": [{"name": "a", "weight": 0.3}, {"name": "b", "weight": 0.6}],
   "feature_flags": [
     {"name": "split", "type": "t", "groups": [{"group": "a", "rules": []}]},
     {"name": "only", "type": "t", "groups": [{"group": "b", "rules": [
       {"value": "inf", "is_default": true, "conditional_statement": "-", "conditions": []}]}]}]}]})";

// Usually almost a context.
std::string bodyOf(Input& in) {
  constexpr std::array kKeys{"\"plan\"",        "\"custom.plan\"",  "\"custom.custom.plan\"",
                             "\"geo.country\"", "\"targetingKey\"", "\"userId\"",
                             "\"\\u0000\"",     "\"other\"",        "1"};
  constexpr std::array kValues{"\"gold\"",
                               "\"\"",
                               "true",
                               "null",
                               "{}",
                               "[{\"a\": []}]",
                               "1e999",
                               "-0",
                               "1.50",
                               "1E+2",
                               "18446744073709551615",
                               "18446744073709551616",
                               "\"AT\"",
                               "\"\\ud83d\\ude00\"",
                               "\"\\ud83d\"",
                               "01",
                               "nul"};
  std::string members =
      in.oneIn(8) ? "" : R"("targetingKey": "user)" + std::to_string(in.below(20)) + '"';
  for (std::size_t count = in.below(8); count > 0; --count) {
    if (!members.empty()) members += in.oneIn(64) ? "" : ",";
    members.append(in.oneOf(kKeys)).append(":").append(in.oneOf(kValues));
  }
  const std::string body = R"({"context": {)" + members + "}}";
  return in.oneIn(16) ? body + std::string(in.text(8)) : body;
}

HttpRequest requestOf(Input& in) {
  constexpr std::array kTags{
      "\"", "W/", "*", ",", " ", "\"a,b\"", "\"00000000000000000000000000000000\""};
  HttpRequest request;
  request.headers.emplace("If-None-Match", in.joined(kTags, 6));
  request.body = in.oneIn(4) ? std::string(in.text(64)) : bodyOf(in);
  return request;
}

void requireSame(const HttpResponse& response, const HttpResponse& expected) {
  require(response.status == expected.status && response.body == expected.body &&
              response.headers == expected.headers,
          response.body + " instead of " + expected.body);
  require(
      response.status == 304 ? response.body.empty() : JsonTree(response.body).root() != nullptr,
      response.body);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Surroundings surroundings{SurroundingsOptions{.device = {}, .now = "0"}};
  static Publication publication;
  static Ofrep used = [] {
    publication.publish(std::make_shared<const Edition>(Edition{
                            Project::decode(kProject).value(), {{"country", "DE"}}, "v", 0}),
                        {});
    return Ofrep(publication, surroundings, "/stream");
  }();
  Input in({data, size});
  const std::string flag(in.oneOf(kFlags));
  const HttpRequest request = requestOf(in);
  Ofrep unused(publication, surroundings, "/stream");
  const HttpResponse one = used.evaluate(request, flag);
  const HttpResponse all = used.evaluateAll(request);
  requireSame(one, unused.evaluate(request, flag));
  requireSame(all, unused.evaluateAll(request));
  require(one.status == 200 || one.status == 400 || one.status == 404, one.body);
  require(all.status == 200 || all.status == 304 || all.status == 400, all.body);
  require((one.status == 400) == (all.status == 400), "both read the same context");
  return 0;
}
