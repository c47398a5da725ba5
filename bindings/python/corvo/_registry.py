# SPDX-License-Identifier: Apache-2.0
"""The loop on which answers come, and the questions that are under way."""

from __future__ import annotations

import asyncio
import ctypes
import os
import threading
import time
import weakref
from typing import Any, Callable, Dict, Generic, List, Optional, TypeVar, Union

from . import _c
from ._exit import CallingBack
from ._handle import Numbered, created
from ._platform import Platform, platform_struct
from .errors import BUSY, DROPPED, check, error_from, error_of

R = TypeVar("R")

_INTERVAL = 0.005  # between two ticks while a transfer is under way, in seconds
_FIRST_PAUSE = 0.0005


def late(timeout: Optional[float]) -> TimeoutError:
    """The error of a question that took too long."""
    return TimeoutError(f"no answer came within {timeout} seconds")


def call_soon(loop: asyncio.AbstractEventLoop, function: Callable[[], None]) -> None:
    """Has a loop call a function, unless it is closed. For any thread."""
    try:
        loop.call_soon_threadsafe(function)
    except RuntimeError:
        pass


class Question(Generic[R]):
    """A function of the library that asks, its arguments, and how its answer is read."""

    def __init__(self, function: Any, *arguments: Any, read: Callable[[_c.Answer], R]):
        self.function = function
        self.arguments = arguments
        self.read = read


class Pending(Generic[R]):
    """A question under way. The library calls plain functions, which find it by its number."""

    def __init__(
        self, client: int, read: Callable[[_c.Answer], R], listener: Optional[Callable[[], None]]
    ):
        self.client = client
        self._read = read
        self._listener = listener
        self._value: Optional[R] = None
        self._error: Optional[BaseException] = None
        self.is_done = False

    def answer(self, answer: _c.Answer) -> None:
        """Copies the answer, which is valid only now."""
        if self.is_done:
            return
        try:
            if answer.error:
                raise error_from(answer.error.contents)
            self._value = self._read(answer)
        except BaseException as error:  # belongs to the one who asked
            self._error = error
        self._finish()

    def end(self) -> None:
        """There will be no other answer."""
        if not self.is_done:
            self._error = error_of(DROPPED, "no answer can come any more")
            self._finish()

    def _finish(self) -> None:
        self.is_done = True
        if self._listener:
            self._listener()

    def result(self) -> R:
        if self._error is not None:
            raise self._error
        return self._value  # type: ignore[return-value]


_pending: "Numbered[Pending[Any]]" = Numbered()
_registries: "Numbered[Registry]" = Numbered(weakref.WeakValueDictionary())


def _answered(number: int, answer: Any) -> None:
    _pending[number].answer(answer.contents)


def _ended(number: int) -> None:
    _pending.pop(number).end()


def _work(number: int) -> None:
    registry = _registries.get(number)
    if registry is not None:
        registry._wake()


_ANSWERED = _c.Answered(_answered)
_ENDED = _c.Notify(_ended)
_WORK = _c.Notify(_work)
_NONE = ctypes.cast(0, _c.Notify)


