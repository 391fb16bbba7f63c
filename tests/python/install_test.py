#!/usr/bin/env python3
"""The package as pip installs it without a network, and the examples with it."""

import os
import pathlib
import shutil
import subprocess
import sys
import unittest

from support import FOLDER, SOURCE, sample


class Installed(unittest.TestCase):
    def test_pip_installs_what_the_examples_need(self):
        if subprocess.run([sys.executable, "-c", "import setuptools, wheel, pip"],
                          capture_output=True, check=False).returncode:
            self.skipTest("pip, setuptools or wheel is missing")
        target, copy = FOLDER / "target", FOLDER / "python"
        shutil.copytree(SOURCE / "python", copy)  # setuptools writes beside its sources
        subprocess.run([sys.executable, "-m", "pip", "install", "--quiet", "--no-build-isolation",
                        "--no-index", "--no-deps", "--target", target, copy], check=True,
                       capture_output=True)
        self.assertEqual({path.name for path in (SOURCE / "python/morvex").glob("*.py*")} |
                         {"py.typed"},
                         {path.name for path in (target / "morvex").iterdir() if path.is_file()})
        shown = subprocess.run([sys.executable, SOURCE / "examples/read_arrays.py", sample()],
                               env=os.environ | {"PYTHONPATH": str(target)}, text=True, check=True,
                               capture_output=True, cwd=FOLDER).stdout
        self.assertIn("'crash box'", shown)
        self.assertRegex(shown, r"(?s)'displacement': vector, per node.*  tube: -?\d")
        self.assertIn("15 arrays of coordinates", shown)

    def test_the_library_is_found_beside_the_package_and_in_the_prefix(self):
        library = os.environ.get("MORVEX_LIBRARY")
        if not library:
            self.skipTest("MORVEX_LIBRARY is not set")
        environment = {k: v for k, v in os.environ.items() if k != "MORVEX_LIBRARY"}
        prefix = FOLDER / "prefix/lib"
        package = prefix / "python3/dist-packages/morvex"
        shutil.copytree(SOURCE / "python/morvex", package)
        for folder in (prefix / "x86_64-linux-gnu", prefix, package):
            folder.mkdir(exist_ok=True)
            there = pathlib.Path(shutil.copy(library, folder / "libmorvex.so.1"))
            program = ("import morvex; morvex.library_version(); "
                       "print(open('/proc/self/maps').read())")
            maps = subprocess.run([sys.executable, "-c", program], text=True, check=True,
                                  capture_output=True,
                                  env=environment | {"PYTHONPATH": str(package.parent)}).stdout
            self.assertIn(str(there), maps)


if __name__ == "__main__":
    unittest.main()
