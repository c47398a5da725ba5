# SPDX-License-Identifier: Apache-2.0
"""A project's configuration, prepared for questions."""

from __future__ import annotations

import dataclasses
import enum
import re
from typing import Any, Dict, Iterable, Iterator, List, Optional, Tuple, Type, TypeVar
from typing import Union

from . import _c
from ._context import Context, User
from ._evaluation import Evaluation, Selection
from ._handle import Handle, created
from ._records import Assignment, Drop, Membership, ProjectExperiment, ProjectFlag, ProjectGroup
from ._records import Stop
from ._values import Value, parse
from .errors import check


class Filter(enum.IntEnum):
    """Which flags and experiments of a document count."""

    NONE = 0  #: All.
    CLIENT = 1  #: Those that a client keeps.


R = TypeVar("R")


def _record(cls: Type[R], members: Dict[str, Any]) -> R:
    """A dataclass from a JSON object whose names are in camel case."""

    def member(field: str) -> Any:
        return members[re.sub("_([a-z])", lambda match: match.group(1).upper(), field)]

    return cls(**{field.name: member(field.name) for field in dataclasses.fields(cls)})


class Project:
    """A project's configuration, decoded and prepared for questions. Any number of threads may use
    it. `Project.decode` and clients make it."""

    def __init__(self, number: int):
        """Takes the number of a handle of the library."""
        self._handle = Handle(number, _c.lib.corvo_project_free)
        json = _c.Result()
        check(_c.lib.corvo_project_describe(self._handle, json))
        described = parse(_c.str_from(json))

        #: Each name once: first the configuration's own flags in its order, then those that only
        #: experiments carry.
        self.flags: List[ProjectFlag] = [_record(ProjectFlag, each) for each in described["flags"]]
        #: The experiments that are not holdouts, in the configuration's order.
        self.experiments = [self._experiment(each) for each in described["experiments"]]
        #: The holdouts, in the same way.
        self.holdouts = [self._experiment(each) for each in described["holdouts"]]
        #: The names of the properties that answers depend on.
        self.properties: List[str] = described["properties"]
        #: The experiments that abort the process. Do not ask about a document that has any.
        self.stops: List[Stop] = [_record(Stop, each) for each in described["stops"]]
        #: What was dropped, in the document's order.
        self.drops: List[Drop] = [_record(Drop, each) for each in described["drops"]]

        everything = {each.position: each for each in self.experiments + self.holdouts}
        # For reports, by position: names of flags, memberships by group, and which are holdouts.
        self._flag_names = [flag.name for flag in self.flags]
        self._memberships: Dict[int, List[Membership]] = {
            position: [Membership(each.name, i, group.name) for i, group in enumerate(each.groups)]
            for position, each in everything.items()
        }
        self._holdout_positions = {each.position for each in self.holdouts}
        self._everything = Selection(self._report_flags(), sorted(everything))
        # The values of texts, by the place where the project has them. JSON objects stay texts,
        # since every user gets one of their own, which may be changed.
        self._known_values: Dict[Tuple[int, int], Value] = {}
        self._known_objects: Dict[Tuple[int, int], str] = {}

    @staticmethod
    def _experiment(members: Dict[str, Any]) -> ProjectExperiment:
        groups = [_record(ProjectGroup, group) for group in members["groups"]]
        return _record(ProjectExperiment, {**members, "groups": groups})

    def _report_flags(self) -> List[int]:
        return [i for i, flag in enumerate(self.flags) if not flag.is_only_carried]

    @classmethod
    def decode(cls, document: Union[str, bytes], filter: Filter = Filter.NONE) -> "Project":
        """Decodes a configuration document, as tolerantly as a client does.

        Raises `CorvoError` with the case "requestConfigFailed" if it cannot be read; the error's
        `offset` says where.
        """
        text = _c.document_from(document)
        return cls(created(_c.lib.corvo_project_decode, text, int(Filter(filter))))

    def evaluate(self, user: User = Context()) -> Evaluation:
        """An evaluation of this project for a user."""
        return Evaluation(self, user)

    def assign(
        self,
        users: Iterable[User],
        *,
        flags: Optional[Iterable[str]] = None,
        experiments: Optional[Iterable[str]] = None,
        defaults: Context = Context(),
    ) -> Iterator[Assignment]:
        """Answers for many users, one by one, as fast as Python can.

        A user is a mapping of properties, with location, device, moment and zone from `defaults`,
        or a `Context`. `flags` and `experiments` (which may name holdouts) limit the answers; by
        default they have all. If `defaults` has no moment, each user has the time of their answer.

        Raises ValueError for a name that is not in the project. An error of a user, TypeError for
        a property that is not a str, is raised when the user's turn comes, and ends the iteration.
        """
        selection = Selection(self._flag_positions(flags), self._experiment_positions(experiments))
        return Evaluation(self, defaults)._assignments(users, defaults, selection)

    def _flag_positions(self, names: Optional[Iterable[str]]) -> List[int]:
        places = {self._flag_names[i]: [i] for i in self._report_flags()}
        return _positions_of(names, places, "flag")

    def _experiment_positions(self, names: Optional[Iterable[str]]) -> List[int]:
        places: Dict[str, List[int]] = {}
        for each in sorted(self.experiments + self.holdouts, key=lambda each: each.position):
            places.setdefault(each.name, []).append(each.position)
        return _positions_of(names, places, "experiment")

    def __repr__(self) -> str:
        return f"<corvo.Project: {len(self.flags)} flags, {len(self.experiments)} experiments>"


def _positions_of(
    names: Optional[Iterable[str]], places: Dict[str, List[int]], what: str
) -> List[int]:
    if isinstance(names, str):
        raise TypeError(f"the names of {what}s must be a list of str, not a str")
    positions: List[int] = []
    for name in places if names is None else names:
        if name not in places:
            raise ValueError(f"the project has no {what} {name!r}")
        positions += places[name]
    return sorted(set(positions))

