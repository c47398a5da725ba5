# SPDX-License-Identifier: Apache-2.0
"""Feature flags, experiments and holdouts. docs/python.md explains the package."""

from ._context import Context, Device, User
from ._evaluation import Evaluation
from ._experiment import Experiment
from ._project import Filter, Project
from ._records import (
    Assignment,
    DetailResult,
    Drop,
    ExperimentDetail,
    Membership,
    ProjectExperiment,
    ProjectFlag,
    ProjectGroup,
    Stop,
)
from ._values import Value
from .errors import (
    BusyError,
    CorvoError,
    InvalidArgumentError,
    InvalidHandleError,
    OutOfMemoryError,
)

__all__ = [
    "Assignment",
    "BusyError",
    "Context",
    "CorvoError",
    "DetailResult",
    "Device",
    "Drop",
    "Evaluation",
    "Experiment",
    "ExperimentDetail",
    "Filter",
    "InvalidArgumentError",
    "InvalidHandleError",
    "Membership",
    "OutOfMemoryError",
    "Project",
    "ProjectExperiment",
    "ProjectFlag",
    "ProjectGroup",
    "Stop",
    "User",
    "Value",
]
