# SPDX-License-Identifier: Apache-2.0
"""Objects of the library."""

from __future__ import annotations

import weakref
from typing import Any, Callable


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
