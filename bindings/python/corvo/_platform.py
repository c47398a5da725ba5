# SPDX-License-Identifier: Apache-2.0
"""Services of the platform that are written in Python."""

from __future__ import annotations

import ctypes
import dataclasses
import datetime
import time
from typing import Any, Callable, Dict, List, MutableMapping, NamedTuple, Optional, Tuple, TypeVar

from . import _c
from ._context import Device, Zone
from ._handle import Numbered

R = TypeVar("R")


class Request(NamedTuple):
    """One HTTP request, without a body."""

    method: str  #: "GET" or "POST".
    url: str  #: Its address.
    headers: List[Tuple[str, str]]  #: Field names and values.
    timeout: float  #: The longest time without any progress, in seconds.


class Response(NamedTuple):
    """The result of a request."""

    status: int  #: The HTTP status code.
    body: bytes = b""  #: The decoded body; empty means that no data came.


@dataclasses.dataclass(frozen=True)
class Platform:
    """Services that replace those of the ready-made platform: for tests, or for an HTTP library of
    the application. None: the ready-made service.

    They are called on any thread that asks a question, and must not use a client. An exception
    cannot reach the question: `sys.unraisablehook` reports it, and the service has the result that
    is documented below.
    """

    #: The current moment, in seconds since 1970. After an exception, that of the system's clock.
    clock: Optional[Callable[[], float]] = None
    #: The time zone. After an exception, the offset is that of UTC.
    time_zone: Optional[datetime.tzinfo] = None
    #: Performs a request, and returns when it is done. An exception means that the transfer failed;
    #: an OSError, such as a ConnectionError, is not reported.
    http: Optional[Callable[[Request], Response]] = None
    #: Where clients store their records, by suite and key: {} to forget them with the process.
    #: After an exception, earlier changes of the same call are undone.
    store: Optional[MutableMapping[Tuple[str, str], bytes]] = None
    #: Facts about device and application. The device's ID should be a UUID in upper case.
    device: Optional[Device] = None


class _Services:
    """A platform as long as the library uses it, by its number."""

    def __init__(self, platform: Platform):
        self.platform = platform
        self.zone = Zone(platform.time_zone) if platform.time_zone else None


_platforms: Numbered[_Services] = Numbered()


def _or(fallback: Callable[[], R]) -> Callable[[Callable[..., R]], Callable[..., R]]:
    """Gives a function of a platform a result after an exception, which `sys.unraisablehook`
    reports. After the exceptions that ctypes itself reports, the result is arbitrary."""

    def guarded(function: Callable[..., R]) -> Callable[..., R]:
        def safe(*arguments: Any) -> R:
            try:
                return function(*arguments)
            except BaseException as error:
                _report(error)
                return fallback()

        return safe

    return guarded


def _report(error: BaseException) -> None:
    def fail(_: int) -> None:
        raise error

    _c.Notify(fail)(None)


def _destroy(number: int) -> None:
    _platforms.pop(number, None)


@_or(time.time)
def _now(number: int) -> float:
    clock = _platforms[number].platform.clock
    assert clock is not None
    return float(clock())


@_or(lambda: 0)
def _offset_at(number: int, moment: int) -> int:
    zone = _platforms[number].zone
    assert zone is not None
    return zone.offset_at(moment)


def _zone_identifier(number: int) -> int:
    return number


def _start(number: int, given: Any, exchange: int) -> None:
    response = _c.Response(size=ctypes.sizeof(_c.Response))
    try:
        status, body = _perform(_platforms[number].platform, given.contents)
        response.status, response.body = status, _c.Text(body, len(body))
    except OSError as error:
        response.failure = _c.text_from(str(error))
    except BaseException as error:
        response.failure = _c.text_from(repr(error))
        raise  # to `sys.unraisablehook`
    finally:
        _c.lib.corvo_exchange_complete(exchange, response)


def _perform(platform: Platform, given: _c.Request) -> Tuple[int, bytes]:
    headers = [
        (_c.str_from(each.name), _c.str_from(each.value))
        for each in given.headers[: given.header_count]
    ]
    assert platform.http is not None
    response = platform.http(
        Request(_c.str_from(given.method), _c.str_from(given.url), headers, given.timeout_seconds)
    )
    return int(response.status), bytes(response.body)


@_or(lambda: False)
def _read(number: int, suite: _c.Result, key: _c.Result, value: int) -> bool:
    store = _platforms[number].platform.store
    assert store is not None
    found = store.get((_c.str_from(suite), _c.str_from(key)))
    return found is None or _put(value, bytes(found))


@_or(lambda: False)
def _apply(number: int, suite: _c.Result, changes: Any, count: int) -> bool:
    store = _platforms[number].platform.store
    assert store is not None
    before: List[Tuple[Tuple[str, str], Optional[bytes]]] = []
    try:
        for change in changes[:count]:
            place = _c.str_from(suite), _c.str_from(change.key)
            before.append((place, store.get(place)))
            _change(store, place, _c.bytes_from(change.value) if change.value.data else None)
    except BaseException:
        for place, value in reversed(before):
            _change(store, place, value)
        raise
    return True


def _change(
    store: MutableMapping[Tuple[str, str], bytes], place: Tuple[str, str], value: Optional[bytes]
) -> None:
    if value is None:
        store.pop(place, None)
    else:
        store[place] = value


def _fact(number: int, fact: int, text: int) -> None:
    device = _platforms[number].platform.device
    assert device is not None
    value = (
        device.device_id,
        device.system_name,
        device.system_version,
        device.application_version,
    )[fact]
    if value is not None:
        _put(text, _c.encoded(value))


def _put(place: int, value: bytes) -> bool:
    return not _c.lib.corvo_bytes_set(place, _c.Text(value, len(value)))


# They exist as long as the process.
_DESTROY = _c.Notify(_destroy)
_SERVICES: Dict[str, Dict[str, Any]] = {
    "clock": {"now": _c.Now(_now)},
    "time_zone": {
        "offset_at": _c.OffsetAt(_offset_at),
        "zone_identifier": _c.Identifier(_zone_identifier),
    },
    "http": {"start": _c.Start(_start)},
    "store": {"read": _c.Read(_read), "apply": _c.Apply(_apply)},
    "device": {"fact": _c.Fact(_fact)},
}


def platform_struct(platform: Platform) -> _c.Platform:
    """The platform for the library, which takes it over."""
    struct = _c.Platform(size=ctypes.sizeof(_c.Platform), destroy=_DESTROY)
    for service, functions in _SERVICES.items():
        if getattr(platform, service) is not None:
            for name, function in functions.items():
                setattr(struct, name, function)
    struct.context = _platforms.add(_Services(platform))
    return struct
