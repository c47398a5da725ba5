// SPDX-License-Identifier: Apache-2.0

#include "c/answers.h"

#include <exception>

#include "c/call.h"
#include "c/objects.h"

namespace corvo::corvo_internal::c {

PresentedAnswer::PresentedAnswer(Outcome outcome) : outcome_(std::move(outcome)) {
  if (outcome_.error) {
    outcome_.text = outcome_.error->description();
    error_ = described(*outcome_.error, outcome_.text);
    answer_.error = &error_;
    return;
  }
  answer_.value = outcome_.value;
  const corvo_type type = outcome_.value.type;
  if (type == CORVO_STRING || type == CORVO_JSON) answer_.value.text = asText(outcome_.text);
  experiments_ = handlesOf(outcome_.experiments);
  answer_.experiments = experiments_.data();
  answer_.experiment_count = experiments_.size();
  if (!outcome_.project) return;
  try {
    answer_.project = handleOf(*std::move(outcome_.project));
  } catch (const std::exception&) {
    freeAll(experiments_);
    throw;
  }
}

OwnedCallback::OwnedCallback(const corvo_callback& given) : given_(given) {
  if (given.call == &takeAnswer) beginReply(given.context);
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
  corvo_error error = errorOf(CORVO_OK, {});
  corvo_last_error(&error);
  corvo_answer answer{};
  answer.error = &error;
  to.call(to.context, &answer);
}

}  // namespace corvo::corvo_internal::c
