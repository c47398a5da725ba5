// SPDX-License-Identifier: Apache-2.0

#include "c/answers.h"

#include <exception>

#include "c/call.h"
#include "c/objects.h"

namespace corvo::corvo_internal::c {

PresentedAnswer::PresentedAnswer(Outcome outcome) : outcome_(std::move(outcome)) {
  if (outcome_.error) {
    error_ = described(*outcome_.error);
    answer_.error = &error_;
    return;
  }
  answer_.value = outcome_.value;
  const corvo_type type = outcome_.value.type;
  if (type == CORVO_STRING || type == CORVO_JSON) answer_.value.text = asText(outcome_.text);
  addHandles();
}

/// All of them, or none.
void PresentedAnswer::addHandles() {
  experiments_.reserve(outcome_.experiments.size());
  try {
    for (const CorvoExperimentPointer& each : outcome_.experiments) {
      experiments_.push_back(handleOf(each));
    }
    if (outcome_.project) answer_.project = handleOf(*outcome_.project);
  } catch (const std::exception&) {
    for (corvo_experiment* const each : experiments_) freeHandle(experiments(), each);
    throw;
  }
  answer_.experiments = experiments_.data();
  answer_.experiment_count = experiments_.size();
}

OwnedCallback::OwnedCallback(const corvo_callback& given) : given_(given) {
  if (given.call != &refuseAnswer) return;
  if (given.context == nullptr) throwInvalidHandle();
  throwBusy();
}

OwnedCallback::~OwnedCallback() {
  if (given_.destroy != nullptr) given_.destroy(given_.context);
}

void OwnedCallback::operator()(Outcome&& outcome) {
  const OwnedCallback last(std::move(*this));  // the callback may destroy this object
  const corvo_callback& to = last.given_;
  if (to.call == nullptr) return;
  std::optional<PresentedAnswer> presented;
  const corvo_status status = c::call([&] { presented.emplace(std::move(outcome)); });
  if (status == CORVO_OK) return to.call(to.context, &presented->answer());
  corvo_error error{sizeof(corvo_error), CORVO_OK, {}, -1};
  corvo_last_error(&error);
  corvo_answer answer{};
  answer.error = &error;
  to.call(to.context, &answer);
}

void refuseAnswer(void* /*context*/, const corvo_answer* /*answer*/) {}

}  // namespace corvo::corvo_internal::c
