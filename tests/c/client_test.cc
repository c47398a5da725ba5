// SPDX-License-Identifier: Apache-2.0

#include <corvo/c.h>
#include <corvo/fakes.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tests/c/caller_platform.h"

namespace corvo::corvo_internal::c {
namespace {

using testing::HasSubstr;

/// An answer as one text: the value, "error:" and the name of its status, or the handles' names.
std::string shown(const corvo_answer& answer) {
  if (answer.error != nullptr) {
    return "error:" + std::string(corvo_status_name(answer.error->status));
  }
  std::string text;
  for (std::size_t i = 0; i < answer.experiment_count; ++i) {
    corvo_text name{};
    EXPECT_EQ(corvo_experiment_group(answer.experiments[i], &name, nullptr, nullptr), CORVO_OK);
    text += "<" + std::string(viewOf(name)) + ">";
    EXPECT_EQ(corvo_experiment_free(answer.experiments[i]), CORVO_OK);
  }
  if (answer.project != nullptr) {
    corvo_text json{};
    EXPECT_EQ(corvo_project_describe(answer.project, &json), CORVO_OK);
    text += viewOf(json).substr(0, 12);
    EXPECT_EQ(corvo_project_free(answer.project), CORVO_OK);
  }
  switch (answer.value.type) {
    case CORVO_BOOLEAN:
      return text + (answer.value.boolean ? "true" : "false");
    case CORVO_INTEGER:
      return text + std::to_string(answer.value.integer);
    case CORVO_DOUBLE:
      return text + std::to_string(answer.value.number);
    case CORVO_STRING:
    case CORVO_JSON:
      return text + std::string(viewOf(answer.value.text));
    default:
      return text + "-";
  }
}

/// Where the answers of callbacks are noted.
struct Notes {
  std::vector<std::string> answers;
  int destroyed = 0;
  std::function<void()> then;

  corvo_callback callback() {
    return {this,
            [](void* context, const corvo_answer* answer) {
              auto& notes = *static_cast<Notes*>(context);
              notes.answers.push_back(shown(*answer));
              if (notes.then) notes.then();
            },
            [](void* context) { ++static_cast<Notes*>(context)->destroyed; }};
  }
};

class CClientTest : public testing::Test {
 protected:
  CClientTest() {
    caller_.fake.serve(
        fakes::project()
            .flag("on", true)
            .flag("count", 42)
            .flag("text", "Olá")
            .flag("mine", fakes::when(fakes::where("userId", fakes::Sign::equal, "ann"), 1))
            .holdout("quiet")
            .experiment(fakes::experiment("page", {"control", "new"})
                            .param("columns", {{"control", 2}, {"new", 3}})
                            .everyoneIn("new"))
            .experiment(fakes::experiment("held", {"a"}).heldOutBy("quiet")),
        {{"city", "Porto"}});
    const corvo_platform platform = caller_.functions();
    EXPECT_EQ(corvo_registry_create(nullptr, &platform, &registry_), CORVO_OK);
    EXPECT_EQ(corvo_user_create(registry_, &ann_), CORVO_OK);
    EXPECT_EQ(corvo_user_set(ann_, CORVO_USER_ID, CORVO_TEXT("ann")), CORVO_OK);
    client_ = initialize(options());
    EXPECT_EQ(corvo_reply_create(client_, &reply_), CORVO_OK);
  }
  ~CClientTest() override {
    caller_.fake.time->run();
    corvo_reply_free(reply_);
    corvo_user_free(ann_);
    corvo_client_free(client_);
    corvo_registry_free(registry_);
    EXPECT_EQ(caller_.destroyed, 1);
  }

  [[nodiscard]] corvo_client_options options() const {
    corvo_client_options options{};
    options.size = sizeof(corvo_client_options);
    options.project_token = CORVO_TEXT("token");
    options.api_url = CORVO_TEXT("https://flags.example.com");
    options.initial_user = ann_;
    return options;
  }

  corvo_client* initialize(const corvo_client_options& options) {
    corvo_client* client = nullptr;
    EXPECT_EQ(corvo_registry_initialize_client(registry_, &options, &client), CORVO_OK);
    return client;
  }

  /// Asks, and waits for the answer.
  std::string ask(const std::function<corvo_status(corvo_callback)>& question) {
    const corvo_status asked = question(corvo_reply_callback(reply_));
    if (asked != CORVO_OK) return "refused:" + std::string(corvo_status_name(asked));
    const corvo_answer* answer = nullptr;
    const corvo_status status = corvo_reply_wait(reply_, &answer);
    if (status != CORVO_OK) return "error:" + std::string(corvo_status_name(status));
    return shown(*answer);
  }
  std::string askFlag(const char* name, corvo_type type = CORVO_ANY) {
    return ask([&](corvo_callback callback) {
      return corvo_client_check_flag(client_, corvo_text_of(name), type, callback);
    });
  }

