#!/usr/bin/env python3
"""Every failure is one clear exception; the interface is the header's."""

import os
import pathlib
import pickle
import re
import shutil
import signal
import subprocess
import sys
import threading
import time
import unittest

import numpy as np
from support import FOLDER, SOURCE, sample

import morvex
from morvex import _library
from morvex._constants import Change, Code, Kind


class Interface(unittest.TestCase):
    def test_structs_numbers_and_functions_are_the_headers(self):
        header = (SOURCE / "include/morvex/morvex.h").read_text(encoding="utf-8")
        header = re.sub(r"/\*.*?\*/", "", header, flags=re.S)
        for name, struct in {"error": _library.ErrorInfo, "summary": _library.Summary,
                             "open_options": _library.OpenOptions, "part": _library.PartStruct,
                             "geometry": _library.Geometry, "variable": _library.VariableStruct,
                             "request": _library.RequestStruct,
                             "read_options": _library.ReadOptions}.items():
            body = re.search(rf"struct morvex_{name} {{(.*?)}} morvex_{name};", header, re.S)
            fields = re.findall(r"(\w+)(?:\[\w+\])?;", body[1])
            self.assertEqual([field for field, _ in struct._fields_], fields, name)
        numbers = dict(re.findall(r"MORVEX_(\w+) = (-?\d+)", header))
        for group in (Code, Kind):
            for item in group:
                self.assertEqual(numbers[item.name], str(item.value))
        self.assertEqual([int(change) for change in Change], [
            int(numbers[name]) for name in ("ABSENT", "STATIC", "COORDINATES_CHANGE",
                                            "CONNECTIVITY_CHANGES")])
        functions = set(re.findall(r"MORVEX_API [^;(]*?(morvex_\w+)\(", header))
        self.assertEqual(functions, set(_library._FUNCTIONS))
        self.assertEqual(morvex.library_version(), morvex.__version__)

    def test_a_missing_a_foreign_and_an_old_library_are_named(self):
        old = FOLDER / "old.c"
        old.write_text("\n".join(
            f'const char* {name}() {{ return "6.9.9"; }}' for name in _library._FUNCTIONS))
        library = FOLDER / "libold.so"
        compiler = os.environ.get("CC", "cc")
        if shutil.which(compiler):
            subprocess.run([compiler, "-shared", "-fPIC", "-o", library, old], check=True)
        program = "import morvex; morvex.open('x')"
        for path, reason in {"/nowhere/libmorvex.so.1": "MORVEX_LIBRARY", "libm.so.6": "too old",
                             str(library): "6.9.9"}.items():
            if path == str(library) and not library.exists():
                continue
            result = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True,
                                    env=os.environ | {"MORVEX_LIBRARY": path}, check=False)
            self.assertIn("morvex._errors.LibraryError", result.stderr.splitlines()[-1])
            self.assertIn(reason, result.stderr.splitlines()[-1])


