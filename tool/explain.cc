// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/explanation.h>
#include <corvo/json_value.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/property_json.h"
#include "tool/commands.h"
#include "tool/deciding_steps.h"
#include "tool/experiment_report.h"
#include "tool/output.h"
#include "tool/report.h"
#include "tool/source.h"
#include "tool/style.h"
#include "tool/subject.h"
#include "tool/surroundings.h"

namespace corvo::tool {
namespace {

struct ExplainOptions {
  SourceOptions source;
  SubjectOptions subject;
  SurroundingsOptions surroundings;
  Colour colour = Colour::automatic;
  bool json = false;
  std::string name;
};

using Explain = Explanation (*)(Evaluation& about, const std::string& name);

Explanation explainFlag(Evaluation& about, const std::string& name) {
  return about.explainFlag(name);
}
Explanation explainExperiment(Evaluation& about, const std::string& name) {
  return about.explainExperiment(name);
}

JsonValue answerOfFlag(const Explanation& explanation) {
  const Explanation::Step& value = explanation.steps.back();
  return JsonObject{{"type", *value.find("type")},
                    {"value", corvo_internal::model::jsonOf(typedProperty(*explanation.value))}};
}

JsonValue answerOfExperiment(const Explanation& explanation, Evaluation& about) {
  JsonValue value;
  if (explanation.value) {
    // The details list the names of the values; the handle does not.
    value = placeWithValues(*about.getExperiment(explanation.name).value(),
                            about.getUserExperimentsDetails().value());
  }
  return JsonObject{{"type", "experiment"}, {"value", std::move(value)}};
}

std::string inJson(const Explanation& explanation, Evaluation& about) {
  JsonObject json = fromCorvoString<JsonObject>(explanation.toJson()).value();
  JsonObject all{{"steps", std::move(json.at("steps"))}};
  if (explanation.error) {
    all.emplace(
        "answer",
        JsonObject{{"error", JsonObject{{"case", std::string(explanation.error->name())},
                                        {"description", explanation.error->description()}}}});
  } else {
    all.emplace("answer", explanation.question == Explanation::Question::flag
                              ? answerOfFlag(explanation)
                              : answerOfExperiment(explanation, about));
  }
  return toJson(all) + "\n";
}

/// The engine's lines, with a mark before those that decide the answer.
std::string forPeople(const Explanation& explanation, const Style& style) {
  auto [answer, lines] = explainedLines(explanation);
  std::string text = style.bold(answer) + "\n";
  for (auto& [line, decides] : lines) {
    line.replace(0, 2, decides ? "> " : "  ");
    text += (decides ? style.green(line) : line) + "\n";
  }
  return text;
}

void explain(Explain question, const ExplainOptions& options) {
  const Surroundings surroundings(options.surroundings);
  Subject subject(options.subject);
  const Source source = loadSource(options.source);
  EvaluationContext context{.location = source.location};
  subject.describe(context);
  surroundings.describe(context);
  Evaluation about = source.project.evaluate(context);
  const Explanation explanation = question(about, options.name);
  print(options.json ? inJson(explanation, about) : forPeople(explanation, Style(options.colour)));
  // Last, so that a failure under --json prints nothing but the failure.
  printDrops(source);
  subject.warnOfUnread(source.project);
}

void addQuestion(CLI::App& command, const char* word, const char* help, Explain question,
                 const std::shared_ptr<ExplainOptions>& options) {
  CLI::App& what = *command.add_subcommand(word, help);
  what.add_option("NAME", options->name, "The name in the configuration")->required();
  what.callback([options, question] {
    settleSource(options->source, options->subject.file);
    explain(question, *options);
  });
}

}  // namespace

void addExplain(CLI::App& app) {
  auto options = std::make_shared<ExplainOptions>();
  CLI::App& command = *app.add_subcommand(
      "explain", "Show why a user gets a flag's value, or is in an experiment or not");
  command.require_subcommand(1);
  command.fallthrough();
  addSourceOptions(command, options->source);
  addSubjectOptions(command, options->subject);
  addSurroundingsOptions(command, options->surroundings);
  addColourOption(command, options->colour);
  command.add_flag("--json", options->json, "Print JSON");
  addQuestion(command, "flag", "Why a flag has its value", explainFlag, options);
  addQuestion(command, "experiment", "Why the user is in an experiment, or is not",
              explainExperiment, options);
}

}  // namespace corvo::tool
