# SPDX-License-Identifier: Apache-2.0
"""Feature flags, experiments and holdouts. docs/python.md explains the package."""

from ._client import AsyncClient, Client, ClientStatus, Copy
from ._context import Context, Device, User
from ._evaluation import Evaluation
from ._experiment import Experiment
from ._lint import Finding, lint
from ._platform import Platform, Request, Response
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
from ._registry import Registry
from ._user import Properties
from ._values import Value
from .errors import (
    BusyError,
    CorvoError,
    DroppedError,
    InvalidArgumentError,
    InvalidHandleError,
    OutOfMemoryError,
    PlatformError,
)

__all__ = [
    "Assignment",
    "AsyncClient",
    "BusyError",
    "Client",
    "ClientStatus",
    "Context",
    "Copy",
    "CorvoError",
    "DetailResult",
    "Device",
    "Drop",
    "DroppedError",
    "Evaluation",
    "Experiment",
    "ExperimentDetail",
    "Filter",
    "Finding",
    "InvalidArgumentError",
    "InvalidHandleError",
    "Membership",
    "OutOfMemoryError",
    "Platform",
    "PlatformError",
    "Project",
    "ProjectExperiment",
    "ProjectFlag",
    "ProjectGroup",
    "Properties",
    "Registry",
    "Request",
    "Response",
    "Stop",
    "User",
    "Value",
    "lint",
]