  CallerPlatform caller_;
  corvo_registry* registry_ = nullptr;
  corvo_user* ann_ = nullptr;
  corvo_client* client_ = nullptr;
  corvo_reply* reply_ = nullptr;
};

TEST_F(CClientTest, AnswersEveryQuestion) {
  using Question = std::function<corvo_status(corvo_client*, corvo_callback)>;
  const std::int64_t first = 0;
  const corvo_text page = CORVO_TEXT("page");
  const std::pair<Question, const char*> rows[] = {
      {[](auto* c, auto to) {
         return corvo_client_check_flag(c, CORVO_TEXT("on"), CORVO_BOOLEAN, to);
       },
       "true"},
      {[](auto* c, auto to) {
         return corvo_client_check_flag(c, CORVO_TEXT("text"), CORVO_ANY, to);
       },
       "Olá"},
      {[](auto* c, auto to) {
         return corvo_client_check_flag(c, CORVO_TEXT("text"), CORVO_INTEGER, to);
       },
       "-"},
      {[](auto* c, auto to) { return corvo_client_check_flag(c, CORVO_TEXT("no"), CORVO_ANY, to); },
       "error:featureFlagNotFound"},
      {[](auto* c, auto to) { return corvo_client_flags(c, to); },
       R"({"count":"42","mine":"1","on":"true","text":"Olá"})"},
      {[](auto* c, auto to) { return corvo_client_all_experiments(c, to); }, "<quiet><page>-"},
      {[](auto* c, auto to) { return corvo_client_all_experiments_text(c, false, to); }, "page.1"},
      {[&](auto* c, auto to) { return corvo_client_experiment(c, page, to); }, "<page>-"},
      {[](auto* c, auto to) { return corvo_client_experiment(c, CORVO_TEXT("held"), to); }, "-"},
      {[](auto* c, auto to) { return corvo_client_holdout(c, CORVO_TEXT("quiet"), to); }, "true"},
      {[](auto* c, auto to) { return corvo_client_all_holdouts(c, to); }, "quiet.0"},
      {[](auto* c, auto to) { return corvo_client_details(c, false, to); }, R"("id":"page")"},
      {[](auto* c, auto to) {
         return corvo_client_explain_flag(c, CORVO_TEXT("on"), CORVO_FORM_TEXT, to);
       },
       R"(flag "on": "true")"},
      {[](auto* c, auto to) {
         return corvo_client_explain_experiment(c, CORVO_TEXT("held"), CORVO_FORM_JSON, to);
       },
       "heldOut"},
      {[](auto* c, auto to) { return corvo_client_project(c, to); }, R"({"drops":[],-)"},
      {[&](auto* c, auto to) { return corvo_client_include_force(c, page, &first, to); }, "-"},
      {[](auto* c, auto to) { return corvo_client_all_experiments_text(c, false, to); }, "page.0"},
      {[&](auto* c, auto to) { return corvo_client_exclude_force(c, page, to); }, "-"},
      {[](auto* c, auto to) { return corvo_client_all_experiments_text(c, false, to); }, "page.1"},
      {[&](auto* c, auto to) { return corvo_client_include_force(c, page, nullptr, to); }, "-"},
      {[](auto* c, auto to) { return corvo_client_exclude_force_all(c, to); }, "-"},
      {[](auto* c, auto to) { return corvo_client_exclude_force_all(c, to); },
       "error:noForceIncludedExperiments"},
  };
  int number = 0;
  for (const auto& row : rows) {
    const auto question = [&](corvo_callback to) { return row.first(client_, to); };
    EXPECT_THAT(ask(question), HasSubstr(row.second)) << "question " << number++;
  }
}

TEST_F(CClientTest, AnswersLaterAndAtOnceAndDestroysTheContextOnce) {
  Notes notes;
  corvo_client_check_flag(client_, CORVO_TEXT("count"), CORVO_INTEGER, notes.callback());
  EXPECT_TRUE(notes.answers.empty());
  EXPECT_EQ(notes.destroyed, 0);
  caller_.fake.time->run();
  corvo_client_check_flag(client_, CORVO_TEXT("count"), CORVO_INTEGER, notes.callback());
  EXPECT_THAT(notes.answers, testing::ElementsAre("42", "42"));
  EXPECT_EQ(notes.destroyed, 2);

  // A question that is refused, whatever the reason.
  EXPECT_EQ(corvo_client_flags(nullptr, notes.callback()), CORVO_INVALID_HANDLE);
  EXPECT_EQ(corvo_client_check_flag(client_, {nullptr, 1}, CORVO_ANY, notes.callback()),
            CORVO_INVALID_ARGUMENT);
  EXPECT_EQ(corvo_client_check_flag(client_, CORVO_TEXT("on"), CORVO_ABSENT, notes.callback()),
            CORVO_INVALID_ARGUMENT);
  EXPECT_EQ(corvo_client_explain_flag(client_, CORVO_TEXT("on"), static_cast<corvo_form>(2),
                                      notes.callback()),
            CORVO_INVALID_ARGUMENT);
  EXPECT_EQ(notes.answers.size(), 2U);
  EXPECT_EQ(notes.destroyed, 6);
  // A callback without functions is skipped.
  EXPECT_EQ(corvo_client_project(client_, {}), CORVO_OK);
}

TEST_F(CClientTest, ACallbackMayAskAgainAndFreeTheClient) {
  Notes notes;
  notes.then = [&] {
    notes.then = nullptr;
    corvo_client_check_flag(client_, CORVO_TEXT("text"), CORVO_ANY, notes.callback());
    EXPECT_EQ(corvo_registry_remove_client(registry_, CORVO_TEXT("default")), CORVO_OK);
    EXPECT_EQ(corvo_client_free(client_), CORVO_OK);
  };
  corvo_client_check_flag(client_, CORVO_TEXT("on"), CORVO_ANY, notes.callback());
  caller_.fake.time->run();
  EXPECT_THAT(notes.answers, testing::ElementsAre("true", "Olá"));
  EXPECT_EQ(corvo_client_flags(client_, notes.callback()), CORVO_INVALID_HANDLE);
}

TEST_F(CClientTest, DropsTheQuestionsOfAReleasedClient) {
  caller_.holdsBack = true;
  Notes notes;
  corvo_client_flags(client_, notes.callback());
  ASSERT_EQ(corvo_client_flags(client_, corvo_reply_callback(reply_)), CORVO_OK);
  bool isReady = true;
  EXPECT_EQ(corvo_reply_is_ready(reply_, &isReady), CORVO_OK);
  EXPECT_FALSE(isReady);
  const corvo_answer* answer = nullptr;
  EXPECT_EQ(corvo_reply_wait(reply_, &answer), CORVO_PENDING) << "the queue is empty";
  // The reply belongs to its question until that ends.
  EXPECT_EQ(corvo_client_flags(client_, corvo_reply_callback(reply_)), CORVO_BUSY);
  corvo_registry_remove_client(registry_, CORVO_TEXT("default"));
  corvo_client_free(client_);
  ASSERT_EQ(caller_.heldBack.size(), 2U);
  for (corvo_exchange* const exchange : caller_.heldBack) {
    EXPECT_EQ(corvo_exchange_drop(exchange), CORVO_OK);
    EXPECT_EQ(corvo_exchange_drop(exchange), CORVO_INVALID_HANDLE);
  }
  EXPECT_EQ(notes.destroyed, 1);
  EXPECT_EQ(corvo_reply_is_ready(reply_, &isReady), CORVO_OK);
  EXPECT_TRUE(isReady);
  EXPECT_EQ(corvo_reply_wait(reply_, &answer), CORVO_DROPPED);
  EXPECT_TRUE(notes.answers.empty());
}

TEST_F(CClientTest, ARequestIsCompletedOnce) {
  caller_.holdsBack = true;
  Notes notes;
  corvo_client_flags(client_, notes.callback());
  ASSERT_EQ(caller_.heldBack.size(), 1U);
  corvo_response response{};
  EXPECT_EQ(corvo_exchange_complete(caller_.heldBack[0], &response), CORVO_INVALID_ARGUMENT);
  response.size = sizeof(corvo_response);
  response.status = 200;
  response.body = CORVO_TEXT("{");
  EXPECT_EQ(corvo_exchange_complete(caller_.heldBack[0], &response), CORVO_OK);
  EXPECT_EQ(corvo_exchange_complete(caller_.heldBack[0], &response), CORVO_INVALID_HANDLE);
  caller_.fake.time->run();
  EXPECT_THAT(notes.answers, testing::ElementsAre("error:requestConfigFailed"));
}

TEST_F(CClientTest, AReplyIsForOneQuestion) {
  const corvo_callback callback = corvo_reply_callback(reply_);
  ASSERT_EQ(corvo_client_flags(client_, callback), CORVO_OK);
  EXPECT_EQ(corvo_client_flags(client_, callback), CORVO_BUSY);
  struct Freed {
    corvo_reply* reply;
  } freed{reply_};
  const corvo_callback freeing{
      &freed,
      [](void* given, const corvo_answer*) { corvo_reply_free(static_cast<Freed*>(given)->reply); },
      nullptr};
  ASSERT_EQ(corvo_client_project(client_, freeing), CORVO_OK);
  caller_.fake.time->post([] {});
  const corvo_answer* answer = nullptr;
  while (corvo_reply_wait(reply_, &answer) == CORVO_OK) caller_.fake.time->run();
  EXPECT_EQ(corvo_reply_wait(reply_, &answer), CORVO_INVALID_HANDLE);
}

TEST_F(CClientTest, TellsWhyAFetchFailed) {
  caller_.fake.session->always("config.json", fakes::status(404));
  EXPECT_EQ(askFlag("on"), "error:requestConfigFailed");
  corvo_error error{};
  error.size = sizeof error;
  ASSERT_EQ(corvo_last_error(&error), CORVO_OK);
  EXPECT_EQ(error.network, CORVO_NETWORK_WRONG_STATUS_CODE);
  EXPECT_EQ(error.http_status, 404);
}

TEST_F(CClientTest, AnErrorsTextIsComplete) {
  std::string text;
  const corvo_callback note{&text,
                            [](void* to, const corvo_answer* answer) {
                              *static_cast<std::string*>(to) = viewOf(answer->error->text);
                            },
                            nullptr};
  const std::string name = "a" + std::string(1, '\0') + std::string(2000, 'b');
  EXPECT_EQ(corvo_client_check_flag(client_, textOf(name), CORVO_ANY, note), CORVO_OK);
  caller_.fake.time->run();
  EXPECT_EQ(text, "Corvo warn: Feature flag \"" + name + "\" not found");
}

// The library may hold a lock while it calls one.
TEST_F(CClientTest, FunctionsOfAPlatformMustNotUseAClient) {
  corvo_platform platform = caller_.functions();
  platform.destroy = nullptr;
  struct Inside {
    corvo_client* client;
    corvo_bytes* kept = nullptr;
    corvo_status status = CORVO_OK;
    corvo_status task = CORVO_OK;
  };
  static Inside inside;
  inside = {client_};
  platform.read = [](void*, corvo_text, corvo_text, corvo_bytes* value) {
    inside.kept = value;
    inside.status = corvo_client_clear_user_properties(inside.client);
    return true;
  };
  platform.post = [](void* context, corvo_task* task) {
    inside.task = corvo_task_run(task);
    CallerPlatform::of(context).fake.time->post([task] { corvo_task_run(task); });
  };
  corvo_registry* registry = nullptr;
  ASSERT_EQ(corvo_registry_create(nullptr, &platform, &registry), CORVO_OK);
  corvo_client_options given = options();
  corvo_client* client = nullptr;
  ASSERT_EQ(corvo_registry_initialize_client(registry, &given, &client), CORVO_OK);
  corvo_client_flags(client, {});
  EXPECT_EQ(inside.status, CORVO_BUSY);
  EXPECT_EQ(inside.task, CORVO_BUSY);
  EXPECT_EQ(corvo_bytes_set(inside.kept, CORVO_TEXT("late")), CORVO_INVALID_HANDLE);
  caller_.fake.time->run();
  corvo_client_free(client);
  corvo_registry_free(registry);
}

TEST_F(CClientTest, AReplyOwnsHandlesUntilItIsAsked) {
  const auto askForHandles = [&] {
    ASSERT_EQ(corvo_client_all_experiments(client_, corvo_reply_callback(reply_)), CORVO_OK);
    caller_.fake.time->run();
  };
  askForHandles();  // these are freed by the next use
  askForHandles();
  const corvo_answer* answer = nullptr;
  ASSERT_EQ(corvo_reply_wait(reply_, &answer), CORVO_OK);
  EXPECT_EQ(shown(*answer), "<quiet><page>-");
  ASSERT_EQ(corvo_reply_wait(reply_, &answer), CORVO_OK);
  EXPECT_EQ(answer->experiment_count, 0U) << "handed over once";
  askForHandles();
  corvo_reply* const last = reply_;
  EXPECT_EQ(corvo_reply_free(last), CORVO_OK);
  EXPECT_EQ(corvo_client_flags(client_, corvo_reply_callback(last)), CORVO_INVALID_HANDLE);
}

TEST_F(CClientTest, SetsProperties) {
  corvo_value gold{};
  gold.type = CORVO_STRING;
  gold.text = CORVO_TEXT("gold");
  corvo_value number{};
  number.type = CORVO_DOUBLE;
  number.number = 42;
  for (int i = CORVO_USER_ID; i <= CORVO_EMAIL; ++i) {
    const std::string value = std::to_string(i);
    EXPECT_EQ(corvo_user_set(ann_, static_cast<corvo_user_property>(i), textOf(value)), CORVO_OK);
  }
  EXPECT_EQ(corvo_user_set(ann_, CORVO_GEO_CITY, {}), CORVO_OK) << "removes it";
  EXPECT_EQ(corvo_user_set_custom(ann_, CORVO_TEXT("plan"), &gold), CORVO_OK);
  EXPECT_EQ(corvo_user_set_custom(ann_, CORVO_TEXT("age"), &number), CORVO_OK);
  corvo_text json{};
  ASSERT_EQ(corvo_user_describe(ann_, &json), CORVO_OK);
  EXPECT_THAT(std::string(viewOf(json)),
              HasSubstr(R"("properties":{"appVersion":"3","custom.age":"42.0",)"
                        R"("custom.plan":"gold","deviceId":"2","email":"10","geo.code":"6",)"
                        R"("geo.country":"7","geo.state":"8","os.name":"4","os.version":"5",)"
                        R"("profileId":"1","userId":"0"})"));
  // One day later by the platform's clock and zone, which is two hours east of UTC.
  EXPECT_THAT(std::string(viewOf(json)), HasSubstr(R"("userId":"2024-05-02 14:00:00")"));
  number.type = CORVO_ANY;
  EXPECT_EQ(corvo_user_set_custom(ann_, CORVO_TEXT("age"), &number), CORVO_INVALID_ARGUMENT);
  EXPECT_EQ(corvo_user_set(ann_, static_cast<corvo_user_property>(11), {}), CORVO_INVALID_ARGUMENT);
  EXPECT_EQ(corvo_user_restore(ann_, CORVO_TEXT("custom.\xFF"), CORVO_TEXT("\xE9t\xE9"),
                               CORVO_TEXT("\xC3")),
            CORVO_OK);
  ASSERT_EQ(corvo_user_describe(ann_, &json), CORVO_OK);
  EXPECT_THAT(std::string(viewOf(json)), HasSubstr("\"custom.\uFFFD\":\"\uFFFDt\uFFFD\""));
  EXPECT_THAT(std::string(viewOf(json)), HasSubstr("\"custom.\uFFFD\":\"\uFFFD\""));
}

TEST_F(CClientTest, SetsAndEditsTheStoredUser) {
  EXPECT_EQ(askFlag("mine"), "1");
  EXPECT_EQ(corvo_user_set(ann_, CORVO_USER_ID, CORVO_TEXT("bob")), CORVO_OK);
  EXPECT_EQ(corvo_client_set_user(client_, ann_), CORVO_OK);
  EXPECT_EQ(askFlag("mine"), "error:featureFlagRulesNotSatisfied");
  corvo_client* other = nullptr;  // another handle of the same client
  ASSERT_EQ(corvo_registry_get_client(registry_, {}, &other), CORVO_OK);
  struct Edited {
    corvo_client* other;
    corvo_user* user = nullptr;
    corvo_status elsewhere = CORVO_OK;
  } edited{other};
  const auto becomeAnn = [](void* context, corvo_user* user) {
    auto& noted = *static_cast<Edited*>(context);
    noted.user = user;
    std::thread([&] { noted.elsewhere = corvo_client_clear_user_properties(noted.other); }).join();
    return corvo_user_set(user, CORVO_USER_ID, CORVO_TEXT("ann")) == CORVO_OK;
  };
  EXPECT_EQ(corvo_client_edit_user_properties(client_, becomeAnn, &edited), CORVO_OK);
  EXPECT_EQ(edited.elsewhere, CORVO_BUSY);
  EXPECT_EQ(corvo_client_free(other), CORVO_OK);
  EXPECT_EQ(corvo_user_free(edited.user), CORVO_INVALID_HANDLE) << "valid during the call";
  EXPECT_EQ(askFlag("mine"), "1");
  const auto cancel = [](void*, corvo_user* user) {
    corvo_user_set(user, CORVO_USER_ID, {});
    return corvo_user_free(user) != CORVO_OK;
  };
  EXPECT_EQ(corvo_client_set_user_properties(client_, cancel, nullptr), CORVO_CANCELLED);
  EXPECT_EQ(askFlag("mine"), "1");
  EXPECT_EQ(corvo_client_edit_user_properties(client_, nullptr, nullptr), CORVO_INVALID_ARGUMENT);
  EXPECT_EQ(corvo_client_clear_user_properties(client_), CORVO_OK);
  EXPECT_EQ(askFlag("mine"), "error:featureFlagRulesNotSatisfied");
}

TEST_F(CClientTest, ClientsHaveOptionsTagsAndAStatus) {
  caller_.fake.goOffline();
  const auto requestsWith = [&](const char* tag, std::int64_t retries) {
    const std::size_t before = caller_.fake.session->requests().size();
    corvo_client_options given = options();
    given.tag = corvo_text_of(tag);
    given.retry_count = retries;
    corvo_client* const client = initialize(given);
    corvo_client_flags(client, {});
    caller_.fake.time->run();
    corvo_client_free(client);
    return caller_.fake.session->requests().size() - before;
  };
  EXPECT_EQ(requestsWith("a", 0), 3U);
  EXPECT_EQ(requestsWith("b", CORVO_NO_RETRIES), 1U);
  EXPECT_EQ(requestsWith("c", 4), 5U);

  corvo_client* client = nullptr;
  corvo_client_options given = options();
  EXPECT_EQ(corvo_registry_initialize_client(registry_, &given, &client),
            CORVO_INITIALIZATION_OF_EXISTING_CLIENT);
  given.retry_count = -7;
  EXPECT_EQ(corvo_registry_initialize_client(registry_, &given, &client), CORVO_INVALID_ARGUMENT);
  given = options();
  given.api_url = {};
  EXPECT_EQ(corvo_registry_initialize_client(registry_, &given, &client), CORVO_INVALID_ARGUMENT);
  given.size = 8;
  EXPECT_EQ(corvo_registry_initialize_client(registry_, &given, &client), CORVO_INVALID_ARGUMENT);
  ASSERT_EQ(corvo_registry_get_client(registry_, CORVO_TEXT("none"), &client), CORVO_OK);
  EXPECT_EQ(client, nullptr);
  ASSERT_EQ(corvo_registry_get_client(registry_, CORVO_TEXT("a"), &client), CORVO_OK);
  EXPECT_NE(client, nullptr);
  corvo_client_copies copies{};
  EXPECT_EQ(corvo_client_status(client, &copies), CORVO_INVALID_ARGUMENT);
  copies.size = sizeof copies;
  ASSERT_EQ(corvo_client_status(client, &copies), CORVO_OK);
  EXPECT_FALSE(copies.configuration.exists);
  EXPECT_EQ(corvo_client_free(client), CORVO_OK);
}

TEST_F(CClientTest, ReportsFreshCopies) {
  const double now = caller_.fake.time->now();
  EXPECT_EQ(askFlag("on"), "true");
  corvo_client_copies copies{};
  copies.size = sizeof copies;
  ASSERT_EQ(corvo_client_status(client_, &copies), CORVO_OK);
  EXPECT_TRUE(copies.configuration.exists && copies.location.exists);
  EXPECT_EQ(copies.configuration.stored_at, now);
  EXPECT_EQ(copies.location.fresh_until, now + 300);
}

// What the caller's services cannot do is the documented fallback or an error.
TEST_F(CClientTest, GoesOnWithAPlatformThatFails) {
  caller_.opens = false;
  corvo_client_options given = options();
  given.tag = CORVO_TEXT("closed");
  corvo_client_free(initialize(given));
  EXPECT_THAT(caller_.stored, testing::Each(testing::Key(testing::Not(HasSubstr("closed")))));
  caller_.opens = true;
  caller_.reads = caller_.writes = false;
  EXPECT_EQ(askFlag("on"), "true");
  caller_.isRandom = false;
  given.tag = CORVO_TEXT("no random");
  given.initial_user = nullptr;
  corvo_client* const client = initialize(given);
  EXPECT_EQ(ask([&](corvo_callback to) { return corvo_client_all_experiments(client, to); }),
            "refused:platformFailed");
  corvo_client_free(client);
}

TEST_F(CClientTest, AnotherRunFindsWhatIsStored) {
  EXPECT_EQ(askFlag("mine"), "1");
  caller_.fake.goOffline();
  corvo_client_free(client_);
  corvo_reply_free(reply_);
  corvo_registry_free(registry_);
  EXPECT_EQ(caller_.destroyed, 0) << "the user still has the clock";
  corvo_user_free(ann_);
  EXPECT_EQ(caller_.destroyed, 1) << "nothing uses the platform";
  caller_.destroyed = 0;
  const corvo_platform platform = caller_.functions();
  ASSERT_EQ(corvo_registry_create(nullptr, &platform, &registry_), CORVO_OK);
  corvo_client_options given = options();
  given.initial_user = nullptr;
  client_ = initialize(given);
  ASSERT_EQ(corvo_reply_create(client_, &reply_), CORVO_OK);
  EXPECT_EQ(askFlag("mine"), "1");
}

TEST(CPlatformTest, RefusesServicesThatLackAFunction) {
  using Remove = void (*)(corvo_platform&);
  const Remove removals[] = {
      [](corvo_platform& platform) { platform.zone_identifier = nullptr; },
      [](corvo_platform& platform) { platform.post = nullptr; },
      [](corvo_platform& platform) { platform.apply = nullptr; },
      [](corvo_platform& platform) { platform.read = nullptr, platform.apply = nullptr; },
  };
  int destroyed = 0;
  for (const Remove remove : removals) {
    CallerPlatform caller;
    corvo_platform platform = caller.functions();
    remove(platform);
    corvo_registry* registry = nullptr;
    EXPECT_EQ(corvo_registry_create(nullptr, &platform, &registry), CORVO_INVALID_ARGUMENT);
    destroyed += caller.destroyed;
  }
  EXPECT_EQ(destroyed, 4) << "the context of a refused platform";
  corvo_host_options host{};
  host.size = 1;
  CallerPlatform caller;
  const corvo_platform platform = caller.functions();
  corvo_registry* registry = nullptr;
  EXPECT_EQ(corvo_registry_create(&host, &platform, &registry), CORVO_INVALID_ARGUMENT);
}

/// The ready-made platform, with only the session of the caller.
class CMixedPlatformTest : public testing::Test {
 protected:
  void SetUp() override {
    caller_.fake.serve(fakes::project().flag("on", true));
    const corvo_platform all = caller_.functions();
    corvo_platform platform{};
    platform.size = sizeof platform;
    platform.context = all.context;
    platform.start = all.start;
    corvo_host_options host{};
    host.size = sizeof host;
    host.in_memory = true;
    const corvo_status status = corvo_registry_create(&host, &platform, &registry_);
    if (status == CORVO_UNAVAILABLE) GTEST_SKIP() << "this build has no ready-made platform";
    ASSERT_EQ(status, CORVO_OK);
    corvo_client_options options{};
    options.size = sizeof options;
    options.project_token = CORVO_TEXT("token");
    options.api_url = CORVO_TEXT("https://flags.example.com");
    EXPECT_EQ(corvo_registry_initialize_client(registry_, &options, &client_), CORVO_OK);
  }
  ~CMixedPlatformTest() override {
    corvo_client_free(client_);
    corvo_registry_free(registry_);
  }

