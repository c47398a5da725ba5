#include <corvo/client_registry.h>
#include <corvo/corvo.h>
#include <corvo/host.h>
#include <corvo/user_builder.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/commands.h"
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

CorvoUser describedUser(const AskOptions& options) {
  CorvoUser::Builder builder;
  builder.setUserId(options.userId);
  for (const std::string_view property : options.properties) {
    const std::size_t equals = property.find('=');
    setProperty(builder, property.substr(0, equals), property.substr(equals + 1));
  }
  return builder.build();
}

void ask(const Question& question, const std::string& argument, const AskOptions& options) {
  ClientRegistry registry(hostPlatform({.inMemory = true}));
  const std::shared_ptr<CorvoClient> client =
      registry.initializeClient(options.token, describedUser(options), options.url, kCacheSeconds,
                                kRetries, Corvo::defaultClientTag);
  const Report report = question.ask(*client, argument);
  if (options.json) {
    std::cout << report.json.toJson() << '\n';
  } else {
    printTable(report, std::cout);
  }
}

void addOptions(CLI::App& command, AskOptions& options) {
  command.add_option("--url", options.url, "The backend's base address")->required();
  command.add_option("--token", options.token, "The project's token")->required();
  command.add_option("--user-id", options.userId, "The user's identifier");
  command.add_option("--property", options.properties, "A property of the user; may be repeated")
      ->check(CLI::Validator(complainAboutProperty, "NAME=TEXT"))
      ->allow_extra_args(false);
  command.add_flag("--json", options.json, "Answer in JSON");
}

void addQuestion(CLI::App& command, const Question& question,
                 const std::shared_ptr<AskOptions>& options) {
  CLI::App& word = *command.add_subcommand(question.word, question.help);
  auto argument = std::make_shared<std::string>();
  if (question.argument) word.add_option(question.argument, *argument)->required();
  word.callback([&question, argument, options] { ask(question, *argument, *options); });
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
