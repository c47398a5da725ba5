# SPDX-License-Identifier: Apache-2.0
"""Values of flags and parameters as Python objects."""

from __future__ import annotations

import decimal
import json
from typing import Any, Dict, List, Optional, TypeVar, Union

from . import _c
from .errors import check

#: A value of a flag or a parameter. A dict is a JSON object; in it, a whole number is an int if it
#: fits into 64 bits, even if written as 1.0.
Value = Union[bool, int, float, str, Dict[str, Any]]

T = TypeVar("T", bound=Value)
D = TypeVar("D")

#: The numbers of the types: `corvo_type` in corvo/c/base.h.
ABSENT, BOOLEAN, INTEGER, DOUBLE, STRING, JSON, ANY = range(7)
_NUMBERS: Dict[Optional[type], int] = {
    bool: BOOLEAN,
    int: INTEGER,
    float: DOUBLE,
    str: STRING,
    dict: JSON,
    None: ANY,
}


def number_of(kind: Optional[type]) -> int:
    """The number of the type to read a text as."""
    try:
        return _NUMBERS[kind]
    except (KeyError, TypeError):
        raise TypeError(f"values are read as bool, int, float, str or dict, not {kind!r}") from None


def parse(text: str) -> Any:
    """The value of a JSON text, with the numbers that the library reads. The library has checked
    the text: no value is nested more than 512 deep, which Python can read, too, and no number is
    beyond a double, except under a key that is repeated later."""
    return _DECODER.decode(text)


def _number(text: str) -> Union[int, float]:
    """A whole number is an int if it fits into 64 bits, with a sign or without; every other one is
    a float. So a value is the same before and after the library has written it as JSON."""
    number = float(text)
    if number == 0:  # whose exponent may be too much for a Decimal
        return 0
    if number.is_integer() and abs(number) <= 2.0**64:
        candidates: List[Any] = [decimal.Decimal(text), number]
        for candidate in candidates:
            whole = int(candidate)
            if whole == candidate and -(2**63) <= whole < 2**64:
                return whole
    return number


_DECODER = json.JSONDecoder(
    parse_int=lambda text: int(text) if len(text) < 19 else _number(text), parse_float=_number
)


def value_from(value: _c.Value) -> Any:
    """A copy of a value that a function returned; None if it is absent."""
    kind = value.type
    if kind == BOOLEAN:
        return bool(value.boolean)
    if kind == INTEGER:
        return value.integer
    if kind == DOUBLE:
        return value.number
    if kind == STRING:
        return _c.str_from(value.text)
    if kind == JSON:
        return parse(_c.str_from(value.text))
    return None


def typed(text: str) -> Value:
    """The value of a configuration's text: the first type that fits."""
    given, value = _c.text_from(text), _c.Value()
    check(_c.lib.corvo_read_value(given, ANY, value))  # a text in the value points into the given
    return value_from(value)  # type: ignore[no-any-return]
