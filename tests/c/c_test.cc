// SPDX-License-Identifier: Apache-2.0

#include <corvo/c.h>
#include <corvo/fakes.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "tests/c/caller_platform.h"

namespace corvo::corvo_internal::c {
namespace {

using namespace std::string_view_literals;

corvo_error lastError() {
  corvo_error error{};
  error.size = sizeof(corvo_error);
  EXPECT_EQ(corvo_last_error(&error), CORVO_OK);
  return error;
}

corvo_project* decode(std::string_view document) {
  corvo_project* project = nullptr;
  EXPECT_EQ(corvo_project_decode({document.data(), document.size()}, CORVO_FILTER_NONE, &project),
            CORVO_OK);
  return project;
}

/// The list must outlive the context.
corvo_context contextOf(const std::vector<corvo_property>& properties) {
  corvo_context context{};
  context.size = sizeof(corvo_context);
  context.properties = properties.data();
  context.property_count = properties.size();
  return context;
}

/// A project with an evaluation about the user "ann" from Porto, on a device of its own.
class CTest : public testing::Test {
 protected:
  CTest() {
    using fakes::Sign;
    const std::string document =
        fakes::project()
            .flag("on", true)
            .flag("count", 42)
            .flag("ratio", 0.5)
            .flag("object", R"({"a": [1, "é"]})")
            .flag("text", "Olá")
            .flag("huge", "1e999")
            .flag("whole", "-0.0")
            .flag("empty", "")
            .flag("here", fakes::when(fakes::where("geo.city", Sign::equal, "Porto"), "yes"))
            .flag("phone", fakes::when(fakes::where("os.name", Sign::equal, "iOS"), "yes"))
            .flag("later",
                  fakes::when(fakes::where("time", Sign::afterTime, "2024-05-01 12:00"), "yes"))
            .flag("shared", "plain")
            .holdout("quiet")
            .experiment(fakes::experiment("page", {"control", "new"})
                            .param("columns", {{"control", 2}, {"new", 3}})
                            .flag("shared", {{"control", "old"}, {"new", "fresh"}})
                            .everyoneIn("new"))
            .experiment(fakes::experiment("held", {"a"}).heldOutBy("quiet"))
            .toJson();
    project_ = decode(document);
    const corvo_property user[] = {{CORVO_TEXT("userId"), CORVO_TEXT("ann")}};
    const corvo_property location[] = {{CORVO_TEXT("city"), CORVO_TEXT("Porto")}};
    corvo_context context{};
    context.size = sizeof(corvo_context);
    context.properties = user;
    context.property_count = 1;
    context.location = location;
    context.location_count = 1;
    context.system_name = CORVO_TEXT("iOS");
    context.has_now = true;
    context.now = 1'714'561'200;  // 2024-05-01 11:00 UTC
    context.time_zone = &zone_;
    EXPECT_EQ(corvo_evaluation_create(project_, &context, &evaluation_), CORVO_OK);
  }
  ~CTest() override {
    corvo_evaluation_free(evaluation_);
    corvo_project_free(project_);
  }

  [[nodiscard]] corvo_value check(std::string_view flag, corvo_type type) const {
    corvo_value value{};
    EXPECT_EQ(corvo_evaluation_check_flag(evaluation_, {flag.data(), flag.size()}, type, &value),
              CORVO_OK)
        << flag;
    return value;
  }

