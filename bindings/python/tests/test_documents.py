# SPDX-License-Identifier: Apache-2.0
"""Runs the Python in docs/python.md and the package's README.md, and compares what it prints."""

import contextlib
import io
import os
import re
import shutil
import tempfile
import unittest

import support

BLOCK = re.compile(r"^```(python|text)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
ADDRESS = "http://127.0.0.1:8080"


class Documents(unittest.TestCase):
    def test_blocks_print_what_is_shown(self) -> None:
        for name in "docs/python.md", "bindings/python/README.md":
            text = (support.ROOT / name).read_text(encoding="utf-8")
            with self.in_a_shop() as address:
                self.run_blocks(text.replace(ADDRESS, address), name)

    @contextlib.contextmanager
    def in_a_shop(self):
        before = os.getcwd()
        with tempfile.TemporaryDirectory() as folder, support.shop_backend() as address:
            shutil.copytree(support.SHOP, folder, dirs_exist_ok=True)
            # One process, one data folder: the clients' file is made by the first document.
            os.environ.setdefault("XDG_DATA_HOME", tempfile.mkdtemp(prefix="corvo-python-"))
            os.chdir(folder)
            try:
                yield address
            finally:
                os.chdir(before)

    def run_blocks(self, text: str, name: str) -> None:
        scope: dict = {"__name__": "__main__"}
        printed, count = "", 0
        for language, block in BLOCK.findall(text):
            with self.subTest(document=name, block=block):
                if language == "text":
                    self.assertEqual(printed, block)
                    count += 1
                    continue
                out = io.StringIO()
                with contextlib.redirect_stdout(out):
                    exec(compile(block, name, "exec", dont_inherit=True), scope)
                printed = out.getvalue()
        self.assertGreater(count, 0)


if __name__ == "__main__":
    unittest.main()
