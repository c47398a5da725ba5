// Whole clients, used as the bytes say, by an application that does whatever may be done: on a
// backend, a store, a clock and a zone that do whatever may happen.

#include <corvo/client_registry.h>
#include <corvo/fakes.h>

#include <array>
#include <coroutine>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "fuzz/agreement.h"
#include "fuzz/backend.h"
#include "fuzz/questions.h"
#include "json/stored_date.h"

namespace {

using namespace corvo;
using fuzz::Backend;
using fuzz::Input;
using fuzz::Life;
using fuzz::Needs;
using fuzz::outcomeOf;
using fuzz::require;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// What callbacks throw.
struct Thrown {};

struct Question {
  Life* life;
  int answers = 0;
  std::size_t configs = 0;  // requests when the answer came
  std::size_t locations = 0;
};

/// A coroutine whose frame its owner destroys.
struct Coroutine {
  struct promise_type {
    Coroutine get_return_object() {
      return {std::coroutine_handle<promise_type>::from_promise(*this)};
    }
    std::suspend_never initial_suspend() { return {}; }
    std::suspend_always final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { std::abort(); }
  };
  std::coroutine_handle<promise_type> handle;
};

/// Platform, backend and two clients, whatever has become of them.
class Application {
 public:
  explicit Application(Input& in) : in_(in), mayFail_(in.oneIn(4)) {
    if (in_.oneIn(8)) fake_.device->vendor.reset();
    for (Slot& slot : slots_) start(slot);
  }

  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;
  ~Application() {
    for (const Coroutine& each : coroutines_) each.handle.destroy();
  }

  void run() {
    for (int i = 0; i < 200 && !in_.isEmpty(); ++i) operate();
    settle();
    for (const Life& life : backend_->lives) {
      if (life.client.expired() || life.isLost) continue;
      require(life.open == life.silent, "every question has been answered");
    }
    require(!isHealthy() || backend_->keepsIdentifiers, "the identifier is kept");
    recover();
  }

 private:
  /// A place for one client at a time.
  struct Slot {
    const char* tag;
    const char* token;
    std::uint64_t cacheTTL = 0;
    std::shared_ptr<CorvoClient> client = nullptr;
    Life* life = nullptr;
    std::optional<CorvoUser> user = {};  // that was set last, if that is known

    [[nodiscard]] std::string suite() const { return std::string("storage") + tag + token; }
    [[nodiscard]] double lifetime() const { return std::max(10.0, static_cast<double>(cacheTTL)); }
  };

  /// Both callbacks of a question.
  struct OnAnswer {
    Application* application;
    std::shared_ptr<Question> question;

    template <class... Answers>
    void operator()(const Answers&...) const {
      application->answered(*question);
      application->react();
    }
  };

  // What callbacks do.
  void react() {
    if (isQuiet_) return;
    const std::size_t choice = in_.below(8);
    if (choice == 7) throw Thrown();
    if (choice >= 5) operate();
  }

  void operate() {
    constexpr int kDeepest = 3;
    using A = Application;
    static constexpr void (A::*kOperations[])(Slot&) = {
        &A::ask,      &A::ask,        &A::ask,         &A::ask,         &A::ask,      &A::ask,
        &A::start,    &A::release,    &A::restart,     &A::setUser,     &A::clear,    &A::makeUser,
        &A::editUser, &A::runQueue,   &A::letTimePass, &A::letTimePass, &A::setClock, &A::travel,
        &A::publish,  &A::breakStore, &A::damage,      &A::breakRandom, &A::agree,    &A::agree,
        &A::force,    &A::expire,     &A::startAgain};
    if (depth_ == kDeepest) return;
    ++depth_;
    Slot& slot = slots_[in_.below(slots_.size())];
    (this->*in_.oneOf(kOperations))(slot);
    --depth_;
  }

  // Whether it was done; else a callback threw, or the random source did.
  template <class Do>
  bool attempt(Do act) {
    try {
      act();
      return true;
    } catch (const Thrown&) {
    } catch (const std::runtime_error& error) {
      require(randomFailed_, error.what());
      for (Life& life : backend_->lives) life.isLost = true;
    }
    return false;
  }

  // --- The life of clients

