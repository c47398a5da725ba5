# SPDX-License-Identifier: Apache-2.0
"""Experiments that a user takes part in."""

from __future__ import annotations

import ctypes
from typing import Any, List, Optional, Type, overload

from . import _c
from ._handle import Handle
from ._records import Membership
from ._values import T, Value, number_of, value_from
from .errors import check


def experiments_from(handles: Any, count: int) -> "List[Experiment]":
    """The experiments of handles that a function has listed."""
    return [Experiment(number) for number in handles[:count]]


class Experiment:
    """An experiment that the user takes part in, with the user's group. It does not change any
    more, and may be used on any thread."""

    def __init__(self, number: int):
        self._handle = Handle(number, _c.lib.corvo_experiment_free)
        name, group, index = _c.Result(), _c.Result(), ctypes.c_int64()
        check(_c.lib.corvo_experiment_group(self._handle, name, group, index))
        self._membership = Membership(_c.str_from(name), index.value, _c.str_from(group))

    @property
    def name(self) -> str:
        """The name of the experiment."""
        return self._membership.experiment

    @property
    def group(self) -> str:
        """The name of the user's group."""
        return self._membership.group

    @property
    def group_index(self) -> int:
        """The position of the group in the experiment, from 0."""
        return self._membership.group_index

    @overload
    def param(self, name: str, kind: Type[T]) -> Optional[T]: ...
    @overload
    def param(self, name: str, kind: None = None) -> Optional[Value]: ...
    def param(self, name: str, kind: Optional[type] = None) -> Any:
        """The value of a parameter for the user's group, read as a type: `bool`, `int`, `float`,
        `str`, `dict` (a JSON object), or None for the first that fits. None if there is no such
        parameter, or its text is not valid for the type."""
        return self._read(_c.lib.corvo_experiment_param, name, kind)

    @overload
    def flag(self, name: str, kind: Type[T]) -> Optional[T]: ...
    @overload
    def flag(self, name: str, kind: None = None) -> Optional[Value]: ...
    def flag(self, name: str, kind: Optional[type] = None) -> Any:
        """The value of a flag that the experiment carries, in the user's group. None if the
        experiment carries no flag of that name, or if its text is not valid for the type.

        Raises `CorvoError` ("experimentGroupNotMatchingFeatureFlagGroup", "featureFlagNoRules",
        "featureFlagRulesNotSatisfied")."""
        return self._read(_c.lib.corvo_experiment_flag, name, kind)

    def _read(self, function: Any, name: str, kind: Optional[type]) -> Any:
        value = _c.Value()
        check(function(self._handle, _c.text_from(name), number_of(kind), value))
        return value_from(value)

    def __repr__(self) -> str:
        return f"<corvo.Experiment {self.name!r}, group {self.group!r}>"
