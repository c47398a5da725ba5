// SPDX-License-Identifier: Apache-2.0

#include <corvo/client_registry.h>
#include <corvo/fakes.h>
#include <corvo/host.h>
#include <curl/curl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/base/case_table.h"
#include "tests/scenario/tls.h"

namespace {
std::string authority;      // libcurl trusts its certificates here
int handlesToWithhold = 0;  // how many handles fail for lack of memory
}  // namespace

// Replaces curl_easy_init for the library.
extern "C" CURL* __real_curl_easy_init();
extern "C" CURL* __wrap_curl_easy_init() {
  if (handlesToWithhold > 0) {
    --handlesToWithhold;
    return nullptr;
  }
  CURL* const handle = __real_curl_easy_init();
  curl_blob trusted{authority.data(), authority.size(), CURL_BLOB_COPY};
  curl_easy_setopt(handle, CURLOPT_CAINFO_BLOB, &trusted);
  return handle;
}

namespace corvo {
namespace {

using tests::Certificate;
using tests::LoopbackServer;
using tests::RawReply;
using tests::Stream;

constexpr const char* kSuite = "storagetagtoken-of-the-test";

/// A fault of a server, and its place: see the table.
struct Fault {
  std::string scheme, place, head, body, then, more;
};

std::map<std::string, Fault> readFaults() {
  std::map<std::string, Fault> faults;
  for (const auto& [fault, scheme, place, head, body, then, more] :
       tests::caseTable<7>(CORVO_FAULTS "fault_replies.txt")) {
    faults[fault] = {scheme, place, head, body, then, more};
  }
  return faults;
}
const std::map<std::string, Fault> kFaults = readFaults();

/// The faulty servers, one for each place.
class FaultServers {
 public:
  FaultServers() {
    const Certificate signer = tests::makeAuthority();
    authority = signer.pem();
    const auto show = [&](const char* place, const char* subject, long days, const auto* issuer) {
      serve(place, tests::overTls(tests::makeCertificate(subject, days * tests::kDay, issuer)));
    };
    show("secure", "IP:127.0.0.1", 1, &signer);
    show("cut", "IP:127.0.0.1", 1, &signer);
    show("expired", "IP:127.0.0.1", -1, &signer);
    show("stranger", "DNS:other.example", 1, &signer);
    show("selfsigned", "IP:127.0.0.1", 1, static_cast<const Certificate*>(nullptr));
    serve("reset", [](int socket) { return Stream(socket).reset(), nullptr; });
    addresses["refused"] = "127.0.0.1:1";
    serve("other");
    for (const auto& [name, fault] : kFaults) {
      if (!addresses.contains(fault.place)) serve(fault.place);
    }
    for (auto& [place, server] : servers) {
      server.say([this](const std::string& request) { return replyTo(request); });
    }
  }

  std::map<std::string, std::string> addresses;
  std::map<std::string, LoopbackServer> servers;

 private:
  void serve(const std::string& place, LoopbackServer::Open open = LoopbackServer::plainly) {
    const auto& server = servers.try_emplace(place, LoopbackServer::Script(), open).first->second;
    addresses[place] = "127.0.0.1:" + server.port();
  }

  /// The reply to a request for "/row/fault/route".
  [[nodiscard]] RawReply replyTo(const std::string& request) const {
    const std::string path = request.substr(0, request.find(" HTTP/")).substr(4);
    const std::size_t route = path.rfind('/');
    const std::size_t name = path.rfind('/', route - 1) + 1;
    const Fault& fault = kFaults.at(path.substr(name, route - name));
    return tests::rawReply(written(fault.head, path), written(fault.body, path), fault.then,
                           written(fault.more, path));
  }

