# SPDX-License-Identifier: Apache-2.0
"""The declarations of corvo/c.h for ctypes, and the library that has them."""

from __future__ import annotations

import ctypes
import ctypes.util
import importlib.metadata
import os
import pathlib
import sys
from ctypes import CFUNCTYPE, POINTER, Structure, c_bool, c_char_p, c_double, c_int, c_int32
from ctypes import c_int64, c_size_t, c_uint64, c_void_p
from typing import Dict, Iterator, List, Optional, Sequence


class Text(Structure):
    """An argument. Its bytes live as long as the struct."""

    _fields_ = [("data", c_char_p), ("size", c_size_t)]


class Result(Structure):
    """A text that a function returns; its bytes may contain zeros, so they have an address."""

    _fields_ = [("data", c_void_p), ("size", c_size_t)]


class Error(Structure):
    _fields_ = [("size", c_size_t), ("status", c_int), ("text", Result), ("offset", c_int64)]


class Value(Structure):
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
    ]


# A handle is a number, which ctypes passes fastest as a pointer.
_handle = c_void_p
_handle_out = POINTER(c_void_p)
_result_out = POINTER(Result)
_value_out = POINTER(Value)
_positions = [_handle, c_void_p, c_size_t, POINTER(c_void_p), POINTER(c_size_t)]

_FUNCTIONS: Dict[str, Sequence[object]] = {
    "last_error": [POINTER(Error)],
    "project_decode": [Text, c_int, _handle_out],
    "project_free": [_handle],
    "project_describe": [_handle, _result_out],
    "evaluation_create": [_handle, POINTER(Context), _handle_out],
    "evaluation_reset": [_handle, POINTER(Context)],
    "evaluation_free": [_handle],
    "evaluation_check_flag": [_handle, Text, c_int, _value_out],
    "evaluation_experiments": [_handle, c_bool, _value_out],
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
        if version:  # only libraries of one minor version fit
            yield _file_name("." + ".".join(version.split(".")[:2]))
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


def _load() -> ctypes.CDLL:
    failures: List[str] = []
    for candidate in _candidates():
        try:
            library = ctypes.CDLL(candidate)
            _declare(library)
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


def str_from(text: Result) -> str:
    """A copy of a text that a function returned."""
    if not text.size:
        return ""
    return ctypes.string_at(text.data, text.size).decode("utf-8", "replace")


def sizes_from(numbers: Sequence[int]) -> "ctypes.Array[c_size_t]":
    """An array of `size_t`."""
    return (c_size_t * len(numbers))(*numbers)
