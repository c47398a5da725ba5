// SPDX-License-Identifier: Apache-2.0

#include <corvo/json_value.h>
#include <gmock/gmock.h>
#include <httplib.h>

#include <cstddef>
#include <set>
#include <sstream>
#include <string>

#include "tests/base/case_table.h"
#include "tests/tool/backend.h"
#include "tests/tool/served_folder.h"

namespace corvo::tool {
namespace {

using testing::HasSubstr;
using testing::Not;

class Page : public ServedFolder {
 protected:
  /// The page for these fields, of a new backend for the current files.
  std::string page(const httplib::Params& fields = {}) const {
    Backend backend(arguments() + " 2>/dev/null");
    httplib::Client http(backend.url());
    const httplib::Result result = http.Get("/", fields, {});
    EXPECT_TRUE(result) << "it has crashed";
    if (!result) return "";
    EXPECT_EQ(result->status, 200);
    EXPECT_EQ(http.Get("/", httplib::Headers())->status, 200) << "it still runs";
    return result->body;
  }
  void writeFlag(const std::string& name, const std::string& value) const {
    write("config.json", toJson(JsonObject{{"feature_flags", JsonArray{flag(name, value)}}}));
  }
  static JsonValue flag(const std::string& name, const std::string& value) {
    const JsonObject rule{{"is_default", true},
                          {"value", value},
                          {"conditional_statement", "-"},
                          {"conditions", JsonArray()}};
    return JsonObject{{"name", name}, {"type", "string"}, {"rules", JsonArray{rule}}};
  }
};

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at < text.size(); at = text.find(part, at + 1)) ++count;
  return count;
}

std::string shop(const std::string& name) {
  return tests::contentsOf(std::string(CORVO_SHOP "/") + name);
}

TEST_F(Page, ShowsTheProjectWithoutAUser) {
  write("config.json", shop("config.json"));
  const std::string body = page();
  EXPECT_THAT(body, HasSubstr("<dt>flags</dt><dd>12</dd>"));
  EXPECT_THAT(body, HasSubstr("<dt>holdouts</dt><dd>1</dd>"));
  EXPECT_THAT(body, HasSubstr("<code>custom.basket</code>"));
  EXPECT_THAT(body, HasSubstr("Clients drop 1 element"));
  EXPECT_THAT(body, HasSubstr("its platform is &quot;android&quot;"));
  EXPECT_THAT(body, HasSubstr("Lint finds no mistakes."));
  EXPECT_EQ(countOf(body, "<li class=\"d0"), 0U) << "nobody's answers are explained";
}

TEST_F(Page, ExplainsAsTheCommandDoes) {
  write("config.json", shop("config.json"));
  write("geo.json", shop("geo.json"));
  const std::string user = " --user-id ann --property custom.basket=150 --now 2024-05-02 ";
  const std::string body = page({{"userId", "ann"},
                                 {"properties", "custom.basket=150\r\n\r\nx=1\r\n"},
                                 {"now", "2024-05-02"}});
  EXPECT_THAT(body, HasSubstr("The project does not use <code>x</code>."));
  std::size_t deciding = 0;
  for (const char* question : {"flag basket-discount", "flag sale", "experiment short-checkout",
                               "experiment gold-offer", "experiment quiet-customers"}) {
    std::istringstream lines(
        runCorvo("explain " + std::string(question) + " " + arguments() + user).out);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
      const bool decides = line.starts_with("> ");
      line.erase(0, line.find_first_not_of(" >"));
      tests::replaceAll(line, "<", "&lt;");
      tests::replaceAll(line, "\"", "&quot;");
      EXPECT_THAT(body, HasSubstr((decides ? "decides: </span>" : "\">") + line + "</li>"));
      deciding += decides ? 1 : 0;
    }
  }
  EXPECT_GT(deciding, 10U);
  EXPECT_THAT(body,
              HasSubstr("short-checkout</span> <span class=\"answer value\">&quot;short&quot;"));
  EXPECT_THAT(body, HasSubstr("not in it: targets not met"));
}

