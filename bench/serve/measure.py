# SPDX-License-Identifier: Apache-2.0
"""Measures `corvo serve` on loopback: `measure.py CORVO SECONDS`.

The server runs on one core, wrk on another. The project has 1,000 flags, each with a rule for `custom.plan`, one for
`custom.visits` and a default; every tenth is in an experiment of its own. Every request is of another user.
"""

import json
import os
import re
import resource
import signal
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

SERVER_CORE, CLIENT_CORE = 0, 1
STREAMS = 1_000
ONE, EVERY = "/ofrep/v1/evaluate/flags/flag-501", "/ofrep/v1/evaluate/flags"
HERE = Path(__file__).parent
TICKS = os.sysconf("SC_CLK_TCK")


def rule(value, *condition):
    if not condition:
        return {"is_default": True, "value": value, "conditional_statement": "-", "conditions": []}
    name, sign, operand = condition
    return {"is_default": False, "value": value, "conditional_statement": "AND",
            "conditions": [{"name": name, "condition_sign": sign, "value": operand}]}


def make_project():
    flags, experiments = [], []
    for i in range(1_000):
        name = f"flag-{i}"
        rules = [rule(f"gold {i}", "custom.plan", "equal", "gold"), rule(str(i), "custom.visits", "less", "50"), rule("true")]
        flags.append({"name": name, "type": "string", "rules": rules})
        if i % 10 == 0:
            groups = [{"name": group, "weight": 0.5} for group in ("a", "b")]
            carried = {"name": name, "type": "string", "groups": [{"group": group, "rules": [rule(group)]} for group in ("a", "b")]}
            experiments.append({"name": f"experiment-{i}", "salt": f"salt-{i}", "allocation": 1.0, "type": 1,
                                "groups": groups, "feature_flags": [carried]})
    return {"feature_flags": flags, "experiments": experiments}


