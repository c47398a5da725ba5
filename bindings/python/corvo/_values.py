# SPDX-License-Identifier: Apache-2.0
"""Values of flags and parameters as Python objects."""

from __future__ import annotations

import json
from typing import Any, Dict, Optional, TypeVar, Union

from . import _c

#: A value of a flag or a parameter. A dict is a JSON object.
Value = Union[bool, int, float, str, Dict[str, Any]]

T = TypeVar("T", bound=Value)
D = TypeVar("D")

ANY = 6
_NUMBERS: Dict[Optional[type], int] = {bool: 1, int: 2, float: 3, str: 4, dict: 5, None: ANY}


def number_of(kind: Optional[type]) -> int:
    """The number of the type to read a text as."""
    try:
        return _NUMBERS[kind]
    except (KeyError, TypeError):
        raise TypeError(f"values are read as bool, int, float, str or dict, not {kind!r}") from None


def parse(text: str) -> Any:
    """The value of a JSON text. The library has checked it: no number is beyond a double, and no
    value is nested more than 512 deep, which Python can read, too."""
    return json.loads(text)


def value_from(value: _c.Value) -> Any:
    """A copy of a value that a function returned; None if it is absent."""
    kind = value.type
    if kind == 1:
        return bool(value.boolean)
    if kind == 2:
        return value.integer
    if kind == 3:
        return value.number
    if kind == 4:
        return _c.str_from(value.text)
    if kind == 5:
        return parse(_c.str_from(value.text))
    return None