TEST_F(Page, TellsExperimentsOfOneNameApart) {
  write("config.json", R"({"experiments": [
    {"name": "e", "salt": "1", "allocation": -1, "groups": [{"name": "a", "weight": 1}]},
    {"name": "e", "salt": "2", "type": 2, "allocation": 1, "groups": [{"name": "b", "weight": 1}],
     "params": [{"name": "p", "type": "number", "values": [{"group": "b", "value": "2"}]}]},
    {"name": "e", "salt": "3", "type": 2, "allocation": 1, "groups": [{"name": "c", "weight": 1}],
     "params": [{"name": "p", "type": "number", "values": [{"group": "c", "value": "3"}]}]},
    {"name": "e", "salt": "4", "allocation": 1, "layer_id": "l",
     "groups": [{"name": "d", "weight": 1}]}]})");
  const std::string body = page({{"userId", "ann"}});
  for (const char* answer : {"none\">not in it: outside allocation", "value\">&quot;b&quot;",
                             "value\">&quot;c&quot;", "none\">not in it: outside layer"}) {
    EXPECT_EQ(countOf(body, std::string("e</span> <span class=\"answer ") + answer), 1U) << answer;
  }
  EXPECT_EQ(countOf(body, "Values for this user"), 1U) << "of the first one that she is in";
  std::set<std::string> keys;
  const std::string mark = "class=\"item\" data-key=\"";
  for (auto at = body.find(mark); at < body.size(); at = body.find(mark, at + 1)) {
    keys.insert(body.substr(at, body.find('>', at) - at));
  }
  EXPECT_EQ(keys.size(), 4U);
}

TEST_F(Page, KeepsHostileTextsTexts) {
  const std::string attacks[] = {"<script>document.title='x'</script>",
                                 "</style><b>",
                                 "\"><img src=x onerror=alert(1)>",
                                 "{{answers}}",
                                 "' onfocus='x",
                                 "<!--",
                                 "\x1b[31m\x07",
                                 "abc\u202Egnp.exe\u2066"};
  for (const std::string& attack : attacks) {
    writeFlag(attack, attack);
    const std::string body = page(
        {{"userId", attack}, {"properties", attack + "=" + attack}, {"now", ""}, {"zone", ""}});
    EXPECT_EQ(countOf(body, "<script"), 1U) << attack;
    EXPECT_EQ(countOf(body, "<style"), 1U) << attack;
    EXPECT_EQ(countOf(body, "<!--"), 1U) << attack;
    EXPECT_THAT(body, Not(HasSubstr("<img"))) << attack;
    EXPECT_THAT(body, Not(HasSubstr("<b>&lt;"))) << attack;
    EXPECT_THAT(body, Not(HasSubstr("' onfocus"))) << attack;
    const std::string answers = body.substr(body.find("id=\"answers\""));
    for (const char* mark : {"\u202E", "\u2066", "\x1b", "\x07"}) {
      EXPECT_THAT(answers, Not(HasSubstr(mark))) << attack;
    }
    EXPECT_EQ(countOf(answers, "class=\"item\""), 1U) << attack;
  }
  writeFlag(attacks[7], "x");
  EXPECT_THAT(page(), HasSubstr("abc\\u202egnp.exe\\u2066"));
}

