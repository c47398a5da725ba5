# SPDX-License-Identifier: Apache-2.0
"""The declarations of corvo/c.h for ctypes, and the library that has them."""

from __future__ import annotations

import ctypes
import ctypes.util
import importlib.metadata
import operator
import os
import pathlib
import sys
from ctypes import CFUNCTYPE, POINTER, Structure, c_bool, c_char_p, c_double, c_int, c_int32
from ctypes import c_int64, c_size_t, c_uint64, c_void_p
from typing import Dict, Iterator, List, Optional, Sequence, Union


class Text(Structure):
    """An argument. Its bytes live as long as the struct."""

    _fields_ = [("data", c_char_p), ("size", c_size_t)]


class Result(Structure):
    """A text that a function returns; its bytes may contain zeros, so they have an address."""

    _fields_ = [("data", c_void_p), ("size", c_size_t)]


class Error(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("status", c_int),
        ("network", c_int),
        ("text", Result),
        ("offset", c_int64),
        ("http_status", c_int32),
    ]


class Value(Structure):
    kept: bytes  # the text's, if it is an argument
    _fields_ = [
        ("type", c_int),
        ("boolean", c_bool),
        ("integer", c_int64),
        ("number", c_double),
        ("text", Result),
    ]


OffsetAt = CFUNCTYPE(c_int32, c_void_p, c_int64)
Identifier = CFUNCTYPE(c_uint64, c_void_p)


class TimeZone(Structure):
    _fields_ = [("context", c_void_p), ("offset_at", OffsetAt), ("identifier", Identifier)]


class Context(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("properties", c_void_p),
        ("property_count", c_size_t),
        ("location", c_void_p),
        ("location_count", c_size_t),
        ("application_version", Text),
        ("device_id", Text),
        ("system_name", Text),
        ("system_version", Text),
        ("now", c_double),
        ("has_now", c_bool),
        ("time_zone", POINTER(TimeZone)),
        ("user", c_void_p),
    ]


class HostOptions(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("data_folder", Text),
        ("data_file", Text),
        ("in_memory", c_bool),
        ("application_version", Text),
        ("timeout_seconds", c_double),
        ("transfer_seconds", c_double),
        ("max_body_bytes", c_size_t),
    ]


class Property(Structure):
    _fields_ = [("name", Result), ("value", Result)]


class Request(Structure):
    _fields_ = [
        ("method", Result),
        ("url", Result),
        ("headers", POINTER(Property)),
        ("header_count", c_size_t),
        ("timeout_seconds", c_double),
    ]


class Response(Structure):
    _fields_ = [("size", c_size_t), ("status", c_int32), ("body", Text), ("failure", Text)]


class Change(Structure):
    _fields_ = [("key", Result), ("value", Result)]


Notify = CFUNCTYPE(None, c_void_p)
Now = CFUNCTYPE(c_double, c_void_p)
Start = CFUNCTYPE(None, c_void_p, POINTER(Request), c_void_p)
Read = CFUNCTYPE(c_bool, c_void_p, Result, Result, c_void_p)
Apply = CFUNCTYPE(c_bool, c_void_p, Result, POINTER(Change), c_size_t)
Fact = CFUNCTYPE(None, c_void_p, c_int, c_void_p)


class Platform(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("context", c_void_p),
        ("destroy", Notify),
        ("now", Now),
        ("offset_at", OffsetAt),
        ("zone_identifier", Identifier),
        ("post", c_void_p),
        ("run_until", c_void_p),
        ("start", Start),
        ("open_suite", c_void_p),
        ("read", Read),
        ("apply", Apply),
        ("fact", Fact),
        ("fill", c_void_p),
    ]


class ClientOptions(Structure):
    _fields_ = [
        ("size", c_size_t),
        ("project_token", Text),
        ("api_url", Text),
        ("initial_user", c_void_p),
        ("cache_ttl", c_uint64),
        ("retry_count", c_int64),
        ("tag", Text),
    ]


class Answer(Structure):
    _fields_ = [
        ("error", POINTER(Error)),
        ("value", Value),
        ("project", c_void_p),
        ("experiments", POINTER(c_void_p)),
        ("experiment_count", c_size_t),
    ]


Answered = CFUNCTYPE(None, c_void_p, POINTER(Answer))


