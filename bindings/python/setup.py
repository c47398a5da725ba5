# SPDX-License-Identifier: Apache-2.0
"""Adds to pyproject.toml the version, from the library's header, the licence, and the shared
library that CORVO_LIBRARY names. Without it, the package uses a library that is installed in the system."""

import os
import pathlib
import re
import shutil
import sys

from setuptools import setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIBRARY = os.environ.get("CORVO_LIBRARY")
NAME = {"win32": "corvo_c.dll", "darwin": "libcorvo_c.dylib"}.get(sys.platform, "libcorvo_c.so")


def version() -> str:
    header = (ROOT / "include/corvo/version.h").read_text(encoding="utf-8")
    numbers = re.findall(r"define CORVO_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", header)
    return ".".join(numbers)


class BuildWithLibrary(build_py):
    def run(self) -> None:
        super().run()
        package = pathlib.Path(self.build_lib, "corvo")
        shutil.copyfile(ROOT / "LICENSE", package / "LICENSE")
        if LIBRARY:
            shutil.copyfile(LIBRARY, package / NAME)


class WheelOfLibrary(bdist_wheel):
    """For any Python 3, since the library does not use Python; with a library, for one platform."""

    def finalize_options(self) -> None:
        super().finalize_options()
        self.root_is_pure = not LIBRARY

    def get_tag(self) -> "tuple[str, str, str]":
        return ("py3", "none", super().get_tag()[2])


setup(version=version(), cmdclass={"build_py": BuildWithLibrary, "bdist_wheel": WheelOfLibrary})