  [[nodiscard]] Platform platform() const {
    Platform platform = fake_.platform();
    platform.urlSession = backend_;
    return platform;
  }

  std::shared_ptr<CorvoClient> initialize(ClientRegistry& registry, const Slot& slot,
                                          std::optional<CorvoUser> user) {
    Life& life = backend_->beginLife();
    auto client = registry.initializeClient(slot.token, std::move(user), backend_->address(),
                                            slot.cacheTTL, in_.below(3), slot.tag);
    life.client = client;
    return client;
  }

  void start(Slot& slot) {
    if (slot.client) return refuse(slot);
    constexpr std::uint64_t kTimesToLive[] = {0, 11, 300, UINT64_MAX};
    slot.cacheTTL = in_.oneOf(kTimesToLive);
    slot.user = in_.oneIn(2) ? std::optional(user()) : std::nullopt;
    slot.client = initialize(*registry_, slot, slot.user);
    slot.life = &backend_->lives.back();
  }

  void refuse(const Slot& slot) {
    try {
      registry_->initializeClient("", {}, "", 0, 0, slot.tag);
      require(false, "a tag is taken once");
    } catch (const CorvoError& error) {
      require(error.as<CorvoError::InitializationOfExistingClient>(), "the tag is taken");
    }
    require(registry_->getClient(slot.tag) == slot.client, "by the client that was there");
  }

  // One that lives on, and the next one under its tag, share a suite.
  void release(Slot& slot) {
    registry_->removeClient(slot.tag);
    const bool livesOn = in_.oneIn(8);
    if (livesOn) kept_.push_back(slot.client);
    isShared_ |= livesOn || isBuilding_;
    slot.client.reset();
  }

  void restart(Slot&) {
    for (Slot& slot : slots_) release(slot);
    registry_ = std::make_unique<ClientRegistry>(platform());
    for (Slot& slot : slots_) start(slot);
  }

  // --- What is stored

  // Whether the store tells what a client knows.
  [[nodiscard]] bool isHealthy() const {
    return !mayFail_ && !isDamaged_ && !isOdd_ && !isShared_ && backend_->isStorable;
  }

  template <class T>
  [[nodiscard]] std::optional<T> stored(const Slot& slot, const std::string& key) const {
    const auto contents = fake_.store->contents(slot.suite());
    const auto found = contents.find(key);
    if (found == contents.end()) return {};
    auto decoded = model::decodeJson<T>(found->second);
    require(isDamaged_ || std::holds_alternative<T>(decoded), "what is stored can be read");
    if (auto* value = std::get_if<T>(&decoded)) return std::move(*value);
    return {};
  }

  [[nodiscard]] bool isFresh(const Slot& slot, const std::string& key) const {
    const auto written = stored<json::StoredDate>(slot, key + ".update_time");
    return written && fake_.time->now() - written->secondsSince1970 < slot.lifetime();
  }

  // --- Questions

  void answered(Question& question) {
    require(++question.answers == 1, "a question is answered once");
    require(!question.life->client.expired(), "a question is dropped with its client");
    question.configs = backend_->configs;
    question.locations = backend_->locations;
    --question.life->open;
  }

  void ask(Slot& slot) {
    if (!slot.client) return;
    const bool isJudged = isHealthy() && !randomFailed_;
    const bool hasConfig = isJudged && isFresh(slot, "config");
    const bool hasLocation = isJudged && isFresh(slot, "location");
    const auto question = std::make_shared<Question>(Question{slot.life});
    const std::size_t configs = backend_->configs;
    const std::size_t locations = backend_->locations;
    const std::size_t form = in_.below(16);
    const std::string name = in_.oneOf(fuzz::kNames);
    const Needs needs = fuzz::withQuestion(
        in_.below(fuzz::kQuestionCount), name, in_.between(-1, 3),
        [&](auto put) { attempt([&] { askInForm(form, *slot.client, question, put); }); });
    if (!isJudged || form >= kSuspending || needs == Needs::newConfig) return;
    if (question->answers == 0) {
      question->configs = backend_->configs;
      question->locations = backend_->locations;
    }
    const bool isAnswered = question->answers > 0;
    const bool asksForConfig = question->configs > configs;
    const bool asksForLocation = question->locations > locations;
    if (!hasConfig) return require(asksForConfig || !question->life->hasAddress, "none expired");
    require(!asksForConfig, "a fresh configuration serves");
    if (hasLocation) return require(isAnswered && !asksForLocation, "fresh copies answer at once");
    if (needs != Needs::both) return;
    require(asksForLocation || !question->life->hasAddress, "no location expired");
  }

