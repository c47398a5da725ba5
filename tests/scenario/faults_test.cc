#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <corvo/host.h>
#include <curl/curl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <list>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/base/case_table.h"

namespace {
std::string authority;  // whose certificates libcurl trusts here
}  // namespace

// What the library calls as curl_easy_init.
extern "C" CURL* __real_curl_easy_init();
extern "C" CURL* __wrap_curl_easy_init() {
  CURL* const handle = __real_curl_easy_init();
  curl_blob trusted{authority.data(), authority.size(), CURL_BLOB_COPY};
  curl_easy_setopt(handle, CURLOPT_CAINFO_BLOB, &trusted);
  return handle;
}

namespace corvo {
namespace {

constexpr const char* kSuite = "storagetagtoken-of-the-test";

/// The server in its process: where it listens, and in the end what it heard.
class FaultServer {
 public:
  FaultServer() {
    int toServer[2];
    int fromServer[2];
    if (pipe(toServer) != 0 || pipe(fromServer) != 0) throw std::runtime_error("no pipe");
    process_ = fork();
    if (process_ == 0) {
      dup2(toServer[0], STDIN_FILENO);
      dup2(fromServer[1], STDOUT_FILENO);
      close(toServer[1]);
      execl(CORVO_FAULT_SERVER, CORVO_FAULT_SERVER, CORVO_FAULTS "fault_replies.txt", nullptr);
      _exit(1);
    }
    close(toServer[0]);
    close(fromServer[1]);
    input_ = toServer[1];
    output_ = fdopen(fromServer[0], "r");
    for (std::string text = line(); !text.empty(); text = line()) {
      const std::size_t blank = text.find(' ');
      ports_[text.substr(0, blank)] = text.substr(blank + 1);
    }
    for (std::string text = line(); !text.empty(); text = line()) authority += text + '\n';
  }

  [[nodiscard]] std::string address(const std::string& listener) const {
    return "127.0.0.1:" + ports_.at(listener);
  }

  /// Ends it.
  std::vector<std::string> heard() {
    close(input_);
    std::vector<std::string> lines;
    for (std::string text = line(); !text.empty(); text = line()) lines.push_back(text);
    fclose(output_);
    waitpid(process_, nullptr, 0);
    return lines;
  }

 private:
  std::string line() {
    std::string text;
    for (int c = getc(output_); c != EOF && c != '\n'; c = getc(output_))
      text += static_cast<char>(c);
    return text;
  }

  pid_t process_ = -1;
  int input_ = -1;
  FILE* output_ = nullptr;
  std::map<std::string, std::string> ports_;
};

/// A platform whose store holds what an earlier run fetched, and asks the network no more.
struct Past : fakes::FakePlatform {
  Past() {
    session->always("config.json", fakes::ok(R"({"feature_flags": [{"name": "f", "type": "string",
        "rules": [{"is_default": false, "value": "new", "conditional_statement": "AND",
                   "conditions": [{"name": "geo.country", "condition_sign": "equal",
                                   "value": "NEW"}]},
                  {"is_default": true, "value": "old", "conditional_statement": "-",
                   "conditions": []}]}]})"));
    session->always("geo", fakes::ok(R"({"country": "OLD"})"));
    ClientRegistry registry(platform());
    const auto client =
        registry.initializeClient("token-of-the-test", std::nullopt, "https://a", 60, 0, "tag");
    EXPECT_EQ(client->checkFlag<std::string>("f").get(), "old");
    session->always("config.json", fakes::failure());
    session->always("geo", fakes::failure());
  }
};

std::string told(const CorvoNetworkError& error) {
  if (const auto* wrong = error.as<CorvoNetworkError::WrongStatusCode>()) {
    return std::to_string(wrong->statusCode);
  }
  return error.as<CorvoNetworkError::NoData>() != nullptr          ? "noData"
         : error.as<CorvoNetworkError::DecodingError>() != nullptr ? "decodingError"
                                                                   : error.description();
}

/// The error that a route's failure must reach the application as, without its wrapping.
std::string told(const CorvoError& error, const std::string& route) {
  const auto* config = error.as<CorvoError::RequestConfigFailed>();
  const auto* location = error.as<CorvoError::RequestLocationFailed>();
  if (config != nullptr && route == "config") return told(config->error);
  if (location != nullptr && route == "geo") return told(location->error);
  return error.which() == CorvoError::Case::featureFlagNotFound ? "notFound" : error.description();
}

/// One question of one client with a store of its own.
struct Question {
  std::string what, listener, apiURL, route, expected;
  std::shared_ptr<fakes::MemoryPreferencesStore> store;
  std::map<std::string, std::string> before;
  std::unique_ptr<ClientRegistry> registry;
  std::shared_ptr<CorvoClient> client;
  std::string answer;
  int requests = 0;

