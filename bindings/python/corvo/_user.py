# SPDX-License-Identifier: Apache-2.0
"""The user of a client."""

from __future__ import annotations

import ctypes
import itertools
from typing import Any, Callable, Dict, List, Mapping, Optional, Tuple, Union

from . import _c
from ._handle import Handle
from .errors import check

#: The properties of a client's user, by the names that conditions use. Custom ones may be booleans
#: and numbers, too. None removes a property.
Properties = Mapping[str, Union[str, bool, int, float, None]]

_NAMES = {
    name: number
    for number, name in enumerate(
        "userId profileId deviceId appVersion os.name os.version "
        "geo.code geo.country geo.state geo.city email".split()
    )
}
_CUSTOM = "custom."

#: A call that sets a property of the user with a handle.
Setter = Callable[[int], int]


def setters_of(properties: Properties) -> List[Setter]:
    """The calls that set the properties. Raises TypeError and ValueError."""
    if not isinstance(properties, Mapping):
        raise TypeError(f"properties must be a mapping, not {type(properties).__name__}")
    return [_setter_of(name, value) for name, value in properties.items()]


def _setter_of(name: str, value: Union[str, bool, int, float, None]) -> Setter:
    number = _NAMES.get(name)
    if number is not None:
        text = _c.text_from(value, name)  # type: ignore[arg-type]
        return lambda user: int(_c.lib.corvo_user_set(user, number, text))
    if not isinstance(name, str) or not name.startswith(_CUSTOM):
        raise ValueError(f"a user has no property {name!r}; custom ones begin with {_CUSTOM!r}")
    key = _c.text_from(name[len(_CUSTOM) :])
    given, kept = _value_of(name, value)

    def set_custom(user: int) -> int:
        return int(_c.lib.corvo_user_set_custom(user, key, given)) if kept is not None else -1

    return set_custom


def _value_of(name: str, value: Union[str, bool, int, float, None]) -> Tuple[_c.Value, bytes]:
    """A value, and the bytes that it points to."""
    if value is None:
        return _c.Value(type=0), b""
    if isinstance(value, bool):
        return _c.Value(type=1, boolean=value), b""
    if isinstance(value, int):
        return _c.Value(type=2, integer=_c.within_64_bits(value, name)), b""
    if isinstance(value, float):
        return _c.Value(type=3, number=value), b""
    if not isinstance(value, str):
        raise TypeError(f"{name} must be a str, a number or a bool, not {type(value).__name__}")
    data = _c.encoded(value)
    address = ctypes.cast(ctypes.c_char_p(data), ctypes.c_void_p).value
    return _c.Value(type=4, text=_c.Result(address, len(data))), data


def user_of(registry: Any, properties: Properties) -> Handle:
    """A user with these properties, which expire 24 hours after now."""
    setters = setters_of(properties)
    handle = ctypes.c_void_p()
    check(_c.lib.corvo_user_create(registry, handle))
    assert handle.value is not None
    user = Handle(handle.value, _c.lib.corvo_user_free)
    for setter in setters:
        check(setter(handle.value))
    return user


_numbers = itertools.count(1)
_edits: Dict[int, List[Setter]] = {}


def _edit(number: int, user: int) -> bool:
    return not any([setter(user) for setter in _edits[number]])


_EDIT = _c.Edit(_edit)


def edit(registry: Any, function: Any, client: Any, properties: Properties) -> None:
    """Has a function of the library edit the client's user."""
    setters = setters_of(properties)
    number = next(_numbers)
    _edits[number] = setters
    try:
        registry.call(function, client, _EDIT, number)
    finally:
        del _edits[number]
