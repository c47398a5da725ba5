// SPDX-License-Identifier: Apache-2.0

#include <corvo/c/client.h>
#include <corvo/client.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "c/answers.h"
#include "c/call.h"
#include "c/client_objects.h"
#include "c/objects.h"
#include "c/report_json.h"
#include "c/user_object.h"
#include "c/value.h"

namespace corvo::corvo_internal::c {
namespace {

/// Calls the function with a client that no other thread uses through this handle meanwhile.
template <class Body>
corvo_status withClient(const corvo_client* client, Body body) {
  return call([&] {
    const auto object = shared(clients(), client);
    const OneThread::Stay turn(object->turn);
    body(*object->client);
  });
}

/// Asks a question. An answer that is already there is passed on when the client is no longer in
/// use.
template <class T, class Convert, class Ask>
corvo_status ask(const corvo_client* client, const corvo_callback& given, Convert convert,
                 Ask askWith) {
  return call([&] {
    OwnedCallback callback(given);
    const auto object = shared(clients(), client);
    CallbackSink<T, Convert> sink(std::move(callback), convert);
    {
      const OneThread::Stay turn(object->turn);
      askWith(*object->client, sink);
    }
    sink.passOn();
  });
}

// Each makes an outcome of an answer.

Outcome textOutcome(corvo_type type, std::string text) {
  Outcome outcome;
  outcome.value.type = type;
  outcome.text = std::move(text);
  return outcome;
}

/// A flag's text, read as a type.
struct FlagValue {
  corvo_type type;

  Outcome operator()(std::string_view text) const {
    const corvo_value value = valueOf(text, type);
    Outcome outcome = textOutcome(value.type, std::string(value.text.data == nullptr ? "" : text));
    outcome.value = value;
    return outcome;
  }
};

Outcome optionalOutcome(std::optional<std::string> text) {
  return text ? textOutcome(CORVO_STRING, *std::move(text)) : Outcome();
}

Outcome booleanOutcome(bool value) {
  Outcome outcome;
  outcome.value.type = CORVO_BOOLEAN;
  outcome.value.boolean = value;
  return outcome;
}

Outcome experimentsOutcome(std::vector<CorvoExperimentPointer> experiments) {
  Outcome outcome;
  outcome.experiments = std::move(experiments);
  return outcome;
}

Outcome oneExperiment(CorvoExperimentPointer experiment) {
  Outcome outcome;
  if (experiment) outcome.experiments.push_back(std::move(experiment));
  return outcome;
}

Outcome projectOutcome(Project project) {
  Outcome outcome;
  outcome.project = std::move(project);
  return outcome;
}

Outcome nothing(Done /*done*/) { return {}; }

/// An explanation in a form, which has been checked.
struct ExplanationText {
  corvo_form form;

  Outcome operator()(const Explanation& explanation) const {
    return textOutcome(form == CORVO_FORM_JSON ? CORVO_JSON : CORVO_STRING,
                       explained(explanation, form));
  }
};

template <void (CorvoClient::*askWhy)(std::string_view, AnswerSink<Explanation>&)>
corvo_status askWhyOf(corvo_client* client, corvo_text name, corvo_form form,
                      const corvo_callback& callback) {
  return ask<Explanation>(client, callback, ExplanationText{form},
                          [&](CorvoClient& asked, auto& sink) {
                            checkForm(form);
                            (asked.*askWhy)(viewOf(name), sink);
                          });
}

/// Lets the caller edit a builder by a handle that is valid during the call.
EditUser editBy(corvo_edit edit, void* context) {
  if (edit == nullptr) throw Misuse(CORVO_INVALID_ARGUMENT, "the function is null");
  return [edit, context](CorvoUser::Builder& builder) {
    auto object = std::make_shared<UserObject>();
    object->builder = &builder;
    auto* const user = handleIn<corvo_user>(users(), std::move(object));
    const bool isDone = edit(context, user);
    freeWhenIdle(users(), user);
    if (!isDone) throw Misuse(CORVO_CANCELLED, "the function asked to change nothing");
  };
}

corvo_copy copyOf(const std::optional<ClientStatus::Copy>& copy) {
  if (!copy) return {};
  return {true, copy->storedAt, copy->freshUntil};
}

}  // namespace
}  // namespace corvo::corvo_internal::c

using namespace corvo;
using namespace corvo::corvo_internal::c;

corvo_status corvo_client_free(corvo_client* client) {
  return call([&] { freeHandle(clients(), client); });
}

corvo_status corvo_client_set_user(corvo_client* client, corvo_user* user) {
  return withClient(client, [&](CorvoClient& changed) {
    CorvoUser copy;
    useAlone(users(), user, [&](const UserObject& object) { copy = object.builder->build(); });
    changed.setUser(std::move(copy));
  });
}

corvo_status corvo_client_set_user_properties(corvo_client* client, corvo_edit edit,
                                              void* context) {
  return withClient(
      client, [&](CorvoClient& changed) { changed.setUserProperties(editBy(edit, context)); });
}