class Callback(Structure):
    _fields_ = [("context", c_void_p), ("call", Answered), ("destroy", Notify)]


class Copy(Structure):
    _fields_ = [("exists", c_bool), ("stored_at", c_double), ("fresh_until", c_double)]


class ClientCopies(Structure):
    _fields_ = [("size", c_size_t), ("configuration", Copy), ("location", Copy)]


Edit = CFUNCTYPE(c_bool, c_void_p, c_void_p)

# A handle is a number, which ctypes passes fastest as a pointer.
_handle = c_void_p
_handle_out = POINTER(c_void_p)
_result_out = POINTER(Result)
_value_out = POINTER(Value)
_positions = [_handle, c_void_p, c_size_t, POINTER(c_void_p), POINTER(c_size_t)]

_FUNCTIONS: Dict[str, Sequence[object]] = {
    "last_error": [POINTER(Error)],
    "read_value": [Text, c_int, _value_out],
    "project_decode": [Text, c_int, _handle_out],
    "project_free": [_handle],
    "project_describe": [_handle, _result_out],
    "evaluation_create": [_handle, POINTER(Context), _handle_out],
    "evaluation_reset": [_handle, POINTER(Context)],
    "evaluation_free": [_handle],
    "evaluation_check_flag": [_handle, Text, c_int, _value_out],
    "evaluation_experiments": [_handle, c_bool, _value_out],
    "evaluation_all_experiments": [_handle, POINTER(POINTER(c_void_p)), POINTER(c_size_t)],
    "evaluation_details": [_handle, c_bool, _result_out],
    "evaluation_holdout": [_handle, Text, POINTER(c_bool)],
    "evaluation_holdouts": [_handle, _value_out],
    "evaluation_flag_texts": _positions,
    "evaluation_memberships": _positions,
    "evaluation_explain_flag": [_handle, Text, c_int, _result_out],
    "evaluation_explain_experiment": [_handle, Text, c_int, _result_out],
    "evaluation_experiment": [_handle, Text, _handle_out],
    "experiment_free": [_handle],
    "experiment_group": [_handle, _result_out, _result_out, POINTER(c_int64)],
    "experiment_param": [_handle, Text, c_int, _value_out],
    "experiment_flag": [_handle, Text, c_int, _value_out],
    "lint": [Text, _handle_out],
    "findings_json": [_handle, _result_out],
    "findings_free": [_handle],
    "bytes_set": [c_void_p, Text],
    "exchange_complete": [_handle, POINTER(Response)],
    "registry_create": [POINTER(HostOptions), POINTER(Platform), _handle_out],
    "registry_free": [_handle],
    "registry_tick": [_handle],
    "registry_busy": [_handle, POINTER(c_bool)],
    "registry_on_work": [_handle, c_void_p, Notify, Notify],
    "registry_initialize_client": [_handle, POINTER(ClientOptions), _handle_out],
    "registry_get_client": [_handle, Text, _handle_out],
    "registry_remove_client": [_handle, Text],
    "user_create": [_handle, _handle_out],
    "user_free": [_handle],
    "user_set": [_handle, c_int, Text],
    "user_set_custom": [_handle, Text, _value_out],
    "client_free": [_handle],
    "client_set_user_properties": [_handle, Edit, c_void_p],
    "client_edit_user_properties": [_handle, Edit, c_void_p],
    "client_check_flag": [_handle, Text, c_int, Callback],
    "client_flags": [_handle, Callback],
    "client_all_experiments": [_handle, Callback],
    "client_all_experiments_text": [_handle, c_bool, Callback],
    "client_experiment": [_handle, Text, Callback],
    "client_holdout": [_handle, Text, Callback],
    "client_all_holdouts": [_handle, Callback],
    "client_details": [_handle, c_bool, Callback],
    "client_explain_flag": [_handle, Text, c_int, Callback],
    "client_explain_experiment": [_handle, Text, c_int, Callback],
    "client_project": [_handle, Callback],
    "client_include_force": [_handle, Text, POINTER(c_int64), Callback],
    "client_exclude_force": [_handle, Text, Callback],
    "client_exclude_force_all": [_handle, Callback],
    "client_status": [_handle, POINTER(ClientCopies)],
}


