# SPDX-License-Identifier: Apache-2.0
"""Users per second, in Python and with the `corvo` command on one core.

    CORVO_LIBRARY=build/release/bindings/python/libcorvo_c.so \
        python3 bindings/python/bench.py build/release/tool/corvo
"""

import json
import pathlib
import subprocess
import sys
import time

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
    print(f"{what:44} {seconds / COUNT * 1e6:6.2f} us per user {COUNT / seconds:9,.0f} per second")


def best(run: "callable") -> float:
    times = []
    for _ in range(3):
        start = time.perf_counter()
        run()
        times.append(time.perf_counter() - start)
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

    if len(sys.argv) > 1:
        lines = "".join(json.dumps({"properties": each}) + "\n" for each in users).encode()
        command = [sys.argv[1], "assign", "--config", str(SHOP), "--now", str(int(NOW)), "--jobs=1"]
        for what, limits in ("everything", []), ("one flag", ["--flag", "checkout-steps"]):
            native = best(lambda: subprocess.run(command + limits, input=lines, stdout=-3, check=True))
            report(f"corvo assign --jobs 1 (JSON lines): {what}", native)


if __name__ == "__main__":
    main()
