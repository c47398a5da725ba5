// SPDX-License-Identifier: Apache-2.0

// Whole clients, driven by the input bytes. The application does anything that is permitted;
// backend, store, clock and zone do anything that can happen.

#include <corvo/client_registry.h>
#include <corvo/fakes.h>

#include <array>
#include <limits>

#include "fuzz/agreement.h"
#include "fuzz/backend.h"
#include "fuzz/questions.h"
#include "json/stored_date.h"
#include "tests/client/coroutine.h"

namespace {

using namespace corvo;
using namespace corvo_internal;
using fuzz::Backend;
using Mood = fuzz::Backend::Mood;
using fuzz::require;
using Coroutine = tests::Owned;  // the application destroys its frame

constexpr const char* kHost = "https://h";
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The exception that callbacks throw.
struct Thrown {};

struct Question {
  std::weak_ptr<CorvoClient> client;
  int answers = 0;

  void answer() {
    require(++answers == 1, "a question is answered once");
    require(!client.expired(), "a question is dropped with its client");
  }
};

/// Whether a question is answered with a value; waits for the answer.
template <class T>
bool succeeds(Answer<T> answer) {
  try {
    answer.get();
    return true;
  } catch (const CorvoError&) {
  } catch (const QuestionDropped&) {
  }
  return false;
}

/// Platform, backend and two clients in any state.
class Application {
 public:
  explicit Application(fuzz::Input& in) : in_(in) {
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
    for (const auto& question : questions_) {
      require(question->answers == 1 || question->client.expired(), "every question is answered");
    }
    for (Slot& slot : slots_) recover(slot);
  }

 private:
  /// What happens besides bad answers. calm: nothing. failing: the store fails at times. hostile:
  /// in addition, others write to the store, the clock is invalid, and clients are released while
  /// they edit their user.
  enum class World { calm, failing, hostile };
  static constexpr World kWorlds[] = {World::calm, World::calm, World::failing, World::hostile};

  /// A slot for one client at a time.
  struct Slot {
    std::string tag;
    std::uint64_t cacheTTL = 0;
    std::shared_ptr<CorvoClient> client = nullptr;
    std::optional<CorvoUser> user = {};  // the last one set, if known

    [[nodiscard]] std::string suite() const { return "storage" + tag + tag; }
  };

  void operate() {
    using A = Application;
    static constexpr void (A::*kOperations[])(Slot&) = {
        &A::ask,      &A::ask,     &A::ask,     &A::ask,         &A::ask,         &A::ask,
        &A::start,    &A::release, &A::setUser, &A::setUser,     &A::editUser,    &A::editUser,
        &A::setClock, &A::travel,  &A::publish, &A::letTimePass, &A::letTimePass, &A::letTimePass,
        &A::meddle,   &A::meddle,  &A::agree,   &A::agree,       &A::agree,       &A::expire};
    if (depth_ == 3) return;
    ++depth_;
    try {
      Slot& slot = slots_[in_.below(slots_.size())];
      (this->*in_.oneOf(kOperations))(slot);
    } catch (const Thrown&) {
    }
    --depth_;
  }

  // --- The life of clients

  [[nodiscard]] Platform platform() const {
    Platform platform = fake_.platform();
    platform.urlSession = backend_;
    return platform;
  }

  void start(Slot& slot) {
    if (slot.client) return;
    constexpr std::uint64_t kTimesToLive[] = {0, 11, 300, UINT64_MAX};
    slot.cacheTTL = in_.oneOf(kTimesToLive);
    const auto user = in_.oneIn(2) ? std::optional(makeUser()) : std::nullopt;
    if (user || world_ != World::calm) slot.user = user;
    slot.client =
        registry_.initializeClient(slot.tag, user, kHost, slot.cacheTTL, in_.below(3), slot.tag);
  }

  void release(Slot& slot) {
    registry_.removeClient(slot.tag);
    slot.client.reset();
  }

  // --- Questions

  void ask(Slot& slot) {
    if (!slot.client) return;
    const std::size_t number = in_.below(fuzz::kQuestionCount);
    fuzz::withQuestion(number, in_.oneOf(fuzz::kNames), in_.between(-1, 3),
                       [&](auto put) { askInForm(*slot.client, {slot.client}, put); });
  }

  template <class Put>
  void askInForm(CorvoClient& client, const Question& asked, const Put& put) {
    const std::size_t form = in_.below(8);
    if (form == 7) return put(client, nullptr, nullptr);
    if (form == 6) return static_cast<void>(succeeds(put(client)));
    const auto question = questions_.emplace_back(std::make_shared<Question>(asked));
    if (form == 5) return coroutines_.push_back(await(put(client), question));
    const auto onAnswer = [this, question](const auto&...) {
      question->answer();
      react();
    };
    put(client, onAnswer, onAnswer);
  }