TEST_F(Page, ShortensLongTextsAndLists) {
  const std::string longText(10'000'000, 'n');
  writeFlag(longText, longText);
  const std::string body = page({{"userId", "ann"}});
  EXPECT_LT(body.size(), 100'000U);
  EXPECT_THAT(body, HasSubstr("nnn… (10000000 bytes)"));

  JsonArray flags;
  for (int i = 0; i < 3'000; ++i) flags.push_back(flag("flag-" + std::to_string(i), "on"));
  write("config.json", toJson(JsonObject{{"feature_flags", std::move(flags)}}));
  const std::string all = page({{"userId", "ann"}});
  EXPECT_THAT(all, HasSubstr("flag-999<"));
  EXPECT_THAT(all, Not(HasSubstr("flag-1000<")));
  EXPECT_THAT(all, HasSubstr("2000 more are not listed."));
  const std::string some = page({{"userId", "ann"}, {"only", "-2345"}});
  EXPECT_EQ(countOf(some, "class=\"item\""), 1U);
  EXPECT_THAT(some, HasSubstr("flag-2345<"));
}

TEST_F(Page, EvaluatesNothingThatAClientWouldNot) {
  const struct {
    const char* file;
    const char* content;
    const char* says;
  } cases[] = {
      {"config.json",
       R"({"feature_flags": [{"name": "sale", "type": "boolean", "rules": []}], "experiments": [
           {"name": "page", "salt": "s", "allocation": 1, "groups": [{"name": "a", "weight": 1}],
            "layer_id": "l", "layer_bounds": [{"lower_bound": 994, "upper_bound": 0}]}]})",
       "inverted-bounds"},
      {"config.json", "[]", "config.json:1:1: expected object, found array"},
      {"config.json", "{\"feature_flags\": [", "not-json"},
      {"geo.json", R"({"city": 3})", "geo.json:1:"},
  };
  for (const auto& [file, content, says] : cases) {
    const std::string before = tests::contentsOf(folder_ + file);
    write(file, content);
    const std::string body = page({{"userId", "ann"}});
    EXPECT_THAT(body, HasSubstr("Nothing is evaluated")) << content;
    EXPECT_THAT(body, HasSubstr(says)) << content;
    EXPECT_EQ(countOf(body, "<li class=\"d0"), 0U) << content;
    write(file, before);
  }
  Backend backend(arguments() + " 2>/dev/null");
  std::remove((folder_ + "config.json").c_str());
  EXPECT_THAT(httplib::Client(backend.url()).Get("/?userId=ann")->body,
              HasSubstr("cannot read " + folder_ + "config.json"));
}

TEST_F(Page, SaysWhatIsWrongWithTheForm) {
  const struct {
    const char* field;
    const char* text;
    const char* says;
  } cases[] = {
      {"properties", "a=b\nplan", "expected NAME=TEXT, not plan"},
      {"properties", "=x", "expected NAME=TEXT, not =x"},
      {"zone", "Mars/Base", "unknown time zone Mars/Base"},
      {"zone", "../../etc/passwd", "unknown time zone ../../etc/passwd"},
      {"now", "tomorrow", "tomorrow is neither"},
  };
  writeFlag("sale", "on");
  for (const auto& [field, text, says] : cases) {
    const std::string body = page({{"userId", "ann"}, {field, text}});
    EXPECT_THAT(body, HasSubstr(std::string("role=\"alert\">") + says)) << text;
    EXPECT_EQ(countOf(body, "<li class=\"d0"), 0U) << text;
  }
}

TEST_F(Page, IsSentAgainOnlyIfAFileHasChanged) {
  writeFlag("sale", "on");
  Backend backend(arguments() + " 2>/dev/null");
  httplib::Client http(backend.url());
  const httplib::Result first = http.Get("/");
  const std::string tag = first->get_header_value("ETag");
  const auto again = [&] { return http.Get("/", {{"If-None-Match", tag}}); };
  EXPECT_EQ(again()->status, 304);
  EXPECT_EQ(again()->body, "");
  const httplib::Headers list = {{"If-None-Match", "\"other\", W/" + tag}};
  EXPECT_EQ(http.Get("/", list)->status, 304) << "weakly compared, as RFC 9110 says";
  write("geo.json", "{}");
  EXPECT_EQ(again()->status, 200);
  write("geo.json", R"({"city": "Porto"})");
  EXPECT_EQ(again()->status, 304);
  writeFlag("sale", "off");
  EXPECT_EQ(again()->status, 200);
}

TEST_F(Page, RunsOnlyItsOwnScript) {
  Backend backend(arguments());
  httplib::Client http(backend.url());
  std::string nonces[2];
  for (std::string& nonce : nonces) {
    const httplib::Result result = http.Get("/");
    const std::string policy = result->get_header_value("Content-Security-Policy");
    const std::size_t begin = policy.find("script-src 'nonce-") + 18;
    nonce = policy.substr(begin, policy.find('\'', begin) - begin);
    EXPECT_EQ(nonce.size(), 32U);
    EXPECT_THAT(policy, HasSubstr("default-src 'none'"));
    EXPECT_THAT(policy, Not(HasSubstr("unsafe")));
    EXPECT_THAT(result->body, HasSubstr("<script nonce=\"" + nonce + "\">"));
  }
  EXPECT_NE(nonces[0], nonces[1]);
}

}  // namespace
}  // namespace corvo::tool
