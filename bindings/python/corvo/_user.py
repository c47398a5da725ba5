# SPDX-License-Identifier: Apache-2.0
"""The user of a client."""

from __future__ import annotations

import ctypes
from typing import Any, Callable, List, Mapping, Optional, Union

from . import _c
from ._handle import Handle, Numbered, created
from ._values import ABSENT, BOOLEAN, DOUBLE, INTEGER, STRING
from .errors import CorvoError, check

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

#: A call that sets a property of the user with a handle, and raises the library's error.
Setter = Callable[[int], None]


def setters_of(properties: Properties) -> List[Setter]:
    """The calls that set the properties. Raises TypeError and ValueError."""
    if not isinstance(properties, Mapping):
        raise TypeError(f"properties must be a mapping, not {type(properties).__name__}")
    return [_setter_of(name, value) for name, value in properties.items()]


def _setter_of(name: str, value: Union[str, bool, int, float, None]) -> Setter:
    number = _NAMES.get(name)
    if number is not None:
        text = _c.text_from(value, name)  # type: ignore[arg-type]
        return lambda user: check(_c.lib.corvo_user_set(user, number, text))
    if not isinstance(name, str) or not name.startswith(_CUSTOM):
        raise ValueError(f"a user has no property {name!r}; custom ones begin with {_CUSTOM!r}")
    key = _c.text_from(name[len(_CUSTOM) :])
    given = _value_of(name, value)
    return lambda user: check(_c.lib.corvo_user_set_custom(user, key, given))


def _value_of(name: str, value: Union[str, bool, int, float, None]) -> _c.Value:
    if value is None:
        return _c.Value(type=ABSENT)
    if isinstance(value, bool):
        return _c.Value(type=BOOLEAN, boolean=value)
    if isinstance(value, int):
        return _c.Value(type=INTEGER, integer=_c.within_64_bits(value, name))
    if isinstance(value, float):
        return _c.Value(type=DOUBLE, number=value)
    if not isinstance(value, str):
        raise TypeError(f"{name} must be a str, a number or a bool, not {type(value).__name__}")
    data = _c.encoded(value)
    address = ctypes.cast(ctypes.c_char_p(data), ctypes.c_void_p).value
    given = _c.Value(type=STRING, text=_c.Result(address, len(data)))
    given.kept = data  # as long as the struct lives
    return given


def user_of(registry: Any, properties: Properties) -> Handle:
    """A user with these properties, which expire 24 hours after now."""
    setters = setters_of(properties)
    number = created(_c.lib.corvo_user_create, registry)
    user = Handle(number, _c.lib.corvo_user_free)
    for setter in setters:
        setter(number)
    return user


class _Edit:
    """An edit of a user, which ends at the first error."""

    def __init__(self, setters: List[Setter]):
        self._setters = setters
        self.error: Optional[BaseException] = None

    def apply(self, user: int) -> bool:
        try:
            for setter in self._setters:
                setter(user)
        except BaseException as error:  # must not pass through the library
            self.error = error
        return self.error is None


_edits: Numbered[_Edit] = Numbered()


def _edit(number: int, user: int) -> bool:
    return _edits[number].apply(user)


_EDIT = _c.Edit(_edit)


def edit(registry: Any, function: Any, client: Any, properties: Properties) -> None:
    """Has a function of the library edit the client's user. After an error, nothing is stored."""
    asked = _Edit(setters_of(properties))
    number = _edits.add(asked)
    try:
        registry.call(function, client, _EDIT, number)
    except CorvoError:
        if asked.error is not None:
            raise asked.error from None
        raise
    finally:
        _edits.pop(number)
