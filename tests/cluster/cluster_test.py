# SPDX-License-Identifier: Apache-2.0
"""examples/cluster on three worker processes, which are killed on the way. docs/at-scale.md shows the commands."""

import io
import json
import logging
import os
import pathlib
import random
import re
import shlex
import signal
import subprocess
import sys
import tempfile
import unittest
from typing import List, NamedTuple

import distributed

ROOT = pathlib.Path(os.environ["CORVO_ROOT"])
COMMAND = os.environ["CORVO_COMMAND"]
EXAMPLE = ROOT / "examples/cluster/assign.py"
sys.path.insert(0, str(EXAMPLE.parent))
import assign  # noqa: E402

SEED = int(os.environ.get("CORVO_SEED", random.randrange(10**6)))
OPTIONS = ["--now", "2026-12-01T09:00", "--zone", "Europe/Berlin"]
LOOKS_LIKE_AN_ERROR = ',"error":{"code":"x","message":"line 1'


def flag(name: str, kind: str, value: str) -> dict:
    rule = {"is_default": True, "value": value, "conditional_statement": "-", "conditions": []}
    return {"name": name, "type": kind, "rules": [rule]}


CONFIG = {
    "feature_flags": [
        flag("trap", "json", '{"a": 1%s"}}' % LOOKS_LIKE_AN_ERROR),
        flag("text", "string", LOOKS_LIKE_AN_ERROR),
    ],
    "experiments": [
        {
            "name": "halves", "salt": "s", "allocation": 1.0, "type": 2, "split_by": "userId",
            "groups": [{"name": "a", "weight": 0.5}, {"name": "b", "weight": 0.5}],
        }
    ],
}  # fmt: skip


def user(number: int) -> bytes:
    return b'{"id":%d,"properties":{"userId":"user-%d"}}' % (number, number)


class Held(NamedTuple):
    """A command that stops in one of its calls, until it is released."""

    command: pathlib.Path
    says: pathlib.Path
    waits: pathlib.Path

    def worker(self) -> int:
        """Waits until the call has stopped. Returns its worker's process."""
        return int(self.says.read_text())

    def release(self) -> None:
        self.waits.write_text("go\n")


class Borders(unittest.TestCase):
    def test_lines_stay_whole(self) -> None:
        for text, size, expected in (
            (b"", 4, [0, 0]),
            (b"\n", 4, [0, 1]),
            (b"abc", 1, [0, 3]),
            (b"a\nb\nc\n", 2, [0, 2, 4, 6]),  # borders on line ends
            (b"a\nb\nc\n", 3, [0, 4, 6]),
            (b"a\r\nb\r\nc", 2, [0, 3, 6, 7]),  # a border between the two bytes of a line's end
            (b"a\nbcdefghijk\nl\n", 2, [0, 2, 13, 15]),  # a line longer than a partition
            (b"abcdefghijk", 2, [0, 11]),
            (b"a\n\n\n\nb", 1, [0, 2, 3, 4, 5, 6]),
            (b"a\n" + b"x" * assign.PIECE * 2 + b"\nb", 2, [0, 2, 2 * assign.PIECE + 3, 2 * assign.PIECE + 4]),
        ):
            with self.subTest(text=text[:20], size=size):
                self.assertEqual(assign.borders(io.BytesIO(text), len(text), size), expected)

    def test_a_file_that_was_cut_short_meanwhile(self) -> None:
        self.assertEqual(assign.borders(io.BytesIO(b"a\nb\n"), 9, 1), [0, 2, 4, 9])


