// SPDX-License-Identifier: Apache-2.0

#include "tool/ofrep/ofrep.h"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace corvo::tool {
namespace {

using testing::AnyOf;
using testing::HasSubstr;

// A value for everyone, or for users of a plan, as the rules of a flag.
std::string always(const std::string& value) {
  return R"({"value": ")" + value + R"(", "is_default": true, "conditional_statement": "AND",
      "conditions": []})";
}
std::string ifEqual(const std::string& property, const std::string& text,
                    const std::string& value) {
  return R"({"value": ")" + value + R"(", "is_default": false, "conditional_statement": "AND",
      "conditions": [{"name": ")" +
         property + R"(", "condition_sign": "equal", "value": ")" + text + R"("}]})";
}
std::string flag(const std::string& name, const std::string& rules) {
  return R"({"name": ")" + name + R"(", "type": "t", "rules": [)" + rules + "]}";
}
std::string carried(const std::string& name, const std::string& group, const std::string& rules) {
  return R"({"name": ")" + name + R"(", "type": "t", "groups": [{"group": ")" + group +
         R"(", "rules": [)" + rules + "]}]}";
}

// Everyone with an identifier is in the second group of the experiment "e".
std::string document(const std::string& flags, const std::string& carriedFlags) {
  return R"({"feature_flags": [)" + flags + R"(], "experiments": [{"name": "e \"1\"",
      "salt": "s", "allocation": 1,
      "groups": [{"name": "none", "weight": 0}, {"name": "all", "weight": 1}],
      "feature_flags": [)" +
         carriedFlags + "]}]}";
}

class OfrepTest : public testing::Test {
 protected:
  static std::shared_ptr<const Edition> edition(const std::string& text,
                                                const std::string& version = "v1",
                                                const PropertyMap& location = {}) {
    return std::make_shared<const Edition>(
        Edition{Project::decode(text).value(), location, version, 0});
  }
  void publish(std::shared_ptr<const Edition> next) {
    publication.publish(std::move(next), Publication::Clock::now());
  }
  HttpResponse ask(const std::string& name, std::string body) {
    HttpRequest request;
    request.body = std::move(body);
    return ofrep.evaluate(request, name);
  }
  HttpResponse askAll(std::string body, const std::vector<std::string>& knownTags = {}) {
    HttpRequest request;
    request.query = {{"flagConfigEtag", "\"x\""}, {"flagConfigLastModified", "1"}};
    request.body = std::move(body);
    for (const std::string& tag : knownTags) request.headers.emplace("if-none-match", tag);
    return ofrep.evaluateAll(request);
  }
  static std::string of(const std::string& members) {
    return R"({"context": {"targetingKey": "u")" + (members.empty() ? "" : ", " + members) + "}}";
  }
  static std::string fieldOf(const HttpResponse& response, std::string_view name) {
    for (const auto& [key, value] : response.headers) {
      if (key == name) return value;
    }
    return "";
  }

  Publication publication;
  Surroundings surroundings{
      {.device = {.systemName = "iOS"}, .now = "2024-05-01T23:30:00Z", .zone = "Europe/Berlin"}};
  Ofrep ofrep{publication, surroundings, "/stream"};
};