corvo_status corvo_client_edit_user_properties(corvo_client* client, corvo_edit edit,
                                               void* context) {
  return withClient(
      client, [&](CorvoClient& changed) { changed.editUserProperties(editBy(edit, context)); });
}

corvo_status corvo_client_clear_user_properties(corvo_client* client) {
  return withClient(client, [](CorvoClient& changed) { changed.clearUserProperties(); });
}

corvo_status corvo_client_check_flag(corvo_client* client, corvo_text name, corvo_type type,
                                     corvo_callback callback) {
  return ask<std::string_view>(client, callback, FlagValue{type},
                               [&](CorvoClient& asked, auto& sink) {
                                 checkType(type);
                                 asked.askFlag(viewOf(name), sink);
                               });
}

corvo_status corvo_client_flags(corvo_client* client, corvo_callback callback) {
  return ask<FlagReport>(
      client, callback,
      [](const FlagReport& report) { return textOutcome(CORVO_JSON, flagsJson(report)); },
      [](CorvoClient& asked, auto& sink) { asked.askFlagReport(sink); });
}

corvo_status corvo_client_all_experiments(corvo_client* client, corvo_callback callback) {
  return ask<std::vector<CorvoExperimentPointer>>(
      client, callback, experimentsOutcome,
      [](CorvoClient& asked, auto& sink) { asked.askExperiments(sink); });
}

corvo_status corvo_client_all_experiments_text(corvo_client* client, bool estimate_holdouts,
                                               corvo_callback callback) {
  return ask<std::optional<std::string>>(
      client, callback, optionalOutcome,
      [&](CorvoClient& asked, auto& sink) { asked.askExperimentsText(estimate_holdouts, sink); });
}

corvo_status corvo_client_experiment(corvo_client* client, corvo_text name,
                                     corvo_callback callback) {
  return ask<CorvoExperimentPointer>(
      client, callback, oneExperiment,
      [&](CorvoClient& asked, auto& sink) { asked.askExperiment(viewOf(name), sink); });
}

corvo_status corvo_client_holdout(corvo_client* client, corvo_text name, corvo_callback callback) {
  return ask<bool>(client, callback, booleanOutcome,
                   [&](CorvoClient& asked, auto& sink) { asked.askHoldout(viewOf(name), sink); });
}

corvo_status corvo_client_all_holdouts(corvo_client* client, corvo_callback callback) {
  return ask<std::optional<std::string>>(
      client, callback, optionalOutcome,
      [](CorvoClient& asked, auto& sink) { asked.askHoldoutsText(sink); });
}

corvo_status corvo_client_details(corvo_client* client, bool estimate_holdouts,
                                  corvo_callback callback) {
  using Details = std::vector<CorvoExperimentDetail>;
  return ask<Details>(
      client, callback,
      [](const Details& details) { return textOutcome(CORVO_JSON, detailsJson(details)); },
      [&](CorvoClient& asked, auto& sink) { asked.askDetails(estimate_holdouts, sink); });
}

corvo_status corvo_client_explain_flag(corvo_client* client, corvo_text name, corvo_form form,
                                       corvo_callback callback) {
  return askWhyOf<&CorvoClient::askWhyFlag>(client, name, form, callback);
}

corvo_status corvo_client_explain_experiment(corvo_client* client, corvo_text name, corvo_form form,
                                             corvo_callback callback) {
  return askWhyOf<&CorvoClient::askWhyExperiment>(client, name, form, callback);
}

corvo_status corvo_client_project(corvo_client* client, corvo_callback callback) {
  return ask<Project>(client, callback, projectOutcome,
                      [](CorvoClient& asked, auto& sink) { asked.askProject(sink); });
}

corvo_status corvo_client_include_force(corvo_client* client, corvo_text experiment,
                                        const int64_t* group_index, corvo_callback callback) {
  return ask<Done>(client, callback, nothing, [&](CorvoClient& asked, auto& sink) {
    const auto index = group_index == nullptr ? std::nullopt : std::optional(*group_index);
    asked.askToInclude(viewOf(experiment), index, sink);
  });
}

corvo_status corvo_client_exclude_force(corvo_client* client, corvo_text experiment,
                                        corvo_callback callback) {
  return ask<Done>(client, callback, nothing, [&](CorvoClient& asked, auto& sink) {
    asked.askToExclude(viewOf(experiment), sink);
  });
}

corvo_status corvo_client_exclude_force_all(corvo_client* client, corvo_callback callback) {
  return ask<Done>(client, callback, nothing,
                   [](CorvoClient& asked, auto& sink) { asked.askToExcludeAll(sink); });
}

corvo_status corvo_client_status(corvo_client* client, corvo_client_copies* copies) {
  return withClient(client, [&](CorvoClient& asked) {
    corvo_client_copies& result = sizedAt(copies);
    const ClientStatus status = asked.status();
    result.configuration = copyOf(status.configuration);
    result.location = copyOf(status.location);
  });
}
