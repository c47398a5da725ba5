# SPDX-License-Identifier: Apache-2.0
"""Projects, evaluations, contexts and errors."""

import copy
import datetime
import json
import pickle
import unittest
import zoneinfo

import corvo
import support
from support import rule, where


class Values(unittest.TestCase):
    TEXTS = {
        "on": "true",
        "count": "-42",
        "ratio": "0.5",
        "huge": "1e999",
        "beyond": "9223372036854775808",
        "object": '{"a": [1, "é\\u0000"], "n": 18446744073709551615}',
        "text": "Olá \U0001f426",
        "empty": "",
        "whole": "42.0",
        "zero": "-0.0",
        "repeated": '{"a": %s, "a": 1}' % ("1" * 5000),
        "numbers": '{"a": [1.0, 1e2, -0.0, -9223372036854775808.0, 9007199254740993.0, 0.5, 1e-400,'
        " 0.99999999999999999999, 18446744073709551616, -9223372036854775809]}",
    }
    EXPECTED = {
        "on": True,
        "count": -42,
        "ratio": 0.5,
        "huge": float("inf"),
        "beyond": 2.0**63,
        "object": {"a": [1, "é\0"], "n": 18446744073709551615},
        "text": "Olá \U0001f426",
        "empty": "",
        "whole": 42.0,
        "zero": -0.0,
        "repeated": {"a": 1},
        "numbers": {"a": [1, 100, 0, -(2**63), 2**53 + 1, 0.5, 0, 1, 2.0**64, -(2**63)]},
    }

    def setUp(self) -> None:
        self.evaluation = support.project(**self.TEXTS).evaluate()

    def test_each_is_read_as_the_first_type_that_fits(self) -> None:
        report = self.evaluation.flags()
        for name, expected in self.EXPECTED.items():
            with self.subTest(name):
                value = self.evaluation.check_flag(name)
                self.assertEqual(repr(value), repr(expected))
                self.assertEqual(repr(report[name]), repr(expected))

    def test_a_type_is_exact_or_nothing(self) -> None:
        check = self.evaluation.check_flag
        self.assertEqual([check("count", kind) for kind in (int, float, str)], [-42, -42.0, "-42"])
        self.assertIs(type(check("count", float)), float)
        self.assertEqual([check("text", kind) for kind in (bool, int, float, dict)], [None] * 4)
        self.assertEqual(check("text", int, default=7), 7)
        self.assertEqual(check("missing", int, default=7), 7)
        self.assertIsNone(check("missing", default=None))
        for kind in (list, "int", int(), [], object):
            with self.subTest(kind=kind), self.assertRaises(TypeError):
                check("count", kind)

    def test_what_python_cannot_read_is_a_text_for_the_library_too(self) -> None:
        def nested(depth: int) -> str:
            return '{"a":' * depth + "{}" + "}" * depth

        texts = {"digits": '{"n": %s}' % ("1" * 5000), "deep": nested(100_000), "most": nested(511)}
        evaluation = support.project(**texts).evaluate()
        report = evaluation.flags()
        self.assertEqual((report["digits"], report["deep"]), (texts["digits"], texts["deep"]))
        self.assertEqual(json.dumps(report["most"], separators=(",", ":")), texts["most"])


class Projects(unittest.TestCase):
    def test_description(self) -> None:
        project = corvo.Project.decode((support.SHOP / "config.json").read_text(encoding="utf-8"))
        short = next(each for each in project.experiments if each.name == "short-checkout")
        self.assertEqual(short.position, 1)
        self.assertEqual(short.split_by, "userId")
        self.assertEqual(short.groups[1], corvo.ProjectGroup("short", "One step", 0.5))
        self.assertEqual(short.flags, ["checkout-steps"])
        self.assertEqual([each.name for each in project.holdouts], ["quiet-customers"])
        self.assertEqual(project.flags[1].carried_by, "short-checkout")
        self.assertIn("custom.basket", project.properties)
        client = corvo.Project.decode((support.SHOP / "config.json").read_bytes(), corvo.Filter.CLIENT)
        self.assertLess(len(client.flags), len(project.flags))
        self.assertEqual(client.drops[0].pointer, "/feature_flags/12")

    def test_what_cannot_be_decoded(self) -> None:
        for document, offset in ('{"a": ]', 6), (b"\xff", 0), ("", 0):
            with self.assertRaises(corvo.CorvoError) as caught:
                corvo.Project.decode(document)
            self.assertEqual(caught.exception.case, "requestConfigFailed")
            self.assertEqual((caught.exception.code, caught.exception.offset), (2, offset))
            again = pickle.loads(pickle.dumps(caught.exception))
            self.assertEqual((str(again), again.offset), (str(caught.exception), offset))
        for wrong in (None, 5, ["{}"]):
            with self.assertRaises(TypeError):
                corvo.Project.decode(wrong)
        with self.assertRaises(ValueError):
            corvo.Project.decode("{}", 2)

    def test_lint(self) -> None:
        self.assertEqual(corvo.lint((support.SHOP / "config.json").read_bytes()), [])
        [finding] = corvo.lint('{"feature_flags":\n [{"name": "é"}]}')
        self.assertEqual((finding.severity, finding.pointer), ("error", "/feature_flags/0"))
        self.assertEqual((finding.line, finding.column), (2, 3))