TEST_F(OfrepTest, AnswersWithTypeReasonAndVariant) {
  publish(edition(document(
      flag("boolean", always("TRUE")) + "," + flag("integer", always("-9007199254740993")) + "," +
          flag("double", always("2.5")) + "," + flag("whole", always("2.0")) + "," +
          flag("infinite", always("-1e999")) + "," + flag("no number", always("nan")) + "," +
          flag("text", always(R"(\"\u00e9\n)")) + "," +
          flag("object", always(R"({\"b\": [1, 2.50, null]})")) + "," +
          flag("plan", always("other") + "," + ifEqual("custom.plan", "gold", "7")) + "," +
          flag("empty", "") + "," + flag("strict", ifEqual("custom.plan", "gold", "x")) + "," +
          flag("split", always("own")),
      carried("split", "all", ifEqual("custom.plan", "gold", "1.5")) + "," +
          carried("missed", "none", always("x")) + "," + carried("bare", "all", ""))));
  const std::string group = R"("experiment":"e \"1\"","index":1)";
  const struct {
    std::string name;
    std::string members;  // of the context
    std::string answer;   // after the key
  } cases[] = {
      {"boolean", "", R"("value":true,"reason":"STATIC","variant":"rule-0","metadata":{}})"},
      {"integer", "",
       R"("value":-9007199254740993,"reason":"STATIC","variant":"rule-0","metadata":{}})"},
      {"double", "", R"("value":2.5,"reason":"STATIC","variant":"rule-0","metadata":{}})"},
      {"whole", "", R"("value":2.0,"reason":"STATIC","variant":"rule-0","metadata":{}})"},
      {"infinite", "", R"("value":"-1e999","reason":"STATIC","variant":"rule-0","metadata":{}})"},
      {"no number", "", R"("value":"nan","reason":"STATIC","variant":"rule-0","metadata":{}})"},
      {"text", "", R"("value":"\"é\n","reason":"STATIC","variant":"rule-0","metadata":{}})"},
      {"object", "",
       R"("value":{"b":[1,2.5,null]},"reason":"STATIC","variant":"rule-0","metadata":{}})"},
      {"plan", R"("plan": "gold")",
       R"("value":7,"reason":"TARGETING_MATCH","variant":"rule-1","metadata":{}})"},
      {"plan", R"("plan": "free")",
       R"("value":"other","reason":"STATIC","variant":"rule-0","metadata":{}})"},
      {"empty", "", R"("reason":"DEFAULT","metadata":{"noValue":"featureFlagNoRules"}})"},
      {"strict", "",
       R"("reason":"DEFAULT","metadata":{"noValue":"featureFlagRulesNotSatisfied"}})"},
      {"split", R"("plan": "gold")",
       R"("value":1.5,"reason":"SPLIT","variant":"all","metadata":{)" + group + "}}"},
      {"split", "",
       R"("reason":"DEFAULT","metadata":{)" + group +
           R"(,"noValue":"featureFlagRulesNotSatisfied"}})"},
      {"missed", "",
       R"("reason":"DEFAULT","metadata":{)" + group +
           R"(,"noValue":"experimentGroupNotMatchingFeatureFlagGroup"}})"},
      {"bare", "",
       R"("reason":"DEFAULT","metadata":{)" + group + R"(,"noValue":"featureFlagNoRules"}})"},
      {"strict", R"("a": [], "b": {})",
       R"("reason":"DEFAULT","metadata":{"noValue":"featureFlagRulesNotSatisfied",)"
       R"("ignoredContext":"a, b"}})"},
      {"boolean", R"("a": [])",
       R"("value":true,"reason":"STATIC","variant":"rule-0","metadata":{"ignoredContext":"a"}})"},
  };
  for (const bool again : {false, true}) {
    for (const auto& [name, members, answer] : cases) {
      const HttpResponse response = ask(name, of(members));
      EXPECT_EQ(response.status, 200) << name << again;
      EXPECT_EQ(response.type, "application/json");
      EXPECT_EQ(response.body, R"({"key":")" + name + "\"," + answer) << members;
    }
  }
}

TEST_F(OfrepTest, RefusesBodiesThatAreNoContext) {
  publish(edition("{}"));
  const struct {
    std::string body;
    std::string code;
  } cases[] = {
      {"", "PARSE_ERROR"},
      {"context", "PARSE_ERROR"},
      {R"({"context": {"targetingKey": "u"}} x)", "PARSE_ERROR"},
      {"{\"context\": {\"targetingKey\": \"\xFF\"}}", "PARSE_ERROR"},
      {R"({"context": {"targetingKey": "\ud800"}})", "PARSE_ERROR"},
      {std::string(600, '['), "PARSE_ERROR"},
      {"null", "INVALID_CONTEXT"},
      {R"(["context", {}])", "INVALID_CONTEXT"},
      {"{}", "INVALID_CONTEXT"},
      {R"({"context": null})", "INVALID_CONTEXT"},
      {R"({"context": []})", "INVALID_CONTEXT"},
      {R"({"context": {"targetingKey": "u"}, "context": 1})", "INVALID_CONTEXT"},
      {R"({"context": {"targetingKey": 7}})", "INVALID_CONTEXT"},
      {R"({"context": {"targetingKey": {}}})", "INVALID_CONTEXT"},
      {R"({"context": {"targetingKey": "u", "targetingKey": true}})", "INVALID_CONTEXT"},
      {R"({"context": {}})", "TARGETING_KEY_MISSING"},
      {R"({"context": {"userId": "u"}})", "TARGETING_KEY_MISSING"},
      {R"({"context": {"targetingKey": null}})", "TARGETING_KEY_MISSING"},
      {R"({"context": {"targetingKey": ""}})", "TARGETING_KEY_MISSING"},
      {R"({"context": {"targetingKey": "u", "targetingKey": null}})", "TARGETING_KEY_MISSING"},
  };
  for (const auto& [body, code] : cases) {
    const HttpResponse one = ask("\xFF\"", body);
    EXPECT_EQ(one.status, 400) << body;
    EXPECT_THAT(one.body, testing::StartsWith("{\"key\":\"\xEF\xBF\xBD\\\"\",\"errorCode\":\"" +
                                              code + "\",\"errorDetails\":\""))
        << body;
    const HttpResponse all = askAll(body);
    EXPECT_EQ(all.status, 400) << body;
    EXPECT_THAT(all.body, testing::StartsWith(R"({"errorCode":")" + code + "\",")) << body;
  }
  const HttpResponse unknown = ask("x", of(""));
  EXPECT_EQ(unknown.status, 404);
  EXPECT_THAT(unknown.body, HasSubstr(R"({"key":"x","errorCode":"FLAG_NOT_FOUND",)"));
}

