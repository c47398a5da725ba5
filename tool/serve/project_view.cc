// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/project_view.h"

#include <corvo/evaluation.h>
#include <corvo/explanation.h>
#include <corvo/property.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <map>
#include <utility>

#include "tool/deciding_steps.h"
#include "tool/experiment_list.h"
#include "tool/experiment_report.h"
#include "tool/first_few.h"
#include "tool/html.h"
#include "tool/report.h"
#include "tool/text.h"

namespace corvo::tool {

using html::code;
using html::element;

namespace {

constexpr std::size_t kMostNames = 200;
constexpr std::size_t kMostItems = 1'000;
constexpr std::size_t kMostDeep = 8;
// Bytes of a step, of a value, and of all explanations before they are shortened: what a browser
// still shows at once.
constexpr std::size_t kLongestStep = 1'500;
constexpr std::size_t kLongestValue = 2'000;
constexpr std::size_t kMostExplained = std::size_t{16} << 20;

template <class List>
std::string codes(const List& texts) {
  std::string all;
  for (const auto& each : firstFew(texts, kMostNames)) {
    all += (all.empty() ? "" : " ") + code(each);
  }
  if (texts.size() > kMostNames) all += " and " + std::to_string(texts.size() - kMostNames);
  return all.empty() ? "none" : all;
}

std::string row(std::string_view term, const std::string& content) {
  return element("div", "", element("dt", "", term) + element("dd", "", content));
}

/// "outsideAllocation" as "outside allocation".
std::string wordsOf(std::string_view name) {
  std::string words;
  for (const char c : name) {
    const bool isUpper = c >= 'A' && c <= 'Z';
    words += isUpper ? std::string{' ', static_cast<char>(c - 'A' + 'a')} : std::string(1, c);
  }
  return words;
}

std::string stepOf(const ExplainedLines::Line& line) {
  const auto& [text, decides] = line;
  const std::size_t indent = std::min(text.find_first_not_of(' '), text.size());
  const std::size_t depth = std::min(std::max<std::size_t>(indent / 2, 1) - 1, kMostDeep);
  const std::string mark = decides ? "<b>&gt; </b><span class=\"unseen\">decides: </span>" : "";
  return element("li", "d" + std::to_string(depth) + (decides ? " decides" : ""),
                 mark + html::shown(std::string_view(text).substr(indent), kLongestStep));
}

/// The answer to one question, for the line that is always visible.
struct Answer {
  std::string text;
  const char* kind;  ///< "value", "none" or "error".
};

std::string markOf(const Answer& answer) {
  return element("span", std::string("answer ") + answer.kind, html::shown(answer.text, 200));
}

/// An entry of a list, which opens to show its details. Keeps its key while others come and go.
std::string item(const std::string& kind, const std::string& name, const std::string& marks,
                 const std::string& details) {
  const std::string key = std::to_string(std::hash<std::string>()(kind + name));
  return R"(<details class="item" data-key=")" + key + R"("><summary>)" +
         element("span", "name", html::shown(name, 200)) + " " + marks + "</summary>" +
         element("div", "details", details) + "</details>\n";
}

std::string groupsOf(const Project::Experiment& experiment) {
  std::string rows;
  for (const auto& [name, label, weight] : experiment.groups) {
    const std::string value = std::to_string(std::clamp(weight >= 0 ? weight : 0, 0.0, 1.0));
    rows += element("tr", "",
                    R"(<th scope="row">)" + html::shown(name) + "</th>" +
                        element("td", "", html::shown(label.value_or(""))) +
                        element("td", "number", shown(CorvoProperty(weight))) +
                        R"(<td><meter aria-hidden="true" value=")" + value + R"("></meter></td>)");
  }
  return "<table><caption>Groups and weights</caption>" + rows + "</table>";
}

std::string valuesOf(const Report& report) {
  std::string rows;
  for (const auto& each : report.rows) {
    rows += element("tr", "",
                    R"(<th scope="row">)" + html::shown(each[0]) + "</th>" +
                        element("td", "", html::shown(each[1])) + element("td", "", code(each[2])));
  }
  return rows.empty() ? "" : "<table><caption>Values for this user</caption>" + rows + "</table>";
}

/// The lists of a project, with the answers for a user if there is an evaluation.
class Lists {
 public:
  Lists(const Project& project, Evaluation* about, const std::string& only)
      : project_(project), about_(about), only_(only) {
    if (about_ == nullptr) return;
    if (auto details = about_->getUserExperimentsDetails()) details_ = std::move(details).value();
    const std::vector<ListedExperiment> experiments = allExperiments(project_);
    std::vector<std::size_t> positions(experiments.size());
    std::ranges::transform(experiments, positions.begin(), &ListedExperiment::position);
    const auto placements = about_->placements(positions);
    placements_.assign(placements.begin(), placements.end());
    for (const Evaluation::Placement& each : placements_) {
      if (each.group) firstJoined_.emplace(experiments[each.experiment].name, each.experiment);
    }
  }

