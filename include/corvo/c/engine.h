// SPDX-License-Identifier: Apache-2.0
#ifndef CORVO_C_ENGINE_H
#define CORVO_C_ENGINE_H

#include <corvo/c/base.h>

// This is C, whatever C++ would prefer: NOLINTBEGIN(modernize-*)

#ifdef __cplusplus
extern "C" {
#endif

/// A project's configuration, prepared for questions. See `corvo::Project`.
typedef struct corvo_project corvo_project;

/// Which flags and experiments of a document count.
typedef enum corvo_filter CORVO_C_ENUM {
  CORVO_FILTER_NONE = 0,   ///< All.
  CORVO_FILTER_CLIENT = 1  ///< Those that a client keeps.
} corvo_filter;

/// Decodes a configuration document. Fails with `CORVO_REQUEST_CONFIG_FAILED`; the error's offset
/// says where. If the project lists "stops", the first question that reaches one of these
/// experiments aborts the process: before you evaluate a project of unknown origin, look at its
/// description.
CORVO_C_EXPORT corvo_status corvo_project_decode(corvo_text document, corvo_filter filter,
                                                 corvo_project** project);
/// Evaluations keep working without the handle of their project.
CORVO_C_EXPORT corvo_status corvo_project_free(corvo_project* project);

/// Everything in a project, as a JSON object: "flags", "experiments", "holdouts", "properties",
/// "stops" and "drops", with the members that `corvo::Project` documents.
/// `corvo_evaluation_flag_texts` uses the positions in the list of flags, and
/// `corvo_evaluation_memberships` the member "position" of experiments and holdouts. Valid until
/// the project is freed.
CORVO_C_EXPORT corvo_status corvo_project_describe(corvo_project* project, corvo_text* json);

/// How the hash divides users in an experiment or a holdout at a position, as a JSON object with
/// the members of `corvo::Project::Shares`; no text if it has none. Valid until the project is
/// freed.
CORVO_C_EXPORT corvo_status corvo_project_shares(corvo_project* project, size_t experiment,
                                                 corvo_text* json);

/// A name and its text.
typedef struct corvo_property {
  corvo_text name;   ///< As in conditions: "userId".
  corvo_text value;  ///< Its text.
} corvo_property;

/// A time zone. The struct is copied, its context is not.
typedef struct corvo_time_zone {
  void* context;  ///< Passed to the functions.
  /// The offset from UTC, in seconds east of Greenwich and less than a day either way, at a moment
  /// in seconds since 1970. Any moment may be passed. Changes must be at least an hour apart.
  int32_t (*offset_at)(void* context, int64_t moment);
  /// A number that changes whenever the zone or its rules do. Different zones with the same context
  /// and functions must have different numbers.
  uint64_t (*identifier)(void* context);
} corvo_time_zone;

/// A user: properties, and when each of them expires. See `corvo_user_create`.
typedef struct corvo_user corvo_user;

/// All that an answer depends on besides the project. Set `size` to `sizeof(corvo_context)` and the
/// rest to zero, then fill in what is known.
typedef struct corvo_context {
  size_t size;  ///< `sizeof(corvo_context)`
  /// The user's properties, by the names that conditions use: "userId", "custom.plan". Of several
  /// with one name the first counts.
  const corvo_property* properties;
  size_t property_count;  ///< Their number.
  /// The location, by the names that a backend uses: "country", without "geo.".
  const corvo_property* location;
  size_t location_count;           ///< Its number of properties.
  corvo_text application_version;  ///< The property "appVersion".
  corvo_text device_id;            ///< The property "deviceId".
  corvo_text system_name;          ///< The property "os.name".
  corvo_text system_version;       ///< The property "os.version".
  /// The moment in seconds since 1970, if `has_now`; otherwise that of the system's clock.
  double now;
  bool has_now;  ///< Whether `now` counts.
  /// Null: the system's. Its context must outlive the evaluation, or its next reset.
  const corvo_time_zone* time_zone;
  corvo_user* user;  ///< A user whose properties expire, in place of `properties`; null: none.
} corvo_context;

/// Answers questions about one project and one context. See `corvo::Evaluation`.
typedef struct corvo_evaluation corvo_evaluation;

/// A null context is one without properties. The context is copied.
CORVO_C_EXPORT corvo_status corvo_evaluation_create(corvo_project* project,
                                                    const corvo_context* context,
                                                    corvo_evaluation** evaluation);
/// Switches to another context. This is how one evaluation answers for many users. After
/// `CORVO_OUT_OF_MEMORY` it has no user.
CORVO_C_EXPORT corvo_status corvo_evaluation_reset(corvo_evaluation* evaluation,
                                                   const corvo_context* context);
CORVO_C_EXPORT corvo_status corvo_evaluation_free(corvo_evaluation* evaluation);

/// An experiment that the user takes part in: a snapshot, safe on any thread. See
/// `corvo::CorvoExperiment`.
typedef struct corvo_experiment corvo_experiment;

// Results of an evaluation are valid until the next call with it.

/// The flag's value for the user, read as a type; absent if its text is not valid for the type.
CORVO_C_EXPORT corvo_status corvo_evaluation_check_flag(corvo_evaluation* evaluation,
                                                        corvo_text name, corvo_type type,
                                                        corvo_value* value);
/// All flags that have a value for the user: a JSON object of their texts by name. Read a text with
/// `corvo_read_value` as `CORVO_ANY`, since JSON cannot express all values and their types.
CORVO_C_EXPORT corvo_status corvo_evaluation_flags(corvo_evaluation* evaluation, corvo_text* json);
/// The experiments that the user takes part in, as "checkout.1|colors.0"; absent if there are none.
CORVO_C_EXPORT corvo_status corvo_evaluation_experiments(corvo_evaluation* evaluation,
                                                         bool estimate_holdouts, corvo_value* text);
/// The same as handles, holdouts included. The caller owns the handles, but not the list.
CORVO_C_EXPORT corvo_status corvo_evaluation_all_experiments(corvo_evaluation* evaluation,
                                                             corvo_experiment* const** experiments,
                                                             size_t* experiment_count);
/// The same with their values: a JSON array of objects with "type", "id", "group" (an index) and
/// "results" (objects with "name" and "value").
CORVO_C_EXPORT corvo_status corvo_evaluation_details(corvo_evaluation* evaluation,
                                                     bool estimate_holdouts, corvo_text* json);
/// Whether the user is in the first holdout of that name.
CORVO_C_EXPORT corvo_status corvo_evaluation_holdout(corvo_evaluation* evaluation, corvo_text name,
                                                     bool* is_in);
/// The holdouts that the user is in, in the form of `corvo_evaluation_experiments`.
CORVO_C_EXPORT corvo_status corvo_evaluation_holdouts(corvo_evaluation* evaluation,
                                                      corvo_value* text);

/// The text of a flag at a position.
typedef struct corvo_flag_text {
  size_t flag;      ///< The position among the project's flags.
  corvo_text text;  ///< Its value for the user.
} corvo_flag_text;
/// The texts of the flags at these positions, for reports on many users; see
/// `corvo::Evaluation::flagTexts`.
CORVO_C_EXPORT corvo_status corvo_evaluation_flag_texts(corvo_evaluation* evaluation,
                                                        const size_t* flags, size_t flag_count,
                                                        const corvo_flag_text** texts,
                                                        size_t* text_count);
/// The user's group in the experiment at a position.
typedef struct corvo_membership {
  size_t experiment;  ///< The position among experiments and holdouts together.
  size_t group;       ///< The position among the experiment's groups.
} corvo_membership;
/// The user's groups in the experiments and holdouts at these positions.
CORVO_C_EXPORT corvo_status corvo_evaluation_memberships(corvo_evaluation* evaluation,
                                                         const size_t* experiments,
                                                         size_t experiment_count,
                                                         const corvo_membership** memberships,
                                                         size_t* membership_count);

/// Means that there is no position.
#define CORVO_NO_POSITION SIZE_MAX
/// Whether the user is in an experiment, and why.
typedef struct corvo_placement {
  size_t experiment;  ///< The position among experiments and holdouts together.
  corvo_text reason;  ///< A `corvo::PlacementReason`: "bucketed", "heldOut". Static.
  size_t group;       ///< The position of their group, or `CORVO_NO_POSITION`.
  size_t holdout;     ///< The position of the holdout that excludes them, or `CORVO_NO_POSITION`.
} corvo_placement;
/// The same as `corvo_evaluation_memberships` with the reasons, also where the user has no group.
CORVO_C_EXPORT corvo_status corvo_evaluation_placements(corvo_evaluation* evaluation,
                                                        const size_t* experiments,
                                                        size_t experiment_count,
                                                        const corvo_placement** placements,
                                                        size_t* placement_count);

/// The form of an explanation.
typedef enum corvo_form CORVO_C_ENUM { CORVO_FORM_TEXT = 0, CORVO_FORM_JSON = 1 } corvo_form;
/// Why a flag has its value for the user, and why the user is in an experiment or not. If the flag
/// or experiment does not exist, the explanation says so; this is not an error. See
/// docs/explain.md.
CORVO_C_EXPORT corvo_status corvo_evaluation_explain_flag(corvo_evaluation* evaluation,
                                                          corvo_text name, corvo_form form,
                                                          corvo_text* explanation);
CORVO_C_EXPORT corvo_status corvo_evaluation_explain_experiment(corvo_evaluation* evaluation,
                                                                corvo_text name, corvo_form form,
                                                                corvo_text* explanation);

/// The first experiment of that name that the user takes part in; a null handle if there is none.
/// Free it.
CORVO_C_EXPORT corvo_status corvo_evaluation_experiment(corvo_evaluation* evaluation,
                                                        corvo_text name,
                                                        corvo_experiment** experiment);
CORVO_C_EXPORT corvo_status corvo_experiment_free(corvo_experiment* experiment);

/// The names of the experiment and of the user's group, and the group's index. Without a group
/// there is no group name, and the index is -1. Valid until the experiment is freed. Each result
/// may be null.
CORVO_C_EXPORT corvo_status corvo_experiment_group(corvo_experiment* experiment, corvo_text* name,
                                                   corvo_text* group_name, int64_t* group_index);
/// The value of a parameter, or of a carried flag, for the user's group. Texts are valid until the
/// experiment is freed.
CORVO_C_EXPORT corvo_status corvo_experiment_param(corvo_experiment* experiment, corvo_text name,
                                                   corvo_type type, corvo_value* value);
CORVO_C_EXPORT corvo_status corvo_experiment_flag(corvo_experiment* experiment, corvo_text name,
                                                  corvo_type type, corvo_value* value);

/// What `corvo_lint` has found.
typedef struct corvo_findings corvo_findings;

/// Checks a configuration document for mistakes. Accepts any text. See `corvo::lint`.
CORVO_C_EXPORT corvo_status corvo_lint(corvo_text document, corvo_findings** findings);
/// The findings as a JSON array of objects with "code", "severity" ("error" or "warning"),
/// "pointer", "offset", "line", "column" and "message"; empty if all is well. Valid until the
/// findings are freed.
CORVO_C_EXPORT corvo_status corvo_findings_json(corvo_findings* findings, corvo_text* json);
CORVO_C_EXPORT corvo_status corvo_findings_free(corvo_findings* findings);

#ifdef __cplusplus
}
#endif

// NOLINTEND(modernize-*)

#endif
