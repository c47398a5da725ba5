# SPDX-License-Identifier: Apache-2.0
"""Clients, blocking and with asyncio, on a platform in Python and against a backend."""

import asyncio
import ctypes
import datetime
import gc
import os
import pathlib
import pickle
import signal
import socket
import tempfile
import threading
import time
import unittest
import unittest.mock

import corvo
import support
import test_engine
from corvo import _c, _platform

CONFIG = (support.SHOP / "config.json").read_bytes()
DEVICE = corvo.Device("2.14.0", "6F9619FF-8B86-D011-B42D-00CF4FC964FF", "Plan 9", "4.1")
GEO = (support.SHOP / "geo.json").read_bytes()


class Backend:
    """A platform whose clock and backend the test controls."""

    def __init__(self, **services):
        self.now = float(support.MOMENT)
        self.requests = []
        self.fails = False
        self.config = CONFIG
        self.services = {
            "clock": lambda: self.now,
            "time_zone": datetime.timezone.utc,
            "http": self.serve,
            "store": {},
            "device": DEVICE,
            **services,
        }

    def serve(self, request: corvo.Request) -> corvo.Response:
        self.requests.append(request)
        if self.fails:
            raise OSError("the cable is out")
        return corvo.Response(200, GEO if "geo" in request.url else self.config)

    def registry(self) -> corvo.Registry:
        return corvo.Registry(platform=corvo.Platform(**self.services))