class Evaluations(unittest.TestCase):
    def setUp(self) -> None:
        self.project = corvo.Project.decode((support.SHOP / "config.json").read_bytes())

    def test_experiments_and_holdouts(self) -> None:
        # qa-1 is in a forced list; docs/concepts.md works ann out by hand.
        ann = self.project.evaluate({"userId": "ann"})
        short = ann.experiment("short-checkout")
        self.assertEqual((short.name, short.group, short.group_index), ("short-checkout", "short", 1))
        self.assertEqual(short.flag("checkout-steps"), 1)
        page = ann.experiment("product-page")
        self.assertEqual((page.param("columns", int), page.param("columns", str)), (2, "2"))
        self.assertIsNone(page.param("none"))
        self.assertIsNone(ann.experiment("landing-page"))
        groups = [(each.name, each.group) for each in ann.all_experiments()]
        self.assertEqual(groups, [("short-checkout", "short"), ("product-page", "b")])
        self.assertFalse(ann.holdout("quiet-customers"))
        self.assertIsNone(ann.holdouts_text())
        self.assertEqual(ann.experiments_text(), "short-checkout.1|product-page.1")
        self.assertEqual(
            ann.details()[0],
            corvo.ExperimentDetail(
                "featureFlag", "short-checkout", 1, [corvo.DetailResult("checkout-steps", "1")]
            ),
        )
        self.assertIn("bucketed", ann.explain_experiment("short-checkout"))
        self.assertTrue(ann.explain_flag("none", "json").startswith("{"))
        with self.assertRaises(ValueError):
            ann.explain_flag("none", "yaml")
        with self.assertRaises(corvo.CorvoError) as caught:
            ann.check_flag("none")
        self.assertEqual(caught.exception.case, "featureFlagNotFound")
        self.assertIn('"none"', str(caught.exception))
        with self.assertRaisesRegex(corvo.CorvoError, '"a\0b" not found'):
            ann.check_flag("a\0b")
        # Handles outlive all that they came from.
        del ann, self.project
        self.assertEqual(copy.copy(short).flag("checkout-steps", int), 1)

    def test_by_position(self) -> None:
        ann = self.project.evaluate({"userId": "ann"})
        self.assertEqual(ann.flag_texts([1, 999, -1, 0]), [(1, "1"), (0, "false")])
        self.assertEqual(ann.memberships([0, 1, 99, 2]), [(1, 1), (2, 1)])
        self.assertEqual(ann.flag_texts([]), [])

    def test_texts_are_passed_on_whole(self) -> None:
        texts = ["", "\0", "a\0b", "é", "\U0001f426", "x" * 100_000]
        flags = {"f": [rule(str(i), where("custom.é\0", "equal", each)) for i, each in enumerate(texts)]}
        evaluation = corvo.Project.decode(support.document(flags)).evaluate()
        for number, text in enumerate(texts):
            evaluation.reset({"other": "", "custom.é\0": text})
            if text:  # an empty property is like none
                self.assertEqual(evaluation.check_flag("f", int), number)
        evaluation.reset({"custom.é\0": "<\ud800>"})  # a lone surrogate is not UTF-8
        self.assertRegex(evaluation.explain_flag("f"), "<\ufffd+>")


