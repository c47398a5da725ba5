// SPDX-License-Identifier: Apache-2.0
#ifndef CORVO_C_BASE_H
#define CORVO_C_BASE_H

// This is C, whatever C++ would prefer: NOLINTBEGIN(modernize-*)

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) && defined(CORVO_SHARED)
#if defined(corvo_c_EXPORTS)
#define CORVO_C_EXPORT __declspec(dllexport)
#else
#define CORVO_C_EXPORT __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define CORVO_C_EXPORT __attribute__((visibility("default")))
#else
#define CORVO_C_EXPORT
#endif

// C++ treats a value outside an enumeration as undefined, unless its underlying type is fixed.
#ifdef __cplusplus
#define CORVO_C_ENUM : int
extern "C" {
#else
#define CORVO_C_ENUM
#endif

/// A text. A null `data` with size 0 means "no text": as a name it is the empty text, as an option
/// the default.
typedef struct corvo_text {
  const char* data;  ///< The bytes; null only if `size` is 0.
  size_t size;       ///< Their number.
} corvo_text;

/// The text of a string literal: `CORVO_TEXT("new-checkout")`.
#ifdef __cplusplus
#define CORVO_TEXT(literal) (corvo_text{"" literal, sizeof(literal) - 1})
#else
#define CORVO_TEXT(literal) ((corvo_text){"" literal, sizeof(literal) - 1})
#endif

/// The same for an initialiser of static data.
#define CORVO_TEXT_INIT(literal) \
  { "" literal, sizeof(literal) - 1 }

/// The text of a zero-terminated string; no text for null.
CORVO_C_EXPORT corvo_text corvo_text_of(const char* terminated);

/// The outcome of a call. Numbers never change.
typedef enum corvo_status CORVO_C_ENUM {
  CORVO_OK = 0,
  /// The errors of the library, in the order of `CorvoError::Case`.
  CORVO_INITIALIZATION_OF_EXISTING_CLIENT = 1,
  CORVO_REQUEST_CONFIG_FAILED = 2,
  CORVO_REQUEST_LOCATION_FAILED = 3,
  CORVO_FEATURE_FLAG_NOT_FOUND = 4,
  CORVO_FEATURE_FLAG_NO_RULES = 5,
  CORVO_FEATURE_FLAG_RULES_NOT_SATISFIED = 6,
  CORVO_EXPERIMENT_NOT_FOUND = 7,
  CORVO_EXPERIMENT_GROUP_NOT_MATCHING_FEATURE_FLAG_GROUP = 8,
  CORVO_EXPERIMENT_SPLIT_ID_NOT_FOUND = 9,
  CORVO_EXPERIMENT_GROUP_INDEX_NOT_FOUND = 10,
  CORVO_EXPERIMENT_ALREADY_CONTAINS_USER = 11,
  CORVO_EXPERIMENT_GROUP_ALREADY_CONTAINS_USER = 12,
  CORVO_HOLDOUT_NOT_FOUND = 13,
  CORVO_EXPERIMENTS_EMPTY = 14,
  CORVO_NO_FORCE_INCLUDED_EXPERIMENTS = 15,
  /// A handle that is null, freed, or of another type.
  CORVO_INVALID_HANDLE = 100,
  /// A null result, an unknown enumerator, a struct of an unknown size, or a text without data.
  CORVO_INVALID_ARGUMENT = 101,
  /// The object behind the handle is in use on another thread, or by the caller of this callback.
  CORVO_BUSY = 102,
  /// Memory ran out.
  CORVO_OUT_OF_MEMORY = 103,
  /// No answer will come: the question was dropped.
  CORVO_DROPPED = 104,
  /// The edit function returned false; the user is not changed.
  CORVO_CANCELLED = 105,
  /// A service of the platform failed.
  CORVO_PLATFORM_FAILED = 106,
  /// This build has no ready-made platform, or the registry does not use its loop.
  CORVO_UNAVAILABLE = 107,
  /// The answer has not come yet, and the main queue cannot wait for it.
  CORVO_PENDING = 108
} corvo_status;

/// The name of a status: "featureFlagNotFound", "invalidHandle". Static; null if there is none.
CORVO_C_EXPORT const char* corvo_status_name(corvo_status status);

/// The version of the library, for callers that were not compiled with its headers: "0.1.0".
/// Static.
CORVO_C_EXPORT const char* corvo_version(void);

/// Why a fetch failed. In the order of `CorvoNetworkError::Case`.
typedef enum corvo_network_error CORVO_C_ENUM {
  CORVO_NETWORK_NONE = 0,               ///< The error is not about a fetch.
  CORVO_NETWORK_INCORRECT_URL = 1,      ///< The address is not valid.
  CORVO_NETWORK_URL_ERROR = 2,          ///< Never produced by this library.
  CORVO_NETWORK_WRONG_STATUS_CODE = 3,  ///< The answer's status was not a success.
  CORVO_NETWORK_DECODING_ERROR = 4,     ///< The answer cannot be decoded.
  CORVO_NETWORK_CUSTOM_ERROR = 5,       ///< Never produced by this library.
  CORVO_NETWORK_NO_DATA = 6             ///< No data came, or the transfer failed.
} corvo_network_error;

/// An error, for example the last one of this thread.
typedef struct corvo_error {
  size_t size;                  ///< Set it to `sizeof(corvo_error)`.
  corvo_status status;          ///< `CORVO_OK` if no function has failed yet.
  corvo_network_error network;  ///< Of a failed fetch.
  /// A human-readable description, with the names that the error is about. From `corvo_last_error`
  /// at most 1,024 bytes, valid until the next error on this thread or until the thread ends. Of an
  /// answer any length, valid as long as the answer.
  corvo_text text;
  int64_t offset;       ///< For a document that cannot be decoded: the byte; otherwise -1.
  int32_t http_status;  ///< Of a wrong status code; otherwise 0.
} corvo_error;

/// Fills in the last error of this thread. Success does not clear it. A wrong argument of this very
/// function is not recorded.
CORVO_C_EXPORT corvo_status corvo_last_error(corvo_error* error);

/// What a value's text is read as.
typedef enum corvo_type CORVO_C_ENUM {
  CORVO_ABSENT = 0,   ///< There is no value.
  CORVO_BOOLEAN = 1,  ///< `boolean`
  CORVO_INTEGER = 2,  ///< `integer`
  CORVO_DOUBLE = 3,   ///< `number`
  CORVO_STRING = 4,   ///< `text`
  CORVO_JSON = 5,     ///< `text`: that of a JSON object, as the configuration has it
  /// Only to ask for a value: the first of JSON, boolean, integer, double and string that fits.
  CORVO_ANY = 6
} corvo_type;

/// A value: its type says which of the other members counts.
typedef struct corvo_value {
  corvo_type type;  ///< `CORVO_ABSENT` without a value; never `CORVO_ANY`.
  bool boolean;     ///< Of a `CORVO_BOOLEAN`.
  int64_t integer;  ///< Of a `CORVO_INTEGER`.
  double number;    ///< Of a `CORVO_DOUBLE`.
  corvo_text text;  ///< Of a `CORVO_STRING` or `CORVO_JSON`.
} corvo_value;

/// Reads a text as a type, as the library reads the text of a flag. A text in the value points into
/// `text`.
CORVO_C_EXPORT corvo_status corvo_read_value(corvo_text text, corvo_type type, corvo_value* value);

#ifdef __cplusplus
}
#else
_Static_assert(sizeof(corvo_type) == 4, "corvo/c.h needs enumerations of four bytes");
#endif

// NOLINTEND(modernize-*)

#endif
