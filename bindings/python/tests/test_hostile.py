# SPDX-License-Identifier: Apache-2.0
"""Whatever a program does, the interpreter goes on, or ends as it should."""

import gc
import importlib.metadata
import os
import pathlib
import subprocess
import sys
import tempfile
import textwrap
import threading
import unittest

import corvo
import support
from corvo import _c

ODD = (None, True, -1, 2**64, 1.5, float("nan"), "", "\0", "\ud800", "x" * 70_000, b"x", (), [1],
       {"a": 1}, object(), int, lambda: 1)  # fmt: skip
EXPECTED = (TypeError, ValueError, AttributeError, LookupError, corvo.CorvoError)


def run(code: str, **environment: str) -> "subprocess.CompletedProcess[str]":
    """Runs a program whose end is part of the test."""
    return subprocess.run(
        [sys.executable, "-X", "faulthandler", "-c", textwrap.dedent(code)],
        cwd=pathlib.Path(__file__).parent,
        env={**os.environ, **environment},
        capture_output=True,
        text=True,
        timeout=60,
    )


class Arguments(unittest.TestCase):
    def test_odd_ones_are_refused_or_harmless(self) -> None:
        project = corvo.Project.decode((support.SHOP / "config.json").read_bytes())
        evaluation = project.evaluate({"userId": "ann"})
        experiment = evaluation.experiment("short-checkout")
        platform = corvo.Platform(http=lambda request: corvo.Response(404), store={})
        client = corvo.Client("t", "http://x", registry=corvo.Registry(platform=platform))
        self.addCleanup(client.close)
        for owner in (project, evaluation, experiment, client):
            for name in dir(owner):
                function = getattr(owner, name)
                if name.startswith("_") or not callable(function) or name in ("close", "get"):
                    continue
                for odd in ODD:
                    for arguments in ((odd,), (odd, odd), ("short-checkout", odd)):
                        try:
                            function(*arguments)
                        except EXPECTED:
                            pass
        evaluation.reset({"userId": "ann"})
        self.assertEqual(evaluation.check_flag("checkout-steps"), 1)

    def test_options(self) -> None:
        for name in "data_folder", "max_body_bytes", "application_version", "platform", "timeout":
            for odd in (-1, 2**64, b"\0", object()):
                try:
                    corvo.Registry(**{"in_memory": True, name: odd})
                except EXPECTED:
                    pass
        registry = corvo.Registry(in_memory=True)
        for name in "cache_ttl", "retry_count":
            with self.assertRaises(ValueError):
                corvo.Client("t", "http://x", registry=registry, **{name: 2**64})

    def test_texts_that_lie(self) -> None:
        class Long(str):
            def __len__(self):
                return 10**9

            def encode(self, *arguments):
                return b"x" * 10**6

        class Growing(dict):
            def items(self):
                yield "userId", "ann"
                self["b"] = "c"
                yield from super().items()

        evaluation = support.project(f="1").evaluate()
        for properties in {"userId": Long("ann")}, {Long("é"): "ann"}, {"é": Long("")}:
            with self.assertRaises(ValueError):
                evaluation.reset(properties)
        evaluation.reset(Growing())
        with self.assertRaises(corvo.CorvoError):
            evaluation.check_flag(Long("g"))
        self.assertEqual(evaluation.check_flag("f"), 1)

    def test_freed_handles(self) -> None:
        evaluation = support.project(f="1").evaluate()
        evaluation._handle.free()
        evaluation._handle.free()
        for question in evaluation.flags, evaluation.details, lambda: evaluation.reset({}):
            with self.assertRaises(corvo.InvalidHandleError):
                question()