class Server:
    def __init__(self, corvo, config):
        command = ["taskset", "-c", str(SERVER_CORE), corvo, "serve", "--config", config, "--listen", "127.0.0.1:0"]
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
        self.url = self.process.stdout.readline().removeprefix("Serving ").strip()
        self.port = int(self.url.rsplit(":", 1)[1])

    def processor_seconds(self):
        fields = Path(f"/proc/{self.process.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / TICKS

    def status(self, name):
        text = Path(f"/proc/{self.process.pid}/status").read_text()
        return int(re.search(rf"^{name}:\s+(\d+)", text, re.MULTILINE).group(1))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait()


def load(server, path, seconds, connections, pause=0):
    """Requests per second, the 99th percentile in milliseconds, and processor microseconds per request."""
    before = server.processor_seconds()
    command = ["taskset", "-c", str(CLIENT_CORE), "wrk", "-t1", f"-c{connections}", f"-d{seconds}s", "--latency", "-s",
               str(HERE / "questions.lua"), server.url, "--", path, str(pause)]
    text = subprocess.run(command, stdout=subprocess.PIPE, text=True, check=True).stdout
    used = server.processor_seconds() - before
    if "Non-2xx" in text or "Socket errors" in text:
        sys.exit(f"requests failed:\n{text}")
    requests = int(re.search(r"(\d+) requests in", text).group(1))
    number, unit = re.search(r"99%\s+([\d.]+)(us|ms|s)", text).groups()
    rate = float(re.search(r"Requests/sec:\s+([\d.]+)", text).group(1))
    return rate, float(number) * {"us": 0.001, "ms": 1, "s": 1000}[unit], used / requests * 1e6


def path_of_events(server):
    body = json.dumps({"context": {"targetingKey": "ann"}}).encode()
    question = f"POST {EVERY} HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\nContent-Length: {len(body)}\r\n\r\n"
    with socket.create_connection(("127.0.0.1", server.port)) as connection:
        connection.sendall(question.encode() + body)
        answer = b"".join(iter(lambda: connection.recv(65536), b""))
    return re.search(rb'"requestUri":\s*"([^"]+)"', answer).group(1)


def open_streams(server, path, count):
    """Opens idle event streams, and returns them after the head of each answer."""
    streams = []
    for _ in range(count):
        stream = socket.create_connection(("127.0.0.1", server.port))
        stream.sendall(b"GET " + path + b" HTTP/1.1\r\nHost: localhost\r\nAccept: text/event-stream\r\n\r\n")
        streams.append(stream)
    for stream in streams:
        assert stream.recv(4096).startswith(b"HTTP/1.1 200")
    return streams


def row(what, value):
    print(f"| {what} | {value} |", flush=True)


def measure(server, seconds):
    load(server, ONE, 1, 32)
    row("what", "measured")
    row("---", "--:")
    rate, _, used = load(server, ONE, seconds, 32)
    row("single questions a second, 32 connections", f"{rate:,.0f}")
    row("processor time of one", f"{used:.1f} us")
    # So many connections, each of which waits 16 ms between two requests, make half of that load.
    connections = max(1, round(rate / 2 * 0.016))
    half, late, _ = load(server, ONE, seconds, connections, 16)
    row(f"99th percentile at {half:,.0f} a second", f"{late:.2f} ms")
    rate, _, used = load(server, EVERY, seconds, 8)
    row("questions for 1,000 flags a second, 8 connections", f"{rate:,.0f}")
    row("processor time of one", f"{used / 1000:.3f} ms")
    load(server, ONE, 5, 32)
    before = server.status("VmRSS")
    load(server, ONE, 6 * seconds, 32)
    row(f"memory before and after {6 * seconds} s of single questions", f"{before:,} kB, {server.status('VmRSS'):,} kB")


def measure_streams(server, seconds):
    """On a server without any load before: later, streams would reuse the memory of closed connections."""
    path = path_of_events(server)
    threads = server.status("Threads")
    streams = open_streams(server, path, STREAMS)
    row(f"threads without and with {STREAMS:,} streams", f"{threads}, {server.status('Threads')}")
    idle = server.processor_seconds()
    time.sleep(seconds)
    row(f"processor time of them in {seconds} s", f"{(server.processor_seconds() - idle) * 1000:.0f} ms")
    # The first streams reuse what reading the project has left, so only further ones show what a stream takes.
    before = server.status("VmRSS")
    others = open_streams(server, path, 2 * STREAMS)
    row("memory per further stream", f"{(server.status('VmRSS') - before) / len(others):.1f} kB")
    for stream in others:
        stream.close()
    rate, _, _ = load(server, ONE, seconds, 32)
    row("single questions a second beside them", f"{rate:,.0f}")
    for stream in streams:
        stream.close()


def measure_engine(corvo, config, folder):
    """What the engine and its command take for such users without HTTP."""
    users = folder / "users.jsonl"
    count = 20_000
    with users.open("w") as out:
        for i in range(count):
            properties = {"userId": f"user-{i}", "email": "ann@shop.example", "custom.visits": str(i % 100),
                          "custom.plan": ("free", "silver", "gold", "platinum")[i % 4], "custom.member": "true",
                          "custom.region": "south"}
            out.write(json.dumps({"properties": properties}) + "\n")
    for what, options in (("one flag", ["--flag", "flag-501"]), ("1,000 flags", [])):
        before = os.times()
        command = ["taskset", "-c", str(SERVER_CORE), corvo, "assign", "--jobs", "1", "--config", config, *options]
        with users.open() as lines:
            subprocess.run(command, stdin=lines, stdout=subprocess.DEVNULL, check=True)
        after = os.times()
        used = after.children_user + after.children_system - before.children_user - before.children_system
        row(f"`corvo assign`, processor time per user, {what}", f"{used / count * 1e6:.1f} us")


def main():
    corvo, seconds = sys.argv[1], int(sys.argv[2])
    most_files = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (most_files, most_files))
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        config = folder / "config.json"
        config.write_text(json.dumps(make_project()))
        with Server(corvo, str(config)) as server:
            measure(server, seconds)
        with Server(corvo, str(config)) as server:
            measure_streams(server, seconds)
        measure_engine(corvo, str(config), folder)


main()