TEST_F(OfrepTest, ReadsPropertiesFromTheContext) {
  const struct {
    const char* members;
    const char* property;
    const char* text;
    bool isEqual = true;
  } cases[] = {
      {R"("plan": "gold")", "custom.plan", "gold"},
      {R"("plan": "gold")", "plan", "gold"},
      {R"("custom.plan": "gold")", "custom.plan", "gold"},
      {R"("custom.plan": "a", "plan": "b")", "custom.plan", "a"},
      {R"("plan": "b", "custom.plan": "a")", "custom.plan", "a"},
      {R"("plan": "b", "custom.plan": null)", "custom.plan", "b"},
      {R"("plan": "b", "custom.plan": [])", "custom.plan", "b"},
      {R"("custom.plan": "a")", "custom.custom.plan", "a"},
      {R"("plan": "a", "plan": "b")", "custom.plan", "b"},
      {R"("plan": "a", "plan": null)", "custom.plan", "a", false},
      {R"("plan": "a", "plan": {})", "custom.plan", "a", false},
      {R"("plan": null)", "custom.plan", "null", false},
      {R"("plan": "a")", "Custom.plan", "a", false},
      {R"("plan": "a")", "Plan", "a", false},
      {"", "userId", "u"},
      {R"("userId": "other")", "userId", "u"},
      {R"("userId": "other")", "custom.userId", "other", false},
      {"", "custom.targetingKey", "u", false},
      {"", "targetingKey", "u", false},
      {R"("deviceId": "d")", "deviceId", "d"},
      {R"("email": "e")", "email", "e"},
      {R"("geo.country": "AT")", "geo.country", "AT"},
      {"", "geo.country", "DE"},
      {R"("country": "AT")", "geo.country", "AT", false},
      {"", "os.name", "iOS"},
      {R"("os.name": "X")", "os.name", "X"},
      {R"("a": "\u00e9\u0000")", "custom.a", "\\u00e9\\u0000"},
      {R"("a": true)", "custom.a", "true"},
      {R"("a": false)", "custom.a", "false"},
      {R"("a": 42)", "custom.a", "42"},
      {R"("a": -0)", "custom.a", "0"},
      {R"("a": 42.0)", "custom.a", "42.0"},
      {R"("a": 1e2)", "custom.a", "100.0"},
      {R"("a": -0.0)", "custom.a", "-0.0"},
      {R"("a": 0.00001)", "custom.a", "1e-05"},
      {R"("a": 1e-999)", "custom.a", "0.0"},
      {R"("a": 9223372036854775807)", "custom.a", "9223372036854775807"},
      {R"("a": -9223372036854775808)", "custom.a", "-9223372036854775808"},
      {R"("a": 18446744073709551615)", "custom.a", "18446744073709551615"},
      {R"("a": 18446744073709551616)", "custom.a", "1.8446744073709552e+19"},
      {R"("a": -9223372036854775809)", "custom.a", "-9.223372036854776e+18"},
      {R"("a": 1e999)", "custom.a", "inf", false},
  };
  for (const auto& [members, property, text, isEqual] : cases) {
    publish(
        edition(document(flag("f", ifEqual(property, text, "1")), ""), "v1", {{"country", "DE"}}));
    EXPECT_EQ(ask("f", of(members)).body.find(R"("value":1)") != std::string::npos, isEqual)
        << members << ' ' << property << ' ' << text;
  }
}