class Failures(unittest.TestCase):
    def setUp(self):
        self.case = morvex.open(sample())
        self.addCleanup(self.case.close)

    def test_wrong_names_and_numbers(self):
        case = self.case
        stress = case["stress"]
        for error, text, ask in (
                (KeyError, "did you mean 'stress'", lambda: case["stres"]),
                (KeyError, "did you mean 'tube'", lambda: case.parts["tub"]),
                (KeyError, "component of 'displacement'",
                 lambda: case["displacement"].read(0, component="w")),
                (KeyError, "no values on part 'tube'",
                 lambda: case["sound_pressure"].read()["tube"]),
                (morvex.NotDefined, "no values", lambda: case["contact_state"].read(0, "plate")),
                (IndexError, "no step 5", lambda: stress.read(5)),
                (IndexError, "no step -6", lambda: stress.read(-6)),
                (IndexError, "no part 3", lambda: stress.read(0, 3)),
                (IndexError, "4294967296", lambda: stress.read(2**32)),
                (IndexError, "element type 34", lambda: case.parts[0].connectivity(34)),
                (ValueError, "out must be", lambda: case.parts[0].coordinates(out=np.zeros(3))),
                (ValueError, "contiguous", lambda: case.parts[0].coordinates(
                    out=np.zeros((3, case.parts[0].nodes), np.float32).T)),
                (TypeError, "by number", lambda: case[0])):
            with self.subTest(text), self.assertRaisesRegex(error, text):
                ask()

    def test_a_closed_case(self):
        part, variable = self.case.parts[0], self.case["stress"]
        self.case.close()
        self.case.close()
        self.assertIn("closed", repr(self.case))
        for ask in (part.coordinates, variable.read, lambda: self.case.box()):
            with self.assertRaisesRegex(morvex.ClosedError, "is closed"):
                ask()

    def test_files_that_are_none_vanish_or_change(self):
        for path, error in (("/nowhere.mvx", OSError), (__file__, morvex.Error), (FOLDER, OSError)):
            with self.assertRaisesRegex(error, re.escape(str(path))) as caught:
                morvex.open(path)
            self.assertNotEqual(caught.exception.code, Code.OK)
        copy = FOLDER / "copy.mvx"
        shutil.copy(sample(), copy)
        with morvex.open(copy) as case:
            xyz = case.parts[0].coordinates(1)
            copy.unlink()
            try:  # the open file may serve for a while
                np.testing.assert_array_equal(case.parts[0].coordinates(1), xyz)
            except morvex.Error as failure:
                self.assertIn(failure.code, (Code.CANNOT_OPEN, Code.FILE_CHANGED))
        data = bytearray(pathlib.Path(sample()).read_bytes())
        first, last = len(data) * 35 // 100, len(data) * 45 // 100  # in the values
        data[first:last] = b"\xFF" * (last - first)
        copy.write_bytes(data)
        with morvex.open(copy) as case:
            requests = [v.request(1, part) for v in (case["displacement"], case["temperature"])
                        for part in (0, 1, 2)]
            results = case.read(requests, errors="return")
            failed = [result for result in results if isinstance(result, morvex.Error)]
            self.assertTrue(failed)
            self.assertIn(failed[0].path, str(failed[0]))
            self.assertEqual((failed[0].code, failed[0].step), (Code.DAMAGED, 1))
            self.assertEqual(str(pickle.loads(pickle.dumps(failed[0]))), str(failed[0]))
            with self.assertRaises(morvex.Error):
                case.read(requests)

    def test_a_read_can_be_interrupted_and_cancelled(self):
        request = self.case["displacement"].request(-1, 0)
        many = [request] * 20000
        timer = threading.Timer(0.2, signal.raise_signal, [signal.SIGINT])
        start = time.monotonic()
        with self.assertRaises(KeyboardInterrupt):
            timer.start()
            while time.monotonic() - start < 20:
                self.case.read(many)
        self.assertLess(time.monotonic() - start, 10)
        with self.assertRaises(morvex.Cancelled):
            self.case.read(many, progress=lambda done, _total, _size: done > 100)
        with self.assertRaises(ZeroDivisionError):
            self.case.read(many, progress=lambda *_: 1 // 0)
        self.assertEqual(self.case.read([request])[0].shape, request.shape)

    def test_threads_and_a_close_in_between(self):
        results = []

        def work():
            try:
                for step in self.case.steps * 50:
                    self.case["displacement"].read(step)
                results.append("done")
            except Exception as failure:  # pylint: disable=broad-except
                results.append(type(failure))

        threads = [threading.Thread(target=work) for _ in range(4)]
        for thread in threads:
            thread.start()
        time.sleep(0.05)
        self.case.close()
        for thread in threads:
            thread.join()
        self.assertEqual(len(results), 4)
        self.assertLessEqual(set(results), {"done", morvex.ClosedError})


if __name__ == "__main__":
    unittest.main()
