#include <corvo/client_registry.h>
#include <corvo/corvo.h>
#include <corvo/host.h>
#include <corvo/user_builder.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool/commands.h"
#include "tool/output.h"
#include "tool/questions.h"
#include "tool/report.h"

namespace corvo::tool {
namespace {

constexpr std::uint64_t kCacheSeconds = 10;
constexpr std::uint64_t kRetries = 0;

struct AskOptions {
  std::string url;
  std::string token;
  std::optional<std::string> userId;
  std::vector<std::string> properties;
  std::optional<std::string> store;
  bool json = false;
};

/// What is wrong with a property on the command line; empty when nothing is.
std::string complainAboutProperty(const std::string& text) {
  const std::size_t equals = text.find('=');
  return equals == 0 || equals == std::string::npos ? "expected NAME=TEXT, not " + text : "";
}

/// Sets a property under exactly that name, also where the builder has no setter for it.
void setProperty(CorvoUser::Builder& builder, std::string_view name, std::string_view text) {
  constexpr std::string_view kPrefix = "custom.";
  CorvoUser::Builder one;
  one.setCustomProperty(text, name);
  const std::string key = one.properties.begin()->first.substr(kPrefix.size());
  builder.properties[key] = one.properties.begin()->second;
  builder.corvoExpiration[key] = one.corvoExpiration.begin()->second;
}

/// None, which leaves a stored user as he is, when nothing is said of the user.
std::optional<CorvoUser> describedUser(const AskOptions& options) {
  if (!options.userId && options.properties.empty()) return std::nullopt;
  CorvoUser::Builder builder;
  builder.setUserId(options.userId);
  for (const std::string_view property : options.properties) {
    const std::size_t equals = property.find('=');
    setProperty(builder, property.substr(0, equals), property.substr(equals + 1));
  }
  return builder.build();
}

/// Passes requests on, and remembers what became of the last one. For one thread at a time.
class WatchedSession final : public UrlSession {
 public:
  explicit WatchedSession(std::shared_ptr<UrlSession> session) : session_(std::move(session)) {}

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override {
    session_->start(std::move(request), [failure = failure_, completion = std::move(completion)](
                                            UrlResponse response) mutable {
      *failure = response.failure;
      completion(std::move(response));
    });
  }

  /// Why the last request failed in transport; none when it was answered.
  [[nodiscard]] const std::optional<std::string>& failure() const { return *failure_; }

 private:
  using Failure = std::optional<std::string>;

  std::shared_ptr<UrlSession> session_;
  std::shared_ptr<Failure> failure_ = std::make_shared<Failure>();
};

/// A platform that keeps things where the options say, which is certain to be possible.
Platform platformFor(const AskOptions& options) {
  if (!options.store) return hostPlatform({.inMemory = true});
  Platform platform = hostPlatform({.dataFile = options.store});
  const std::shared_ptr<PreferencesSuite> trial = platform.preferencesStore->open("");
  if (!trial) throw std::runtime_error("cannot open " + *options.store + " as a store");
  if (!trial->apply({})) throw std::runtime_error("cannot write to " + *options.store);
  return platform;
}

Report answer(const Question& question, const Arguments& arguments, const AskOptions& options) {
  Platform platform = platformFor(options);
  const auto session = std::make_shared<WatchedSession>(std::move(platform.urlSession));
  platform.urlSession = session;
  ClientRegistry registry(std::move(platform));
  const std::shared_ptr<CorvoClient> client =
      registry.initializeClient(options.token, describedUser(options), options.url, kCacheSeconds,
                                kRetries, Corvo::defaultClientTag);
  try {
    return question.ask(*client, arguments);
  } catch (const CorvoError& error) {
    if (!session->failure()) throw;
    throw std::runtime_error(error.description() +
                             "\nthe last request failed: " + *session->failure());
  }
}

void ask(const Question& question, const Arguments& arguments, const AskOptions& options) {
  const Report report = answer(question, arguments, options);
  std::ostringstream text;
  if (options.json) {
    text << report.json.toJson() << '\n';
  } else {
    printReport(report, text);
  }
  print(text.str());
}

void addOptions(CLI::App& command, AskOptions& options) {
  command.add_option("--url", options.url, "The backend's base address")->required();
  command.add_option("--token", options.token, "The project's token")->required();
  command.add_option("--user-id", options.userId, "The user's identifier");
  command.add_option("--property", options.properties, "A property of the user; may be repeated")
      ->check(CLI::Validator(complainAboutProperty, "NAME=TEXT"))
      ->allow_extra_args(false);
  command.add_option(
      "--store", options.store,
      "Keep the client's state in a file; a user in it stays until one is described");
  command.add_flag("--json", options.json, "Answer in JSON");
}

void addQuestion(CLI::App& command, const Question& question,
                 const std::shared_ptr<AskOptions>& options) {
  CLI::App& word = *command.add_subcommand(question.word, question.help);
  auto arguments = std::make_shared<Arguments>();
  question.takes(word, *arguments);
  word.callback([&question, arguments, options] { ask(question, *arguments, *options); });
}

}  // namespace

void addAsk(CLI::App& app) {
  auto options = std::make_shared<AskOptions>();
  CLI::App& command = *app.add_subcommand("ask", "Ask a backend about one user");
  command.require_subcommand(1);
  command.fallthrough();  // lets the options stand behind the question, too
  addOptions(command, *options);
  for (const Question& question : questions()) addQuestion(command, question, options);
}

}  // namespace corvo::tool
