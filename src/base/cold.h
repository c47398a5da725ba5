#pragma once

/// Before a function that a plain question seldom needs: compiled apart, so that it does not burden
/// the path on which it is not called.
#if defined(__GNUC__)
#define CORVO_COLD [[gnu::noinline, gnu::cold]]
#else
#define CORVO_COLD
#endif