  std::string all() {
    return list("Flags", project_.flags(), &Lists::flag) +
           list("Experiments", project_.experiments(), &Lists::experiment) +
           list("Holdouts", project_.holdouts(), &Lists::experiment);
  }

 private:
  template <class Entry>
  std::string list(const char* title, const std::vector<Entry>& entries,
                   std::string (Lists::*one)(const Entry&)) {
    std::string items;
    std::size_t count = 0;
    for (const Entry& each : entries) {
      const bool isListed = each.name.find(only_) != std::string::npos;
      if (isListed && ++count <= kMostItems) items += (this->*one)(each);
    }
    if (count > kMostItems) {
      items += element("p", "",
                       std::to_string(count - kMostItems) +
                           " more are not listed. Type a part of a name to find them.");
    }
    if (count == 0) items = element("p", "quiet", entries.empty() ? "None." : "None of that name.");
    const std::string number = element("span", "count", std::to_string(entries.size()));
    return element("h2", "", std::string(title) + " " + number) + items;
  }

  std::string flag(const Project::Flag& flag) {
    std::string facts = row("type", code(flag.type));
    if (flag.carriedBy) facts += row("decided by experiment", code(*flag.carriedBy));
    if (flag.isOnlyCarried) facts += row("only in experiments", "yes");
    if (flag.isPrivate) facts += row("private", "yes");
    std::string details = element("dl", "", facts);
    if (about_ == nullptr) {
      return item("flag", flag.name, element("span", "type", html::shown(flag.type, 50)), details);
    }
    auto text = about_->checkFlag<std::string>(flag.name);
    if (const CorvoError* error = text.error()) {
      details = explained([&] { return about_->explainFlag(flag.name); }) + details;
      return item("flag", flag.name, markOf({error->description(), "error"}), details);
    }
    const CorvoProperty value = typedProperty(text.value().value_or(""));
    const Answer answer{shown(value), "value"};
    details = element("p", "value", html::shown(answer.text, kLongestValue)) +
              explained([&] { return about_->explainFlag(flag.name); }) + details;
    const std::string type = element("span", "type", typeOf(value));
    return item("flag", flag.name, markOf(answer) + " " + type, details);
  }

  std::string experiment(const Project::Experiment& experiment) {
    std::string facts;
    if (experiment.type) facts += row("type", code(*experiment.type));
    facts += row("splits by", code(experiment.splitBy));
    facts += row("allocation", html::shown(shown(CorvoProperty(experiment.allocation))));
    if (experiment.layer) facts += row("layer", code(*experiment.layer));
    if (!experiment.flags.empty()) facts += row("flags", codes(experiment.flags));
    if (!experiment.params.empty()) facts += row("parameters", codes(experiment.params));
    if (!experiment.holdouts.empty()) facts += row("holdouts", codes(experiment.holdouts));
    if (experiment.isPrivate) facts += row("private", "yes");
    const std::string details = element("dl", "", facts) + groupsOf(experiment);
    const std::string kind = "experiment " + std::to_string(ofOneName_[experiment.name]++) + " ";
    if (about_ == nullptr) {
      const std::string groups = counted(experiment.groups.size(), "group");
      return item(kind, experiment.name, element("span", "type", groups), details);
    }
    const std::string why = explained([&] { return about_->explainExperiment(experiment.name); });
    return item(kind, experiment.name, markOf(placeIn(experiment)),
                why + valuesIn(experiment) + details);
  }