  static constexpr std::size_t kSuspending = 10;  // and the forms from here on

  template <class Put>
  void askInForm(std::size_t form, CorvoClient& client, const std::shared_ptr<Question>& question,
                 const Put& put) {
    if (form == 15) {
      question->life->isLost = true;
      return static_cast<void>(put(client, nullptr, nullptr));
    }
    ++question->life->open;
    if (form < kSuspending) return put(client, OnAnswer{this, question}, OnAnswer{this, question});
    if (form % 2 == 0) {
      coroutines_.push_back(await(put(client), question));
    } else {
      wait(put(client), *question->life);
    }
  }

  template <class T>
  Coroutine await(Answer<T> answer, std::shared_ptr<Question> question) {
    try {
      co_await answer;
    } catch (const CorvoError&) {
    }
    answered(*question);
  }

  // The client may be gone when a nested wait brought the answer.
  template <class T>
  static void wait(Answer<T> answer, Life& life) {
    try {
      answer.get();
    } catch (const CorvoError&) {
    } catch (const QuestionDropped&) {
      return;
    } catch (...) {
      life.isLost = true;
      throw;
    }
    --life.open;
  }

  // --- Users

  CorvoUser user() {
    const auto texts = [&] {
      PropertyMap map;
      for (std::size_t count = in_.below(4); count > 0; --count) {
        map[in_.oneOf(fuzz::kProperties)] = in_.oneOf(fuzz::kTexts);
      }
      return map;
    };
    CorvoUser made{texts(), {}};
    if (in_.oneIn(2)) made.corvoExpiration = texts();
    return made;
  }

  void setUser(Slot& slot) {
    if (!slot.client) return;
    slot.user = user();
    CorvoUser given = *slot.user;
    if (in_.oneIn(4)) given.properties[std::string(in_.text(4))] = in_.text(4);
    if (given != *slot.user) slot.user.reset();
    slot.client->setUser(given);
    compareUser(slot);
  }

  void clear(Slot& slot) {
    if (!slot.client) return;
    slot.user = CorvoUser{PropertyMap(), PropertyMap()};
    slot.client->clearUserProperties();
    compareUser(slot);
  }

  void makeUser(Slot& slot) { edit(slot, true); }
  void editUser(Slot& slot) { edit(slot, false); }
  void edit(Slot& slot, bool isNew) {
    if (!slot.client) return;
    std::optional<CorvoUser> made;
    const auto fill = [&](CorvoUser::Builder& builder) {
      const bool wasBuilding = std::exchange(isBuilding_, true);
      builder.setUserId(in_.oneOf(fuzz::kTexts));
      if (in_.oneIn(2)) builder.setCustomProperty(in_.oneOf(fuzz::kTexts), "\xC3\xA9");
      if (in_.oneIn(2)) builder.setDeviceId(in_.oneOf(fuzz::kTexts)).setProfileId("b");
      if (in_.oneIn(4)) builder.setAppVersion(std::nullopt).setGeoCity(in_.text(3));
      if (in_.oneIn(8)) operate();
      isBuilding_ = wasBuilding;
      if (in_.oneIn(16)) throw Thrown();
      made = builder.build();
    };
    attempt([&] {
      isNew ? slot.client->setUserProperties(fill) : slot.client->editUserProperties(fill);
    });
    if (!made) return;
    slot.user = made;
    compareUser(slot);
    if (!isNew && mayFail_) slot.user.reset();  // what was stored unread belongs to it, too
  }

  void compareUser(const Slot& slot) const {
    if (!slot.user || !isHealthy()) return;
    require(stored<CorvoUser>(slot, "user.value") == slot.user, "the user is stored");
  }

  // --- What happens

  void runQueue(Slot&) {
    attempt([&] { fake_.time->run(); });
  }

