# SPDX-License-Identifier: Apache-2.0
"""Users per second of processor time, in Python and with the `corvo` command.

    CORVO_LIBRARY=build/release/bindings/python/libcorvo_c.so \
        python3 bindings/python/bench.py build/release/tool/corvo
"""

import json
import pathlib
import resource
import subprocess
import sys
from typing import Callable

sys.path.insert(0, str(pathlib.Path(__file__).parent))
import corvo  # noqa: E402

SHOP = pathlib.Path(__file__).parents[2] / "examples/shop/config.json"
COUNT = 100_000
NOW = 1_760_000_000.0


def user(number: int) -> "dict[str, str]":
    return {
        "userId": f"user-{number * 7919}",
        "email": f"ann.{number}@shop.example",
        "geo.country": "Spain" if number % 3 else "Portugal",
        "appVersion": f"2.14.{number % 20}",
        "custom.plan": "gold" if number % 4 else "silver",
        "custom.basket": str(number % 300),
        "custom.orders": str(number % 17),
        "custom.visits": str(number % 9),
        "custom.typed": "running" if number % 5 else "",
    }


def report(what: str, seconds: float) -> None:
    print(f"{what:48} {seconds / COUNT * 1e6:6.2f} us per user {COUNT / seconds:9,.0f} per second")


def used() -> float:
    """The processor time of this process and of those that it has waited for."""
    return sum(
        usage.ru_utime + usage.ru_stime
        for usage in map(resource.getrusage, (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN))
    )


def best(run: Callable[[], object]) -> float:
    times = []
    for _ in range(5):
        start = used()
        run()
        times.append(used() - start)
    return min(times)


def main() -> None:
    users = [user(number) for number in range(COUNT)]
    project = corvo.Project.decode(SHOP.read_bytes())
    defaults = corvo.Context(now=NOW)

    def assign(**limits: "list[str]") -> float:
        return best(lambda: [None for _ in project.assign(users, defaults=defaults, **limits)])

    one_flag = {"flags": ["checkout-steps"], "experiments": []}
    report("Python: everything", assign())
    report("Python: one flag", assign(**one_flag))
    evaluation = project.evaluate(defaults)

    def ask() -> None:
        for each in users:
            evaluation.reset(corvo.Context(each, now=NOW))
            evaluation.check_flag("checkout-steps", int)

    report("Python: reset and check_flag", best(ask))
    evaluation.reset(users[0])
    report("Python: check_flag", best(lambda: [evaluation.check_flag("checkout-steps", int) for _ in users]))

    if len(sys.argv) > 1:
        lines = "".join(json.dumps({"properties": each}) + "\n" for each in users).encode()
        command = [sys.argv[1], "assign", "--config", str(SHOP), "--now", str(int(NOW)), "--jobs=1"]
        for what, limits in ("everything", []), ("one flag", ["--flag", "checkout-steps"]):
            arguments = {"input": lines, "stdout": subprocess.DEVNULL, "check": True}
            native = best(lambda: subprocess.run(command + limits, **arguments))
            report(f"corvo assign, from and to JSON: {what}", native)


if __name__ == "__main__":
    main()
