# SPDX-License-Identifier: Apache-2.0
"""What answers and projects consist of."""

from __future__ import annotations

import dataclasses
from typing import Dict, List, NamedTuple, Optional

from ._context import User
from ._values import Value


@dataclasses.dataclass(frozen=True)
class ProjectFlag:
    """A flag of the configuration, or one that only an experiment carries."""

    name: str  #: The name to use in questions.
    type: str  #: The text in the document; no answer depends on it.
    is_private: bool  #: Whether conditions compare digests of values.
    carried_by: Optional[str]  #: The experiment that decides it.
    is_only_carried: bool  #: Only experiments have the flag, so reports omit it.


@dataclasses.dataclass(frozen=True)
class ProjectGroup:
    """A group of an experiment."""

    name: str  #: As in `Experiment.group`.
    label: Optional[str]  #: A human-readable name.
    weight: float  #: A fraction of the experiment's users.


@dataclasses.dataclass(frozen=True)
class ProjectExperiment:
    """An experiment or a holdout of the configuration."""

    name: str  #: The name to use in questions.
    type: Optional[str]  #: As in `ExperimentDetail`.
    split_by: str  #: "userId", "deviceId" or "profileId".
    allocation: float  #: A fraction of all users.
    layer: Optional[str]  #: The name of its layer, if it is in one.
    groups: List[ProjectGroup]  #: In the configuration's order.
    flags: List[str]  #: The names of the flags that it carries.
    params: List[str]  #: The names of its parameters.
    holdouts: List[str]  #: The names it lists, even if unknown.
    is_private: bool  #: Whether conditions compare digests of values.
    position: int  #: Among all experiments and holdouts, from 0.


@dataclasses.dataclass(frozen=True)
class Stop:
    """An experiment that aborts the process when a question reaches it."""

    experiment: str  #: Its name.
    reason: str  #: A short, human-readable reason.


@dataclasses.dataclass(frozen=True)
class Drop:
    """An element of the document that the reader or the filter dropped."""

    pointer: str  #: A JSON pointer (RFC 6901) to the element.
    reason: str  #: A short, human-readable reason.
    offset: int  #: Where it begins in the document, in bytes from 0.


class Membership(NamedTuple):
    """A user's group in an experiment or a holdout."""

    experiment: str  #: The name of the experiment.
    group_index: int  #: The group's position in the experiment, from 0.
    group: str  #: The group's name.


class DetailResult(NamedTuple):
    """A value that an experiment gives to the user."""

    name: str  #: The name of a flag or a parameter.
    value: str  #: Its text.


class ExperimentDetail(NamedTuple):
    """An experiment that the user takes part in, with its values."""

    type: Optional[str]  #: Its type.
    id: str  #: Its name.
    group: int  #: The position of the user's group.
    results: List[DetailResult]  #: The values.


class Assignment(NamedTuple):
    """The answers about one user."""

    user: User  #: The user as given.
    flags: Dict[str, Value]  #: The flags that have a value for the user.
    experiments: List[Membership]  #: The experiments that the user takes part in.
    holdouts: List[Membership]  #: The holdouts that the user is in.
