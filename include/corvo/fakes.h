#pragma once

#include <corvo/export.h>
#include <corvo/platform/platform.h>

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A platform under a test's control: for this library's tests and for those of applications.
/// Nothing here waits, reads the real clock or leaves the process. Link `corvo::fakes`.
namespace corvo::fakes {

/// Virtual time: a clock and the main queue in one. Time passes only when the test says so, or
/// when `runUntil` has nothing left to do now and skips to the next task that is due later.
/// Tasks may be posted from any thread; everything else is for the test's thread. Runs may nest.
class CORVO_FAKES_EXPORT VirtualTime final : public Clock, public MainQueue {
 public:
  /// Starts at 2024-05-01 12:00:00 UTC, or at the given seconds since 1970.
  explicit VirtualTime(double start = 1'714'564'800.0) : moment_(start) {}

  [[nodiscard]] double now() const override { return moment_ + (elapsed_ - setAt_); }
  void post(Callback<void()> task) override;
  bool runUntil(const std::function<bool()>& condition) override;

  /// Posts a task that falls due after some seconds of virtual time.
  void postAfter(double seconds, Callback<void()> task);
  /// Sets the clock to any number, backwards too, and runs nothing. Like a change of the device's
  /// clock this is no passing of time: what is due later stays due after the same delay.
  void set(double moment);
  /// Lets time pass: runs what is queued and what falls due on the way, each at its moment.
  void advance(double seconds);
  /// Runs what is due now, and what that posts, until nothing is due. Time does not pass.
  void run();

 private:
  std::optional<Callback<void()>> take(double latest);

  double moment_;       // what the clock was last set to,
  double setAt_ = 0;    // and how much time had elapsed then
  double elapsed_ = 0;  // since the start; unlike the clock it only grows
  std::mutex mutex_;
  std::multimap<double, Callback<void()>> tasks_;  // by the elapsed time at which they fall due
};

/// What a `ScriptedSession` does with a request.
struct Reply {
  UrlResponse response;
  double delaySeconds = 0;  ///< Virtual time until the completion; 0 completes inside the call.
  bool silent = false;      ///< Never completes.
};
/// The usual replies.
[[nodiscard]] CORVO_FAKES_EXPORT Reply ok(std::string body);
[[nodiscard]] CORVO_FAKES_EXPORT Reply status(int code, std::string body = {});
[[nodiscard]] CORVO_FAKES_EXPORT Reply failure(std::string reason = "connection refused");
[[nodiscard]] CORVO_FAKES_EXPORT Reply silence();
/// The same reply, later.
[[nodiscard]] CORVO_FAKES_EXPORT Reply after(double seconds, Reply reply);

/// A session that answers from a script and records what it was asked. A route is the last
/// component of the address's path, as "config.json". An unscripted route fails in transport.
/// What is never answered stays under way, and keeps what it holds, until the session is destroyed.
/// For the test's thread.
class CORVO_FAKES_EXPORT ScriptedSession final : public UrlSession {
 public:
  explicit ScriptedSession(std::shared_ptr<VirtualTime> time) : time_(std::move(time)) {}

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override;

  /// From now on the route answers so, whenever nothing else is lined up for it.
  void always(std::string_view route, Reply reply);
  /// The route's next request (after those already lined up) is answered so, once.
  void next(std::string_view route, Reply reply);

  /// Every request so far, in order.
  [[nodiscard]] const std::vector<UrlRequest>& requests() const { return requests_; }
  [[nodiscard]] std::size_t requestCount(std::string_view route) const;

 private:
  using UnderWay = std::map<std::size_t, Callback<void(UrlResponse)>>;
  struct Script {
    std::deque<Reply> next;
    Reply always = failure("nothing is scripted for this route");
  };

  Reply take(std::string_view route);

  std::shared_ptr<VirtualTime> time_;
  std::vector<UrlRequest> requests_;
  std::map<std::string, Script, std::less<>> scripts_;
  // By the request's number. Shared only with delayed tasks, which hold it weakly.
  std::shared_ptr<UnderWay> underWay_ = std::make_shared<UnderWay>();
};

/// Suites in memory. A second client, or a "restarted application", on the same store finds what
/// the first one left. Opening and writing can be made to fail. Any thread may open suites and use
/// them; the rest is for the test's thread.
class CORVO_FAKES_EXPORT MemoryPreferencesStore final : public PreferencesStore {
 public:
  MemoryPreferencesStore() = default;
  /// The same records as another process would find them: nothing was changed or read yet, and
  /// nothing fails. From here on the two stores go separate ways.
  MemoryPreferencesStore(const MemoryPreferencesStore& other);
  MemoryPreferencesStore& operator=(const MemoryPreferencesStore&) = delete;

