// SPDX-License-Identifier: Apache-2.0
#ifndef CORVO_C_PLATFORM_H
#define CORVO_C_PLATFORM_H

#include <corvo/c/base.h>
#include <corvo/c/engine.h>

// This is C, whatever C++ would prefer: NOLINTBEGIN(modernize-*)

#ifdef __cplusplus
extern "C" {
#endif

/// Receives the bytes that a function of the platform returns. Valid during that call.
typedef struct corvo_bytes corvo_bytes;
/// Copies the bytes. What was put there before is replaced. A text without data counts as empty.
CORVO_C_EXPORT corvo_status corvo_bytes_set(corvo_bytes* bytes, corvo_text value);

/// A fact about device and application.
typedef enum corvo_fact CORVO_C_ENUM {
  /// A stable identifier of this installation, a UUID in upper-case canonical text form.
  CORVO_VENDOR_IDENTIFIER = 0,
  CORVO_SYSTEM_NAME = 1,         ///< The name of the operating system.
  CORVO_SYSTEM_VERSION = 2,      ///< Its version: numbers joined by dots.
  CORVO_APPLICATION_VERSION = 3  ///< The version of the application, as shown to its users.
} corvo_fact;

/// One HTTP request, without a body. Valid during the call that starts it.
typedef struct corvo_request {
  corvo_text method;              ///< "GET" or "POST".
  corvo_text url;                 ///< May have only one slash after the scheme.
  const corvo_property* headers;  ///< Field names and values.
  size_t header_count;            ///< Their number.
  double timeout_seconds;         ///< The longest time without any progress.
} corvo_request;

/// The result of a request.
typedef struct corvo_response {
  size_t size;         ///< `sizeof(corvo_response)`
  int32_t status;      ///< The HTTP status code; 0 without an HTTP response.
  corvo_text body;     ///< The decoded body; empty means that no data came.
  corvo_text failure;  ///< Why the transfer did not complete. If there is such a text, status and
                       ///< body are ignored.
} corvo_response;

/// A request under way. Complete or drop it exactly once, even after the platform's `destroy`.
typedef struct corvo_exchange corvo_exchange;
/// Passes on the result, on any thread, possibly inside the call that started the request. Frees
/// the handle, except for `CORVO_INVALID_ARGUMENT`.
CORVO_C_EXPORT corvo_status corvo_exchange_complete(corvo_exchange* exchange,
                                                    const corvo_response* response);
/// Drops the request, and with it the questions that wait for it. Frees the handle.
CORVO_C_EXPORT corvo_status corvo_exchange_drop(corvo_exchange* exchange);

/// A task for the main queue. Run or drop it exactly once, even after the platform's `destroy`. Run
/// tasks one at a time, on the thread that uses the clients.
typedef struct corvo_task corvo_task;
/// Runs the task, which may call callbacks. Frees the handle. Fails with `CORVO_PLATFORM_FAILED` or
/// `CORVO_OUT_OF_MEMORY` if the task could not do its work.
CORVO_C_EXPORT corvo_status corvo_task_run(corvo_task* task);
/// Frees the handle, and drops what the task would have done.
CORVO_C_EXPORT corvo_status corvo_task_drop(corvo_task* task);

/// One change of a suite of preferences.
typedef struct corvo_change {
  corvo_text key;    ///< Any text.
  corvo_text value;  ///< The bytes to store under it. No text at all: the key is removed.
} corvo_change;

/// Services that the application brings: its own HTTP, its own store. Functions come in groups. A
/// group whose functions are all null is served by the ready-made platform; a group with some of
/// its functions is an error. Functions must not throw. A client, a registry's loop or a task that
/// they use is `CORVO_BUSY`. Unless a group says otherwise, its functions are called on the threads
/// that use clients and users, also at once.
typedef struct corvo_platform {
  size_t size;    ///< `sizeof(corvo_platform)`
  void* context;  ///< Passed to the functions.
  /// Called once, when nothing uses the context any more, on the thread that frees the last handle:
  /// registries, clients, users and replies use it. May be null.
  void (*destroy)(void* context);

  /// **The clock:** the current moment, in seconds since 1970-01-01 00:00:00 UTC.
  double (*now)(void* context);

  /// **The time zone:** as in `corvo_time_zone`. Called for every question.
  int32_t (*offset_at)(void* context, int64_t moment);
  uint64_t (*zone_identifier)(void* context);

  /// **The main queue,** on which answers come after a fetch. Takes a task, to run it later, after
  /// those posted before it, never inside this call. Called on any thread.
  void (*post)(void* context, corvo_task* task);
  /// Runs tasks on the calling thread until `holds(condition)`, which is asked before each task.
  /// Returns whether it holds: false if no task is queued and none can come. Null: answers cannot
  /// be waited for.
  bool (*run_until)(void* context, bool (*holds)(const void* condition), const void* condition);

  /// **The URL session:** starts a request.
  void (*start)(void* context, const corvo_request* request, corvo_exchange* exchange);

  /// **The preferences store:** named suites of bytes under keys. Called on any thread, for one
  /// suite by one thread at a time. The library counts the changes, so nobody else may change a
  /// store while a registry uses it.
  ///
  /// Whether the suite can be opened now; if not, what it stores must stay untouched. Null: always.
  bool (*open_suite)(void* context, corvo_text suite);
  /// Puts the bytes under the key into `value`, or nothing if there are none. Returns false if they
  /// cannot be read at the moment.
  bool (*read)(void* context, corvo_text suite, corvo_text key, corvo_bytes* value);
  /// Makes all changes and returns true, or makes none and returns false.
  bool (*apply)(void* context, corvo_text suite, const corvo_change* changes, size_t count);

  /// **The device:** puts a fact into `text`, or nothing if it is unknown. Called by one thread at
  /// a time, once for each fact; for the identifier again, at most once a second, while it is
  /// unknown.
  void (*fact)(void* context, corvo_fact fact, corvo_bytes* text);

  /// **The random source:** fills all bytes with cryptographically secure random bytes, or returns
  /// false. Must never leave weak bytes.
  bool (*fill)(void* context, void* bytes, size_t count);
} corvo_platform;

/// The options of the ready-made platform. See `corvo::HostOptions`.
typedef struct corvo_host_options {
  size_t size;  ///< `sizeof(corvo_host_options)`
  /// The folder for records. No text: the program's own folder in the user's data folder. Empty:
  /// nothing is stored.
  corvo_text data_folder;
  corvo_text data_file;            ///< The file for them. No text: "corvo.db" in the data folder.
  bool in_memory;                  ///< Keeps everything in memory instead.
  corvo_text application_version;  ///< As shown to the application's users.
  /// How long a transfer may make no progress. 0: 60. With a negative number all transfers fail.
  double timeout_seconds;
  /// How long a whole transfer may take. 0: 300. With a negative number all transfers fail.
  double transfer_seconds;
  size_t max_body_bytes;  ///< The largest accepted body. 0: 16 MiB.
} corvo_host_options;

#ifdef __cplusplus
}
#endif

// NOLINTEND(modernize-*)

#endif
