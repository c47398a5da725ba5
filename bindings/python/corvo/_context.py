# SPDX-License-Identifier: Apache-2.0
"""What an answer depends on besides the project."""

from __future__ import annotations

import ctypes
import dataclasses
import datetime
import functools
import itertools
import struct
import weakref
from typing import Iterable, List, Mapping, Optional, Union

from . import _c
from ._handle import Numbered

_EPOCH = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)
# A day away from what `datetime` can express, so that every local time can be expressed, too.
_EARLIEST = -62_135_510_400  # 0001-01-02
_LATEST = 253_402_128_000  # 9999-12-30


@dataclasses.dataclass(frozen=True)
class Device:
    """Facts about device and application. None: unknown."""

    application_version: Optional[str] = None  #: The property "appVersion".
    device_id: Optional[str] = None  #: The property "deviceId".
    system_name: Optional[str] = None  #: The property "os.name".
    system_version: Optional[str] = None  #: The property "os.version".


@dataclasses.dataclass(frozen=True)
class Context:
    """A user, and what else an answer depends on. It is read when it is passed to a function."""

    #: The user's properties, by the names that conditions use: "userId", "custom.plan".
    properties: Mapping[str, str] = dataclasses.field(default_factory=dict)
    #: The location, by the names that a backend uses: "country", without "geo.".
    location: Mapping[str, str] = dataclasses.field(default_factory=dict)
    device: Device = Device()
    #: The moment: seconds since 1970, or a datetime with a zone. None: that of the system's clock.
    now: Union[float, datetime.datetime, None] = None
    #: The time zone. None: the system's. If it raises an exception, so does the question.
    time_zone: Optional[datetime.tzinfo] = None


#: A context, or the properties of one.
User = Union[Context, Mapping[str, str]]


def seconds_of(moment: Union[float, datetime.datetime]) -> float:
    if not isinstance(moment, datetime.datetime):
        return float(moment)
    if moment.utcoffset() is None:
        raise ValueError("a moment needs a time zone: datetime.now(timezone.utc)")
    return moment.timestamp()


class Zone:
    """A time zone for the library, which finds it by its number."""

    def __init__(self, tzinfo: datetime.tzinfo):
        if not isinstance(tzinfo, datetime.tzinfo):
            raise TypeError(f"a time zone must be a tzinfo, not {type(tzinfo).__name__}")
        self.tzinfo = tzinfo
        self.identifier = 1
        self.error: Optional[BaseException] = None
        self.struct = _c.TimeZone(_zones.add(self), _offset_at, _identifier)

    def offset_at(self, moment: int) -> int:
        moment = min(max(moment, _EARLIEST), _LATEST)
        local = (_EPOCH + datetime.timedelta(seconds=moment)).astimezone(self.tzinfo)
        offset = local.utcoffset()
        if offset is None:
            raise ValueError(f"{self.tzinfo!r} has no offset from UTC")
        return int(offset.total_seconds())

    def check(self) -> None:
        """Raises what the zone has raised, once. Its other answer counts for nothing."""
        if self.error is not None:
            error, self.error = self.error, None
            self.identifier += 1
            raise error


_zones: Numbered[Zone] = Numbered(weakref.WeakValueDictionary())


def _zone_offset(number: int, moment: int) -> int:
    zone = _zones.get(number)
    if zone is None:
        return 0
    try:
        return zone.offset_at(moment)
    except BaseException as error:  # must not pass through the library
        zone.error = error
        return 0


def _zone_identifier(number: int) -> int:
    zone = _zones.get(number)
    return zone.identifier if zone is not None else 0


_offset_at = _c.OffsetAt(_zone_offset)
_identifier = _c.Identifier(_zone_identifier)


@functools.lru_cache(maxsize=64)
def _layout(count: int) -> struct.Struct:
    return struct.Struct(f"{count}N")


class _Memory:
    """Bytes at an address that changes only when they have to grow."""

    def __init__(self) -> None:
        self._grow(1024)

    def _grow(self, size: int) -> None:
        self.bytes = bytearray(size)
        self.address = ctypes.addressof(ctypes.c_char.from_buffer(self.bytes))

    def reserve(self, size: int) -> None:
        if size > len(self.bytes):
            self._grow(2 * size)


class _PropertyList:
    """An array of `corvo_property`."""

    def __init__(self) -> None:
        self._texts = _Memory()
        self._entries = _Memory()

    def write(self, properties: Mapping[str, str]) -> int:
        """Replaces the properties; returns their number."""
        texts: List[str] = list(itertools.chain.from_iterable(properties.items()))
        try:
            joined = "".join(texts)
        except TypeError:
            raise TypeError("names and values of properties must be str") from None
        data = _c.encoded(joined)
        sizes = self._sizes(texts, len(data) == len(joined))
        self._texts.reserve(len(data))
        self._texts.bytes[: len(data)] = data
        places = list(itertools.accumulate(sizes, initial=self._texts.address))
        if places.pop() != self._texts.address + len(data):
            raise ValueError("a property's text lies about its length")
        layout = _layout(2 * len(sizes))
        self._entries.reserve(layout.size)
        layout.pack_into(
            self._entries.bytes, 0, *itertools.chain.from_iterable(zip(places, sizes))
        )
        return len(sizes) // 2

    @staticmethod
    def _sizes(texts: Iterable[str], is_ascii: bool) -> List[int]:
        return list(map(len, texts) if is_ascii else (len(_c.encoded(text)) for text in texts))

    @property
    def address(self) -> int:
        return self._entries.address


class ContextBuffer:
    """A context as the library reads it. Reuses its memory from user to user."""

    def __init__(self) -> None:
        self.struct = _c.Context(size=ctypes.sizeof(_c.Context))
        self.zone: Optional[Zone] = None
        self._user = _PropertyList()
        self._location = _PropertyList()

    def write(self, user: User) -> None:
        """Raises TypeError or ValueError; then the library must not read it."""
        context = user if isinstance(user, Context) else Context(user)
        self.write_properties(context.properties)
        self._write_surroundings(context)

    def write_properties(self, properties: Mapping[str, str]) -> None:
        """Replaces only the user's properties."""
        self.struct.property_count = self._user.write(properties)
        self.struct.properties = self._user.address

    def _write_surroundings(self, context: Context) -> None:
        to = self.struct
        to.location_count = self._location.write(context.location)
        to.location = self._location.address
        for field in dataclasses.fields(Device):
            setattr(to, field.name, _c.text_from(getattr(context.device, field.name), field.name))
        to.has_now = context.now is not None
        to.now = 0.0 if context.now is None else seconds_of(context.now)
        if context.time_zone is None:
            self.zone = None
        elif self.zone is None or self.zone.tzinfo is not context.time_zone:
            self.zone = Zone(context.time_zone)
        to.time_zone = ctypes.pointer(self.zone.struct) if self.zone else None
