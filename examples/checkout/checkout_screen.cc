// SPDX-License-Identifier: Apache-2.0

#include "checkout_screen.h"

#include <corvo/experiment.h>

#include <optional>

using namespace corvo;

void CheckoutScreen::open() {
  const std::weak_ptr<CheckoutView> weak = view_;
  const auto onError = [weak](const CorvoError& /*error*/) {
    if (const auto view = weak.lock()) view->showsFallback = true;
  };
  client_->checkFlag<bool>(
      "one-click",
      [weak](std::optional<bool> on) {
        if (const auto view = weak.lock()) view->button = on == true ? "Buy now" : "Continue";
      },
      onError);
  client_->getExperiment(
      "short-checkout",
      [weak](const CorvoExperimentPointer& experiment) {
        const auto view = weak.lock();
        if (view == nullptr || experiment == nullptr) return;  // the user is not in it
        view->steps = experiment->getParamValue<std::int64_t>("steps").value_or(3);
      },
      onError);
}