class Registry:
    """Clients with different tags, on one platform. An application needs one only for options other
    than the defaults; otherwise all clients of the process share a default registry.

    Everything that happens to its clients happens on one thread at a time; other threads wait.
    """

    def __init__(
        self,
        *,
        data_folder: Union[str, "os.PathLike[str]", None] = None,
        data_file: Union[str, "os.PathLike[str]", None] = None,
        in_memory: bool = False,
        application_version: Optional[str] = None,
        timeout: float = 0,
        transfer_timeout: float = 0,
        max_body_bytes: int = 0,
        platform: Optional[Platform] = None,
    ):
        """`data_folder` is the folder for records: None is the program's own folder in the user's
        data folder. `data_file` is the file: None is "corvo.db" in the folder. `timeout` is how
        long a transfer may make no progress, in seconds (0: 60), `transfer_timeout` how long it may
        take (0: 300); with a negative number, all transfers fail. `max_body_bytes` limits a body
        (0: 16 MiB)."""
        if max_body_bytes < 0:
            raise ValueError("a size must not be negative")
        options = _c.HostOptions(
            size=ctypes.sizeof(_c.HostOptions),
            data_folder=_c.path_from(data_folder),
            data_file=_c.path_from(data_file),
            in_memory=bool(in_memory),
            application_version=_c.text_from(application_version, "a version"),
            timeout_seconds=timeout,
            transfer_seconds=transfer_timeout,
            max_body_bytes=_c.within_64_bits(max_body_bytes, "a size"),
        )
        struct = platform_struct(platform) if platform is not None else None
        number = created(_c.lib.corvo_registry_create, options, struct)
        self._lock = threading.RLock()
        self._is_used = False
        self._released: List[int] = []  # clients to free when none is in use
        self.registrations: Dict[str, int] = {}  # the first handles of registered clients, by tag
        self._drivers: Dict[asyncio.AbstractEventLoop, _Driver] = {}
        self._as_parameter_ = number
        weakref.finalize(self, _free, number, self._lock, self._released)

    def call(self, function: Any, *arguments: Any) -> None:
        """Calls a function that uses a client or the loop, and raises its error."""
        with self._lock:
            if self._is_used:  # by the caller of a service of the platform, or of a signal handler
                raise error_of(BUSY, "the clients of this registry are in use")
            self._is_used = True
            try:
                with CallingBack():
                    status = function(*arguments)
                check(status)
            finally:
                self._is_used = False
                self._free_released()

    def drop(self, client: int) -> None:
        """Ends the questions of a client, which would otherwise wait for their transfers."""
        with self._lock:
            for pending in list(_pending.values()):
                if pending.client == client:
                    pending.end()

    def release(self, client: int) -> None:
        """Frees a client: now, or when the one who uses it is done. Never waits, since the garbage
        collector calls it anywhere."""
        self._released.append(client)
        if self._lock.acquire(blocking=False):
            try:
                self._free_released()
            finally:
                self._lock.release()

    def _free_released(self) -> None:
        while self._released and not self._is_used:
            _c.lib.corvo_client_free(self._released.pop())

    def ask(
        self, client: int, question: Question[R], listener: Optional[Callable[[], None]] = None
    ) -> Pending[R]:
        """Asks. The listener is called when the question is done, on any thread."""
        pending = Pending(client, question.read, listener)
        number = _pending.add(pending)
        callback = _c.Callback(number, _ANSWERED, _ENDED)
        try:
            self.call(question.function, client, *question.arguments, callback)
        except BaseException:
            _pending.pop(number, None)
            raise
        return pending

    def wait(self, pending: Pending[R], timeout: Optional[float]) -> R:
        """Runs the loop until the question is done."""
        deadline = None if timeout is None else time.monotonic() + timeout
        pause = _FIRST_PAUSE
        while not pending.is_done:
            self._advance(pending)
            if pending.is_done:
                break
            if deadline is not None and time.monotonic() >= deadline:
                raise late(timeout)
            time.sleep(pause)  # outside the library, so that signals and other threads have a turn
            pause = min(2 * pause, _INTERVAL)
        return pending.result()

    def _advance(self, pending: Pending[Any]) -> None:
        with self._lock:
            self.call(_c.lib.corvo_registry_tick, self)
            if not pending.is_done and not self.is_busy():
                pending.end()

    def is_busy(self) -> bool:
        """Whether anything is under way."""
        busy = ctypes.c_bool()
        check(_c.lib.corvo_registry_busy(self, busy))
        return busy.value

    def drive(self, loop: asyncio.AbstractEventLoop) -> None:
        """Runs the registry's loop from this one, too."""
        with self._lock:
            if loop in self._drivers:
                return
            if not self._drivers:
                number = _registries.add(self)
                check(_c.lib.corvo_registry_on_work(self, number, _WORK, _NONE))
            for closed in [each for each in self._drivers if each.is_closed()]:
                del self._drivers[closed]
            self._drivers[loop] = _Driver(self, loop)
            self._drivers[loop].wake()

    def _wake(self) -> None:
        for driver in list(self._drivers.values()):
            driver.wake()


class _Driver:
    """Ticks a registry from an event loop of asyncio while the registry is busy."""

    def __init__(self, registry: Registry, loop: asyncio.AbstractEventLoop):
        self._registry = weakref.ref(registry)
        self._loop = loop
        self._timer: Optional[asyncio.TimerHandle] = None

    def wake(self) -> None:
        """Ticks soon. For any thread."""
        call_soon(self._loop, self._tick)

    def _tick(self) -> None:
        if self._timer is not None:
            self._timer.cancel()
            self._timer = None
        registry = self._registry()
        if registry is None:
            return
        if not registry._lock.acquire(blocking=False):  # another thread ticks meanwhile
            self._timer = self._loop.call_later(_INTERVAL, self._tick)
            return
        try:
            registry.call(_c.lib.corvo_registry_tick, registry)
        finally:
            registry._lock.release()
            if registry.is_busy() and self._timer is None:
                self._timer = self._loop.call_later(_INTERVAL, self._tick)


def _free(number: int, lock: Any, released: List[int]) -> None:
    """Frees a registry and its released clients, unless a thread still uses them as the process
    ends."""
    if not lock.acquire(blocking=False):
        return
    try:
        while released:
            _c.lib.corvo_client_free(released.pop())
        _c.lib.corvo_registry_free(number)
    finally:
        lock.release()


_default: Optional[Registry] = None
_default_lock = threading.Lock()


def default_registry() -> Registry:
    """The registry of the process."""
    global _default
    with _default_lock:
        if _default is None:
            _default = Registry()
        return _default
