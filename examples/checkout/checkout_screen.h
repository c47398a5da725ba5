// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client.h>

#include <cstdint>
#include <memory>
#include <string>

/// The contents of the screen. Until an answer comes, it shows these defaults.
struct CheckoutView {
  std::string button = "Continue";
  std::int64_t steps = 3;
  bool showsFallback = false;  // a question failed
};

/// The screen before payment. The flag "one-click" and the experiment "short-checkout" change it.
class CheckoutScreen {
 public:
  explicit CheckoutScreen(std::shared_ptr<corvo::CorvoClient> client)
      : client_(std::move(client)) {}

  void open();
  [[nodiscard]] const CheckoutView& view() const { return *view_; }

 private:
  std::shared_ptr<corvo::CorvoClient> client_;
  // Callbacks refer to the view weakly, because answers may come after the screen is closed.
  std::shared_ptr<CheckoutView> view_ = std::make_shared<CheckoutView>();
};