  [[nodiscard]] std::shared_ptr<PreferencesSuite> open(std::string_view suiteName) override;

  /// From now on opening, reading or writing fails, or works again.
  void failOpening(bool fails) { failsOpening_ = fails; }
  void failReading(bool fails) { fails_->reading = fails; }
  void failWriting(bool fails) { fails_->writing = fails; }

  /// The names of the suites opened so far, and all that one holds, for looking at.
  [[nodiscard]] std::vector<std::string> suiteNames() const;
  [[nodiscard]] std::map<std::string, std::string> contents(std::string_view suiteName) const;
  /// How often a key of a suite has been read through any handle.
  [[nodiscard]] std::size_t reads(std::string_view suiteName, std::string_view key) const;
  /// How often a suite was to be opened, with or without success.
  [[nodiscard]] std::size_t openings() const { return openings_; }

 private:
  class Suite;
  struct Fails {
    bool reading = false;
    bool writing = false;
  };

  std::mutex mutex_;  // guards the openings and the suites
  bool failsOpening_ = false;
  std::shared_ptr<Fails> fails_ = std::make_shared<Fails>();  // shared with the suites
  std::size_t openings_ = 0;
  std::map<std::string, std::shared_ptr<Suite>, std::less<>> suites_;
};

/// A device that is whatever the test says.
struct CORVO_TYPE FixedDevice final : Device {
  std::optional<std::string> vendor = "6F9619FF-8B86-4D01-B42D-00CF4FC964FF";
  std::optional<std::string> osName = "iOS";
  std::optional<std::string> osVersion = "17.4.1";
  std::optional<std::string> appVersion = "1.2.3";

  [[nodiscard]] std::optional<std::string> vendorIdentifier() const override { return vendor; }
  [[nodiscard]] std::optional<std::string> systemName() const override { return osName; }
  [[nodiscard]] std::optional<std::string> systemVersion() const override { return osVersion; }
  [[nodiscard]] std::optional<std::string> applicationVersion() const override {
    return appVersion;
  }
};

/// A zone given by its offset and the moments at which that changes. UTC unless told otherwise.
class CORVO_FAKES_EXPORT FakeTimeZone final : public TimeZone {
 public:
  /// The offsets, in seconds, that hold from a moment (seconds since 1970) on.
  using Transitions = std::map<std::int64_t, std::int32_t>;

  explicit FakeTimeZone(std::int32_t offset = 0, Transitions transitions = {})
      : offset_(offset), transitions_(std::move(transitions)) {}

  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override;
  [[nodiscard]] std::uint64_t identifier() const override { return identifier_; }

  /// Moves to another zone.
  void change(std::int32_t offset, Transitions transitions = {});

 private:
  std::int32_t offset_;
  Transitions transitions_;
  std::uint64_t identifier_ = 0;
};

/// Random bytes from a script, which is repeated when it ends; by default 0, 1, 2, ... 255.
class CORVO_FAKES_EXPORT ScriptedRandom final : public SecureRandom {
 public:
  ScriptedRandom();
  /// An empty script has no bytes to give: filling throws.
  explicit ScriptedRandom(std::vector<std::byte> script);

  void fill(std::span<std::byte> bytes) override;
  /// From now on filling throws, or works again.
  void failFilling(bool fails) { fails_ = fails; }

 private:
  std::vector<std::byte> script_;
  std::size_t next_ = 0;
  bool fails_ = false;
};

/// All the fakes together. `ClientRegistry registry(fake.platform());` is a process; a second
/// registry on the same fakes is the application started anew.
struct FakePlatform {
  std::shared_ptr<VirtualTime> time = std::make_shared<VirtualTime>();
  std::shared_ptr<FakeTimeZone> timeZone = std::make_shared<FakeTimeZone>();
  std::shared_ptr<ScriptedSession> session = std::make_shared<ScriptedSession>(time);
  std::shared_ptr<MemoryPreferencesStore> store = std::make_shared<MemoryPreferencesStore>();
  std::shared_ptr<FixedDevice> device = std::make_shared<FixedDevice>();
  std::shared_ptr<ScriptedRandom> random = std::make_shared<ScriptedRandom>();

  [[nodiscard]] Platform platform() const {
    return {time, timeZone, time, session, store, device, random};
  }
};

}  // namespace corvo::fakes