  Answer placeIn(const Project::Experiment& experiment) {
    const auto& [position, reason, group, holdout] = placements_[experiment.position];
    if (!group) return {"not in it: " + wordsOf(textOf(reason)), "none"};
    return {shown(CorvoProperty(experiment.groups[*group].name)), "value"};
  }

  /// Of several experiments of one name, the first one that the user is in gives values.
  std::string valuesIn(const Project::Experiment& experiment) {
    const auto first = firstJoined_.find(experiment.name);
    if (first == firstJoined_.end() || first->second != experiment.position) return "";
    const auto handle = about_->getExperiment(experiment.name);
    return handle && handle.value() ? valuesOf(experimentReport(*handle.value(), details_)) : "";
  }

  /// An explanation, until there are too many for a page.
  template <class Explain>
  std::string explained(Explain explain) {
    if (explainedBytes_ > kMostExplained) {
      return element("p", "quiet",
                     "Not explained: the page would be too long. Type a part of a name.");
    }
    std::string steps;
    for (const ExplainedLines::Line& line : explainedLines(explain()).lines) {
      explainedBytes_ += line.text.size();
      steps += stepOf(line);
    }
    return element("ol", "steps", steps);
  }

  const Project& project_;
  Evaluation* const about_;
  const std::string& only_;
  std::vector<CorvoExperimentDetail> details_;
  std::vector<Evaluation::Placement> placements_;   // by position
  std::map<std::string, std::size_t> firstJoined_;  // by name: the position
  std::map<std::string, std::size_t> ofOneName_;    // how many have been shown
  std::size_t explainedBytes_ = 0;
};

std::string refusalOf(const Snapshot& snapshot) {
  return element(
      "div", "refusal",
      element("p", "", "Nothing is evaluated, because a client cannot use this project:") +
          element("pre", "", html::shown(snapshot.refusal, kLongestStep)));
}

std::string unreadBy(const Subject& subject, const Project& project) {
  const std::vector<std::string_view> names = subject.unread(project);
  if (names.empty()) return "";
  return element("p", "warning", "The project does not use " + codes(names) + ".");
}

}  // namespace

std::string glanceOf(const Snapshot& snapshot) {
  if (!snapshot.project) return element("p", "quiet", "There is no project to show.");
  const Project& project = *snapshot.project;
  return element("dl", "glance",
                 row("flags", std::to_string(project.flags().size())) +
                     row("experiments", std::to_string(project.experiments().size())) +
                     row("holdouts", std::to_string(project.holdouts().size())) +
                     row("properties that answers depend on", codes(project.properties())));
}

std::string answersOf(const Snapshot& snapshot, const PageQuery& query) {
  if (!snapshot.project) return refusalOf(snapshot);
  const Project& project = *snapshot.project;
  if (!snapshot.refusal.empty()) {
    return refusalOf(snapshot) + Lists(project, nullptr, query.only).all();
  }
  if (!query.isAsked || !query.complaint.empty()) {
    return Lists(project, nullptr, query.only).all();
  }
  Subject subject(query.subject);
  EvaluationContext context{.location = snapshot.place};
  subject.describe(context);
  Surroundings(query.surroundings).describe(context);
  Evaluation about = project.evaluate(context);
  return unreadBy(subject, project) + Lists(project, &about, query.only).all();
}

}  // namespace corvo::tool
