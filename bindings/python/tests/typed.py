# SPDX-License-Identifier: Apache-2.0
"""Checked by mypy, and never run: the types that users see."""

from typing import Dict, List, Optional

from typing_extensions import assert_type

import corvo


def evaluation(project: corvo.Project) -> None:
    ann = project.evaluate({"userId": "ann"})
    assert_type(ann.check_flag("a", bool), Optional[bool])
    assert_type(ann.check_flag("a", int, default=3), int)
    assert_type(ann.check_flag("a"), Optional[corvo.Value])
    assert_type(ann.flags(), Dict[str, corvo.Value])
    for assignment in project.assign([{"userId": "ann"}, corvo.Context()], flags=["a"]):
        assert_type(assignment.experiments, List[corvo.Membership])
    ann.check_flag("a", object)  # type: ignore[type-var]
    ann.check_flag("a", int, default="3")  # type: ignore[type-var]
    ann.reset({"userId": 3})  # type: ignore[dict-item]


def client(asked: corvo.Client) -> None:
    assert_type(asked.check_flag("a", float), Optional[float])
    experiment = asked.experiment("e")
    assert experiment is not None
    assert_type(experiment.param("p", str), Optional[str])
    asked.set_user({"custom.basket": 150, "userId": None})
    assert_type(corvo.AsyncClient.get("tag"), Optional[corvo.AsyncClient])


async def coroutines(asked: corvo.AsyncClient) -> None:
    assert_type(await asked.check_flag("a", int, default=3), int)
    assert_type(await asked.flags(), Dict[str, corvo.Value])
    asked.check_flag("a", int) + 1  # type: ignore[operator]
