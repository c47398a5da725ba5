// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <cctype>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

#include "base/number.h"
#include "model/codec.h"
#include "tests/base/case_table.h"
#include "tests/client/client_fixture.h"

// Sequences of what applications do and see: see sessions.txt.

namespace corvo {

using namespace corvo_internal;

namespace {

std::string shown(const std::optional<std::string>& text) { return text.value_or("(none)"); }

std::string shown(const std::map<std::string, std::string>& values) {
  std::string text;
  for (const auto& [name, value] : values) text += (text.empty() ? "" : " ") + name + "=" + value;
  return text;
}

std::string shown(const FlagReport& report) {
  std::map<std::string, std::string> texts;
  for (const auto& [name, value] : report) {
    const bool* const on = std::get_if<bool>(&value);
    texts[name] = on == nullptr ? std::get<std::string>(value) : *on ? "true" : "false";
  }
  return shown(texts);
}

std::string shown(const std::vector<CorvoExperimentDetail>& details) {
  std::string text;
  for (const auto& [type, id, group, results] : details) {
    text += (text.empty() ? "" : ", ") + type.value_or("-") + " " + id + "." +
            std::to_string(group.index);
    for (const auto& [name, value] : results) text.append(" ").append(name + "=" + value);
  }
  return text;
}

std::string shown(const std::vector<CorvoExperimentPointer>& list) {
  std::string text;
  for (const auto& each : list) {
    text += (text.empty() ? "" : " ") + each->name() + "=" + std::to_string(*each->groupIndex());
  }
  return text;
}

std::string shown(const CorvoExperimentPointer& experiment) {
  if (!experiment) return "(none)";
  return experiment->name() + " " + *experiment->userGroupName() + " " +
         std::to_string(*experiment->groupIndex());
}

/// The texts before and after the mark; without the mark, the whole text and an empty one.
std::pair<std::string, std::string> parts(const std::string& text, const std::string& mark) {
  const std::size_t at = std::min(text.find(mark), text.size());
  return {text.substr(0, at), text.substr(std::min(at + mark.size(), text.size()))};
}

fakes::Reply reply(const std::string& text) {
  if (text.starts_with("after ")) {
    const auto [seconds, later] = parts(text.substr(6), " ");
    return fakes::after(std::stod(seconds), reply(later));
  }
  if (text == "failure") return fakes::failure();
  if (text.ends_with(".json")) return fakes::ok(tests::contentsOf(CORVO_CLIENT_CASES + text));
  return std::isdigit(text.front()) != 0 ? fakes::status(std::stoi(text), "{}") : fakes::ok(text);
}

/// Sets properties such as "userId=u, plan=gold". A name without its own setter becomes a custom
/// property.
void put(CorvoUser::Builder& user, const std::string& properties) {
  using Builder = CorvoUser::Builder;
  static const std::map<std::string, Builder& (Builder::*)(OptionalText)> kSetters{
      {"userId", &Builder::setUserId},      {"profileId", &Builder::setProfileId},
      {"deviceId", &Builder::setDeviceId},  {"appVersion", &Builder::setAppVersion},
      {"os.name", &Builder::setOsName},     {"geo.country", &Builder::setGeoCountry},
      {"geo.state", &Builder::setGeoState}, {"geo.city", &Builder::setGeoCity},
      {"email", &Builder::setEmail}};
  std::istringstream words(properties);
  for (std::string word; std::getline(words >> std::ws, word, ',');) {
    const auto [name, value] = parts(word, "=");
    if (const auto setter = kSetters.find(name); setter != kSetters.end()) {
      (user.*setter->second)(value);
    } else {
      user.setCustomProperty(value, name);
    }
  }
}

struct Session {
  std::string name;
  std::vector<std::string> steps;
};
void PrintTo(const Session& session, std::ostream* out) { *out << session.name; }

/// The sessions of a file, with their definitions expanded.
std::vector<Session> readSessions(const std::string& name, const std::string& failing) {
  std::vector<Session> sessions;
  std::vector<std::pair<std::string, std::string>> definitions{{"$FAILING", failing}};
  std::ifstream file(CORVO_CLIENT_CASES + name + ".txt");
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.front() == '#') continue;
    for (const auto& [what, text] : definitions) tests::replaceAll(line, what, text);
    if (line.front() == '$') {
      definitions.push_back(parts(line, " = "));
    } else if (line.starts_with("== ")) {
      std::string title = name + failing + line;
      std::erase_if(title, [](char c) { return std::isalnum(c) == 0; });
      sessions.push_back({title, {}});
    } else {
      sessions.back().steps.push_back(line);
    }
  }
  if (sessions.empty()) throw std::runtime_error("no sessions in " + name);
  return sessions;
}

class SessionTest : public ClientTest, public testing::WithParamInterface<Session> {
 protected:
  using Text = const std::string&;

