#pragma once

#include <corvo/client.h>

#include <cstdint>
#include <memory>
#include <string>

/// What the screen shows. These are its defaults: what it shows before an answer comes.
struct CheckoutView {
  std::string button = "Continue";
  std::int64_t steps = 3;
  bool showsFallback = false;  // because a question failed
};

/// The screen before somebody pays. The flag "one-click" and the experiment "short-checkout" change
/// it.
class CheckoutScreen {
 public:
  explicit CheckoutScreen(std::shared_ptr<corvo::CorvoClient> client)
      : client_(std::move(client)) {}

  void open();
  [[nodiscard]] const CheckoutView& view() const { return *view_; }

 private:
  std::shared_ptr<corvo::CorvoClient> client_;
  // Answers that come after the screen was closed find the view gone.
  std::shared_ptr<CheckoutView> view_ = std::make_shared<CheckoutView>();
};
