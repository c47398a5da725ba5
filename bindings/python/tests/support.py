# SPDX-License-Identifier: Apache-2.0
"""What several tests need."""

import contextlib
import json
import os
import pathlib
import subprocess
from typing import Any, Dict, Iterator, List

import corvo

ROOT = pathlib.Path(os.environ["CORVO_ROOT"])
COMMAND = os.environ["CORVO_COMMAND"]
SHOP = ROOT / "examples/shop"
MOMENT = 1_714_561_200  # 2024-05-01 11:00 UTC


def rule(value: str, *conditions: Dict[str, Any]) -> Dict[str, Any]:
    """A rule with all of these conditions; without any, the default rule."""
    return {
        "is_default": not conditions,
        "value": value,
        "conditional_statement": "AND" if conditions else "-",
        "conditions": list(conditions),
    }


def where(name: str, sign: str, value: str) -> Dict[str, Any]:
    return {"name": name, "condition_sign": sign, "value": value}


def document(flags: Dict[str, List[Dict[str, Any]]], experiments: Any = ()) -> str:
    """A configuration: flags by name, with their rules."""
    return json.dumps(
        {
            "feature_flags": [
                {"name": name, "type": "string", "rules": rules} for name, rules in flags.items()
            ],
            "experiments": list(experiments),
        }
    )


def project(**flags: str) -> corvo.Project:
    """A project of flags that have one value for everybody."""
    return corvo.Project.decode(document({name: [rule(text)] for name, text in flags.items()}))


def noon(zone_flag: str = "afternoon") -> str:
    """A configuration with a flag that is "yes" after 11:59 local time on May 1, 2024."""
    after = where("time", "after time", "2024-05-01 11:59")
    return document({zone_flag: [rule("yes", after), rule("no")]})


@contextlib.contextmanager
def shop_backend() -> Iterator[str]:
    """The address of the sample shop's backend."""
    command = [COMMAND, "serve", "--port", "0"]
    for option in "config", "geo":
        command += [f"--{option}", str(SHOP / f"{option}.json")]
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as process:
        assert process.stdout is not None
        try:
            yield process.stdout.readline().split()[-1]
        finally:
            process.terminate()
