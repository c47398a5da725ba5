#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Evaluates a file of users with `corvo assign`, on the workers of a Dask cluster.

The file is cut into partitions at line ends. A worker answers a partition under a name of its own, and renames the
file when it is complete, so a file `part-...` always holds all answers of its partition, whatever happens to a worker.
`cat FOLDER/part-*` prints what `corvo assign < USERS` would print. docs/at-scale.md shows how to use it.
"""

import argparse
import contextlib
import dataclasses
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import uuid
from typing import IO, Any, BinaryIO, Dict, Iterator, List

import distributed

PIECE = 1 << 20  # bytes that are read at once

# An answer, up to the number of the line if it is an error. Quotes in an `id` are escaped: neither key is found in one.
KIND = re.compile(rb',"(?:flags"|error":\{"code":"[a-z-]+","message":"line (\d+))')


@dataclasses.dataclass(frozen=True)
class Job:
    """What all partitions have in common. All machines see the same folders."""

    command: List[str]
    users: str
    size: int
    modified: int  # in nanoseconds, as the file system tells it
    folder: str


@dataclasses.dataclass(frozen=True)
class Part:
    """One partition: bytes of the file, from a line's first to a line's last."""

    name: str
    begin: int
    end: int
    first_line: int  # counts from 1
    lines: int


class Failure(Exception):
    """Says why a job cannot go on."""


def borders(users: BinaryIO, size: int, partition: int) -> List[int]:
    """Where the partitions begin, and where the last one ends.

    Each has the fewest lines that make `partition` bytes, except the last. An empty file is one partition.
    """
    found = [0]
    while found[-1] + partition < size:
        users.seek(found[-1] + partition - 1)
        while (piece := users.readline(PIECE)) and not piece.endswith(b"\n"):
            pass
        if not piece:
            break
        found.append(users.tell())
    return found if 0 < size <= found[-1] else found + [size]


def pieces(file: IO[bytes], begin: int, end: int) -> Iterator[bytes]:
    file.seek(begin)
    while begin < end and (piece := file.read(min(PIECE, end - begin))):
        yield piece
        begin += len(piece)


def count_lines(path: str, begin: int, end: int) -> int:
    """The number of lines. The last one need not end."""
    lines, last = 0, b"\n"
    with open(path, "rb") as file:
        for piece in pieces(file, begin, end):
            lines += piece.count(b"\n")
            last = piece[-1:]
    return lines + (last != b"\n")


@contextlib.contextmanager
def unfinished(folder: str) -> Iterator[IO[bytes]]:
    """A file with a name that no other attempt uses."""
    path = pathlib.Path(folder, f".part-{uuid.uuid4().hex}")
    try:
        with open(path, "xb+") as file:
            yield file
    finally:
        path.unlink(missing_ok=True)


def renumber(answers: IO[bytes], numbered: IO[bytes], first_line: int) -> int:
    """Copies answers. Errors then name lines of the whole file. Returns the number of errors."""
    errors = 0
    for line in answers:
        kind = KIND.search(line)
        if kind and kind[1]:
            errors += 1
            number = int(kind[1]) + first_line - 1
            line = line[: kind.start(1)] + str(number).encode() + line[kind.end(1) :]
        numbered.write(line)
    return errors


def run(job: Job, part: Part, answers: IO[bytes]) -> bool:
    """Has the command answer a partition. Returns whether it found invalid lines."""
    with open(job.users, "rb") as users, tempfile.TemporaryFile() as said:
        with subprocess.Popen(
            job.command, cwd=job.folder, stdin=subprocess.PIPE, stdout=answers, stderr=said
        ) as process:
            assert process.stdin
            with contextlib.suppress(BrokenPipeError):  # the status says why it stopped reading
                for piece in pieces(users, part.begin, part.end):
                    process.stdin.write(piece)
                process.stdin.close()
        state = os.fstat(users.fileno())
        if (state.st_size, state.st_mtime_ns) != (job.size, job.modified):
            raise Failure(f"{job.users} has changed since the job began")
        answered = sum(piece.count(b"\n") for piece in pieces(answers, 0, sys.maxsize))
        if process.returncode not in (0, 1) or answered != part.lines:
            said.seek(0)
            text = said.read(PIECE).decode(errors="replace").strip()
            raise Failure(f"the command did not answer all lines (status {process.returncode}): {text}")
    return process.returncode == 1


def answer(job: Job, part: Part) -> None:
    """Writes the answers of a partition. Any number of workers may do so at once: they write the same."""
    with unfinished(job.folder) as answers, unfinished(job.folder) as numbered:
        complete, suffix = answers, ""
        if run(job, part, answers):
            complete, suffix = numbered, "-invalid"
            answers.seek(0)
            if not renumber(answers, numbered, part.first_line):
                raise Failure("the command failed after the last answer")
        complete.flush()
        os.fsync(complete.fileno())
        os.replace(complete.name, os.path.join(job.folder, f"{part.name}{suffix}.jsonl"))


def write(path: pathlib.Path, data: bytes) -> None:
    """Writes a file that is complete as soon as it can be seen."""
    with unfinished(str(path.parent)) as file:
        file.write(data)
        file.flush()
        os.fsync(file.fileno())
        os.replace(file.name, path)


def keep(folder: pathlib.Path, file: pathlib.Path) -> str:
    """Copies a document into the folder, so that later edits do not reach half of the users. Returns its name."""
    data = file.read_bytes()
    name = f"{hashlib.sha256(data).hexdigest()[:16]}.json"
    write(folder / name, data)
    return name


def note(text: str) -> None:
    print(text, file=sys.stderr, flush=True)


def wait(futures: List[distributed.Future], doing: str) -> None:
    """Waits for all, and reports each per cent."""
    total = len(futures)
    for done, future in enumerate(distributed.as_completed(futures), 1):
        if future.status == "cancelled":
            raise Failure("the scheduler has stopped")
        if error := future.exception():
            raise Failure(str(error) or repr(error))
        if done * 100 // total > (done - 1) * 100 // total:
            note(f"{doing}: {done} of {total}")


def split(client: distributed.Client, job: Job, partition: int) -> List[Part]:
    """The partitions of a job."""
    with open(job.users, "rb") as users:
        cuts = borders(users, job.size, partition)
    counts = client.map(count_lines, [job.users] * (len(cuts) - 1), cuts[:-1], cuts[1:], pure=False)
    wait(counts, "Counted")
    parts, line, digits = [], 1, max(6, len(str(len(counts))))
    for number, lines in enumerate(client.gather(counts)):
        parts.append(Part(f"part-{number:0{digits}}", cuts[number], cuts[number + 1], line, lines))
        line += lines
    return parts


def begin(client: distributed.Client, job: Job, partition: int) -> List[Part]:
    """The partitions of a new job, or of the one that the folder belongs to."""
    record = pathlib.Path(job.folder, "job.json")
    asked: Dict[str, Any] = {"partition": partition, **dataclasses.asdict(job)}
    del asked["folder"]  # which may be moved
    if record.exists():
        known = json.loads(record.read_bytes())
        if known["asked"] == asked:
            return [Part(**part) for part in known["parts"]]
    if record.exists() or any(record.parent.glob("part-*")):
        raise Failure(f"{job.folder} has the answers of another job")
    parts = split(client, job, partition)
    known = {"asked": asked, "parts": [dataclasses.asdict(part) for part in parts]}
    write(record, json.dumps(known).encode())
    return parts


def work(client: distributed.Client, job: Job, partition: int) -> bool:
    """Answers what is not answered yet. Returns whether lines are invalid."""
    if not client.scheduler_info()["workers"]:
        note("Waiting for a worker")
    folder = pathlib.Path(job.folder)
    parts = begin(client, job, partition)
    finished = {path.stem.replace("-invalid", "") for path in folder.glob("part-*")}
    missing = [part for part in parts if part.name not in finished]
    wait(client.map(answer, [job] * len(missing), missing, pure=False), "Answered")
    for path in folder.glob(".part-*"):  # of workers that were killed
        path.unlink(missing_ok=True)
    note(f"{len(parts)} partitions; {len(parts) - len(missing)} were there already")
    return any(folder.glob("*-invalid.jsonl"))


def positive(text: str) -> int:
    if (number := int(text)) < 1:
        raise ValueError
    return number


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        description="Evaluate a file of users with `corvo assign` on a Dask cluster.",
        epilog="Options of `corvo assign` that name no files may follow after --, such as -- --flag sale.",
    )
    parser.add_argument("users", type=pathlib.Path, help="a file with one user per line")
    parser.add_argument("folder", type=pathlib.Path, help="the folder for the answers")
    parser.add_argument("options", nargs="*", help=argparse.SUPPRESS)
    parser.add_argument("--scheduler", required=True, help="the address of Dask's scheduler")
    parser.add_argument("--config", type=pathlib.Path, required=True, help="the configuration")
    parser.add_argument("--geo", type=pathlib.Path, help="the location; the default is an empty one")
    parser.add_argument("--now", required=True, help="the time, the same for all partitions")
    parser.add_argument("--zone", default="UTC", help="the time zone; the default is UTC")
    parser.add_argument("--command", default="corvo", help="the command on all machines (corvo)")
    parser.add_argument(
        "--partition", type=positive, default=64 << 20, help="bytes per partition (64 MiB)"
    )
    return parser.parse_args()


def main() -> int:
    asked = arguments()
    try:
        asked.folder.mkdir(parents=True, exist_ok=True)
        command = shutil.which(asked.command)
        if not command:
            raise Failure(f"there is no command {asked.command}")
        # One thread: Dask gives a worker as many partitions at once as it has threads.
        options = ["assign", "--jobs", "1", "--now", asked.now, "--zone", asked.zone, *asked.options]
        for name in ("config", "geo"):
            if file := getattr(asked, name):
                options += [f"--{name}", keep(asked.folder, file)]
        state = asked.users.stat()
        if not asked.users.is_file():
            raise Failure(f"{asked.users} is not a regular file, so it cannot be cut")
        job = Job(
            [os.path.abspath(command), *options],
            str(asked.users.absolute()),
            state.st_size,
            state.st_mtime_ns,
            str(asked.folder.absolute()),
        )
        # Without users: wrong options are reported here, not by a worker.
        if wrong := subprocess.run(job.command, cwd=job.folder, stdin=subprocess.DEVNULL).returncode:
            return wrong
        with distributed.Client(asked.scheduler) as client:
            if not work(client, job, asked.partition):
                return 0
        note("! some lines are invalid: their answers, in *-invalid.jsonl, say why")
    except (Failure, OSError) as error:
        note(f"! {error}")
    return 1


if __name__ == "__main__":
    sys.exit(main())
