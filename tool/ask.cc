// SPDX-License-Identifier: Apache-2.0

#include <corvo/corvo.h>
#include <corvo/host.h>
#include <corvo/user_builder.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include "tool/asked_client.h"
#include "tool/commands.h"
#include "tool/failure.h"
#include "tool/output.h"
#include "tool/questions.h"
#include "tool/report.h"
#include "tool/source.h"
#include "tool/style.h"
#include "tool/subject.h"
#include "tool/surroundings.h"

namespace corvo::tool {
namespace {

struct AskOptions {
  SourceOptions source;
  SubjectOptions subject;
  SurroundingsOptions surroundings;
  std::optional<std::string> store;
  Colour colour = Colour::automatic;
  bool json = false;
};

/// The expiry of a property set now.
std::string expiryOfNow(const Platform& platform) {
  CorvoUser::Builder builder(platform.clock, platform.timeZone);
  return builder.setUserId("").corvoExpiration.at("userId");
}

/// Drops the documents that a store has cached, because the options may name other ones now.
void forgetDocuments(const Platform& platform, const std::string& token) {
  const auto suite =
      platform.preferencesStore->open("storage" + std::string(Corvo::defaultClientTag) + token);
  if (suite) suite->apply({{{"config.value", std::nullopt}, {"location.value", std::nullopt}}});
}

/// A platform whose data is kept where the options say. Fails early if that is impossible.
Platform platformFor(const AskOptions& options) {
  Platform platform =
      platformOf(options.source, options.store ? HostOptions{.dataFile = options.store}
                                               : HostOptions{.inMemory = true});
  Surroundings(options.surroundings).describe(platform);
  if (!options.store) return platform;
  const std::shared_ptr<PreferencesSuite> trial = platform.preferencesStore->open("");
  if (!trial) throw Failure("bad-store", "cannot open " + *options.store + " as a store");
  if (!trial->apply({})) throw Failure("bad-store", "cannot write to " + *options.store);
  if (!options.source.config.empty()) forgetDocuments(platform, options.source.token);
  return platform;
}

Report answer(const Question& question, const Arguments& arguments, const AskOptions& options) {
  const Platform platform = platformFor(options);
  const Subject subject(options.subject);
  std::optional<CorvoUser> user;  // without one, a stored user is kept
  if (options.subject.isGiven()) user = subject.record(expiryOfNow(platform));
  AskedClient asked(platform, options.source.url, options.source.token, std::move(user));
  return asked.ask([&](CorvoClient& client) {
    Report report = question.ask(client, arguments);
    if (options.subject.isGiven()) subject.warnOfUnread(client.getProject().get());
    return report;
  });
}

void ask(const Question& question, const Arguments& arguments, const AskOptions& options) {
  const Report report = answer(question, arguments, options);
  std::ostringstream text;
  if (options.json) {
    text << report.json.toJson() << '\n';
  } else {
    printReport(report, Style(options.colour), text);
  }
  print(text.str());
}

void addOptions(CLI::App& command, AskOptions& options) {
  addSourceOptions(command, options.source);
  addSubjectOptions(command, options.subject);
  addSurroundingsOptions(command, options.surroundings);
  command
      .add_option("--store", options.store,
                  "Keep the client's state in a file; later calls reuse its user for one day")
      ->type_name("FILE");
  addColourOption(command, options.colour);
  command.add_flag("--json", options.json, "Print JSON");
}

void addQuestion(CLI::App& command, const Question& question,
                 const std::shared_ptr<AskOptions>& options) {
  CLI::App& word = *command.add_subcommand(question.word, question.help);
  auto arguments = std::make_shared<Arguments>();
  question.takes(word, *arguments);
  word.callback([&question, arguments, options] {
    settleSource(options->source, options->subject.file);
    ask(question, *arguments, *options);
  });
}

}  // namespace

void addAsk(CLI::App& app) {
  auto options = std::make_shared<AskOptions>();
  CLI::App& command = *app.add_subcommand("ask", "Query a backend, or a document, as one user");
  command.require_subcommand(1);
  command.fallthrough();  // allows options after the question, too
  addOptions(command, *options);
  for (const Question& question : questions()) addQuestion(command, question, options);
}

}  // namespace corvo::tool