  corvo_project* project_ = nullptr;
  corvo_evaluation* evaluation_ = nullptr;
  // Two hours east of Greenwich.
  corvo_time_zone zone_{nullptr, [](void*, std::int64_t) -> std::int32_t { return 7200; },
                        [](void*) -> std::uint64_t { return 1; }};
};

TEST_F(CTest, ReadsValuesAsTheRequestedType) {
  EXPECT_TRUE(check("on", CORVO_BOOLEAN).boolean);
  EXPECT_EQ(check("count", CORVO_INTEGER).integer, 42);
  EXPECT_EQ(check("ratio", CORVO_DOUBLE).number, 0.5);
  EXPECT_EQ(viewOf(check("text", CORVO_STRING).text), "Olá");
  EXPECT_EQ(viewOf(check("object", CORVO_JSON).text), R"({"a": [1, "é"]})");
  EXPECT_EQ(check("text", CORVO_INTEGER).type, CORVO_ABSENT);
  EXPECT_EQ(check("count", CORVO_JSON).type, CORVO_ABSENT);
  const std::pair<const char*, corvo_type> types[] = {
      {"on", CORVO_BOOLEAN},   {"count", CORVO_INTEGER}, {"ratio", CORVO_DOUBLE},
      {"object", CORVO_JSON},  {"text", CORVO_STRING},   {"huge", CORVO_DOUBLE},
      {"whole", CORVO_DOUBLE}, {"empty", CORVO_STRING}};
  for (const auto& [flag, type] : types) EXPECT_EQ(check(flag, CORVO_ANY).type, type) << flag;
  EXPECT_NE(check("empty", CORVO_STRING).text.data, nullptr) << "an empty text, not no text";
}

TEST_F(CTest, UsesLocationDeviceMomentAndZone) {
  for (const char* const flag : {"here", "phone", "later"}) {
    EXPECT_EQ(viewOf(check(flag, CORVO_STRING).text), "yes") << flag;
  }
  ASSERT_EQ(corvo_evaluation_reset(evaluation_, nullptr), CORVO_OK);
  corvo_value value{};
  EXPECT_EQ(corvo_evaluation_check_flag(evaluation_, CORVO_TEXT("here"), CORVO_STRING, &value),
            CORVO_FEATURE_FLAG_RULES_NOT_SATISFIED);
}

TEST_F(CTest, ReportsFlagsExperimentsAndHoldouts) {
  corvo_text json{};
  ASSERT_EQ(corvo_evaluation_flags(evaluation_, &json), CORVO_OK);
  EXPECT_EQ(viewOf(json), R"({"count":"42","empty":"","here":"yes","huge":"inf","later":"yes",)"
                          R"("object":"{\"a\":[1,\"é\"]}","on":"true","phone":"yes","ratio":"0.5",)"
                          R"("shared":"fresh","text":"Olá","whole":"-0.0"})");
  corvo_value text{};
  ASSERT_EQ(corvo_evaluation_experiments(evaluation_, false, &text), CORVO_OK);
  EXPECT_EQ(viewOf(text.text), "page.1");
  corvo_experiment* const* handles = nullptr;
  std::size_t count = 0;
  ASSERT_EQ(corvo_evaluation_all_experiments(evaluation_, &handles, &count), CORVO_OK);
  ASSERT_EQ(count, 2U);  // quiet and page
  for (std::size_t i = 0; i < count; ++i) EXPECT_EQ(corvo_experiment_free(handles[i]), CORVO_OK);
  ASSERT_EQ(corvo_evaluation_holdouts(evaluation_, &text), CORVO_OK);
  EXPECT_THAT(viewOf(text.text), testing::StartsWith("quiet."));
  bool isIn = false;
  ASSERT_EQ(corvo_evaluation_holdout(evaluation_, CORVO_TEXT("quiet"), &isIn), CORVO_OK);
  EXPECT_TRUE(isIn);
  ASSERT_EQ(corvo_evaluation_details(evaluation_, false, &json), CORVO_OK);
  EXPECT_EQ(viewOf(json),
            R"([{"group":1,"id":"page","results":[{"name":"shared","value":"fresh"}],)"
            R"("type":"featureFlag"}])");
  for (const corvo_form form : {CORVO_FORM_TEXT, CORVO_FORM_JSON}) {
    ASSERT_EQ(corvo_evaluation_explain_experiment(evaluation_, CORVO_TEXT("held"), form, &json),
              CORVO_OK);
    EXPECT_THAT(std::string(viewOf(json)), testing::HasSubstr("heldOut"));
  }
  EXPECT_EQ(corvo_evaluation_explain_flag(evaluation_, CORVO_TEXT("none"), CORVO_FORM_TEXT, &json),
            CORVO_OK);
}

TEST_F(CTest, HandsOutExperimentsThatOutliveTheEvaluation) {
  auto* held = reinterpret_cast<corvo_experiment*>(&zone_);
  ASSERT_EQ(corvo_evaluation_experiment(evaluation_, CORVO_TEXT("held"), &held), CORVO_OK);
  EXPECT_EQ(held, nullptr);
  corvo_experiment* page = nullptr;
  ASSERT_EQ(corvo_evaluation_experiment(evaluation_, CORVO_TEXT("page"), &page), CORVO_OK);
  corvo_evaluation_free(evaluation_);
  corvo_project_free(project_);
  corvo_text name{};
  corvo_text group{};
  std::int64_t index = 0;
  ASSERT_EQ(corvo_experiment_group(page, &name, &group, &index), CORVO_OK);
  EXPECT_EQ(viewOf(name), "page");
  EXPECT_EQ(viewOf(group), "new");
  EXPECT_EQ(index, 1);
  corvo_value value{};
  ASSERT_EQ(corvo_experiment_param(page, CORVO_TEXT("columns"), CORVO_INTEGER, &value), CORVO_OK);
  EXPECT_EQ(value.integer, 3);
  ASSERT_EQ(corvo_experiment_flag(page, CORVO_TEXT("shared"), CORVO_STRING, &value), CORVO_OK);
  EXPECT_EQ(viewOf(value.text), "fresh");
  ASSERT_EQ(corvo_experiment_param(page, CORVO_TEXT("none"), CORVO_ANY, &value), CORVO_OK);
  EXPECT_EQ(value.type, CORVO_ABSENT);
  EXPECT_EQ(corvo_experiment_free(page), CORVO_OK);
}

TEST_F(CTest, AnswersByPosition) {
  const std::array<std::size_t, 3> flags{4, 99, 0};
  const corvo_flag_text* texts = nullptr;
  std::size_t count = 0;
  ASSERT_EQ(corvo_evaluation_flag_texts(evaluation_, flags.data(), 3, &texts, &count), CORVO_OK);
  ASSERT_EQ(count, 2U);
  EXPECT_EQ(viewOf(texts[0].text), "Olá");
  EXPECT_EQ(texts[1].flag, 0U);
  const std::array<std::size_t, 3> experiments{0, 1, 2};  // quiet, page, held
  const corvo_membership* memberships = nullptr;
  ASSERT_EQ(corvo_evaluation_memberships(evaluation_, experiments.data(), 3, &memberships, &count),
            CORVO_OK);
  ASSERT_EQ(count, 2U);
  EXPECT_EQ(memberships[1].experiment, 1U);
  EXPECT_EQ(memberships[1].group, 1U);
  const corvo_placement* placements = nullptr;
  ASSERT_EQ(corvo_evaluation_placements(evaluation_, experiments.data(), 3, &placements, &count),
            CORVO_OK);
  ASSERT_EQ(count, 3U);
  EXPECT_EQ(placements[1].group, 1U);
  EXPECT_EQ(placements[1].holdout, CORVO_NO_POSITION);
  EXPECT_EQ(viewOf(placements[2].reason), "heldOut");
  EXPECT_EQ(placements[2].group, CORVO_NO_POSITION);
  EXPECT_EQ(placements[2].holdout, 0U);
  corvo_text json{};
  for (int i = 0; i < 2; ++i) {  // computed, then remembered
    ASSERT_EQ(corvo_project_shares(project_, 2, &json), CORVO_OK);
    EXPECT_THAT(std::string(viewOf(json)), testing::HasSubstr(R"("groups":[1])"));
  }
  ASSERT_EQ(corvo_project_shares(project_, 3, &json), CORVO_OK);
  EXPECT_EQ(json.data, nullptr);
  ASSERT_EQ(corvo_project_describe(project_, &json), CORVO_OK);
  const JsonObject project = fromCorvoString<JsonObject>(viewOf(json)).value();
  EXPECT_EQ(*project.at("flags").as<JsonArray>()->at(4).find("name"), JsonValue("text"));
  EXPECT_EQ(*project.at("experiments").as<JsonArray>()->at(0).find("position"), JsonValue(1));
}

TEST_F(CTest, TellsErrorsWithTextAndPlace) {
  corvo_value value{};
  EXPECT_EQ(corvo_evaluation_check_flag(evaluation_, CORVO_TEXT("none"), CORVO_ANY, &value),
            CORVO_FEATURE_FLAG_NOT_FOUND);
  EXPECT_EQ(lastError().status, CORVO_FEATURE_FLAG_NOT_FOUND);
  EXPECT_THAT(std::string(viewOf(lastError().text)), testing::HasSubstr("\"none\""));
  EXPECT_EQ(lastError().offset, -1);
  EXPECT_EQ(corvo_evaluation_check_flag(evaluation_, CORVO_TEXT("a\0b"), CORVO_ANY, &value),
            CORVO_FEATURE_FLAG_NOT_FOUND);
  EXPECT_EQ(viewOf(lastError().text), "Corvo warn: Feature flag \"a\0b\" not found"sv);
  corvo_project* project = nullptr;
  EXPECT_EQ(corvo_project_decode(CORVO_TEXT("{\"a\": ]"), CORVO_FILTER_NONE, &project),
            CORVO_REQUEST_CONFIG_FAILED);
  EXPECT_EQ(lastError().offset, 6);
  EXPECT_EQ(project, nullptr);
  std::thread([] { EXPECT_EQ(lastError().status, CORVO_OK); }).join();
  // Every case of the library's errors has the number of its name.
  for (int i = 1; i <= static_cast<int>(std::variant_size_v<CorvoError::Payload>); ++i) {
    EXPECT_EQ(corvo_status_name(static_cast<corvo_status>(i)),
              to_string(static_cast<CorvoError::Case>(i - 1)));
  }
  EXPECT_STREQ(corvo_status_name(CORVO_BUSY), "busy");
  EXPECT_EQ(corvo_status_name(static_cast<corvo_status>(50)), nullptr);
}

// Handles that are null, made up, of another type, or freed; and arguments that cannot be read.
TEST_F(CTest, RefusesWhatAHostileCallerPasses) {
  corvo_text text{};
  corvo_value value{};
  corvo_evaluation* const freed = [&] {
    corvo_evaluation* evaluation = nullptr;
    corvo_evaluation_create(project_, nullptr, &evaluation);
    EXPECT_EQ(corvo_evaluation_free(evaluation), CORVO_OK);
    return evaluation;
  }();
  corvo_evaluation* again = nullptr;
  corvo_evaluation_create(project_, nullptr, &again);  // in the place of the freed one
  for (const std::uintptr_t number :
       {std::uintptr_t{0}, reinterpret_cast<std::uintptr_t>(project_),
        reinterpret_cast<std::uintptr_t>(this), reinterpret_cast<std::uintptr_t>(freed),
        ~std::uintptr_t{0}, std::uintptr_t{0x7FFFFFF2}}) {
    void* const handle = reinterpret_cast<void*>(number);  // NOLINT(performance-no-int-to-ptr)
    auto* const evaluation = static_cast<corvo_evaluation*>(handle);
    EXPECT_EQ(corvo_evaluation_flags(evaluation, &text), CORVO_INVALID_HANDLE) << handle;
    EXPECT_EQ(corvo_evaluation_free(evaluation), CORVO_INVALID_HANDLE) << handle;
  }
  EXPECT_EQ(corvo_evaluation_free(again), CORVO_OK);
  EXPECT_EQ(corvo_project_free(reinterpret_cast<corvo_project*>(evaluation_)),
            CORVO_INVALID_HANDLE);
  EXPECT_EQ(corvo_experiment_free(nullptr), CORVO_INVALID_HANDLE);

  EXPECT_EQ(corvo_evaluation_flags(evaluation_, nullptr), CORVO_INVALID_ARGUMENT);
  EXPECT_EQ(corvo_evaluation_check_flag(evaluation_, {nullptr, 3}, CORVO_ANY, &value),
            CORVO_INVALID_ARGUMENT);
  for (const int number : {-1, 0, 7}) {
    const auto type = static_cast<corvo_type>(number);
    EXPECT_EQ(corvo_evaluation_check_flag(evaluation_, CORVO_TEXT("none"), type, &value),
              CORVO_INVALID_ARGUMENT);
    EXPECT_EQ(corvo_read_value(CORVO_TEXT("1"), type, &value), CORVO_INVALID_ARGUMENT);
  }
  EXPECT_EQ(corvo_evaluation_explain_flag(evaluation_, CORVO_TEXT("on"), static_cast<corvo_form>(2),
                                          &text),
            CORVO_INVALID_ARGUMENT);
  corvo_context context = contextOf({});
  context.size = 3;
  EXPECT_EQ(corvo_evaluation_reset(evaluation_, &context), CORVO_INVALID_ARGUMENT);
  const std::vector<corvo_property> withoutData{{CORVO_TEXT("userId"), {nullptr, 1}}};
  context = contextOf(withoutData);
  EXPECT_EQ(corvo_evaluation_reset(evaluation_, &context), CORVO_INVALID_ARGUMENT);
  EXPECT_EQ(viewOf(check("here", CORVO_STRING).text), "yes") << "a refused context changes nothing";
  EXPECT_EQ(corvo_last_error(nullptr), CORVO_INVALID_ARGUMENT);
  const std::vector<corvo_property> absurd{{CORVO_TEXT("userId"), {"", SIZE_MAX}}};
  context = contextOf(absurd);
  EXPECT_EQ(corvo_evaluation_reset(evaluation_, &context), CORVO_OUT_OF_MEMORY);
  EXPECT_EQ(corvo_evaluation_flags(evaluation_, &text), CORVO_OK) << "about no user";
}

TEST_F(CTest, CopiesItsArguments) {
  std::string name = "userId";
  std::string value = "bob\xFF";
  const std::vector<corvo_property> user{
      {{name.data(), name.size()}, {value.data(), value.size()}}};
  const corvo_context context = contextOf(user);
  ASSERT_EQ(corvo_evaluation_reset(evaluation_, &context), CORVO_OK);
  name.assign(name.size(), '?');
  value.assign(value.size(), '?');
  corvo_text why{};
  ASSERT_EQ(
      corvo_evaluation_explain_experiment(evaluation_, CORVO_TEXT("page"), CORVO_FORM_TEXT, &why),
      CORVO_OK);
  EXPECT_THAT(std::string(viewOf(why)), testing::HasSubstr("bob\uFFFD"));
}

TEST_F(CTest, AUsersPropertiesExpire) {
  corvo_user* user = nullptr;
  ASSERT_EQ(corvo_user_create(nullptr, &user), CORVO_OK);
  const corvo_text id = CORVO_TEXT("userId");
  corvo_context context = contextOf({});
  context.user = user;
  context.has_now = true;
  context.now = 1'714'561'200;  // 2024-05-01 11:00 UTC, 13:00 in the zone
  context.time_zone = &zone_;
  const auto takesPart = [&](corvo_text expiry) {
    EXPECT_EQ(corvo_user_restore(user, id, CORVO_TEXT("ann"), expiry), CORVO_OK);
    EXPECT_EQ(corvo_evaluation_reset(evaluation_, &context), CORVO_OK);
    corvo_value text{};
    EXPECT_EQ(corvo_evaluation_experiments(evaluation_, true, &text), CORVO_OK);
    return text.type != CORVO_ABSENT;
  };
  EXPECT_TRUE(takesPart(CORVO_TEXT("2024-05-01 13:00:01")));
  EXPECT_FALSE(takesPart(CORVO_TEXT("2024-05-01 12:59:59")));
  EXPECT_FALSE(takesPart({}));
  EXPECT_EQ(corvo_user_free(user), CORVO_OK);
  EXPECT_EQ(corvo_evaluation_reset(evaluation_, &context), CORVO_INVALID_HANDLE);
}

TEST_F(CTest, ReadsTextsAsValues) {
  corvo_value value{};
  ASSERT_EQ(corvo_read_value(CORVO_TEXT("0x10"), CORVO_DOUBLE, &value), CORVO_OK);
  EXPECT_EQ(value.number, 16);
  ASSERT_EQ(corvo_read_value(CORVO_TEXT("maybe"), CORVO_BOOLEAN, &value), CORVO_OK);
  EXPECT_EQ(value.type, CORVO_ABSENT);
  ASSERT_EQ(corvo_read_value({}, CORVO_ANY, &value), CORVO_OK);
  EXPECT_EQ(value.type, CORVO_ABSENT);
}

TEST_F(CTest, ABusyEvaluationIsNotUsedTwice) {
  struct Reentry {
    corvo_evaluation* evaluation;
    corvo_status status = CORVO_OK;
  } reentry{evaluation_};
  corvo_context context = contextOf({});
  const corvo_time_zone zone{&reentry,
                             [](void* given, std::int64_t) -> std::int32_t {
                               auto* const inside = static_cast<Reentry*>(given);
                               corvo_text json{};
                               inside->status = corvo_evaluation_flags(inside->evaluation, &json);
                               return 0;
                             },
                             [](void*) -> std::uint64_t { return 1; }};
  context.time_zone = &zone;
  ASSERT_EQ(corvo_evaluation_reset(evaluation_, &context), CORVO_OK);
  corvo_text json{};
  EXPECT_EQ(corvo_evaluation_flags(evaluation_, &json), CORVO_OK);
  EXPECT_EQ(reentry.status, CORVO_BUSY);
}

// Threads create, use and free handles of one project; each finds its own, or an error.
TEST_F(CTest, AnyThreadMayUseItsOwnHandles) {
  corvo_context context = contextOf({});
  context.time_zone = &zone_;
  context.has_now = true;
  std::atomic<int> wrong = 0;
  std::array<std::thread, 4> threads;
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      for (int round = 0; round < 200; ++round) {
        corvo_evaluation* evaluation = nullptr;
        corvo_value value{};
        if (corvo_evaluation_create(project_, &context, &evaluation) != CORVO_OK ||
            corvo_evaluation_check_flag(evaluation, CORVO_TEXT("on"), CORVO_BOOLEAN, &value) !=
                CORVO_OK ||
            !value.boolean || corvo_evaluation_free(evaluation) != CORVO_OK ||
            corvo_evaluation_free(evaluation) == CORVO_OK) {
          ++wrong;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace corvo::corvo_internal::c
