#!/usr/bin/env python3
"""Uses the guard the way other languages do: a program in C, and Python without a compiled part.

Usage: python_test.py GUARD_LIBRARY C_PROGRAM SAMPLE_PROGRAM
"""

import ctypes
import json
import pathlib
import subprocess
import sys
import tempfile
import threading
import unittest
from ctypes import byref, c_char, c_char_p, c_float, c_int32, c_uint64, c_void_p

TYPES = 34
TEXT_SIZE = 1024
OK, BUSY, OUT_OF_RANGE, TOO_SMALL, CANCELLED, CANNOT_OPEN = 0, 2, 4, 5, 9, 10


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


PROGRESS = ctypes.CFUNCTYPE(c_int32, c_void_p, c_uint64, c_uint64, c_uint64)

library_path, c_program, sample_program = sys.argv[1:4]
guard = ctypes.CDLL(library_path)
guard.mxg_last_error.restype = ctypes.POINTER(Error)
guard.mxg_code_name.restype = c_char_p
guard.mxg_begin_walk.argtypes = [c_uint64, PROGRESS, c_void_p]
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


def text_of(ask):
    return array_of(c_char, ask).value.decode()


class Guard(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.sample = pathlib.Path(cls.folder.name) / "sample.mvx"
        truth = pathlib.Path(cls.folder.name) / "truth.json"
        subprocess.run([sample_program, cls.sample, "--truth", truth, "--nodes", "900", "--steps",
                        "5"], check=True, stdout=subprocess.DEVNULL)
        cls.truth = json.loads(truth.read_text(encoding="utf-8"))

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def setUp(self):
        self.assertEqual(guard.mxg_open_file(bytes(self.sample), 0), OK)

    def tearDown(self):
        guard.mxg_end_walk()
        guard.mxg_exit()

    def parts(self):
        return array_of(Part, lambda *out: guard.mxg_get_part_information(0, *out))

    def test_tables_are_those_that_were_written(self):
        parts = self.parts()
        self.assertEqual([part.nodes for part in parts],
                         [part["nodes"] for part in self.truth["parts"]])
        names = [text_of(lambda *out, i=i: guard.mxg_get_part_name(0, i, *out))
                 for i in range(len(parts))]
        self.assertEqual(names, ["tube", "block", "plate"])
        times = array_of(c_float, lambda *out: guard.mxg_get_timesteps_values(0, *out))
        self.assertEqual(list(times), self.truth["times"])
        variables = array_of(Variable, guard.mxg_get_variable_information)
        told = [text_of(lambda *out, v=v: guard.mxg_get_variable_text(v, 0, *out))
                for v in range(len(variables))]
        self.assertEqual(told, [variable["name"] for variable in self.truth["variables"]])
        force = told.index("crush_force")
        self.assertEqual(variables[force].is_constant, 1)
        real, imaginary = c_float(), c_float()
        for step, written in enumerate(self.truth["crushForce"]):
            self.assertEqual(guard.mxg_get_constant_value(step, force, byref(real),
                                                          byref(imaginary)), OK)
            self.assertAlmostEqual(real.value, written, places=4)

    def test_coordinates_fill_three_buffers(self):
        count = self.parts()[0].nodes
        axes = [(c_float * count)() for _ in range(3)]
        told = c_uint64()
        self.assertEqual(guard.mxg_get_part_coordinates(4, 0, *axes, c_uint64(count), byref(told)),
                         OK)
        self.assertEqual(told.value, count)
        self.assertGreater(max(axes[2]), min(axes[2]))
        self.assertEqual(guard.mxg_get_part_coordinates(4, 0, *axes, c_uint64(count - 1),
                                                        byref(told)), TOO_SMALL)

    def test_errors_are_told(self):
        told = c_uint64()
        self.assertEqual(guard.mxg_get_part_information(99, None, c_uint64(0), byref(told)),
                         OUT_OF_RANGE)
        error = guard.mxg_last_error().contents
        self.assertEqual((error.code, error.step, error.part), (OUT_OF_RANGE, 99, -1))
        self.assertIn(b"99", error.text)
        self.assertEqual(guard.mxg_open_file(b"/no/such/file", 0), CANNOT_OPEN)
        self.assertIn(b"/no/such/file", guard.mxg_last_error().contents.text)

    def test_a_walk_can_be_cancelled(self):
        seen = []

        @PROGRESS
        def progress(_user, done, total, _bytes):
            seen.append((done, total, guard.mxg_finished_geometry_processing()))
            return 1 if done == 2 else 0

        self.assertEqual(guard.mxg_begin_walk(3, progress, None), OK)
        outcomes = []
        for _ in range(3):
            try:
                array_of(c_int32, lambda *out: guard.mxg_get_element_connectivity(0, 0, 10, *out))
                outcomes.append("MXG_OK")
            except RuntimeError as failure:
                outcomes.append(str(failure))
        self.assertEqual(outcomes, ["MXG_OK", "MXG_OK", "MXG_CANCELLED"])
        self.assertEqual(seen, [(done, 3, BUSY) for done in range(3)])
        self.assertEqual(guard.mxg_end_walk(), CANCELLED)

    def test_threads_may_ask_at_once(self):
        def read(step):
            return list(array_of(c_float, lambda *out: guard.mxg_get_variable_by_component(
                step, step, 0, 0, 0, 0, 2, *out)))

        alone = [read(step) for step in range(5)]
        together = [None] * 5

        def work(step):
            for _ in range(5):
                together[step] = read(step)

        threads = [threading.Thread(target=work, args=(step,)) for step in range(5)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(together, alone)

    def test_a_program_in_c_reads_the_same(self):
        result = subprocess.run([c_program, self.sample], check=True, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        told = [line.split() for line in result.stdout.splitlines()]
        for part, written in zip(("tube", "block", "plate"), self.truth["parts"]):
            self.assertIn([part, str(written["nodes"])], told)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