  /// Runs a step such as "flag on -> true". Expects the result after the arrow, or an empty one.
  void take(Text step) {
    const auto [done, expected] = parts(step, " ->");
    const auto [verb, about] = parts(done, " ");
    const auto act = kActs.find(verb);
    std::string seen;
    try {
      if (act != kActs.end()) {
        act->second(*this, tests::field(about));
      } else {
        seen = kQuestions.at(verb)(*this, tests::field(about));
      }
    } catch (const CorvoError& error) {
      seen = error.description();
    }
    EXPECT_EQ(seen, tests::field(expected)) << step;
  }

 private:
  using Self = SessionTest&;
  using Act = std::function<void(Self, Text)>;
  using Question = std::function<std::string(Self, Text)>;
  static const std::map<std::string, Act> kActs;
  static const std::map<std::string, Question> kQuestions;

  void start(Text about) {
    std::optional<CorvoUser> user;
    if (about.starts_with('{')) {
      user = std::get<CorvoUser>(model::decodeJson<CorvoUser>(about));
    } else if (!about.empty()) {
      CorvoUser::Builder builder(fake.time, fake.timeZone);
      put(builder, about);
      user = builder.build();
    }
    process->removeClient(tag);
    client = process->initializeClient(token, user, "https://flags.example.com", cacheTTL,
                                       retryCount, tag);
  }

  /// The forced lists of the first experiment and then of its groups, as stored.
  std::string lists() const {
    const std::string config = stored("config.value");
    std::string found;
    for (std::size_t at = 0, n = 0; n < 3; ++n) {
      at = config.find("\"forced_user_list\":", at) + 19;
      const std::size_t end = config.find(']', at) + 1;
      found.insert(n == 2 ? 0 : found.size(), config.substr(at, end - at));
    }
    return found;  // groups are written before the experiment's own list
  }

  std::optional<ClientRegistry> process{std::in_place, fake.platform()};
  std::shared_ptr<CorvoClient> client;
  CorvoExperimentPointer held;
  std::string tag = "tag";
  std::string token = "token";
  std::uint64_t cacheTTL = 10;
  std::uint64_t retryCount = 0;
};

const std::map<std::string, SessionTest::Act> SessionTest::kActs{
    {"config", [](Self s, Text text) { s.fake.session->always("config.json", reply(text)); }},
    {"geo", [](Self s, Text text) { s.fake.session->always("geo", reply(text)); }},
    {"next-config", [](Self s, Text text) { s.fake.session->next("config.json", reply(text)); }},
    {"next-geo", [](Self s, Text text) { s.fake.session->next("geo", reply(text)); }},
    {"advance", [](Self s, Text seconds) { s.fake.time->advance(std::stod(seconds)); }},
    {"clock", [](Self s, Text moment) { s.fake.time->set(base::parseDouble(moment).value()); }},
    {"zone",
     [](Self s, Text about) {
       std::istringstream numbers(about);
       std::int32_t offset = 0;
       numbers >> offset;
       fakes::FakeTimeZone::Transitions transitions;
       for (std::int64_t moment = 0; numbers >> moment;) numbers >> transitions[moment];
       s.fake.timeZone->change(offset, transitions);
     }},
    {"device",
     [](Self s, Text id) {
       s.fake.device->vendor = id == "(none)" ? std::nullopt : std::optional(id);
     }},
    {"fail",
     [](Self s, Text what) {
       s.fake.store->failOpening(what.find("opening") < what.size());
       s.fake.store->failReading(what.find("reading") < what.size());
       s.fake.store->failWriting(what.find("writing") < what.size());
     }},
    {"store",
     [](Self s, Text record) {
       const auto [key, value] = parts(record, " ");
       const PreferencesChange change{key, value};
       s.fake.store->open("storagetagtoken")->apply({&change, 1});
     }},
    {"cacheTTL", [](Self s, Text seconds) { s.cacheTTL = std::stoull(seconds); }},
    {"retryCount", [](Self s, Text count) { s.retryCount = std::stoull(count); }},
    {"as",
     [](Self s, Text names) {
       std::tie(s.tag, s.token) = parts(names, " ");
       s.client = s.process->getClient(s.tag);
     }},
    {"start", [](Self s, Text user) { s.start(user); }},
    {"restart",
     [](Self s, Text user) {
       s.client.reset();
       s.process.emplace(s.fake.platform());
       s.start(user);
     }},
    {"release",
     [](Self s, Text) {
       s.client.reset();
       s.process->removeClient(s.tag);
     }},
    {"user",
     [](Self s, Text user) {
       s.client->setUser(std::get<CorvoUser>(model::decodeJson<CorvoUser>(user)));
     }},
    {"set", [](Self s, Text user) { s.client->setUserProperties([&](auto& b) { put(b, user); }); }},
    {"edit",
     [](Self s, Text edit) {
       auto [user, meanwhile] = parts(edit, " while ");
       tests::replaceAll(meanwhile, "=>", "->");
       std::istringstream steps(meanwhile);
       s.client->editUserProperties([&, &properties = user](auto& builder) {
         put(builder, properties);
         for (std::string step; std::getline(steps >> std::ws, step, ';');) s.take(step);
       });
     }},
    {"begin", [](Self s, Text f) { s.client->checkFlag<bool>(f, nullptr); }},
    {"clear", [](Self s, Text) { s.client->clearUserProperties(); }},
    {"include",
     [](Self s, Text about) {
       const auto [name, index] = parts(about, " ");
       if (index.empty()) return s.client->includeForce(name).get();
       index[0] == '-' ? s.client->includeForce(name, std::stoll(index)).get()
                       : s.client->includeForce(name, std::stoull(index)).get();
     }},
    {"hold", [](Self s, Text name) { s.held = s.client->getExperiment(name).get(); }},
    {"exclude", [](Self s, Text name) { s.client->excludeForce(name).get(); }},
    {"exclude-all", [](Self s, Text) { s.client->excludeForceAll().get(); }},
};