  /// Expands the placeholders of the table, which describes them.
  [[nodiscard]] std::string written(std::string text, const std::string& path) const {
    const std::string route = path.substr(path.rfind('/') + 1);
    const std::string good = tests::contentsOf(
        CORVO_FAULTS + std::string(route == "geo" ? "new_geo" : "new_config") + ".json");
    for (const auto& [place, address] : addresses) {
      tests::replaceAll(text, '<' + place + '>', address);
    }
    const std::pair<std::string, std::string> marks[] = {
        {"<here>", path},
        {"<route>", route},
        {"<row>", path.substr(0, path.find('/', 1))},
        {"#", (std::ostringstream() << std::hex << good.size()).str()},
        {"%", good.substr(1)},
        {"$", good}};
    for (const auto& [mark, text_] : marks) tests::replaceAll(text, mark, text_);
    return text;
  }
};

/// A platform whose store contains what an earlier run fetched. It sends no more requests.
struct Past : fakes::FakePlatform {
  Past() {
    session->always("config.json", fakes::ok(tests::contentsOf(CORVO_FAULTS "old_config.json")));
    session->always("geo", fakes::ok(R"({"country": "OLD"})"));
    ClientRegistry registry(platform());
    const auto client =
        registry.initializeClient("token-of-the-test", std::nullopt, "https://a", 60, 0, "tag");
    EXPECT_EQ(client->checkFlag<std::string>("f").get(), "old");
    session->always("config.json", fakes::failure());
    session->always("geo", fakes::failure());
  }
};

std::string described(const CorvoNetworkError& error) {
  if (const auto* wrong = error.as<CorvoNetworkError::WrongStatusCode>()) {
    return std::to_string(wrong->statusCode);
  }
  return error.as<CorvoNetworkError::NoData>() != nullptr          ? "noData"
         : error.as<CorvoNetworkError::DecodingError>() != nullptr ? "decodingError"
                                                                   : error.description();
}

/// The error that the application must receive if a route fails, without its wrapping.
std::string described(const CorvoError& error, const std::string& route) {
  const auto* config = error.as<CorvoError::RequestConfigFailed>();
  const auto* location = error.as<CorvoError::RequestLocationFailed>();
  if (config != nullptr && route == "config") return described(config->error);
  if (location != nullptr && route == "geo") return described(location->error);
  return error.which() == CorvoError::Case::featureFlagNotFound ? "notFound" : error.description();
}

/// One question to one client with its own store.
struct Question {
  std::string what, place, apiURL, route, expected;
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
        [this](const CorvoError& error) { answer += described(error, route); });
  }
};

class FaultsTest : public testing::Test {
 protected:
  /// A store as the earlier run left it, except for the copy of one route.
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
    const char* const copies[] = {"nothing", "fresh", "expired", "corrupt"};
    for (const auto& row : tests::caseTable<6>(CORVO_FAULTS "faults.txt")) {
      const Fault& fault = kFaults.at(row[0]);
      const bool isSlow = fault.then == "hang" || fault.then == "drip";
      for (std::size_t i = 0; i < 4; ++i) {
        Question& question = (isSlow ? slow_ : quick_).emplace_back();
        question.what = row[0] + ' ' + row[1] + ' ' + copies[i];
        question.place = fault.place;
        question.apiURL = fault.scheme + "://" + servers_.addresses.at(fault.place) + "/" +
                          std::to_string(all_.size()) + "/" + row[0];
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

  /// Only the places that a question needs may receive requests, and no others receive its secrets.
  void countRequests() {
    const std::string identifier =
        past_.store->contents(kSuite).at("corvoPrivateId.value").substr(1, 80);
    for (const auto& [place, server] : servers_.servers) {
      for (const auto& [head, connection] : server.requests()) {
        const std::size_t row =
            head.starts_with("GET /") ? std::stoul("0" + head.substr(5)) : all_.size();
        const bool isRight = row < all_.size() && (place == all_[row]->place || place == "secure");
        EXPECT_EQ(head.find("\r\ntoken: token-of-the-test\r\n") < head.size(), isRight) << head;
        EXPECT_EQ(head.find("\r\nuser-id: " + identifier + "\r\n") < head.size(), isRight) << head;
        if (isRight) ++all_[row]->requests;
      }
    }
  }

  void check(Question& question) {
    const auto after = question.store->contents(kSuite);
    const std::string answer = question.answer;
    const bool isKept = after == question.before;
    EXPECT_EQ(answer + ' ' + std::to_string(question.requests) + (isKept ? " kept" : " stored"),
              question.expected)
        << question.what;

    question.ask(past_.platform());  // the application restarts without a network
    past_.time->run();
    const bool servesAgain = !isKept || question.what.ends_with("fresh");
    EXPECT_EQ(question.answer, servesAgain ? answer : "noData") << question.what;
  }

  FaultServers servers_;
  const Past past_;
  std::list<Question> slow_, quick_;
  std::vector<Question*> all_;
};

TEST_F(FaultsTest, CostAnAnswerAtMost) {
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

TEST(WithheldHandleTest, FailsOneTransferAndTakesNoPlaceInTheQueue) {
  const LoopbackServer silent;
  const Host host = makeHost({.inMemory = true});
  std::vector<int> ended;
  const auto ask = [&](int number, double timeoutSeconds) {
    host.platform.urlSession->start(
        {"GET", silent.url("/"), {}, timeoutSeconds}, [&ended, number](UrlResponse came) {
          EXPECT_EQ(came.failure == "the transfer could not be prepared", number < 6)
              << *came.failure;
          ended.push_back(number);
        });
    host.loop->tick();
  };
  ask(7, 1);
  handlesToWithhold = 5;
  for (int number = 1; number <= 6; ++number) ask(number, 0.1);
  EXPECT_TRUE(host.loop->runUntil([&] { return ended.size() == 7; }));
  EXPECT_EQ(ended, (std::vector{1, 2, 3, 4, 5, 6, 7}));
}

}  // namespace
}  // namespace corvo