  // Not a static function, because clang 14 cannot compile such a coroutine.
  template <class T>
  Coroutine await(Answer<T> answer, std::shared_ptr<Question> question) {
    try {
      co_await answer;
    } catch (const CorvoError&) {
    }
    question->answer();
  }

  // The reaction of callbacks; none while the backend has a fixed mood.
  void react() {
    if (backend_->mood != Mood::any) return;
    const std::size_t choice = in_.below(8);
    if (choice == 7) throw Thrown();
    if (choice >= 5) operate();
  }

  // --- Users

  PropertyMap makeProperties() {
    PropertyMap made{{"userId", in_.oneOf(fuzz::kTexts)}};
    for (std::size_t count = in_.below(4); count > 0; --count) {
      made[in_.oneOf(fuzz::kProperties)] = in_.oneOf(fuzz::kTexts);
    }
    return made;
  }
  CorvoUser makeUser() {
    return {makeProperties(), in_.oneIn(2) ? std::optional(makeProperties()) : std::nullopt};
  }

  void setUser(Slot& slot) {
    if (!slot.client) return;
    if (in_.oneIn(4)) {
      slot.client->clearUserProperties();
      return know(slot, CorvoUser{PropertyMap(), PropertyMap()});
    }
    CorvoUser user = makeUser();
    if (world_ == World::hostile) user.properties[std::string(in_.text(4))] = in_.text(4);
    slot.client->setUser(user);
    know(slot, user);
  }

  void editUser(Slot& slot) {
    if (!slot.client) return;
    CorvoUser made;
    const auto fill = [&](CorvoUser::Builder& builder) {
      builder.setUserId(in_.oneOf(fuzz::kTexts));
      if (in_.oneIn(2)) builder.setCustomProperty(in_.oneOf(fuzz::kTexts), "\xC3\xA9");
      if (in_.oneIn(2)) builder.setDeviceId(in_.oneOf(fuzz::kTexts)).setProfileId("b");
      if (in_.oneIn(4)) builder.setAppVersion(std::nullopt).setGeoCity(in_.text(3));
      if (world_ == World::hostile && in_.oneIn(2)) operate();
      if (in_.oneIn(16)) throw Thrown();
      made = builder.build();
    };
    const bool isNew = in_.oneIn(2);
    isNew ? slot.client->setUserProperties(fill) : slot.client->editUserProperties(fill);
    know(slot, made);
    // A stored user that could not be read is merged into it.
    if (!isNew && world_ != World::calm) slot.user.reset();
  }

  void know(Slot& slot, const CorvoUser& user) {
    slot.user = user;
    if (world_ != World::calm) return;
    require(stored<CorvoUser>(slot, "user") == user, "the user is stored");
  }

  // --- What happens