TEST_F(OfrepTest, NamesWhatItIgnoresOfTheContext) {
  publish(edition(document(flag("f", always("1")), "")));
  std::string many;
  for (int i = 0; i < 4'000; ++i) many += "\"k" + std::to_string(i % 3) + "\": [], ";
  const struct {
    std::string members;
    const char* ignored;
  } cases[] = {
      {R"("a": {}, "b": 1, "c": [1], "d": null)", R"("a, c")"},
      {R"("b": [], "a": [])", R"("b, a")"},
      {R"("a": [], "a": 1)", ""},
      {R"("a": 1, "b": [], "a": [], "b": [])", R"("a, b")"},
      {R"("a": 1e999, "b": -1e999)", R"("a, b")"},
      {R"("\"": {"a": {}})", R"("\"")"},
      {many + R"("k1": 1)", R"("k2, k0")"},
  };
  for (const auto& [members, ignored] : cases) {
    const std::string member = *ignored == 0 ? "" : "\"ignoredContext\":" + std::string(ignored);
    EXPECT_THAT(ask("f", of(members)).body, HasSubstr("\"metadata\":{" + member + "}}"));
    EXPECT_THAT(askAll(of(members)).body, HasSubstr("\"metadata\":{" + member + "},\"event"));
  }
}

TEST_F(OfrepTest, UsesItsOwnClockAndZone) {
  publish(edition(document(flag("f", R"({"value": "1", "is_default": false,
      "conditional_statement": "AND", "conditions": [
        {"name": "date", "condition_sign": "after time", "value": "2024-05-02 01:29"}]})"),
                           "")));
  EXPECT_THAT(ask("f", of("")).body, HasSubstr(R"("value":1)"));
}

TEST_F(OfrepTest, AnswersAllFlagsInTheirOrder) {
  publish(edition(
      document(flag("z", always("1")) + "," + flag("a", "") + "," + flag("z", always("2")) + "," +
                   flag("split", always("own")),
               carried("only", "all", always("3")) + "," + carried("split", "all", always("4"))),
      "v-1_2"));
  const std::string group = R"("metadata":{"experiment":"e \"1\"","index":1}})";
  const std::string head =
      R"({"flags":[{"key":"z","value":1,"reason":"STATIC","variant":"rule-0","metadata":{}},)"
      R"({"key":"a","reason":"DEFAULT","metadata":{"noValue":"featureFlagNoRules"}},)";
  const std::string tail = R"(],"metadata":{},"eventStreams":[{"type":"sse","endpoint":)"
                           R"({"requestUri":"/stream?since=v-1_2"},"inactivityDelaySec":120}]})";
  const HttpResponse in = askAll(of(""));
  EXPECT_EQ(in.status, 200);
  EXPECT_EQ(in.type, "application/json");
  EXPECT_EQ(in.body, head + R"({"key":"split","value":4,"reason":"SPLIT","variant":"all",)" +
                         group + R"(,{"key":"only","value":3,"reason":"SPLIT","variant":"all",)" +
                         group + tail);
  EXPECT_EQ(ask("only", of("")).status, 200);

  // Nobody is in the experiment.
  std::string closed = document(flag("own", always("1")), carried("only", "all", always("3")));
  closed.replace(closed.find("\"allocation\": 1"), 15, "\"allocation\": 0");
  publish(edition(closed, "2"));
  EXPECT_THAT(askAll(of("")).body,
              HasSubstr(R"("metadata":{}},{"key":"only","errorCode":"FLAG_NOT_FOUND",)"));
  EXPECT_EQ(ask("only", of("")).status, 404);

  publish(edition("{}", "3"));
  EXPECT_THAT(askAll(of("")).body, testing::StartsWith(R"({"flags":[],"metadata":{},)"));
}

