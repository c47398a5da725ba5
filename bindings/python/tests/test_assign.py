# SPDX-License-Identifier: Apache-2.0
"""Assignments: against vectors, against the documented arithmetic, and against `corvo assign`."""

import datetime
import hashlib
import json
import subprocess
import unittest

import corvo
import support

VECTORS = support.ROOT / "tests/placement/bucketing.txt"


def group_by_hand(user: str, salt: str) -> int:
    """The group of two halves, by the steps of docs/concepts.md."""
    number = 0
    for digit in hashlib.md5((user + salt).encode()).hexdigest():
        number = (number * 31 + ord(digit)) % 2**32
    number -= 2**32 if number >= 2**31 else 0
    return int(abs(number * 85407170560000 / 2**64) % 100 > 50)


def user(number: int) -> dict:
    properties = {
        "userId": f"user-{number}",
        "custom.basket": str(number % 300),
        "custom.orders": str(number % 4),
        "geo.country": ("Portugal", "España", "日本", "")[number % 4],
    }
    if number % 7 == 0:
        del properties["userId"]
    if number % 5 == 0:
        properties["deviceId"] = f"device \U0001f426 {number}\0"
    return properties


def fields(line: str) -> list:
    """What, split identifier, experiment, reason and index, if there is one."""
    return ([each.strip() for each in line.split("|")] + [""])[:5]


class Assignments(unittest.TestCase):
    def test_vectors_from_exact_arithmetic(self) -> None:
        count = 0
        for line in VECTORS.read_text(encoding="utf-8").splitlines():
            if not line.strip() or line.startswith("#"):
                continue
            what, split_id, experiment, reason, index = fields(line)
            given = {"name": "e", **json.loads(experiment)}
            project = corvo.Project.decode(support.document({}, [given]))
            with self.subTest(what):
                [assignment] = project.assign([{"userId": split_id}])
                groups = [member.group_index for member in assignment.experiments]
                self.assertEqual(groups, [int(index)] if index else [])
                why = project.evaluate({"userId": split_id}).explain_experiment("e", "json")
                self.assertIn(f'"{reason}"', why)
                count += 1
        self.assertGreater(count, 50)

    def test_the_documented_arithmetic(self) -> None:
        halves = [{"name": "x", "weight": 0.5}, {"name": "y", "weight": 0.5}]
        experiment = {"name": "e", "salt": "pepper-2", "allocation": 1, "groups": halves}
        project = corvo.Project.decode(support.document({}, [experiment]))
        names = [f"ann-{number}é" for number in range(2000)]
        found = [
            member.group_index
            for assignment in project.assign({"userId": name} for name in names)
            for member in assignment.experiments
        ]
        self.assertEqual(found, [group_by_hand(name, "pepper-2") for name in names])

    def test_the_same_as_the_command(self) -> None:
        users = [user(number) for number in range(2500)]
        lines = "".join(json.dumps({"properties": each}) + "\n" for each in users)
        for folder in support.SHOP, support.ROOT / "tests/tool/assign":
            config = folder / "config.json"
            command = [support.COMMAND, "assign", "--config", config, "--now", str(support.MOMENT)]
            ran = subprocess.run(command, input=lines.encode(), stdout=subprocess.PIPE, check=True)
            project = corvo.Project.decode(config.read_bytes(), corvo.Filter.CLIENT)
            # A double of the command's answers may look like an integer.
            expected = [json.loads(line, parse_int=float) for line in ran.stdout.splitlines()]
            defaults = corvo.Context(now=support.MOMENT, time_zone=datetime.timezone.utc)
            found = project.assign(users, defaults=defaults)
            for each, answer, native in zip(users, found, expected):
                self.assertEqual(as_command(answer), native, each)
            self.assertEqual(len(expected), len(users))

    def test_limits_and_defaults(self) -> None:
        project = corvo.Project.decode((support.SHOP / "config.json").read_bytes())
        defaults = corvo.Context(location={"country": "Portugal"})
        ann = {"userId": "ann"}
        rows = list(
            project.assign(
                # A context has its own location; the properties after it have the default one.
                [ann, corvo.Context(ann, location={"country": "Spain"}), ann],
                flags=["free-shipping-from", "checkout-steps"],
                experiments=["short-checkout"],
                defaults=defaults,
            )
        )
        prices = [row.flags["free-shipping-from"] for row in rows]
        self.assertEqual(prices, [25, 49.9, 25])
        self.assertEqual([len(row.flags) for row in rows], [2, 2, 2])
        self.assertEqual(rows[0].experiments, [corvo.Membership("short-checkout", 1, "short")])
        self.assertEqual(next(project.assign([ann], flags=[])).flags, {})
        for wrong in {"flags": ["nope"]}, {"experiments": ["nope"]}:
            with self.assertRaisesRegex(ValueError, "nope"):
                project.assign([], **wrong)
        with self.assertRaises(TypeError):
            project.assign([], flags="checkout-steps")
        answers = project.assign([ann, {"userId": 5}])
        next(answers)
        with self.assertRaises(TypeError):
            next(answers)

    def test_objects_of_users_are_their_own(self) -> None:
        project = support.project(object='{"a": [1]}')
        first, second = project.assign([{}, {}])
        first.flags["object"]["a"].append(2)
        self.assertEqual(second.flags["object"], {"a": [1]})
        self.assertEqual(project.evaluate().flags()["object"], {"a": [1]})


def as_command(answer: corvo.Assignment) -> dict:
    """An answer in the command's form, with all numbers as floats."""

    def members(memberships):
        return [
            {"name": name, "groupIndex": float(index), "groupName": group}
            for name, index, group in memberships
        ]

    flags = json.loads(json.dumps(answer.flags), parse_int=float, parse_constant=named)
    kinds = {"experiments": answer.experiments, "holdouts": answer.holdouts}
    lists = {kind: members(memberships) for kind, memberships in kinds.items()}
    return {"id": None, "flags": flags, **lists}


def named(constant: str) -> str:
    """As the command writes a number that JSON lacks."""
    return {"Infinity": "inf", "-Infinity": "-inf", "NaN": "nan"}[constant]