const std::map<std::string, SessionTest::Question> SessionTest::kQuestions{
    {"flag", [](Self s, Text f) { return shown(s.client->checkFlag<std::string>(f).get()); }},
    {"why",
     [](Self s, Text n) {
       const Explanation why = s.client->explainExperiment(n).get();
       return why.error ? why.error->description() : shown(why.value);
     }},
    {"number",
     [](Self s, Text f) {
       const auto number = s.client->checkFlag<std::int64_t>(f).get();
       return number ? std::to_string(*number) : "(none)";
     }},
    {"flags", [](Self s, Text) { return shown(s.client->getUserFeatureFlagsDetails().get()); }},
    {"text", [](Self s, Text) { return shown(s.client->getAllUserExperimentsText().get()); }},
    {"text-alone",
     [](Self s, Text) { return shown(s.client->getAllUserExperimentsText(false).get()); }},
    {"list", [](Self s, Text) { return shown(s.client->getAllUserExperiments().get()); }},
    {"holdouts", [](Self s, Text) { return shown(s.client->getAllUserHoldouts().get()); }},
    {"holdout", [](Self s, Text n) { return s.client->getHoldout(n).get() ? "yes" : "no"; }},
    {"experiment", [](Self s, Text n) { return shown(s.client->getExperiment(n).get()); }},
    {"feature",
     [](Self s, Text n) {
       return shown(s.client->getExperiment(parts(n, "/").first)
                        .get()
                        ->getFeatureValue<std::string>(parts(n, "/").second));
     }},
    {"param",
     [](Self s, Text n) {
       return shown(s.client->getExperiment(parts(n, "/").first)
                        .get()
                        ->getParamValue<std::string>(parts(n, "/").second));
     }},
    {"held", [](Self s, Text n) { return shown(s.held->getFeatureFlagValue<std::string>(n)); }},
    {"details", [](Self s, Text) { return shown(s.client->getUserExperimentsDetails().get()); }},
    {"details-alone",
     [](Self s, Text) { return shown(s.client->getUserExperimentsDetails(false).get()); }},
    {"stored", [](Self s, Text key) { return s.stored(key).empty() ? "(none)" : s.stored(key); }},
    {"lists", [](Self s, Text) { return s.lists(); }},
    {"requests",
     [](Self s, Text) {
       return std::to_string(s.configRequests()) + " " + std::to_string(s.geoRequests());
     }},
    {"sent", [](Self s, Text name) { return s.fake.session->requests().back().headers.at(name); }},
};

TEST_P(SessionTest, RunsAsWritten) {
  for (const std::string& step : GetParam().steps) take(step);
}

std::vector<Session> allSessions() {
  std::vector<Session> all;
  for (const std::string source :
       {"sessions", "experiments", "forcing", "shop", "expiries", "days", "outages opening",
        "outages reading", "outages reading writing"}) {
    const auto [file, failing] = parts(source, " ");
    for (Session& session : readSessions(file, failing)) all.push_back(std::move(session));
  }
  return all;
}
INSTANTIATE_TEST_SUITE_P(Of, SessionTest, testing::ValuesIn(allSessions()),
                         [](const auto& session) { return session.param.name; });

// Entries of one name, of which the first has a mebibyte that all of them show.
TEST_F(ClientTest, ShowsSixtyFourMebibytesOfRepeatedValuesAtMost) {
  const auto client =
      makeClient(0, CorvoUser::Builder(fake.time, fake.timeZone).setUserId("u").build());
  for (const auto& [list, before, after] : tests::caseTable<3>(CORVO_CLIENT_CASES "repeated.txt")) {
    std::string document = list + before + std::string(std::size_t{1} << 20, 'v') + after;
    for (int repeated = 0; repeated < 64; ++repeated) document.append(",").append(before + after);
    fake.time->advance(100);
    fake.session->always("config.json", fakes::ok(document + "]}]}"));
    EXPECT_EQ(client->getUserExperimentsDetails().get().at(0).results.size(), 65U) << list;
    fake.time->advance(100);
    fake.session->always("config.json", fakes::ok(document + "," + before + after + "]}]}"));
    EXPECT_THROW(client->getUserExperimentsDetails().get(), CorvoError) << list;
  }
}

}  // namespace
}  // namespace corvo
