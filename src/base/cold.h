// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks a function that ordinary questions rarely need. It is compiled out of line, so that it
/// does not slow down the path that does not call it.
#if defined(__GNUC__)
#define CORVO_COLD [[gnu::noinline, gnu::cold]]
#else
#define CORVO_COLD
#endif
