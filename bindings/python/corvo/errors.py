# SPDX-License-Identifier: Apache-2.0
"""Errors of the library as exceptions."""

from __future__ import annotations

import ctypes
from typing import Any, Dict, Optional, Type

from . import _c


class CorvoError(Exception):
    """An operation of the library failed. `str(error)` is a human-readable description.

    Misuse of the library has subclasses, which are also the built-in exceptions that fit.
    """

    #: The name of the error: "featureFlagNotFound". docs/errors.md lists those of the library;
    #: `corvo_status` in corvo/c/base.h has the others.
    case: str
    #: Its number, which never changes: `corvo_status` in corvo/c.h.
    code: int
    #: For a document that cannot be decoded: the offset of the mistake, in bytes from 0.
    offset: Optional[int]
    #: For a backend that answered with a wrong HTTP status: that status, such as 404.
    http_status: Optional[int]
    #: Why a fetch failed: "noData", "wrongStatusCode". docs/errors.md lists all.
    network: Optional[str]

    def __init__(
        self,
        text: str,
        case: str,
        code: int,
        offset: Optional[int] = None,
        http_status: Optional[int] = None,
        network: Optional[str] = None,
    ):
        super().__init__(text)
        self.case = case
        self.code = code
        self.offset = offset
        self.http_status = http_status
        self.network = network

    def __reduce__(self) -> "tuple[object, ...]":
        details = self.offset, self.http_status, self.network
        return type(self), (str(self), self.case, self.code, *details)


class InvalidHandleError(CorvoError, ValueError):
    """The object was closed."""


class InvalidArgumentError(CorvoError, ValueError):
    """An argument has an unknown value."""


class BusyError(CorvoError, RuntimeError):
    """The object is in use: by the caller of this function, or on another thread."""


class DroppedError(CorvoError):
    """No answer will come: the client was closed, or nothing that could bring one is under way."""


class PlatformError(CorvoError):
    """A service of the platform failed."""


class OutOfMemoryError(CorvoError, MemoryError):
    """Memory ran out."""


_CLASSES: Dict[int, Type[CorvoError]] = {
    100: InvalidHandleError,
    101: InvalidArgumentError,
    102: BusyError,
    103: OutOfMemoryError,
    104: DroppedError,
    106: PlatformError,
}
#: By `corvo_network_error`.
_NETWORK = (
    None,
    "incorrectURL",
    "urlError",
    "wrongStatusCode",
    "decodingError",
    "customError",
    "noData",
)
FIRST_MISUSE = 100
BUSY = 102
DROPPED = 104


def _name_of(status: int) -> str:
    name: Optional[bytes] = _c.lib.corvo_status_name(status)
    return name.decode() if name else f"status {status}"


def error_of(status: int, text: str, *details: Any) -> CorvoError:
    """The exception for a status. The details are the last arguments of `CorvoError`."""
    kind = _CLASSES.get(status, CorvoError)
    return kind(text, _name_of(status), status, *details)


def check(status: int) -> None:
    """Raises the error that a function has returned on this thread, if it is one."""
    if not status:
        return
    error = _c.Error(size=ctypes.sizeof(_c.Error))
    _c.lib.corvo_last_error(error)
    if error.status != status:  # a signal handler failed meanwhile
        raise error_of(status, _name_of(status))
    raise error_from(error)


def error_from(error: _c.Error) -> CorvoError:
    """The exception for an error of the library."""
    offset = error.offset if error.offset >= 0 else None
    details = offset, error.http_status or None, _NETWORK[error.network]
    return error_of(error.status, _c.str_from(error.text), *details)
