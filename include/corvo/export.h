// SPDX-License-Identifier: Apache-2.0
#pragma once

// Marks what the shared libraries export; everything else is hidden. A build of shared libraries
// defines CORVO_SHARED for them and for all code that links them. Static libraries need no marks.

#if !defined(CORVO_SHARED)
#define CORVO_EXPORTED
#define CORVO_IMPORTED
#define CORVO_TYPE
#elif defined(_WIN32)
#define CORVO_EXPORTED __declspec(dllexport)
#define CORVO_IMPORTED __declspec(dllimport)
#define CORVO_TYPE
#else
#define CORVO_EXPORTED __attribute__((visibility("default")))
#define CORVO_IMPORTED CORVO_EXPORTED
/// A class that is defined completely in its header, but must be the same type in all libraries,
/// because it is thrown or implemented across their borders. Windows compares types by name.
#define CORVO_TYPE CORVO_EXPORTED
#endif

// Each library exports its own symbols and imports those of the others. The engine is part of the
// core.

#ifdef corvo_core_EXPORTS
#define CORVO_EXPORT CORVO_EXPORTED
#else
#define CORVO_EXPORT CORVO_IMPORTED
#endif

#ifdef corvo_host_EXPORTS
#define CORVO_HOST_EXPORT CORVO_EXPORTED
#else
#define CORVO_HOST_EXPORT CORVO_IMPORTED
#endif

#ifdef corvo_fakes_EXPORTS
#define CORVO_FAKES_EXPORT CORVO_EXPORTED
#else
#define CORVO_FAKES_EXPORT CORVO_IMPORTED
#endif

#ifdef corvo_corvo_EXPORTS
#define CORVO_FACADE_EXPORT CORVO_EXPORTED
#else
#define CORVO_FACADE_EXPORT CORVO_IMPORTED
#endif
