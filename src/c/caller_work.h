// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/main_queue.h>
#include <corvo/platform/url_session.h>

#include <memory>

#include "c/caller_functions.h"

namespace corvo::corvo_internal::c {

/// A queue and a session by the caller's functions, which receive handles for tasks and requests.
std::shared_ptr<MainQueue> callerQueue(std::shared_ptr<const CallerFunctions> functions);
std::shared_ptr<UrlSession> callerSession(std::shared_ptr<const CallerFunctions> functions);

}  // namespace corvo::corvo_internal::c