class Clients(unittest.TestCase):
    def setUp(self) -> None:
        self.backend = Backend()
        self.registry = self.backend.registry()

    def client(self, **options) -> corvo.Client:
        options = {"initial_user": {"userId": "ann"}, "registry": self.registry, **options}
        client = corvo.Client("token", "http://backend", **options)
        self.addCleanup(client.close)
        return client

    def test_answers_are_those_of_an_evaluation(self) -> None:
        client = self.client()
        project = corvo.Project.decode(CONFIG, corvo.Filter.CLIENT)
        location = {"code": "PT", "country": "Portugal", "state": "Lisboa", "city": "Lisbon"}
        ann = project.evaluate(
            corvo.Context(
                {"userId": "ann"}, location, DEVICE, support.MOMENT, datetime.timezone.utc
            )
        )
        self.assertEqual(client.flags(), ann.flags())
        for name in ann.flags():
            self.assertEqual(client.check_flag(name), ann.check_flag(name))
            self.assertEqual(client.check_flag(name, str), ann.check_flag(name, str))
        for question, arguments in (
            ("experiments_text", [True]),
            ("experiments_text", [False]),
            ("holdouts_text", []),
            ("holdout", ["quiet-customers"]),
            ("details", []),
        ):
            answers = [getattr(each, question)(*arguments) for each in (client, ann)]
            self.assertEqual(answers[0], answers[1], question)
        self.assertIn("bucketed", client.explain_experiment("short-checkout"))
        self.assertIn('"short"', client.explain_experiment("short-checkout", "json"))
        self.assertIn("checkout-steps", client.explain_flag("checkout-steps"))
        short, page = client.all_experiments()
        self.assertEqual((short.group, page.param("columns", int)), ("short", 2))
        self.assertIsNone(client.experiment("landing-page"))
        self.assertEqual(client.project().flags, project.flags)

    def test_the_report_has_values_of_the_same_types(self) -> None:
        texts = test_engine.Values.TEXTS
        flags = {name: [support.rule(text)] for name, text in texts.items()}
        self.backend.config = support.document(flags).encode()
        found = self.client().flags()
        for name, expected in test_engine.Values.EXPECTED.items():
            self.assertEqual(repr(found[name]), repr(expected), name)
        self.assertEqual(len(found), len(texts))

    def test_copies_are_cached_and_expire(self) -> None:
        client = self.client(cache_ttl=60)
        self.assertEqual(client.status(), (None, None))
        client.flags()
        self.assertEqual(len(self.backend.requests), 2)
        copy = corvo.Copy(support.MOMENT, support.MOMENT + 60.0)
        self.assertEqual(client.status(), (copy, copy))
        client.flags()
        self.assertEqual(len(self.backend.requests), 2)
        self.backend.now += 60
        client.flags()
        self.assertEqual(len(self.backend.requests), 4)
        client.close()
        copy = corvo.Copy(self.backend.now, self.backend.now + 300.0)  # this one has another time
        self.assertEqual(self.client().status(), (copy, copy))

    def test_a_failed_fetch(self) -> None:
        client = self.client(retry_count=1)
        self.backend.fails = True
        with self.assertRaises(corvo.CorvoError) as caught:
            client.flags()
        for error in caught.exception, pickle.loads(pickle.dumps(caught.exception)):
            self.assertEqual((error.case, error.network), ("requestConfigFailed", "noData"))
        self.assertEqual(len(self.backend.requests), 2)  # one retry
        self.assertEqual(client.check_flag("checkout-steps", int, default=7), 7)
        self.client(retry_count=0, tag="other").check_flag("x", default=1)
        self.assertEqual(len(self.backend.requests), 5)

    def test_the_user(self) -> None:
        client = self.client(initial_user={"custom.basket": 150, "userId": "qa-1"})
        self.assertEqual(client.check_flag("basket-discount"), 0.1)
        client.update_user({"custom.basket": 250.5})
        self.assertEqual(client.check_flag("basket-discount"), 0.15)
        self.assertEqual(client.experiment("short-checkout").group, "short")
        client.set_user({"custom.é\0": True})
        self.assertEqual(client.check_flag("basket-discount"), 0)
        client.update_user({"custom.basket": "99.995"})
        client.update_user({"custom.basket": None})
        self.assertEqual(client.check_flag("basket-discount"), 0)
        client.update_user({"custom.basket": 150})
        for wrong, error in (
            ({"basket": "1"}, ValueError),
            ({5: "1"}, ValueError),
            ({"custom.basket": 2**63}, ValueError),
            ({"custom.basket": b"1"}, TypeError),
            ({"userId": 5}, TypeError),
            (["userId"], TypeError),
        ):
            for change in client.set_user, client.update_user:
                with self.subTest(wrong=wrong), self.assertRaises(error):
                    change({"userId": "eve", **wrong} if isinstance(wrong, dict) else wrong)
        self.assertEqual(client.check_flag("basket-discount"), 0.1)  # nothing was changed
        with unittest.mock.patch.object(_c.lib, "corvo_user_set_custom", lambda *given: 103):
            with self.assertRaises(corvo.OutOfMemoryError):
                client.update_user({"userId": "eve", "custom.basket": 1})
        self.assertEqual(client.check_flag("basket-discount"), 0.1)  # nothing was changed
        self.backend.now += 24 * 3600 + 1
        self.assertEqual(client.check_flag("basket-discount"), 0)

    def test_forced_inclusion(self) -> None:
        client = self.client()
        client.include_force("short-checkout", 0)
        self.assertEqual(client.experiment("short-checkout").group, "control")
        with self.assertRaises(corvo.CorvoError) as caught:
            client.include_force("short-checkout", 9)
        self.assertEqual(caught.exception.case, "experimentGroupIndexNotFound")
        client.exclude_force("short-checkout")
        self.assertEqual(client.experiment("short-checkout").group, "short")
        client.include_force("landing-page")
        client.exclude_force_all()
        with self.assertRaises(corvo.CorvoError):
            client.exclude_force_all()

    def test_tags(self) -> None:
        first = self.client(tag="é")
        with self.assertRaises(corvo.CorvoError) as caught:
            self.client(tag="é")
        self.assertEqual(caught.exception.case, "initializationOfExistingClient")
        first.close()
        second = self.client(tag="é")
        first.close()  # which changes nothing
        self.assertEqual(second.check_flag("checkout-steps"), 1)
        with self.assertRaises(corvo.InvalidHandleError):
            first.flags()
        with self.assertRaises(ValueError):  # is the same
            first.set_user({})
        with self.assertRaises(corvo.InvalidHandleError):
            first.check_flag("checkout-steps", default=1)
        for wrong in {"cache_ttl": -1}, {"retry_count": -1}:
            with self.assertRaises(ValueError):
                self.client(tag="x", **wrong)
        with self.assertRaises(TypeError):
            corvo.Client(None, "http://backend", registry=self.registry)
        with self.assertRaises(TypeError):
            pickle.dumps(second)

    def test_one_client_with_several_objects(self) -> None:
        self.assertIsNone(corvo.Client.get("x", registry=self.registry))
        client = self.client(tag="x", initial_user={"custom.basket": 150})
        again = corvo.Client.get("x", registry=self.registry)
        self.assertEqual(again.check_flag("basket-discount"), 0.1)
        client.close()
        self.assertIsNone(corvo.Client.get("x", registry=self.registry))
        again.set_user({})  # is still valid
        later = self.client(tag="x")
        again.close()  # does not remove the later client
        self.assertIsNotNone(corvo.Client.get("x", registry=self.registry))
        del later
        corvo.Client.get("x", registry=self.registry).close()  # which nobody had closed
        self.assertIsNone(corvo.AsyncClient.get("x", registry=self.registry))

    def test_records_are_stored(self) -> None:
        with tempfile.TemporaryDirectory(prefix=os.fsdecode(b"\xff\xc3\xa9")) as folder:
            for expected in 2, 0:
                backend = Backend(store=None)
                registry = corvo.Registry(
                    data_folder=pathlib.Path(folder), platform=corvo.Platform(**backend.services)
                )
                with corvo.Client("token", "http://backend", registry=registry) as client:
                    client.flags()
                del client, registry
                gc.collect()
                self.assertEqual(len(backend.requests), expected)

    def test_services_that_fail(self) -> None:
        class Full(dict):
            def __setitem__(self, place, value):
                raise OSError("the disk is full")

        self.backend = Backend(store=Full(), device=corvo.Device("9.9"))
        self.registry = self.backend.registry()
        reported = []
        self.enterContext(unittest.mock.patch("sys.unraisablehook", reported.append))
        flags = self.client().flags()
        self.assertEqual(flags["checkout-steps"], 1)
        self.assertTrue(flags["new-checkout"])  # by the application's version
        self.assertTrue(any("disk is full" in str(each.exc_value) for each in reported))

        for error in LookupError("no such backend"), ConnectionError("no network"):
            reported.clear()
            self.backend.services["store"] = {}
            self.backend.services["http"] = unittest.mock.Mock(side_effect=error)
            self.registry = self.backend.registry()
            with self.assertRaises(corvo.CorvoError):
                self.client(retry_count=0).flags()
            expected = [error] if isinstance(error, LookupError) else []
            self.assertEqual([each.exc_value for each in reported], expected)

    def test_a_clock_and_a_zone_that_fail(self) -> None:
        reported = []
        self.enterContext(unittest.mock.patch("sys.unraisablehook", reported.append))
        fail = unittest.mock.Mock(side_effect=LookupError("no time"))
        self.backend = Backend(clock=fail, time_zone=test_engine.Broken())
        self.backend.config = support.noon().encode()
        self.registry = self.backend.registry()
        before = time.time()
        client = self.client()
        self.assertEqual(client.check_flag("afternoon"), "yes")
        self.assertTrue(before <= client.status().configuration.stored_at <= time.time())
        messages = {str(each.exc_value) for each in reported}
        self.assertEqual(messages, {"no time", "no such zone"})

    def test_a_store_that_fails_in_between(self) -> None:
        class Full(dict):
            def __setitem__(self, place, value):
                if len(self) > 2:
                    raise OSError("the disk is full")
                super().__setitem__(place, value)

        def text(data: bytes) -> _c.Result:
            kept.append(ctypes.create_string_buffer(data))
            return _c.Result(ctypes.addressof(kept[-1]), len(data))

        kept = []
        before = {("s", "a"): b"1", ("s", "b"): b"2"}
        store = Full(before)
        platform = _platform.platform_struct(corvo.Platform(store=store))
        changes = [(b"b", text(b"3")), (b"a", _c.Result()), (b"c", text(b"4")), (b"d", text(b"5"))]
        changes.append((b"e", text(b"6")))
        array = (_c.Change * len(changes))(*[_c.Change(text(key), value) for key, value in changes])
        self.enterContext(unittest.mock.patch("sys.unraisablehook"))
        self.assertFalse(platform.apply(platform.context, text(b"s"), array, len(changes)))
        self.assertEqual(store, before)
        self.assertTrue(platform.apply(platform.context, text(b"s"), array, 3))
        self.assertEqual(store, {("s", "b"): b"3", ("s", "c"): b"4"})
        platform.destroy(platform.context)

    def test_a_question_in_a_service(self) -> None:
        clients, errors = [], []

        def serve(request):
            try:
                clients[0].flags()
            except corvo.BusyError as error:
                errors.append(error)
            return corvo.Response(500)

        self.backend = Backend(http=serve)
        self.registry = self.backend.registry()
        clients.append(self.client(retry_count=0))
        with self.assertRaises(corvo.CorvoError):
            clients[0].flags()
        self.assertEqual(len(errors), 1)

    def test_threads_take_turns(self) -> None:
        client = self.client()
        found = []

        def ask() -> None:
            for number in range(50):
                if number % 10 == 0:
                    self.backend.now += 301
                client.update_user({"custom.basket": 150})
                found.append(client.check_flag("basket-discount"))

        threads = [threading.Thread(target=ask) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(found, [0.1] * 200)


class WithBackend(unittest.TestCase):
    def setUp(self) -> None:
        self.address = self.enterContext(support.shop_backend())
        self.registry = corvo.Registry(in_memory=True)
        self.options = {"registry": self.registry, "initial_user": {"userId": "ann"}}

    def test_blocking(self) -> None:
        with corvo.Client("token", self.address, **self.options) as client:
            self.assertEqual(client.check_flag("checkout-steps", int), 1)
            self.assertEqual(client.experiment("short-checkout").group, "short")

    def test_coroutines(self) -> None:
        async def ask() -> list:
            async with corvo.AsyncClient("token", self.address, **self.options) as client:
                # At once, while others wait for the same fetch; then from the copies.
                first = await asyncio.gather(
                    client.check_flag("checkout-steps", int),
                    client.flags(),
                    client.experiment("short-checkout"),
                    client.check_flag("none", int, default=5),
                )
                await client.include_force("short-checkout", 0)
                client.update_user({"custom.basket": 150})
                second = [await client.check_flag("basket-discount"), await client.project()]
                with self.assertRaises(corvo.CorvoError):
                    await client.check_flag("none")
                return first + second

        for _ in range(2):  # in two event loops
            steps, flags, experiment, default, discount, project = asyncio.run(ask())
            self.assertEqual((steps, experiment.group, default, discount), (1, "short", 5, 0.1))
            self.assertEqual(flags["free-shipping-from"], 25)
            self.assertGreater(len(project.flags), 10)
            self.options["registry"] = corvo.Registry(in_memory=True)

    def test_the_event_loop_goes_on_and_rests(self) -> None:
        async def ask() -> int:
            turns = 0

            async def count() -> None:
                nonlocal turns
                while True:
                    turns += 1
                    await asyncio.sleep(0)

            counting = asyncio.create_task(count())
            async with corvo.AsyncClient("token", self.address, **self.options) as client:
                await client.flags()
                counting.cancel()
                # When nothing is under way, the library is not called any more.
                await asyncio.sleep(0.02)
                ticks = []
                with unittest.mock.patch.object(
                    corvo.Registry, "call", lambda self, *arguments: ticks.append(arguments)
                ):
                    await asyncio.sleep(0.05)
                self.assertEqual(ticks, [])
            return turns

        self.assertGreater(asyncio.run(ask()), 1)

    def test_a_cancelled_task(self) -> None:
        async def ask() -> int:
            async with corvo.AsyncClient("token", self.address, **self.options) as client:
                with self.assertRaises(asyncio.TimeoutError):
                    await asyncio.wait_for(client.flags(), 0)
                return await client.check_flag("checkout-steps", int)

        self.assertEqual(asyncio.run(ask()), 1)

    def test_a_closed_client_drops_its_questions(self) -> None:
        async def ask() -> None:
            client = corvo.AsyncClient("token", self.address, **self.options)
            question = asyncio.ensure_future(client.flags())
            await asyncio.sleep(0)
            client.close()
            with self.assertRaises(corvo.DroppedError):
                await question

        asyncio.run(ask())


class Waiting(unittest.TestCase):
    """A backend that accepts connections, and says nothing."""

    def setUp(self) -> None:
        self.silent = self.enterContext(socket.create_server(("127.0.0.1", 0)))
        self.address = f"http://127.0.0.1:{self.silent.getsockname()[1]}"
        self.registry = corvo.Registry(in_memory=True)

    def test_timeout(self) -> None:
        options = {"registry": self.registry, "timeout": 0.05}
        with corvo.Client("token", self.address, **options) as client:
            with self.assertRaises(TimeoutError):
                client.flags()
            self.assertEqual(client.check_flag("x", default="late"), "late")

        async def ask() -> None:
            async with corvo.AsyncClient("token", self.address, **options) as client:
                with self.assertRaises(TimeoutError):
                    await client.flags()

        asyncio.run(ask())

    def test_closed_by_another_thread_or_interrupted(self) -> None:
        client = corvo.Client("token", self.address, registry=self.registry)
        timer = threading.Timer(0.05, client.close)
        timer.start()
        with self.assertRaises(corvo.DroppedError):
            client.flags()
        timer.join()
        client = corvo.Client("token", self.address, registry=self.registry)
        timer = threading.Timer(0.05, client.close)
        timer.start()
        self.assertEqual(client.check_flag("x", default="closed"), "closed")
        timer.join()

        def interrupt(number, frame):
            raise KeyboardInterrupt

        before = signal.signal(signal.SIGALRM, interrupt)
        self.addCleanup(signal.signal, signal.SIGALRM, before)
        with corvo.Client("token", self.address, registry=self.registry) as client:
            signal.setitimer(signal.ITIMER_REAL, 0.05)
            with self.assertRaises(KeyboardInterrupt):
                client.flags()


if __name__ == "__main__":
    unittest.main()