  void ask(Platform platform) {
    platform.preferencesStore = store;
    registry = std::make_unique<ClientRegistry>(platform);
    client = registry->initializeClient("token-of-the-test", std::nullopt, apiURL, 60, 1, "tag");
    answer.clear();
    client->checkFlag<std::string>(
        "f", [this](auto value) { answer += value.value_or("(none)"); },
        [this](const CorvoError& error) { answer += told(error, route); });
  }
};

class FaultsTest : public testing::Test {
 protected:
  /// A store as the earlier run left it, but for the copy of one route.
  std::shared_ptr<fakes::MemoryPreferencesStore> storeWith(const std::string& copy,
                                                           const std::string& slot) const {
    auto store = std::make_shared<fakes::MemoryPreferencesStore>(*past_.store);
    const std::string value = slot + ".value";
    const std::string blob = past_.store->contents(kSuite).at(value);
    std::vector<PreferencesChange> changes;
    if (copy == "nothing") changes = {{value, {}}, {slot + ".update_time", {}}};
    if (copy == "expired") changes = {{slot + ".update_time", "0"}};  // 2001
    if (copy == "corrupt") changes = {{value, blob.substr(0, blob.size() / 2)}};
    store->open(kSuite)->apply(changes);
    return store;
  }

  void readTables() {
    std::map<std::string, std::pair<std::string, bool>> places;
    for (const auto& [fault, where, head, body, then] :
         tests::caseTable<5>(CORVO_FAULTS "fault_replies.txt")) {
      places[fault] = {where, then == "hang" || then.starts_with("drip")};
    }
    const char* const copies[] = {"nothing", "fresh", "expired", "corrupt"};
    for (const auto& row : tests::caseTable<6>(CORVO_FAULTS "faults.txt")) {
      const auto& [where, isSlow] = places.at(row[0]);
      const std::size_t blank = where.find(' ');
      for (std::size_t i = 0; i < 4; ++i) {
        Question& question = (isSlow ? slow_ : quick_).emplace_back();
        question.what = row[0] + ' ' + row[1] + ' ' + copies[i];
        question.listener = where.substr(blank + 1);
        question.apiURL = where.substr(0, blank) + "://" + server_.address(question.listener) +
                          "/" + std::to_string(all_.size()) + "/" + row[0];
        question.route = row[1];
        question.expected = row[2 + i];
        question.store = storeWith(copies[i], row[1] == "geo" ? "location" : "config");
        question.before = question.store->contents(kSuite);
        all_.push_back(&question);
      }
    }
  }

  void askAll(std::list<Question>& questions, const Host& host) {
    Platform platform = host.platform;
    platform.clock = past_.time;
    for (Question& question : questions) question.ask(platform);
    const auto isWaiting = [](const Question& question) { return question.answer.empty(); };
    EXPECT_TRUE(host.loop->runUntil(
        [&] { return std::none_of(questions.begin(), questions.end(), isWaiting); }));
  }

  /// Only the listeners that a question is for may hear it, and no other hears its secrets.
  void countRequests() {
    const std::string identifier =
        past_.store->contents(kSuite).at("corvoPrivateId.value").substr(1, 80);
    for (const std::string& line : server_.heard()) {
      std::istringstream words(line);
      std::string listener, method, path;
      words >> listener >> method >> path;
      const std::size_t row = path.size() > 1 ? std::stoul("0" + path.substr(1)) : all_.size();
      const bool isRight = method == "GET" && row < all_.size() &&
                           (listener == all_[row]->listener || listener == "secure");
      EXPECT_EQ(line.find("~token: token-of-the-test~") < line.size(), isRight) << line;
      EXPECT_EQ(line.find("~user-id: " + identifier + "~") < line.size(), isRight) << line;
      if (isRight) ++all_[row]->requests;
    }
  }

  void check(Question& question) {
    const auto after = question.store->contents(kSuite);
    const std::string answer = question.answer;
    const bool isKept = after == question.before;
    EXPECT_EQ(answer + ' ' + std::to_string(question.requests) + (isKept ? " kept" : " stored"),
              question.expected)
        << question.what;

    question.ask(past_.platform());  // the application started anew, without a network
    past_.time->run();
    const bool servesAgain = !isKept || question.what.ends_with("fresh");
    EXPECT_EQ(question.answer, servesAgain ? answer : "noData") << question.what;
  }

  FaultServer server_;
  const Past past_;
  std::list<Question> slow_, quick_;
  std::vector<Question*> all_;
};

TEST_F(FaultsTest, CostAnAnswerAtMost) {
  setenv("no_proxy", "127.0.0.1,localhost", 1);
  readTables();
  constexpr std::size_t kMostBytes = 65'536;
  askAll(slow_, makeHost({.inMemory = true,
                          .timeoutSeconds = 0.2,
                          .transferSeconds = 0.5,
                          .maxBodyBytes = kMostBytes}));
  askAll(quick_, makeHost({.inMemory = true, .maxBodyBytes = kMostBytes}));
  countRequests();
  for (Question* question : all_) check(*question);
  EXPECT_GE(all_.size(), 300U);
}

}  // namespace
}  // namespace corvo