TEST_F(OfrepTest, TagsEqualAnswersEqually) {
  const std::string text =
      document(flag("a", always("1")) + "," + flag("b", ifEqual("custom.plan", "gold", "1")), "");
  publish(edition(text));
  const HttpResponse answer = askAll(of(""));
  const std::string tag = fieldOf(answer, "ETag");
  EXPECT_THAT(tag, testing::MatchesRegex("\"[0-9a-f]{32}\""));
  EXPECT_EQ(fieldOf(askAll(of(R"("plan": "free")")), "ETag"), tag);
  EXPECT_NE(fieldOf(askAll(of(R"("plan": "gold")")), "ETag"), tag);
  EXPECT_NE(fieldOf(askAll(of(R"("x": [])")), "ETag"), tag) << "the metadata differs";
  Ofrep another(publication, surroundings, "/stream");
  HttpRequest same;
  same.body = of("");
  EXPECT_EQ(fieldOf(another.evaluateAll(same), "ETag"), tag);

  const struct {
    std::vector<std::string> fields;
    bool isKnown;
  } cases[] = {
      {{tag}, true},
      {{"W/" + tag}, true},
      {{"*"}, true},
      {{"\"a\", \"b,c\" ,," + tag}, true},
      {{"W/\"\"\t,\t W/" + tag + ","}, true},
      {{"\"a\"", tag}, true},
      {{""}, false},
      {{"\"a\""}, false},
      {{tag.substr(1)}, false},
      {{tag.substr(0, 33)}, false},
      {{"w/" + tag}, false},
      {{"a, " + tag}, false},
      {{"\"a, " + tag}, false},
      {{"*, \"a\""}, false},
  };
  for (const auto& [fields, isKnown] : cases) {
    const HttpResponse response = askAll(of(""), fields);
    EXPECT_EQ(response.status, isKnown ? 304 : 200) << fields[0];
    EXPECT_EQ(response.body, isKnown ? "" : answer.body) << fields[0];
    EXPECT_EQ(fieldOf(response, "ETag"), tag) << fields[0];
  }
  publish(edition(text, "v2"));
  EXPECT_EQ(askAll(of(""), {tag}).status, 200) << "the stream begins elsewhere";
}

TEST_F(OfrepTest, AnswersOnlyWithAProjectThatIsCurrent) {
  const auto refused = [&](const std::string& reason) {
    for (const HttpResponse& response : {ask("f", ""), askAll(of(""))}) {
      EXPECT_EQ(response.status, 503) << reason;
      EXPECT_EQ(fieldOf(response, "Retry-After"), "1");
      EXPECT_EQ(response.body, R"({"errorDetails":")" + reason + "\"}");
    }
  };
  refused("not ready");
  auto first = edition(document(flag("f", always("1")), ""));
  const std::weak_ptr<const Edition> former = first;
  publish(std::move(first));
  EXPECT_THAT(ask("f", of("")).body, HasSubstr(R"("value":1)"));
  publication.withdraw("no \"file\"");
  refused(R"(no \"file\")");
  EXPECT_TRUE(former.expired());

  const auto second = edition(document(flag("f", always("2")), ""));
  publication.publish(second, {}, Publication::Clock::now());
  refused("the configuration has expired");
  publication.publish(second, {});
  EXPECT_THAT(ask("f", of("")).body, HasSubstr(R"("value":2)"));
  publish(edition(document(flag("f", always("3")), "")));
  EXPECT_THAT(ask("f", of("")).body, HasSubstr(R"("value":3)"));
  EXPECT_EQ(second.use_count(), 1);
}

TEST_F(OfrepTest, KeepsEditionsApartUnderLoad) {
  std::vector<std::shared_ptr<const Edition>> editions;
  for (const char* name : {"0", "1"}) {
    editions.push_back(edition(
        document(flag("f", ifEqual("custom.plan", name, name) + "," + always("own")), ""), name));
  }
  const auto expected = [](const std::string& version, const std::string& plan) {
    const std::string answer = version == plan
                                   ? plan + R"(,"reason":"TARGETING_MATCH","variant":"rule-0")"
                                   : R"("own","reason":"STATIC","variant":"rule-1")";
    return R"({"flags":[{"key":"f","value":)" + answer +
           R"(,"metadata":{}}],"metadata":{},"eventStreams":[{"type":"sse","endpoint":)"
           R"({"requestUri":"/stream?since=)" +
           version + R"("},"inactivityDelaySec":120}]})";
  };
  publish(editions[0]);
  std::atomic<int> left = 3;
  std::vector<std::thread> threads;
  for (int t = 0; t < left; ++t) {
    threads.emplace_back([&, t] {
      const std::string plan = std::to_string(t % 2);
      for (int i = 0; i < 300; ++i) {
        const HttpResponse response = askAll(of(R"("plan": ")" + plan + '"'));
        EXPECT_THAT(response.body, AnyOf(expected("0", plan), expected("1", plan)));
      }
      --left;
    });
  }
  for (std::size_t i = 0; left > 0; ++i) publish(editions[i % 2]);
  for (std::thread& each : threads) each.join();
}

}  // namespace
}  // namespace corvo::tool
