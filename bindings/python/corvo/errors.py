# SPDX-License-Identifier: Apache-2.0
"""Errors of the library as exceptions."""

from __future__ import annotations

import ctypes
from typing import Dict, NoReturn, Optional, Type

from . import _c


class CorvoError(Exception):
    """An operation of the library failed. `str(error)` describes it for people.

    Misuse of the library has subclasses, which are also the built-in exceptions that fit.
    """

    #: The name of the error: "featureFlagNotFound". docs/errors.md lists all.
    case: str
    #: Its number, which never changes: `corvo_status` in corvo/c.h.
    code: int
    #: For a document that cannot be decoded: the offset of the mistake, in bytes from 0.
    offset: Optional[int]

    def __init__(self, text: str, case: str, code: int, offset: Optional[int] = None):
        super().__init__(text)
        self.case = case
        self.code = code
        self.offset = offset

    def __reduce__(self) -> "tuple[object, ...]":
        return type(self), (str(self), self.case, self.code, self.offset)


class InvalidHandleError(CorvoError, ValueError):
    """The object was closed."""


class InvalidArgumentError(CorvoError, ValueError):
    """An argument has an unknown value."""


class BusyError(CorvoError, RuntimeError):
    """The object is in use: by the caller of this function, or on another thread."""


class OutOfMemoryError(CorvoError, MemoryError):
    """Memory ran out."""


_CLASSES: Dict[int, Type[CorvoError]] = {
    100: InvalidHandleError,
    101: InvalidArgumentError,
    102: BusyError,
    103: OutOfMemoryError,
}
FIRST_MISUSE = 100
BUSY = 102


def _name_of(status: int) -> str:
    name: Optional[bytes] = _c.lib.corvo_status_name(status)
    return name.decode() if name else f"status {status}"


def fail(status: int, text: str, offset: Optional[int] = None) -> NoReturn:
    """Raises the error of a status."""
    raise _CLASSES.get(status, CorvoError)(text, _name_of(status), status, offset)


def check(status: int) -> None:
    """Raises the error that a function has returned on this thread, if it is one."""
    if not status:
        return
    error = _c.Error(size=ctypes.sizeof(_c.Error))
    _c.lib.corvo_last_error(error)
    if error.status != status:  # a signal handler failed meanwhile
        fail(status, _name_of(status))
    fail(status, _c.str_from(error.text), error.offset if error.offset >= 0 else None)
