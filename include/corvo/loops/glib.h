// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/host.h>
#include <glib.h>

#include <memory>
#include <utility>

namespace corvo::glib {

/// Runs a `HostLoop` from a GLib main context, so that answers arrive in a GTK or GLib program.
/// While nothing is under way, there is no timer and the context is not woken. While a transfer is
/// under way, the loop is ticked every 5 milliseconds.
///
/// Callbacks run on the thread that runs the context, which is then the thread that runs the loop:
/// create clients and ask questions there. A callback may run an event loop; answers keep arriving.
/// A callback must not let an exception escape: exceptions cannot pass through GLib, which is C, so
/// `std::terminate` ends the process.
///
/// A loop has one adapter at a time. Any thread may create and destroy it, even in a callback.
/// Transfers and tasks under way survive its destruction, and continue with the next adapter or
/// with `run`, `tick` or `runUntil`. Needs GLib 2.36 or newer.
class LoopSource {
 public:
  /// The loop must not be null. A null context means the default context. Both are shared.
  explicit LoopSource(std::shared_ptr<HostLoop> loop, GMainContext* context = nullptr)
      : loop_(std::move(loop)), source_(makeSource(loop_, context)) {
    loop_->onWork([source = source_] { g_source_set_ready_time(source.get(), kNow); });
    if (loop_->busy()) g_source_set_ready_time(source_.get(), kNow);
  }
  LoopSource(const LoopSource&) = delete;
  LoopSource& operator=(const LoopSource&) = delete;
  ~LoopSource() {
    loop_->onWork(nullptr);
    g_source_destroy(source_.get());
  }

 private:
  using Loop = std::shared_ptr<HostLoop>;
  static constexpr gint64 kNow = 0;
  static constexpr gint64 kNever = -1;
  static constexpr gint64 kIntervalMicroseconds = 5000;

  // Keeps the context alive too: another thread may wake it while the adapter is being destroyed.
  static std::shared_ptr<GSource> makeSource(const Loop& loop, GMainContext* context) {
    static GSourceFuncs functions{nullptr, nullptr, &dispatch, nullptr, nullptr, nullptr};
    if (context == nullptr) context = g_main_context_default();
    std::shared_ptr<GSource> source(g_source_new(&functions, sizeof(GSource)),
                                    [kept = g_main_context_ref(context)](GSource* last) {
                                      g_source_unref(last);
                                      g_main_context_unref(kept);
                                    });
    g_source_set_name(source.get(), "corvo");
    g_source_set_can_recurse(source.get(), TRUE);  // for event loops inside callbacks
    g_source_set_callback(source.get(), nullptr, new Loop(loop),
                          [](gpointer kept) { delete static_cast<Loop*>(kept); });
    g_source_attach(source.get(), context);
    return source;
  }

  // GLib keeps source and loop alive during this call, which may destroy the adapter.
  static gboolean dispatch(GSource* source, GSourceFunc /*none*/, gpointer kept) noexcept {
    HostLoop& loop = **static_cast<Loop*>(kept);
    // Set before the tick, because work queued during the tick sets an earlier time.
    g_source_set_ready_time(source, g_get_monotonic_time() + kIntervalMicroseconds);
    loop.tick();
    if (g_source_is_destroyed(source) != FALSE) return G_SOURCE_REMOVE;
    if (!loop.busy()) {
      g_source_set_ready_time(source, kNever);
      if (loop.busy()) g_source_set_ready_time(source, kNow);  // queued by another thread just now
    }
    return G_SOURCE_CONTINUE;
  }

  Loop loop_;
  std::shared_ptr<GSource> source_;
};

}  // namespace corvo::glib
