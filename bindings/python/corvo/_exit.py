# SPDX-License-Identifier: Apache-2.0
"""The end of the process.

Python ends a thread that wants to run Python code after the interpreter has begun to end, even
in the middle of a function of the library that has called back. Such functions are C++, which
aborts the process then. So the end waits until no thread is in one, and lets no other begin.
"""

from __future__ import annotations

import atexit
import os
import threading
import time
from typing import Optional, Set

_LONGEST_WAIT = 5.0  # seconds, for a service of the platform that does not return

_calls: "Set[CallingBack]" = set()
_ending_thread: Optional[int] = None


class CallingBack:
    """A function of the library that may call Python functions, in a `with` statement."""

    __slots__ = ()

    def __enter__(self) -> None:
        _calls.add(self)  # before the end is noticed, so that the end notices this
        if _ending_thread is not None and _ending_thread != threading.get_ident():
            _calls.discard(self)
            threading.Event().wait()  # until the process has ended

    def __exit__(self, *error: object) -> None:
        _calls.discard(self)


def _end() -> None:
    global _ending_thread
    _ending_thread = threading.get_ident()
    deadline = time.monotonic() + _LONGEST_WAIT
    while _calls and time.monotonic() < deadline:
        time.sleep(0.001)


atexit.register(_end)
if hasattr(os, "register_at_fork"):
    os.register_at_fork(after_in_child=_calls.clear)  # the other threads are not in the child
