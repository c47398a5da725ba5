// SPDX-License-Identifier: Apache-2.0
#ifndef CORVO_C_H
#define CORVO_C_H

/// The library in C11, for other languages and for programs in C. Link `corvo::c`.
///
/// **Handles.** Projects, evaluations, clients and so on are handles. A handle is a number, not an
/// address: one that is null, freed, or of another type is the error `CORVO_INVALID_HANDLE`, even
/// if it is freed twice. A handle that a function returns, or hands to a callback that then owns
/// it, needs its `..._free`.
///
/// **Errors.** Functions that can fail return a status. If it is not `CORVO_OK`, results are
/// untouched, and `corvo_last_error` describes what happened. Nothing throws, and callbacks must
/// not throw either.
///
/// **Text** is UTF-8 with a length, and may contain zero bytes. Invalid UTF-8 is replaced with
/// U+FFFD. Arguments are read during the call and not kept. Texts that a function returns belong to
/// the handle that was asked: they are valid as long as its comment says, and must not be freed.
///
/// **Structs with a size** begin with `size`: set it to the struct's `sizeof`, and every member
/// that is not needed to zero, which means its default. Later versions may add members to them, and
/// still accept the sizes of earlier ones. Other structs never change.
///
/// **Threads.** Use an evaluation, a user, a client or a reply on one thread at a time; concurrent
/// use is the error `CORVO_BUSY`. One concurrent use of a client cannot be noticed in time: while
/// another thread runs the loop and handles an answer for the client. It aborts the process, as in
/// C++. So use a client on the thread that runs its loop. All other handles are safe on any thread.

#include <corvo/c/base.h>
#include <corvo/c/client.h>
#include <corvo/c/engine.h>
#include <corvo/c/platform.h>

#endif
