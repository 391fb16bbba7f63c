#!/usr/bin/env python3
"""Uses the guard from Python without a compiled part: its structures and buffers.

Usage: python_test.py GUARD_LIBRARY SAMPLE_PROGRAM
"""

import ctypes
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest
from ctypes import byref, c_char, c_char_p, c_float, c_int32, c_uint64

TYPES = 34
TEXT_SIZE = 1024
OK, OUT_OF_RANGE = 0, 4


class Error(ctypes.Structure):
    _fields_ = [("code", c_int32), ("step", c_int32), ("part", c_int32),
                ("dataset", c_char * TEXT_SIZE), ("text", c_char * TEXT_SIZE)]


class Part(ctypes.Structure):
    _fields_ = [("id", c_int32), ("type", c_int32), ("nodes", c_uint64),
                ("elements", c_uint64 * TYPES), ("extents", c_int32 * 4), ("name_size", c_uint64)]


class Variable(ctypes.Structure):
    _fields_ = [("type", c_int32), ("location", c_int32), ("is_complex", c_int32),
                ("frequency", c_float), ("is_constant", c_int32), ("has_time", c_int32),
                ("timeset", c_int32), ("geometry", c_int32), ("text_size", c_uint64 * 3)]


library_path, sample_program = sys.argv[1:3]
guard = ctypes.CDLL(library_path)
guard.mxg_last_error.restype = ctypes.POINTER(Error)
guard.mxg_code_name.restype = c_char_p
guard.mxg_open_file.argtypes = [c_char_p, c_uint64]


def array_of(kind, ask):
    """An array question: `ask` gets buffer, capacity and count."""
    count = c_uint64()
    code = ask(None, c_uint64(0), byref(count))
    if code == OK:
        buffer = (kind * count.value)()
        code = ask(buffer, c_uint64(count.value), byref(count))
    if code != OK:
        raise RuntimeError(guard.mxg_code_name(code).decode())
    return buffer


class Guard(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        sample, truth = (pathlib.Path(cls.folder.name) / name for name in ("sample", "truth"))
        subprocess.run([sample_program, sample, "--truth", truth, "--nodes", "900", "--steps", "5"],
                       check=True, stdout=subprocess.DEVNULL)
        cls.truth = json.loads(truth.read_text(encoding="utf-8"))
        assert guard.mxg_open_file(bytes(sample), 0) == OK

    @classmethod
    def tearDownClass(cls):
        guard.mxg_exit()
        cls.folder.cleanup()

    def test_structures_hold_what_was_written(self):
        parts = array_of(Part, lambda *out: guard.mxg_get_part_information(0, *out))
        self.assertEqual([part.nodes for part in parts],
                         [part["nodes"] for part in self.truth["parts"]])
        self.assertEqual([part.name_size for part in parts], [5, 6, 6])  # tube, block, plate
        variables = array_of(Variable, guard.mxg_get_variable_information)
        names = [array_of(c_char, lambda *out, v=v: guard.mxg_get_variable_text(v, 0, *out))
                 for v in range(len(variables))]
        self.assertEqual([name.value.decode() for name in names],
                         [variable["name"] for variable in self.truth["variables"]])
        self.assertEqual([variable.text_size[0] for variable in variables], list(map(len, names)))

    def test_errors_are_told(self):
        told = c_uint64()
        self.assertEqual(guard.mxg_get_part_information(99, None, c_uint64(0), byref(told)),
                         OUT_OF_RANGE)
        error = guard.mxg_last_error().contents
        self.assertEqual((error.code, error.step, error.part), (OUT_OF_RANGE, 99, -1))
        self.assertIn(b"99", error.text)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
