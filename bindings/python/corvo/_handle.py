# SPDX-License-Identifier: Apache-2.0
"""Objects of the library."""

from __future__ import annotations

import ctypes
import itertools
import weakref
from typing import Any, Callable, Generic, MutableMapping, Optional, TypeVar

from .errors import check

T = TypeVar("T")


def created(create: Callable[..., Any], *arguments: Any) -> int:
    """The number of the handle that a function of the library creates, by its last argument."""
    handle = ctypes.c_void_p()
    check(create(*arguments, handle))
    assert handle.value is not None
    return handle.value


class Numbered(Generic[T]):
    """Objects that the library's callbacks find by number: it exists as long as the process, and no
    later object is mistaken for an earlier one."""

    def __init__(self, objects: Optional[MutableMapping[int, T]] = None):
        self._numbers = itertools.count(1)
        self._objects: MutableMapping[int, T] = {} if objects is None else objects
        self.get = self._objects.get
        self.pop = self._objects.pop
        self.values = self._objects.values

    def add(self, value: T) -> int:
        """Its number."""
        number = next(self._numbers)
        self._objects[number] = value
        return number

    def __getitem__(self, number: int) -> T:
        return self._objects[number]


class Handle:
    """Owns a handle of the library, and frees it when nothing refers to it any more.

    At the end of the process handles are not freed: other threads may still use them.
    """

    __slots__ = ("_as_parameter_", "_finalizer", "__weakref__")

    def __init__(self, number: int, free: Callable[[int], int]):
        self._as_parameter_ = number
        self._finalizer = weakref.finalize(self, free, number)
        self._finalizer.atexit = False

    def free(self) -> None:
        """Frees it now. Later uses are the error of an invalid handle."""
        self._finalizer()

    def __copy__(self) -> "Handle":
        return self

    def __deepcopy__(self, memo: Any) -> "Handle":
        return self

    def __reduce__(self) -> Any:
        raise TypeError("objects of the library cannot be pickled")