class Contexts(unittest.TestCase):
    def check(self, flags, context) -> str:
        return corvo.Project.decode(support.document(flags)).evaluate(context).check_flag("f", str)

    def test_device_and_location(self) -> None:
        device = corvo.Device("2.1", "D", "Plan 9", "4")
        for name, value in {
            "appVersion": "2.1",
            "deviceId": "D",
            "os.name": "Plan 9",
            "os.version": "4.0",
            "geo.city": "Porto",
            "custom.plan": "gold",
        }.items():
            context = corvo.Context({"custom.plan": "gold"}, {"city": "Porto"}, device)
            flags = {"f": [rule("yes", where(name, "equal", value)), rule("no")]}
            self.assertEqual(self.check(flags, context), "yes", name)
            self.assertEqual(self.check(flags, {}), "no", name)

    def test_moment_and_zone(self) -> None:
        project = corvo.Project.decode(support.noon())
        utc = datetime.timezone.utc
        moment = datetime.datetime.fromtimestamp(support.MOMENT, utc)
        for now, zone, expected in (
            (support.MOMENT, utc, "no"),
            (support.MOMENT + 3600.5, utc, "yes"),
            (moment, utc, "no"),
            (moment.astimezone(zoneinfo.ZoneInfo("Asia/Tokyo")), utc, "no"),
            (support.MOMENT, zoneinfo.ZoneInfo("Europe/Lisbon"), "yes"),  # summer time
            (support.MOMENT, zoneinfo.ZoneInfo("America/Sao_Paulo"), "no"),
            (support.MOMENT, datetime.timezone(datetime.timedelta(minutes=90)), "yes"),
            (1e300, zoneinfo.ZoneInfo("Europe/Lisbon"), None),  # beyond the calendar
            (float("nan"), zoneinfo.ZoneInfo("Europe/Lisbon"), None),
        ):
            with self.subTest(now=now, zone=zone):
                evaluation = project.evaluate(corvo.Context(now=now, time_zone=zone))
                value = evaluation.check_flag("afternoon", str)
                self.assertIn(value, ("yes", "no") if expected is None else (expected,))

    def test_what_is_refused_leaves_the_user(self) -> None:
        flags = {"f": [rule("yes", where("custom.plan", "equal", "gold"))]}
        evaluation = corvo.Project.decode(support.document(flags)).evaluate({"custom.plan": "gold"})
        naive = datetime.datetime(2024, 5, 1)
        for wrong, error in (
            ({"custom.plan": 5}, TypeError),
            ({5: "custom.plan"}, TypeError),
            (None, AttributeError),
            (corvo.Context(now="noon"), ValueError),
            (corvo.Context(now=naive), ValueError),
            (corvo.Context(time_zone="UTC"), TypeError),
            (corvo.Context(device=corvo.Device(device_id=b"D")), TypeError),
            (corvo.Context(location={"city": None}), TypeError),
        ):
            with self.subTest(wrong=wrong), self.assertRaises(error):
                evaluation.reset(wrong)
            self.assertEqual(evaluation.check_flag("f", str), "yes")


class Broken(datetime.tzinfo):
    """A zone that fails until it is mended."""

    is_broken = True

    def utcoffset(self, moment):
        if self.is_broken:
            raise LookupError("no such zone")
        return datetime.timedelta(hours=2)

    def dst(self, moment):
        return None

    def fromutc(self, moment):
        return moment + self.utcoffset(moment)


class Zones(unittest.TestCase):
    def test_an_exception_reaches_the_question_and_is_not_remembered(self) -> None:
        zone = Broken()
        context = corvo.Context(now=support.MOMENT, time_zone=zone)
        evaluation = corvo.Project.decode(support.noon()).evaluate(context)
        for _ in range(2):
            with self.assertRaisesRegex(LookupError, "no such zone"):
                evaluation.check_flag("afternoon", str, default="never")
        zone.is_broken = False
        self.assertEqual(evaluation.check_flag("afternoon", str), "yes")

    def test_a_zone_that_asks_the_same_evaluation(self) -> None:
        class Asking(Broken):
            is_broken = False

            def utcoffset(self, moment):
                evaluation.flags()

        evaluation = corvo.Project.decode(support.noon()).evaluate()
        evaluation.reset(corvo.Context(now=support.MOMENT, time_zone=Asking()))
        with self.assertRaises(corvo.BusyError):
            evaluation.check_flag("afternoon")
        evaluation.reset(corvo.Context(now=support.MOMENT, time_zone=datetime.timezone.utc))
        self.assertEqual(evaluation.check_flag("afternoon"), "no")

    def test_zones_are_not_mistaken_for_earlier_ones(self) -> None:
        evaluation = corvo.Project.decode(support.noon()).evaluate()
        for hours in [0, 2] * 50:  # each is made where the one before was
            zone = datetime.timezone(datetime.timedelta(hours=hours))
            evaluation.reset(corvo.Context(now=support.MOMENT, time_zone=zone))
            self.assertEqual(evaluation.check_flag("afternoon"), "yes" if hours else "no")


if __name__ == "__main__":
    unittest.main()