  void letTimePass(Slot&) {
    constexpr double kSpans[] = {0, 0.5, 1, 9.5, 10, 11, 60, 300, 86'400};
    fake_.time->advance(in_.oneOf(kSpans));
  }

  void setClock(Slot&) {
    constexpr double kMoments[] = {0, 1'714'564'800, 1'711'846'800, 1'730'000'000, -1e11};
    constexpr double kOddMoments[] = {kInfinity, -kInfinity, 1e300,
                                      std::numeric_limits<double>::quiet_NaN()};
    latest_ = std::max(latest_, fake_.time->now());
    const bool isOdd = world_ == World::hostile && in_.oneIn(2);
    fake_.time->set(isOdd ? in_.oneOf(kOddMoments) : in_.oneOf(kMoments));
  }

  void travel(Slot&) {
    constexpr std::int32_t kOffsets[] = {0, 3'600, -36'000, 50'400, 37'800};
    fake_.timeZone->change(in_.oneOf(kOffsets), {{1'711'846'800, in_.oneOf(kOffsets)}});
  }

  void publish(Slot&) { backend_->publish(); }

  // Makes the store fail or recover, or writes to the suite as another process would.
  void meddle(Slot& slot) {
    if (world_ == World::failing) breakStore(in_.below(8));
    if (world_ != World::hostile) return;
    constexpr const char* kKeys[] = {"config.value",
                                     "location.value",
                                     "user.value",
                                     "corvoPrivateId.value",
                                     "corvoForcedExperiments.value",
                                     "config.update_time",
                                     "location.update_time"};
    const std::string text = in_.oneIn(4) ? backend_->makeConfig() : in_.joined(fuzz::kTexts, 3);
    const PreferencesChange change{in_.oneOf(kKeys), text};
    fake_.store->open(slot.suite())->apply({&change, 1});
  }

  void breakStore(std::size_t what) {
    fake_.store->failOpening(what & 1U);
    fake_.store->failReading(what & 2U);
    fake_.store->failWriting(what & 4U);
  }

  // --- Comparisons

  // Completes everything under way.
  void settle() {
    backend_->mood = Mood::kind;
    fake_.time->advance(1'000);
    backend_->mood = Mood::any;
  }

  // Whether a question is answered with a value while the backend has that mood.
  bool isServed(const Slot& slot, std::size_t number, Mood mood) {
    bool is = false;
    backend_->mood = mood;
    fuzz::withQuestion(number, in_.oneOf(fuzz::kNames), 0,
                       [&](auto put) { is = succeeds(put(*slot.client)); });
    backend_->mood = Mood::any;
    return is;
  }

  // Whether the client has fresh cached copies after this call.
  bool warm(const Slot& slot) {
    if (!slot.client || !isServed(slot, fuzz::kReport, Mood::kind)) return false;
    const bool isWarm = slot.client->getUserFeatureFlagsDetails().await_ready();
    require(isWarm || world_ == World::hostile, "a copy that was just fetched is fresh");
    return isWarm;
  }

  void agree(Slot& slot) {
    if (!warm(slot)) return;
    fuzz::compareReports(*slot.client);
    if (world_ != World::calm) return;
    const auto config = stored<model::ConfigResponse>(slot, "config");
    require(config.has_value(), "the configuration is stored");
    fuzz::compareAnswers(*slot.client, *config);
    const auto user = stored<CorvoUser>(slot, "user");
    // In another process, a user without expiry dates would get them: one day from now.
    if (!user || !user->corvoExpiration || !in_.oneIn(4)) return;
    Platform copy = platform();
    copy.preferencesStore = std::make_shared<fakes::MemoryPreferencesStore>(*fake_.store);
    ClientRegistry registry(copy);
    const auto other = registry.initializeClient(slot.tag, {}, kHost, slot.cacheTTL, 0, slot.tag);
    require(fuzz::reportOf(*other) == fuzz::reportOf(*slot.client), "another process finds it all");
  }

  // Once every cached copy has expired, no question is answered from one.
  void expire(Slot& slot) {
    settle();
    if (slot.cacheTTL == UINT64_MAX || world_ == World::hostile || !warm(slot)) return;
    latest_ = std::max(latest_, fake_.time->now());
    fake_.time->set(latest_ + std::max(10.0, static_cast<double>(slot.cacheTTL)));
    require(!isServed(slot, in_.below(fuzz::kConfigQuestionCount), Mood::withoutConfig),
            "no old configuration serves");
    require(!isServed(slot, in_.below(fuzz::kLocationQuestionCount), Mood::withoutLocation),
            "no old location serves");
  }

  template <class T>
  [[nodiscard]] std::optional<T> stored(const Slot& slot, const std::string& key) const {
    const auto contents = fake_.store->contents(slot.suite());
    const auto found = contents.find(key + ".value");
    if (found == contents.end()) return {};
    const auto value = fuzz::roundTrip<T>(found->second);
    require(value.has_value(), "a stored record can be read");
    return value;
  }

  // A user set while the store failed is written when it recovers.
  void recover(Slot& slot) {
    if (world_ == World::hostile) return;
    breakStore(0);
    fake_.time->advance(2);
    agree(slot);
    static_cast<void>(stored<model::ConfigResponse>(slot, "config"));
    static_cast<void>(stored<PropertyMap>(slot, "location"));
    static_cast<void>(stored<std::string>(slot, "corvoPrivateId"));
    static_cast<void>(stored<model::ForcedExperiments>(slot, "corvoForcedExperiments"));
    const auto user = stored<CorvoUser>(slot, "user");
    if (!slot.user || !slot.client) return;
    require(user && user->properties == slot.user->properties, "the user that was set is stored");
  }

  fuzz::Input& in_;
  const World world_ = in_.oneOf(kWorlds);
  fakes::FakePlatform fake_;
  std::shared_ptr<Backend> backend_ = std::make_shared<Backend>(in_, fake_.time);
  ClientRegistry registry_{platform()};
  std::array<Slot, 2> slots_{Slot{"x"}, Slot{"y"}};
  std::vector<std::shared_ptr<Question>> questions_;
  std::vector<Coroutine> coroutines_;
  double latest_ = -kInfinity;  // the latest time so far
  int depth_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in({data, size});
  Application(in).run();
  return 0;
}