class Threads(unittest.TestCase):
    def test_one_evaluation_on_many(self) -> None:
        texts = {f"f{number}": f"text {number} " * 500 for number in range(20)}
        evaluation = support.project(**texts).evaluate()
        wrong = []

        def ask(number: int) -> None:
            name = f"f{number}"
            for turn in range(100):
                evaluation.reset({"userId": f"{number} {turn}"})
                if evaluation.flags() != texts or evaluation.check_flag(name) != texts[name]:
                    wrong.append(name)
                if name not in evaluation.explain_flag(name):
                    wrong.append(name)
                evaluation.details()
                if evaluation.flag_texts([number]) != [(number, texts[name])]:
                    wrong.append(name)

        before = sys.getswitchinterval()
        sys.setswitchinterval(1e-6)
        self.addCleanup(sys.setswitchinterval, before)
        threads = [threading.Thread(target=ask, args=[number]) for number in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(wrong, [])

    def test_the_garbage_collector_frees_clients_anywhere(self) -> None:
        def serve(request: corvo.Request) -> corvo.Response:
            gc.collect()  # while a client of the same registry asks
            name = "geo.json" if "geo" in request.url else "config.json"
            return corvo.Response(200, (support.SHOP / name).read_bytes())

        registry = corvo.Registry(platform=corvo.Platform(http=serve, store={}))
        for turn in range(20):
            other = corvo.Client("t", "http://x", registry=registry, tag=f"other {turn}")
            cycle = [other]
            cycle.append(cycle)
            other._registry.call(_c.lib.corvo_registry_remove_client, registry, other._tag)
            with corvo.Client("t", "http://x", registry=registry, tag=str(turn)) as client:
                del other, cycle
                self.assertEqual(client.check_flag("checkout-steps", int), 3)
        self.assertEqual(registry._released, [])


class Processes(unittest.TestCase):
    def check(self, code: str) -> None:
        ran = run(code)
        self.assertEqual((ran.returncode, ran.stderr, ran.stdout), (0, "", "done\n"))

    @unittest.skipUnless(hasattr(os, "fork"), "there is no fork here")
    def test_fork(self) -> None:
        self.check(
            """
            import os, corvo, support
            evaluation = support.project(f="1").evaluate()
            if os.fork() == 0:
                evaluation.reset({"userId": "child"})
                os._exit(evaluation.check_flag("f", int) + 6)
            status = os.wait()[1]
            assert os.waitstatus_to_exitcode(status) == 7, status
            print("done")
            """
        )

    def test_the_end_of_the_process(self) -> None:
        self.check(
            """
            import asyncio, datetime, socket, threading, corvo, support

            # Everything is alive, in cycles, and in use by a thread that nobody waits for.
            class Cycle: pass
            kept = Cycle()
            kept.own = kept
            kept.project = corvo.Project.decode(support.noon())
            zone = datetime.timezone(datetime.timedelta(hours=1))

            def ask():
                mine = kept.project.evaluate(corvo.Context(now=0, time_zone=zone))
                while True:
                    mine.reset(corvo.Context(now=0, time_zone=datetime.timezone.utc))
                    mine.flags()
            threading.Thread(target=ask, daemon=True).start()

            silent = socket.create_server(("127.0.0.1", 0))
            address = f"http://127.0.0.1:{silent.getsockname()[1]}"
            kept.client = corvo.Client("t", address, registry=corvo.Registry(in_memory=True))

            async def main():
                kept.waiting = corvo.AsyncClient("t", address, registry=corvo.Registry(in_memory=True))
                kept.question = asyncio.ensure_future(kept.waiting.flags())
                await asyncio.sleep(0.02)
                kept.question.cancel()
            asyncio.run(main())
            silent.close()
            print("done", flush=True)
            """
        )

    def test_waiting_for_a_backend_as_the_process_ends(self) -> None:
        self.check(
            """
            import socket, threading, time, corvo
            silent = socket.create_server(("127.0.0.1", 0))
            address = f"http://127.0.0.1:{silent.getsockname()[1]}"
            client = corvo.Client("t", address, registry=corvo.Registry(in_memory=True))
            threading.Thread(target=client.flags, daemon=True).start()
            time.sleep(0.05)
            silent.close()
            print("done", flush=True)
            """
        )


class Loading(unittest.TestCase):
    def test_libraries_that_do_not_fit(self) -> None:
        for library, message in (
            ("/nowhere/libcorvo_c.so", "cannot open shared object file"),
            ("libc.so.6", "undefined symbol: corvo_"),
            (os.fspath(pathlib.Path(__file__)), "invalid ELF header|file too short"),
        ):
            ran = run("import corvo", CORVO_LIBRARY=library)
            self.assertRegex(ran.stderr, f"ImportError: .*CORVO_LIBRARY.*({message})")

    def test_another_version(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            # What Python finds first is the metadata of a package of another version.
            metadata = pathlib.Path(folder, "corvo-7.1.0.dist-info")
            metadata.mkdir()
            (metadata / "METADATA").write_text("Metadata-Version: 2.1\nName: corvo\nVersion: 7.1.0\n")
            path = os.pathsep.join(filter(None, (folder, os.environ.get("PYTHONPATH"))))
            ran = run("import corvo", PYTHONPATH=path)
            self.assertRegex(ran.stderr, r"ImportError: .*version 0\.\d+\.\d+, and the package 7\.1\.0")

    @unittest.skipIf("CORVO_LIBRARY" in os.environ, "the library of the package is not in use")
    def test_the_package_has_its_library_and_version(self) -> None:
        folder = pathlib.Path(corvo.__file__).parent
        self.assertEqual(pathlib.Path(_c.lib._name).parent, folder)
        self.assertTrue((folder / "py.typed").exists())
        version = _c.lib.corvo_version().decode()
        self.assertEqual(importlib.metadata.version("corvo"), version)
        self.assertIn(version, (support.ROOT / "packaging/vcpkg/corvo/vcpkg.json").read_text())


if __name__ == "__main__":
    unittest.main()