def package_version() -> Optional[str]:
    """The version of this package; None if it runs without having been installed."""
    try:
        return importlib.metadata.version("corvo")
    except importlib.metadata.PackageNotFoundError:
        return None


def _file_name(version: str = "") -> str:
    if sys.platform == "win32":
        return "corvo_c.dll"
    if sys.platform == "darwin":
        return f"libcorvo_c{version}.dylib"
    return f"libcorvo_c.so{version}"


def _candidates() -> Iterator[str]:
    """Where the library may be. One that is named explicitly, or is there, is the only one."""
    named = os.environ.get("CORVO_LIBRARY")
    packaged = pathlib.Path(__file__).with_name(_file_name())
    if named:
        yield named
    elif packaged.exists():
        yield str(packaged)
    else:
        version = package_version()
        if version:
            yield _file_name("." + _compatible_part(version))
        found = ctypes.util.find_library("corvo_c")
        if found:
            yield found


def _declare(library: ctypes.CDLL) -> None:
    for name, arguments in _FUNCTIONS.items():
        function = getattr(library, "corvo_" + name)
        function.argtypes = arguments
        function.restype = c_int
    library.corvo_status_name.argtypes = [c_int]
    library.corvo_status_name.restype = c_char_p
    library.corvo_version.argtypes = []
    library.corvo_version.restype = c_char_p


def _check_version(library: ctypes.CDLL) -> None:
    version: str = library.corvo_version().decode()
    package = package_version()
    if package is not None and _compatible_part(package) != _compatible_part(version):
        raise OSError(f"it has version {version}, and the package {package}")


def _compatible_part(version: str) -> str:
    """Versions fit if they agree in this: before 1.0, a minor version may change anything."""
    major, minor = version.split(".")[:2]
    return f"0.{minor}" if major == "0" else major


def _load() -> ctypes.CDLL:
    failures: List[str] = []
    for candidate in _candidates():
        try:
            library = ctypes.CDLL(candidate)
            _declare(library)
            _check_version(library)
        except (OSError, AttributeError) as error:
            failures.append(f"{candidate}: {error}")
        else:
            return library
    raise ImportError(
        "the shared library of Corvo cannot be loaded; CORVO_LIBRARY may name it ("
        + ("; ".join(failures) or f"there is no {_file_name()}")
        + ")"
    )


lib = _load()


def encoded(text: str) -> bytes:
    """UTF-8. The library replaces lone surrogates, like all invalid UTF-8."""
    return text.encode("utf-8", "surrogatepass")


def text_from(text: Optional[str], what: str = "a name") -> Text:
    """An argument: no text at all for None. Raises TypeError for anything but a str."""
    if text is None:
        return Text(None, 0)
    if not isinstance(text, str):
        raise TypeError(f"{what} must be a str, not {type(text).__name__}")
    data = encoded(text)
    return Text(data, len(data))


def document_from(document: Union[str, bytes]) -> Text:
    """A document as an argument."""
    if isinstance(document, str):
        document = encoded(document)
    elif not isinstance(document, (bytes, bytearray, memoryview)):
        raise TypeError(f"a document must be str or bytes, not {type(document).__name__}")
    document = bytes(document)
    return Text(document, len(document))


def path_from(path: Union[str, "os.PathLike[str]", None]) -> Text:
    """A path as an argument, in the bytes that the system has for it."""
    if path is None:
        return Text(None, 0)
    data = os.fsencode(path)
    return Text(data, len(data))


def str_from(text: Result) -> str:
    """A copy of a text that a function returned."""
    return bytes_from(text).decode("utf-8", "replace")


def bytes_from(text: Result) -> bytes:
    """A copy of bytes that a function returned."""
    return ctypes.string_at(text.data, text.size) if text.size else b""


def sizes_from(numbers: Sequence[int]) -> "ctypes.Array[c_size_t]":
    """An array of positions. Those that nothing can have become one of them."""
    return (c_size_t * len(numbers))(
        *(number if 0 <= number < sys.maxsize else sys.maxsize for number in numbers)
    )


def within_64_bits(number: int, what: str) -> int:
    """The number, since ctypes would keep only its last bits. Raises ValueError."""
    if not -(2**63) <= operator.index(number) < 2**63:
        raise ValueError(f"{what} does not fit into 64 bits")
    return number