  void letTimePass(Slot&) {
    constexpr double kSpans[] = {0.5, 1, 9.5, 10, 11, 60, 300, 86'400};
    attempt([&] { fake_.time->advance(in_.oneOf(kSpans)); });
  }

  void setClock(Slot&) {
    constexpr double kMoments[] = {
        0,     1'714'564'800, 1'711'846'800, 1'730'000'000,
        -1e11, kInfinity,     -kInfinity,    std::numeric_limits<double>::quiet_NaN(),
        1e300};
    latest_ = std::max(latest_, fake_.time->now());
    const double moment = in_.oneOf(kMoments);
    isOdd_ |= !(std::abs(moment) < 1e12);
    fake_.time->set(moment);
  }

  void travel(Slot&) {
    constexpr std::int32_t kOffsets[] = {0, 3'600, -36'000, 50'400, 37'800};
    const std::int32_t before = in_.oneOf(kOffsets);
    const std::int64_t change = 1'711'846'800 + in_.between(-1, 1) * 3'600;
    fake_.timeZone->change(before, {{change, in_.oneOf(kOffsets)}});
  }

  void publish(Slot&) { backend_->publish(); }

  void breakStore(Slot&) {
    if (!mayFail_) return;
    const std::size_t what = in_.below(8);
    fake_.store->failOpening(what & 1U);
    fake_.store->failReading(what & 2U);
    fake_.store->failWriting(what & 4U);
  }

  void breakRandom(Slot&) {
    randomFailed_ = true;
    fake_.random->failFilling(in_.oneIn(2));
  }

  // Somebody else writes into the suite.
  void damage(Slot& slot) {
    constexpr const char* kKeys[] = {"config", "location", "user", "corvoPrivateId",
                                     "corvoForcedExperiments"};
    if (!in_.oneIn(8)) return;
    const auto suite = fake_.store->open(slot.suite());
    if (suite == nullptr) return;
    isDamaged_ = true;
    const std::string key = in_.oneOf(kKeys);
    const bool isDate = in_.oneIn(4);
    std::string text = in_.oneIn(2) ? in_.oneOf(fuzz::kTexts) : std::string(in_.text(16));
    if (!isDate && key == "config") text = backend_->makeConfig();
    const PreferencesChange change{key + (isDate ? ".update_time" : ".value"), text};
    suite->apply({&change, 1});
  }

  // --- Comparisons

  // All that is under way ends.
  void settle() {
    const Calm calm(*this, Backend::Mood::kind);
    while (!attempt([&] { fake_.time->advance(1'000); })) {
    }
  }

  // Whether the client now has fresh copies.
  bool warm(const Slot& slot) {
    if (!slot.client) return false;
    const Calm calm(*this, Backend::Mood::kind);
    bool isWarm = false;
    attempt([&] {
      const auto report =
          outcomeOf([&] { return slot.client->getUserFeatureFlagsDetails().get(); });
      isWarm = std::holds_alternative<FlagReport>(report);
    });
    if (!isWarm) return false;
    isWarm = slot.client->getUserFeatureFlagsDetails().await_ready();
    require(isWarm || isOdd_, "what was fetched a moment ago is fresh");
    slot.life->isLost |= !isWarm;
    return isWarm;
  }

  void agree(Slot& slot) {
    if (!warm(slot)) return;
    const auto config = knownConfig(slot);
    fuzz::Agreement(*slot.client, config ? &*config : nullptr).check();
  }

  [[nodiscard]] std::optional<model::ConfigResponse> knownConfig(const Slot& slot) const {
    if (!isHealthy()) return {};
    auto config = stored<model::ConfigResponse>(slot, "config.value");
    require(config.has_value(), "the configuration is stored");
    return config;
  }

  void force(Slot& slot) {
    if (!warm(slot)) return;
    const std::string name = in_.oneOf(fuzz::kNames);
    const auto index = in_.oneIn(4) ? std::nullopt : std::optional(in_.between(0, 2));
    auto answer = slot.client->includeForce(name, index);
    require(answer.await_ready(), "a fresh configuration is enough");
    const auto included = outcomeOf([&] { return answer.get(), true; });
    if (std::holds_alternative<CorvoError>(included) || !isHealthy()) return;
    const auto forced = stored<model::ForcedExperiments>(slot, "corvoForcedExperiments.value");
    require(forced && forced->contains(name) && forced->at(name) == index, "it is remembered");
    const auto config = knownConfig(slot).value();
    if (std::ranges::count(config.experiments, name, &model::Experiment::name) > 1) return;
    const auto experiment = fuzz::valueNow(slot.client->getExperiment(name));
    if (index && experiment) require(experiment->groupIndex() == index, "he is in that group");
  }

  // When all that was ever fetched is too old, every question asks for it.
  void expire(Slot& slot) {
    if (!slot.client || slot.cacheTTL == UINT64_MAX || isDamaged_) return;
    settle();
    latest_ = std::max(latest_, fake_.time->now());
    fake_.time->set(latest_ < 1e15 ? latest_ + slot.lifetime() + 1 : kInfinity);
    const auto ask = [&] { return slot.client->getUserFeatureFlagsDetails().get(); };
    attempt([&] {
      const Calm calm(*this, Backend::Mood::down);
      const auto outcome = outcomeOf(ask);
      const auto* error = std::get_if<CorvoError>(&outcome);
      require(error && error->as<CorvoError::RequestConfigFailed>(), "no old configuration serves");
    });
    attempt([&] {
      const Calm calm(*this, Backend::Mood::withoutLocation);
      require(std::holds_alternative<CorvoError>(outcomeOf(ask)), "no old location serves");
    });
  }

  void startAgain(Slot& slot) {
    if (!isHealthy() || isBuilding_ || !warm(slot)) return;
    const auto user = stored<CorvoUser>(slot, "user.value");
    if (!user || !user->corvoExpiration) return;  // he would get a day from now
    Platform copy = platform();
    copy.preferencesStore = std::make_shared<fakes::MemoryPreferencesStore>(*fake_.store);
    ClientRegistry registry(copy);
    const std::string before = fuzz::Agreement(*slot.client, nullptr).told();
    const auto client = initialize(registry, slot, std::nullopt);
    require(fuzz::Agreement(*client, nullptr).told() == before, "the same answers as before");
  }

  // What was set while the store failed is written when it works again.
  void recover() {
    if (!mayFail_ || isDamaged_ || isOdd_ || isShared_) return;
    fake_.store->failOpening(false);
    fake_.store->failReading(false);
    fake_.store->failWriting(false);
    fake_.time->advance(2);
    for (const Slot& slot : slots_) {
      if (!slot.user || !slot.client) continue;
      warm(slot);
      const auto user = stored<CorvoUser>(slot, "user.value");
      require(user && user->properties == slot.user->properties, "the user that was set is stored");
    }
  }

  /// As long as it lives callbacks do nothing, and the backend is in a mood.
  class Calm {
   public:
    Calm(Application& application, Backend::Mood mood)
        : application_(application),
          wasQuiet_(std::exchange(application.isQuiet_, true)),
          before_(std::exchange(application.backend_->mood, mood)) {}
    Calm(const Calm&) = delete;
    Calm& operator=(const Calm&) = delete;
    ~Calm() {
      application_.isQuiet_ = wasQuiet_;
      application_.backend_->mood = before_;
    }

   private:
    Application& application_;
    bool wasQuiet_;
    Backend::Mood before_;
  };

  Input& in_;
  fakes::FakePlatform fake_;
  std::shared_ptr<Backend> backend_ = std::make_shared<Backend>(in_, fake_.time);
  std::unique_ptr<ClientRegistry> registry_ = std::make_unique<ClientRegistry>(platform());
  std::array<Slot, 2> slots_{Slot{"x", "1"}, Slot{"y", "2"}};
  std::vector<std::shared_ptr<CorvoClient>> kept_;
  std::vector<Coroutine> coroutines_;
  double latest_ = -kInfinity;  // of the moments so far
  int depth_ = 0;
  bool isQuiet_ = false;
  bool isBuilding_ = false;
  bool mayFail_;
  bool isDamaged_ = false;
  bool isOdd_ = false;
  bool isShared_ = false;
  bool randomFailed_ = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in({data, size});
  Application(in).run();
  return 0;
}