class Cluster(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        cls.cluster = distributed.LocalCluster(
            n_workers=3, threads_per_worker=1, dashboard_address=None, local_directory=cls.scratch.name,
            silence_logs=logging.CRITICAL,
        )  # fmt: skip
        cls.addClassCleanup(cls.cluster.close)

    def setUp(self) -> None:
        print(f"CORVO_SEED={SEED}", self.id(), file=sys.stderr)
        self.random = random.Random(SEED)
        self.begin()

    def begin(self) -> None:
        """A new folder, and all workers."""
        self.folder = pathlib.Path(tempfile.mkdtemp(dir=self.scratch.name))
        self.answers = self.folder / "answers"
        (self.folder / "config.json").write_text(json.dumps(CONFIG))
        with distributed.Client(self.cluster) as client:
            client.wait_for_workers(3)  # which replace those that another test killed

    def users(self, data: bytes) -> None:
        (self.folder / "users.jsonl").write_bytes(data)

    def many_users(self) -> None:
        """Users by the thousand, some lines of them invalid."""
        lines = [user(number) for number in range(3000)]
        for place in self.random.sample(range(3000), 20):
            lines[place] = self.random.choice([b"", b"{", b'{"id":7,"misspelt":1}', b"\xff"])
        self.users(b"\n".join(lines))

    def start(self, *options: object, config: str = "config.json", more: List[str] = []) -> subprocess.Popen:
        command = [sys.executable, EXAMPLE, "--scheduler", self.cluster.scheduler_address, "--config", config,
                   "--partition", 4000, "--command", COMMAND, *OPTIONS, *options, "users.jsonl", "answers", "--", *more]  # fmt: skip
        return subprocess.Popen(
            [str(each) for each in command],
            cwd=self.folder,
            env={**os.environ, "DASK_DISTRIBUTED__COMM__TIMEOUTS__CONNECT": "2s"},
            stderr=subprocess.PIPE,
            text=True,
        )

    def finish(self, job: subprocess.Popen, status: int) -> str:
        said = job.communicate()[1]
        self.assertEqual(job.returncode, status, said)
        return said

    def told(self, job: subprocess.Popen, progress: int) -> None:
        """Waits until the job has reported its progress so many times."""
        assert job.stderr
        for line in job.stderr:
            progress -= line.startswith("Answered")
            if not progress:
                return
        self.fail("the job ended")

    def hold(self, call: int, shown: int) -> Held:
        """A command that stops in the given call, after some bytes of its answers. The job's own check is call 1."""
        held = Held(*(self.folder / name for name in ("command", "says", "waits")))
        os.mkfifo(held.says)
        os.mkfifo(held.waits)
        held.command.write_text(
            f"""#!/bin/sh
call=1
until mkdir {self.folder}/call-$call 2>/dev/null; do call=$((call + 1)); done
[ $call = {call} ] || exec {COMMAND} "$@"
{COMMAND} "$@" | head -c {shown}
echo $PPID > {held.says}
read go < {held.waits}
"""
        )
        held.command.chmod(0o755)
        return held

    def parts(self) -> List[pathlib.Path]:
        return sorted(self.answers.glob("part-*"))

    def expect_all(self) -> None:
        """Every answer is there once and in order, as one process gives it, and nothing else."""
        with open(self.folder / "users.jsonl", "rb") as users:
            direct = subprocess.run(
                [COMMAND, "assign", "--config", "config.json", *OPTIONS],
                cwd=self.folder, stdin=users, capture_output=True,
            )  # fmt: skip
        together = subprocess.run("cat answers/part-*", shell=True, cwd=self.folder, capture_output=True)
        self.assertEqual(together.stdout, direct.stdout)
        self.assertEqual(list(self.answers.glob(".*")), [])

    def test_every_kind_of_file(self) -> None:
        lines = [user(number) for number in range(200)]
        trap = json.dumps({"id": LOOKS_LIKE_AN_ERROR + '"'}).encode()
        long = b'{"id":"' + b"x" * 20000 + b'"}'
        for what, data, status in (
            ("an empty file", b"", 0),
            ("one line", user(1), 0),
            ("newlines", b"".join(line + b"\n" for line in lines), 0),
            ("no newline at the end", b"\n".join(lines), 0),
            ("carriage returns", b"\r\n".join(lines) + b"\r\n", 0),
            ("a long line", b"\n".join([*lines[:50], long, *lines[50:]]), 0),
            ("a line that is too long", b"\n".join([*lines, b" " * (17 << 20), lines[0]]), 1),
            ("invalid lines", b"\n".join([*lines, b"", trap, trap + b",", b"[]", b"\xff"] * 3) + b"\n\n", 1),
        ):
            with self.subTest(what):
                self.begin()
                self.users(data)
                said = self.finish(self.start(), status)
                self.expect_all()
                self.assertEqual("-invalid.jsonl" in said, status == 1)
                self.assertEqual(len(self.parts()) > 2, len(data) > 4000 * 2)

    def test_a_location_and_options_of_the_command(self) -> None:
        rule = {"is_default": False, "value": "there", "conditional_statement": "AND"}
        rule["conditions"] = [{"name": "geo.code", "condition_sign": "equal", "value": "PT"}]
        text = flag("text", "string", "elsewhere")
        text["rules"].insert(0, rule)
        config = json.dumps({"feature_flags": [text, flag("other", "string", "")]})
        (self.folder / "config.json").write_text(config)
        (self.folder / "geo.json").write_text('{"code": "PT"}')
        self.users(user(1))
        self.finish(self.start("--geo", "geo.json", more=["--flag", "text"]), 0)
        answer = '{"id":1,"flags":{"text":"there"},"experiments":[],"holdouts":[]}\n'
        self.assertEqual([part.read_text() for part in self.parts()], [answer])

    def test_the_documented_commands(self) -> None:
        document = (ROOT / "docs/at-scale.md").read_text(encoding="utf-8")
        [block] = re.findall(r"cluster_test.py -->\n```sh\n(.*?)```", document, re.DOTALL)
        script = block.replace("tcp://scheduler:8786", self.cluster.scheduler_address)
        self.users(b"\n".join(user(number) for number in range(100)))
        (self.folder / "corvo").symlink_to(ROOT)
        place = {"PATH": f"{pathlib.Path(COMMAND).parent}:{os.environ['PATH']}"}
        subprocess.run(["bash", "-euc", script], cwd=self.folder, env={**os.environ, **place}, check=True)
        now = shlex.split(block)[shlex.split(block).index("--now") + 1]
        with open(self.folder / "users.jsonl", "rb") as users:
            direct = subprocess.check_output(
                [COMMAND, "assign", "--config", "config.json", "--now", now], cwd=self.folder, stdin=users
            )
        self.assertEqual((self.folder / "answers.jsonl").read_bytes(), direct)

    def test_a_worker_killed_in_the_middle_of_a_partition(self) -> None:
        for shown in (0, self.random.randrange(1, 9000), 10**9):  # 10**9: all, so that only the renaming is missing
            with self.subTest(shown=shown):
                self.begin()
                self.many_users()
                held = self.hold(self.random.randrange(2, 30), shown)
                job = self.start("--command", held.command)
                os.kill(held.worker(), signal.SIGKILL)
                held.release()
                self.finish(job, 1)
                self.expect_all()

    def test_workers_killed_at_any_moment(self) -> None:
        for victims in (1, 2):
            with self.subTest(victims=victims):
                self.begin()
                self.many_users()
                job = self.start()
                self.told(job, self.random.randrange(1, 25))
                for nanny in self.random.sample(list(self.cluster.workers.values()), victims):
                    os.kill(nanny.pid, signal.SIGKILL)
                self.finish(job, 1)
                self.expect_all()

    def test_a_job_that_was_killed_resumes(self) -> None:
        self.many_users()
        held = self.hold(self.random.randrange(10, 30), self.random.randrange(1, 9000))
        job = self.start("--command", held.command)
        worker = held.worker()
        job.kill()
        job.communicate()
        os.kill(worker, signal.SIGKILL)  # so that nobody answers its partition again
        held.release()
        before = {path: path.stat() for path in self.parts()}
        self.assertTrue(before)
        self.finish(self.start("--command", held.command), 1)
        self.expect_all()
        for path, state in before.items():
            self.assertEqual((path.stat().st_ino, path.stat().st_mtime_ns), (state.st_ino, state.st_mtime_ns))
        # A third time, there is nothing to do; the status still tells of invalid lines.
        count = len(self.parts())
        said = self.finish(self.start("--command", held.command), 1)
        self.assertIn(f"{count} partitions; {count} were there already", said)
        self.assertNotIn("Answered", said)

    def test_jobs_do_not_mix(self) -> None:
        self.users(b"\n".join(user(number) for number in range(300)))
        self.finish(self.start(), 0)
        (self.folder / "other.json").write_text('{"feature_flags": []}')
        for what, job in (
            ("time", self.start("--now", "2026-12-02")),
            ("partition", self.start("--partition", "5000")),
            ("configuration", self.start(config="other.json")),
        ):
            with self.subTest(what):
                self.assertIn("has the answers of another job", self.finish(job, 1))
        self.expect_all()
        (self.answers / "job.json").unlink()
        self.assertIn("has the answers of another job", self.finish(self.start(), 1))

    def test_users_that_change_meanwhile(self) -> None:
        self.many_users()
        held = self.hold(5, 10**9)
        job = self.start("--command", held.command)
        held.worker()
        with open(self.folder / "users.jsonl", "ab") as users:
            users.write(b"\n" + user(3001))
        held.release()
        self.assertIn("has changed since the job began", self.finish(job, 1))

    def test_a_command_that_loses_answers(self) -> None:
        self.users(b"\n".join(user(number) for number in range(300)))
        for what, script in (
            ("some", "head -n 3"),
            ("the last byte", "head -c -1"),
            ("some, and a reason", 'head -n 9; echo "no memory" >&2; exit 1'),
        ):
            with self.subTest(what):
                command = self.folder / "losing"
                command.write_text(f"""#!/bin/sh
read -r first || exit 0  # the job's own check
(echo "$first"; cat) | {COMMAND} "$@" | {script}
""")
                command.chmod(0o755)
                said = self.finish(self.start("--command", command), 1)
                self.assertIn("did not answer all lines", said)
                self.assertEqual("no memory" in said, "reason" in what)
                self.assertEqual(list(self.answers.glob("*part-*")), [])

    def test_wrong_usage(self) -> None:
        self.users(user(1))
        for options, status, text in (
            (["--now", "noon"], 2, "noon"),
            (["--zone", "Mars"], 2, "Mars"),
            (["--partition", "0"], 2, "partition"),
            (["--command", "missing"], 1, "there is no command missing"),
            (["--geo", "missing.json"], 1, "missing.json"),
            (["--scheduler", "tcp://127.0.0.1:1"], 1, "127.0.0.1:1"),
        ):
            with self.subTest(options):
                self.assertIn(text, self.finish(self.start(*options), status))
                self.assertEqual(self.parts(), [])
        (self.folder / "users.jsonl").unlink()
        self.assertIn("No such file", self.finish(self.start(), 1))
        os.mkfifo(self.folder / "users.jsonl")
        self.assertIn("not a regular file", self.finish(self.start(), 1))


if __name__ == "__main__":
    unittest.main()
