// SPDX-License-Identifier: Apache-2.0
#ifndef CORVO_C_CLIENT_H
#define CORVO_C_CLIENT_H

#include <corvo/c/base.h>
#include <corvo/c/engine.h>
#include <corvo/c/platform.h>

// This is C, whatever C++ would prefer: NOLINTBEGIN(modernize-*)

#ifdef __cplusplus
extern "C" {
#endif

/// The clients of an application by tag, all on one platform. See `corvo::ClientRegistry`.
typedef struct corvo_registry corvo_registry;

/// Creates a registry on the ready-made platform; services that `platform` provides take
/// precedence. Both structs are copied, and both may be null. Takes ownership of the platform's
/// context: `destroy` is called when nothing uses it any more, or before the return if the function
/// fails, unless the struct's size is wrong. Fails with `CORVO_UNAVAILABLE` if a service is missing
/// and this build has no ready-made platform.
CORVO_C_EXPORT corvo_status corvo_registry_create(const corvo_host_options* host,
                                                  const corvo_platform* platform,
                                                  corvo_registry** registry);
/// Frees the handle, and makes all of its `corvo_registry_run` return. Clients keep working, but a
/// ready-made loop then runs only while `corvo_reply_wait` waits.
CORVO_C_EXPORT corvo_status corvo_registry_free(corvo_registry* registry);

// The loop of the ready-made platform, on which its transfers advance and answers come. Run it on
// one thread at a time; a second one gets `CORVO_BUSY`. Callbacks may run it, too. Fails with
// `CORVO_UNAVAILABLE` if the platform brings both its own main queue and its own URL session. Fails
// with `CORVO_PLATFORM_FAILED` or `CORVO_OUT_OF_MEMORY` if a task could not do its work; the other
// tasks stay queued. See `corvo::HostLoop`.

/// Runs tasks and transfers, and waits for more, until `corvo_registry_stop`.
CORVO_C_EXPORT corvo_status corvo_registry_run(corvo_registry* registry);
/// Makes one `corvo_registry_run` return after its current task. For any thread.
CORVO_C_EXPORT corvo_status corvo_registry_stop(corvo_registry* registry);
/// Advances the transfers without waiting, then runs the tasks that are queued at that time: once
/// per frame, or from a timer while the loop is busy.
CORVO_C_EXPORT corvo_status corvo_registry_tick(corvo_registry* registry);
/// Whether a task is queued or a transfer is under way. The loop does not know of the requests of a
/// URL session that the platform brings. For any thread.
CORVO_C_EXPORT corvo_status corvo_registry_busy(corvo_registry* registry, bool* busy);
/// Registers a function that is called when a task joins an empty queue or a transfer starts, on
/// the thread that queued the work: the moment to schedule a tick. It must not run the loop.
/// Replaces the previous one; a null function removes it. `destroy` is called when the listener is
/// replaced, when the loop ends, or before the return if the function fails.
CORVO_C_EXPORT corvo_status corvo_registry_on_work(corvo_registry* registry, void* context,
                                                   void (*listener)(void* context),
                                                   void (*destroy)(void* context));

/// Runs a function later on the loop: how another thread moves work to the thread that uses the
/// clients. `destroy` is called after it, or when the loop ends, or before the return if the
/// function fails. Safe on any thread.
CORVO_C_EXPORT corvo_status corvo_registry_post(corvo_registry* registry, void* context,
                                                void (*task)(void* context),
                                                void (*destroy)(void* context));

/// The properties of a user that have a name of their own.
typedef enum corvo_user_property CORVO_C_ENUM {
  CORVO_USER_ID = 0,      ///< "userId"
  CORVO_PROFILE_ID = 1,   ///< "profileId"
  CORVO_DEVICE_ID = 2,    ///< "deviceId"
  CORVO_APP_VERSION = 3,  ///< "appVersion"
  CORVO_OS_NAME = 4,      ///< "os.name"
  CORVO_OS_VERSION = 5,   ///< "os.version"
  CORVO_GEO_CODE = 6,     ///< "geo.code"
  CORVO_GEO_COUNTRY = 7,  ///< "geo.country"
  CORVO_GEO_STATE = 8,    ///< "geo.state"
  CORVO_GEO_CITY = 9,     ///< "geo.city"
  CORVO_EMAIL = 10        ///< "email"
} corvo_user_property;

/// A user without properties. Expiries are those of the registry's clock and time zone; with a null
/// registry, of the system's.
CORVO_C_EXPORT corvo_status corvo_user_create(corvo_registry* registry, corvo_user** user);
CORVO_C_EXPORT corvo_status corvo_user_free(corvo_user* user);
/// Sets a property, which expires 24 hours later. No text removes it.
CORVO_C_EXPORT corvo_status corvo_user_set(corvo_user* user, corvo_user_property property,
                                           corvo_text value);
/// Sets the property "custom." + key to the value's text: "true", "42", "0.5". An absent value
/// removes it.
CORVO_C_EXPORT corvo_status corvo_user_set_custom(corvo_user* user, corvo_text key,
                                                  const corvo_value* value);
/// Sets a property of any name and its expiry, "yyyy-MM-dd HH:mm:ss" in local time, to restore a
/// user that was stored. Without an expiry it counts as expired. Invalid UTF-8 is replaced with
/// U+FFFD.
CORVO_C_EXPORT corvo_status corvo_user_restore(corvo_user* user, corvo_text name, corvo_text value,
                                               corvo_text expiry);
/// The user as a JSON object with "properties" and "corvoExpiration", both objects of texts. Valid
/// until the next call with the user.
CORVO_C_EXPORT corvo_status corvo_user_describe(corvo_user* user, corvo_text* json);

/// Answers questions about one user of one project. See `corvo::CorvoClient`.
typedef struct corvo_client corvo_client;

/// No retries, as a `retry_count`.
#define CORVO_NO_RETRIES (-1)

/// The options of a new client. See `corvo::ClientOptions`.
typedef struct corvo_client_options {
  size_t size;               ///< `sizeof(corvo_client_options)`
  corvo_text project_token;  ///< Required.
  corvo_text api_url;        ///< Required: the base address of the backend.
  corvo_user* initial_user;  ///< Replaces the stored user; copied. Null: the stored one is kept.
  uint64_t cache_ttl;        ///< Seconds. 0: 300. Values below 10 become 10.
  int64_t retry_count;       ///< 0: 2. `CORVO_NO_RETRIES`: none.
  corvo_text tag;            ///< No text: "default".
} corvo_client_options;

/// Creates a client and registers it under its tag. Fails with
/// `CORVO_INITIALIZATION_OF_EXISTING_CLIENT` if the tag is taken.
CORVO_C_EXPORT corvo_status corvo_registry_initialize_client(corvo_registry* registry,
                                                             const corvo_client_options* options,
                                                             corvo_client** client);
/// A handle to the client registered under the tag; null if there is none.
CORVO_C_EXPORT corvo_status corvo_registry_get_client(corvo_registry* registry, corvo_text tag,
                                                      corvo_client** client);
/// Removes the client with that tag, if there is one. Its handles stay valid.
CORVO_C_EXPORT corvo_status corvo_registry_remove_client(corvo_registry* registry, corvo_text tag);
/// Frees a handle. The client lives while it is registered or has other handles; after that, its
/// questions are dropped.
CORVO_C_EXPORT corvo_status corvo_client_free(corvo_client* client);

/// Replaces the stored user with a copy of this one.
CORVO_C_EXPORT corvo_status corvo_client_set_user(corvo_client* client, corvo_user* user);
/// Edits a user. It is called once, before the call that it was passed to returns. `user` is freed
/// when it returns. It may use the client. If it returns false, what it did is not stored, and that
/// call returns `CORVO_CANCELLED`.
typedef bool (*corvo_edit)(void* context, corvo_user* user);
/// Replaces the stored user with one that has what the function sets.
CORVO_C_EXPORT corvo_status corvo_client_set_user_properties(corvo_client* client, corvo_edit edit,
                                                             void* context);
/// The same, but the function begins with the stored user's properties and expiries. If no user is
/// stored, an empty one is stored first.
CORVO_C_EXPORT corvo_status corvo_client_edit_user_properties(corvo_client* client, corvo_edit edit,
                                                              void* context);
/// Replaces the stored user with one that has no properties.
CORVO_C_EXPORT corvo_status corvo_client_clear_user_properties(corvo_client* client);

/// The answer to a question. Of the members after `error`, the question says which one counts.
typedef struct corvo_answer {
  const corvo_error* error;  ///< Why there is no answer; null if there is one.
  corvo_value value;         ///< Of most questions.
  corvo_project* project;    ///< Of `corvo_client_project`; the receiver's to free.
  /// Of `corvo_client_experiment` (one or none) and `corvo_client_all_experiments`; the receiver's
  /// to free, one by one. The list is not.
  corvo_experiment* const* experiments;
  size_t experiment_count;  ///< Their number.
} corvo_answer;

/// Where an answer goes. A callback without functions is allowed: the work is still done.
typedef struct corvo_callback {
  void* context;  ///< Passed to the functions.
  /// Takes the answer, which is valid during the call, texts included. Called at most once, on the
  /// asking thread before the question's function returns, or later on the main queue. It may ask
  /// again, and may free the client.
  void (*call)(void* context, const corvo_answer* answer);
  /// Called exactly once, when the context is not needed any more: after `call`, when the question
  /// is dropped, or before the return of a question's function that fails.
  void (*destroy)(void* context);
} corvo_callback;

// The questions. Each returns `CORVO_OK` if it has been asked; its errors come to the callback. If
// the cached copies are fresh, the answer comes before the return; otherwise on the main queue.

/// The flag's value for the user as `value`, read as a type.
CORVO_C_EXPORT corvo_status corvo_client_check_flag(corvo_client* client, corvo_text name,
                                                    corvo_type type, corvo_callback callback);
/// All flags that have a value for the user: `value` is a JSON object, as of
/// `corvo_evaluation_flags`.
CORVO_C_EXPORT corvo_status corvo_client_flags(corvo_client* client, corvo_callback callback);
/// The experiments that the user takes part in, holdouts included, as `experiments`.
CORVO_C_EXPORT corvo_status corvo_client_all_experiments(corvo_client* client,
                                                         corvo_callback callback);
/// The same as the text `value`, "checkout.1|colors.0"; absent if there are none.
CORVO_C_EXPORT corvo_status corvo_client_all_experiments_text(corvo_client* client,
                                                              bool estimate_holdouts,
                                                              corvo_callback callback);
/// The first experiment of that name that the user takes part in, as `experiments`: one, or none.
CORVO_C_EXPORT corvo_status corvo_client_experiment(corvo_client* client, corvo_text name,
                                                    corvo_callback callback);
/// Whether the user is in the first holdout of that name, as the boolean `value`.
CORVO_C_EXPORT corvo_status corvo_client_holdout(corvo_client* client, corvo_text name,
                                                 corvo_callback callback);
/// The holdouts that the user is in, as the text `value`; absent if there are none.
CORVO_C_EXPORT corvo_status corvo_client_all_holdouts(corvo_client* client,
                                                      corvo_callback callback);
/// The experiments with their values: `value` is a JSON array, as of `corvo_evaluation_details`.
CORVO_C_EXPORT corvo_status corvo_client_details(corvo_client* client, bool estimate_holdouts,
                                                 corvo_callback callback);
/// Why a flag has its value for the user, and why the user is in an experiment or not: `value` is a
/// text or a JSON object.
CORVO_C_EXPORT corvo_status corvo_client_explain_flag(corvo_client* client, corvo_text name,
                                                      corvo_form form, corvo_callback callback);
CORVO_C_EXPORT corvo_status corvo_client_explain_experiment(corvo_client* client, corvo_text name,
                                                            corvo_form form,
                                                            corvo_callback callback);
/// The current project, as `project`.
CORVO_C_EXPORT corvo_status corvo_client_project(corvo_client* client, corvo_callback callback);

/// Forces the user into an experiment, and into the group with that index; with a null index, into
/// the group that the weights select.
CORVO_C_EXPORT corvo_status corvo_client_include_force(corvo_client* client, corvo_text experiment,
                                                       const int64_t* group_index,
                                                       corvo_callback callback);
/// Undoes a forced inclusion, or all of them.
CORVO_C_EXPORT corvo_status corvo_client_exclude_force(corvo_client* client, corvo_text experiment,
                                                       corvo_callback callback);
CORVO_C_EXPORT corvo_status corvo_client_exclude_force_all(corvo_client* client,
                                                           corvo_callback callback);

/// One cached copy. Times are in seconds since 1970 on the platform's clock.
typedef struct corvo_copy {
  bool exists;         ///< Whether there is one that can be read.
  double stored_at;    ///< When it was stored.
  double fresh_until;  ///< From this moment on, questions fetch a new one.
} corvo_copy;
/// The cached copies of a client.
typedef struct corvo_client_copies {
  size_t size;               ///< Set it to `sizeof(corvo_client_copies)`.
  corvo_copy configuration;  ///< The configuration's.
  corvo_copy location;       ///< The location's.
} corvo_client_copies;
/// When the cached copies were stored, and until when they are fresh. Fetches nothing.
CORVO_C_EXPORT corvo_status corvo_client_status(corvo_client* client, corvo_client_copies* copies);

/// A place for the answer to one question of a client at a time, for callers that wait for it or
/// poll once per frame. It does not keep the client.
typedef struct corvo_reply corvo_reply;

CORVO_C_EXPORT corvo_status corvo_reply_create(corvo_client* client, corvo_reply** reply);
/// A question that is under way continues without it.
CORVO_C_EXPORT corvo_status corvo_reply_free(corvo_reply* reply);
/// The callback that puts the answer there. The function that takes it fails with `CORVO_BUSY`
/// while the previous question is under way, and with `CORVO_INVALID_HANDLE` for an invalid reply.
CORVO_C_EXPORT corvo_callback corvo_reply_callback(corvo_reply* reply);
/// Whether `corvo_reply_wait` would return without waiting.
CORVO_C_EXPORT corvo_status corvo_reply_is_ready(corvo_reply* reply, bool* is_ready);
/// Waits for the answer by running the client's main queue on this thread. Returns `CORVO_OK` and
/// the answer, the question's error, `CORVO_DROPPED` if the question was dropped, or
/// `CORVO_PENDING` if the queue cannot wait or nothing that could bring the answer is under way.
/// The queue must know of the session's requests: if only the session is the application's, this
/// returns `CORVO_PENDING` at once, although a request is under way. The answer is valid until the
/// reply is used again or freed; its `error` is null. The first call hands over the answer's
/// handles.
CORVO_C_EXPORT corvo_status corvo_reply_wait(corvo_reply* reply, const corvo_answer** answer);

#ifdef __cplusplus
}
#endif

// NOLINTEND(modernize-*)

#endif