  CallerPlatform caller_;
  corvo_registry* registry_ = nullptr;
  corvo_client* client_ = nullptr;
};

TEST_F(CMixedPlatformTest, RunsTheReadyMadeLoop) {
  struct Loop {
    int woken = 0;
    int destroyed = 0;
  } loop;
  ASSERT_EQ(corvo_registry_on_work(
                registry_, &loop, [](void* given) { ++static_cast<Loop*>(given)->woken; },
                [](void* given) { ++static_cast<Loop*>(given)->destroyed; }),
            CORVO_OK);
  corvo_status elsewhere = CORVO_OK;
  Notes notes;
  notes.then = [&] {
    std::thread([&] { elsewhere = corvo_registry_tick(registry_); }).join();
    corvo_registry_stop(registry_);
  };
  corvo_client_check_flag(client_, CORVO_TEXT("on"), CORVO_BOOLEAN, notes.callback());
  EXPECT_EQ(loop.woken, 1);
  bool busy = false;
  ASSERT_EQ(corvo_registry_busy(registry_, &busy), CORVO_OK);
  EXPECT_TRUE(busy);
  ASSERT_EQ(corvo_registry_run(registry_), CORVO_OK);
  EXPECT_THAT(notes.answers, testing::ElementsAre("true"));
  EXPECT_EQ(elsewhere, CORVO_BUSY) << "the loop runs on one thread";
  EXPECT_EQ(corvo_registry_on_work(registry_, nullptr, nullptr, nullptr), CORVO_OK);
  EXPECT_EQ(loop.destroyed, 1);
}

TEST_F(CMixedPlatformTest, WaitsForAnswersOnTheReadyMadeLoop) {
  corvo_reply* reply = nullptr;
  ASSERT_EQ(corvo_reply_create(client_, &reply), CORVO_OK);
  EXPECT_EQ(
      corvo_client_include_force(client_, CORVO_TEXT("none"), nullptr, corvo_reply_callback(reply)),
      CORVO_OK);
  const corvo_answer* answer = nullptr;
  EXPECT_EQ(corvo_reply_wait(reply, &answer), CORVO_EXPERIMENTS_EMPTY);
  corvo_reply_free(reply);
}

TEST_F(CMixedPlatformTest, AFreedRegistryEndsAllItsRuns) {
  struct Runs {
    corvo_registry* registry;
    int destroyed = 0;
  } runs{std::exchange(registry_, nullptr)};
  const auto post = [&](void (*task)(void*)) {
    ASSERT_EQ(corvo_registry_post(runs.registry, &runs, task,
                                  [](void* given) { ++static_cast<Runs*>(given)->destroyed; }),
              CORVO_OK);
  };
  post([](void* given) { corvo_registry_run(static_cast<Runs*>(given)->registry); });
  post([](void* given) { corvo_registry_free(static_cast<Runs*>(given)->registry); });
  EXPECT_EQ(corvo_registry_run(runs.registry), CORVO_OK);
  EXPECT_EQ(runs.destroyed, 2);
}

TEST_F(CClientTest, ARegistryWithoutTheReadyMadeLoopSaysSo) {
  bool busy = false;
  EXPECT_EQ(corvo_registry_run(registry_), CORVO_UNAVAILABLE);
  EXPECT_EQ(corvo_registry_tick(registry_), CORVO_UNAVAILABLE);
  EXPECT_EQ(corvo_registry_stop(registry_), CORVO_UNAVAILABLE);
  EXPECT_EQ(corvo_registry_busy(registry_, &busy), CORVO_UNAVAILABLE);
  int destroyed = 0;
  EXPECT_EQ(
      corvo_registry_on_work(
          registry_, &destroyed, [](void*) {}, [](void* count) { ++*static_cast<int*>(count); }),
      CORVO_UNAVAILABLE);
  EXPECT_EQ(destroyed, 1);
}

// Null handles, and handles of another type.
TEST_F(CClientTest, RefusesHandlesOfAnotherType) {
  bool flag = false;
  corvo_text text{};
  const corvo_answer* answer = nullptr;
  for (void* const handle : {static_cast<void*>(nullptr), static_cast<void*>(ann_),
                             static_cast<void*>(client_), static_cast<void*>(this)}) {
    auto* const registry = static_cast<corvo_registry*>(handle);
    auto* const reply = static_cast<corvo_reply*>(handle);
    const corvo_status statuses[] = {
        corvo_registry_free(registry),
        corvo_registry_run(registry),
        corvo_registry_remove_client(registry, CORVO_TEXT("default")),
        corvo_reply_free(reply),
        corvo_reply_is_ready(reply, &flag),
        corvo_reply_wait(reply, &answer),
        corvo_findings_json(static_cast<corvo_findings*>(handle), &text),
        corvo_exchange_drop(static_cast<corvo_exchange*>(handle)),
        corvo_task_run(static_cast<corvo_task*>(handle)),
        corvo_task_drop(static_cast<corvo_task*>(handle)),
    };
    EXPECT_THAT(statuses, testing::Each(CORVO_INVALID_HANDLE)) << handle;
  }
  EXPECT_EQ(corvo_client_clear_user_properties(reinterpret_cast<corvo_client*>(ann_)),
            CORVO_INVALID_HANDLE);
  EXPECT_EQ(corvo_user_free(reinterpret_cast<corvo_user*>(client_)), CORVO_INVALID_HANDLE);
  EXPECT_EQ(corvo_bytes_set(nullptr, text), CORVO_INVALID_HANDLE);
}

TEST(CLintTest, ListsFindings) {
  corvo_findings* findings = nullptr;
  ASSERT_EQ(corvo_lint(CORVO_TEXT("{\"a\": ]"), &findings), CORVO_OK);
  corvo_text json{};
  ASSERT_EQ(corvo_findings_json(findings, &json), CORVO_OK);
  EXPECT_THAT(std::string(viewOf(json)),
              HasSubstr(R"("offset":6,"pointer":"","severity":"error")"));
  EXPECT_EQ(corvo_findings_free(findings), CORVO_OK);
  EXPECT_EQ(corvo_findings_free(findings), CORVO_INVALID_HANDLE);
  EXPECT_EQ(corvo_lint(CORVO_TEXT("{}"), nullptr), CORVO_INVALID_ARGUMENT);
}

}  // namespace
}  // namespace corvo::corvo_internal::c
