#!/usr/bin/env python3
"""Runs `morvex export` and compares what it writes with what the Python package delivers.

Needs numpy. Reads MORVEX_TOOLS, and what the package reads, from the environment.
"""

import pathlib
import re
import resource
import shutil
import signal
import struct
import subprocess
import tempfile
import unittest
import zlib
from xml.etree import ElementTree

import morvex
import numpy as np
from programs_test import (DATA_ERROR, ENVIRONMENT, OUTPUT_FAILED, SUCCESS, TOOLS, USAGE, payloads)

workspace = tempfile.TemporaryDirectory()
HOME = pathlib.Path(workspace.name)
CRASH, ZOO = HOME / "crash.mvx", HOME / "zoo.mvx"
#: EnSight's element types with their nodes, by half the stored type.
ENSIGHT = {"point": 1, "bar2": 2, "bar3": 3, "tria3": 3, "tria6": 6, "quad4": 4, "quad8": 8,
           "tetra4": 4, "tetra10": 10, "pyramid5": 5, "pyramid13": 13, "penta6": 6, "penta15": 15,
           "hexa8": 8, "hexa20": 20}


def run(*arguments, **options):
    return subprocess.run([TOOLS / "morvex", *map(str, arguments)], capture_output=True, text=True,
                          timeout=300, check=False, env=ENVIRONMENT, **options)


def setUpModule():
    for path, kind in ((CRASH, "crash"), (ZOO, "zoo")):
        made = run("sample", path, "--kind", kind, "--nodes", 600, "--steps", 5)
        assert made.returncode == 0, made.stderr


def tearDownModule():
    workspace.cleanup()


class TestCase(unittest.TestCase):
    def setUp(self):
        self.folder = HOME / "out"
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def export(self, path, form, *arguments, code=SUCCESS, **options):
        result = run("export", path, self.folder, "--format", form, *arguments, **options)
        self.assertEqual(result.returncode, code, result.stderr)
        self.assertEqual(result.stdout, "")
        if code == SUCCESS:
            self.assertEqual(result.stderr, "")
        return result.stderr.splitlines()

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())


def key(text):
    return text.replace("/", "_")


def expected_npz(case):
    """The arrays of the case by their keys."""
    found = {"steps/model": range(len(case.timesets[0])), "times/model": case.timesets[0],
             "steps/particles": range(len(case.timesets[0])), "times/particles": case.timesets[0]}
    for step in range(len(case.timesets[0])):
        found[f"particles/coordinates/{step}"] = case.particles.coordinates(step)
        for part in case.parts_at(step):
            base, tail = f"parts/{key(part.name)}/", f"/{step}"
            found[base + "coordinates" + tail] = part.coordinates(step)
            if step > 0 and case.model_change != morvex.Change.CONNECTIVITY:
                continue
            info = part.info()
            if part.is_block:
                found[base + "extents" + tail] = info.extents
                continue
            for name, values in part.cells(step)._asdict().items():
                found[base + name + tail] = values
            if morvex.ElementType.POLYHEDRON in part.elements:
                faces = part.polyhedron_faces(step)
                found[base + "faces_per_polyhedron" + tail] = faces.faces_per_cell
                found[base + "nodes_per_face" + tail] = faces.nodes_per_face
            for kind in info.border_faces:
                faces = part.border_faces(kind, step)
                for name, values in zip(("faces", "parent_ids", "parent_types"), faces):
                    found[f"{base}border_{name}/{int(kind)}{tail}"] = values
    for variable in case.variables:
        name = key(variable.name)
        found[f"steps/variables/{name}"] = variable.steps
        found[f"times/variables/{name}"] = variable.times
        if variable.is_constant:
            found[f"constants/{name}"] = [variable.read(step) for step in variable.steps]
            continue
        for step in variable.steps:
            for imaginary in (False, True)[:1 + variable.is_complex]:
                base = ("imaginary/" if imaginary else "variables/") + name
                values = variable.read(step, imaginary=imaginary)
                if variable.on_particles:
                    found[f"{base}/{step}"] = values
                    continue
                parts = case.parts_at(variable.geometry_step(step))
                for number, own in values.items():
                    if len(own) or parts[number].is_block or variable.location == "node":
                        found[f"{base}/{key(parts[number].name)}/{step}"] = own
    return found


class Zoo(TestCase):
    def test_it_has_every_element_type_and_can_be_read(self):
        self.assertEqual(run("verify", ZOO).returncode, SUCCESS)
        with morvex.open(ZOO) as case:
            types = {t for step in range(5) for part in case.parts_at(step) for t in part.elements}
            self.assertEqual(types, set(morvex.ElementType))
            self.assertEqual({v.type for v in case.variables}, {1, 2, 3, 4})
            self.assertEqual([case.particles.count(step) for step in range(5)], [0, 7, 14, 1, 8])
            growing = [case.parts_at(step)["growing"].nodes for step in range(5)]
            self.assertEqual(growing, sorted(set(growing)))
        self.assertEqual(run("sample", HOME / "x", "--kind", "zoo", "--truth", HOME / "y").returncode,
                         USAGE)


class Npz(TestCase):
    def test_an_archive_has_all_arrays_of_the_python_package_and_no_others(self):
        for path in (CRASH, ZOO):
            self.export(path, "npz", "--force")
            with morvex.open(path) as case, np.load(self.folder / f"{path.stem}.npz") as archive:
                expected = expected_npz(case)
                self.assertEqual(sorted(archive.files), sorted(expected))
                for name, values in expected.items():
                    np.testing.assert_array_equal(archive[name], values, err_msg=name)
                    if isinstance(values, np.ndarray):
                        self.assertEqual(archive[name].dtype, values.dtype, name)

    def test_a_selection_is_all_that_is_exported(self):
        self.export(CRASH, "npz", "--part", "plate", "--variable", "stress", "--step", "1,-1")
        with np.load(self.folder / "crash.npz") as archive:
            self.assertEqual({name.split("/")[1] for name in archive if name.startswith("parts/")},
                             {"plate"})
            self.assertEqual([name for name in archive if name.startswith("variables/")],
                             ["variables/stress/plate/1", "variables/stress/plate/4"])
            np.testing.assert_array_equal(archive["steps/model"], [1, 4])


class Reader:
    """Walks through a file of EnSight."""

    def __init__(self, path):
        self.data, self.at = path.read_bytes(), 0

    def line(self):
        self.at += 80
        return self.data[self.at - 80:self.at].rstrip(b"\0").decode()

    def numbers(self, count, kind="<i4"):
        self.at += 4 * count
        assert self.at <= len(self.data)
        return np.frombuffer(self.data, kind, count, self.at - 4 * count)

    def is_left(self):
        return self.at < len(self.data)


def ensight_parts(path):
    """Nodes and connectivity of each part of a geometry file."""
    reader, parts = Reader(path), {}
    assert reader.line() == "C Binary"
    for _ in range(4):
        reader.line()
    while reader.is_left():
        word = reader.line()
        if word == "part":
            number = reader.numbers(1)[0]
            parts[number] = part = {"name": reader.line()}
        elif word == "block":
            part["nodes"] = reader.numbers(3 * np.prod(reader.numbers(3)), "<f4").reshape(3, -1).T
        elif word == "coordinates":
            part["nodes"] = reader.numbers(3 * reader.numbers(1)[0], "<f4").reshape(3, -1).T
        elif word == "nsided":
            part[word] = reader.numbers(reader.numbers(reader.numbers(1)[0]).sum())
        elif word == "nfaced":
            faces = reader.numbers(reader.numbers(reader.numbers(1)[0]).sum())
            part[word] = reader.numbers(faces.sum())
        else:
            part[word] = reader.numbers(reader.numbers(1)[0] * ENSIGHT[word.removeprefix("g_")])
    return parts


class EnSight(TestCase):
    def test_geometry_has_all_parts_and_elements_with_ghosts(self):
        self.export(ZOO, "ensight")
        names = [*(prefix + n for n in ENSIGHT for prefix in ("", "g_")), "nsided", "-", "nfaced"]
        with morvex.open(ZOO) as case:
            for step in range(5):
                parts = ensight_parts(self.folder / f"zoo.geo.{step:04}")
                self.assertEqual([p["name"] for p in parts.values()], case.parts.names)
                for part, found in zip(case.parts_at(step), parts.values()):
                    np.testing.assert_array_equal(found["nodes"], part.coordinates(step))
                    stored = {names[t]: part.connectivity(t, step).ravel()
                              for t in part.elements if t.has_cells}
                    self.assertEqual(set(found) - {"name", "nodes"}, set(stored))
                    for name, nodes in stored.items():
                        np.testing.assert_array_equal(found[name], nodes)

    def test_the_case_names_every_file_and_tells_times_and_frequencies(self):
        self.export(ZOO, "ensight")
        text = (self.folder / "zoo.case").read_text()
        files = {"zoo.case"}
        for pattern in re.findall(r"zoo\.\S+", text):
            steps = 2 if "coarse" in pattern else 5
            files |= {pattern.replace("****", f"{i:04}") for i in range(steps)}
        self.assertEqual(self.names(), sorted(files))
        self.assertIn("complex scalar per node: 1 pressure zoo.pressure.**** "
                      "zoo.pressure.imaginary.**** 50\n", text)
        self.assertIn("tensor symm per element: 1 stress zoo.stress.****\n", text)
        self.assertIn("constant per case: density 7850\n", text)
        self.assertIn("number of steps: 2\nfilename start number: 0\nfilename increment: 1\n"
                      "time values: 0.125 0.875\n", text)

    def test_values_that_are_not_there_are_undefined(self):
        self.export(ZOO, "ensight")
        reader = Reader(self.folder / "zoo.thickness.0000")
        self.assertEqual([reader.line(), reader.line(), reader.numbers(1)[0]],
                         ["thickness", "part", 1])
        with morvex.open(ZOO) as case:
            for name, element in zip(ENSIGHT, range(0, 30, 2)):
                word = reader.line()
                if element in (6, 10):
                    self.assertEqual(word, name)
                    np.testing.assert_array_equal(reader.numbers(3, "<f4"), case["thickness"].read(
                        0, 0, element_type=element))
                else:
                    self.assertEqual(word, name + " undef")
                    self.assertEqual(len(set(reader.numbers(4, "<f4"))), 1)


def piece_arrays(path):
    """The arrays of a file of VTK by place and name, decompressed."""
    head, _, data = path.read_bytes().partition(b'<AppendedData encoding="raw">\n   _')
    data = data[:data.rindex(b"\n  </AppendedData>")]
    root = ElementTree.fromstring(head + b"</VTKFile>")
    kinds = {"Float32": "<f4", "Int64": "<i8", "UInt8": "u1"}
    arrays, used = {}, 0
    for place in root.find(".//Piece"):
        for entry in place:
            at = int(entry.get("offset"))
            assert at == used, path  # without gaps
            count, size, last = struct.unpack_from("<3Q", data, at)
            sizes = struct.unpack_from(f"<{count}Q", data, at + 24)
            at += 24 + 8 * count
            blocks = []
            for length in sizes:
                blocks.append(zlib.decompress(data[at:at + length]))
                at += length
            assert [len(b) for b in blocks[:-1]] == [size] * (count - 1)
            assert not blocks or len(blocks[-1]) == (last or size)
            values = np.frombuffer(b"".join(blocks), kinds[entry.get("type")])
            columns = int(entry.get("NumberOfComponents"))
            arrays[place.tag, entry.get("Name")] = values.reshape(-1, columns).squeeze(axis=1) \
                if columns == 1 else values.reshape(-1, columns)
            used = at
    assert used == len(data), path
    return arrays


class Vtu(TestCase):
    def test_every_file_is_named_and_has_points_and_values(self):
        self.export(CRASH, "vtu")
        files, times = {"crash.pvd"}, []
        for entry in ElementTree.parse(self.folder / "crash.pvd").iter("DataSet"):
            files.add(entry.get("file"))
            times.append(float(entry.get("timestep")))
            parts = list(ElementTree.parse(self.folder / entry.get("file")).iter("DataSet"))
            self.assertEqual([part.get("name") for part in parts],
                             ["tube", "block", "plate", "particles"])
            files |= {part.get("file") for part in parts}
        self.assertEqual(self.names(), sorted(files))
        with morvex.open(CRASH) as case:
            self.assertEqual(times, list(case.times))
            arrays = piece_arrays(self.folder / "crash_0003_1.vtu")
            np.testing.assert_array_equal(arrays["Points", "Points"], case.parts[1].coordinates(3))
            np.testing.assert_array_equal(arrays["Cells", "connectivity"],
                                          case.parts[1].cells(0).connectivity)
            np.testing.assert_array_equal(arrays["CellData", "stress"], case["stress"].read(3, 1))

    def test_ghosts_polyhedra_and_blocks(self):
        self.export(ZOO, "vtu", "--step", "2")
        with morvex.open(ZOO) as case:
            types = case.parts["elements"].cells().types
            found = piece_arrays(self.folder / "zoo_0000_0.vtu")
            np.testing.assert_array_equal(found["CellData", "vtkGhostType"], types % 2)
            polyhedra = piece_arrays(self.folder / "zoo_0000_2.vtu")
            faces = case.parts["polyhedra"].polyhedron_faces()
            self.assertEqual(len(polyhedra["Cells", "faces"]),
                             len(faces.faces_per_cell) + sum(faces.nodes_per_face + 1))
            self.assertEqual(polyhedra["Cells", "faceoffsets"][-1], len(polyhedra["Cells", "faces"]))
        block = (self.folder / "zoo_0000_5.vts").read_bytes()
        self.assertIn(b'<StructuredGrid WholeExtent="0 ', block)


class Failures(TestCase):
    def test_what_is_there_stays_unless_it_may_be_replaced(self):
        self.folder.mkdir()
        old = self.folder / "crash.npz"
        old.write_text("old")
        line, = self.export(CRASH, "npz", code=USAGE)
        self.assertIn("--force", line)
        self.assertEqual((self.names(), old.read_text()), (["crash.npz"], "old"))
        self.export(CRASH, "npz", "--force")
        self.assertEqual(self.names(), ["crash.npz"])
        self.assertGreater(old.stat().st_size, 10_000)
        file = HOME / "file"
        file.touch()
        self.assertEqual(run("export", CRASH, file, "--format", "vtu").returncode, USAGE)
        self.assertEqual(run("export", CRASH, self.folder, "--format", "obj").returncode, USAGE)

    def test_a_disk_that_is_full_leaves_what_was_there(self):
        self.folder.mkdir()
        (self.folder / "crash.case").write_text("old")

        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))
        for form in ("ensight", "vtu", "npz"):
            line, = self.export(CRASH, form, "--force", code=OUTPUT_FAILED, preexec_fn=limit)
            self.assertRegex(line, r"^morvex: .*out/crash\S+: File too large$")
            self.assertEqual(self.names(), ["crash.case"])
        line, = run("export", CRASH, "/proc/none", "--format", "npz").stderr.splitlines()
        self.assertIn("/proc/none", line)

    def test_damaged_data_is_left_out_and_listed(self):
        data = bytearray(CRASH.read_bytes())
        places = payloads(bytes(data))
        damaged = [name for name in places if re.search(
            r"/geometry/0/0/2/6_elementnodeids$|/variable/stress/1/0/10_0_data$|"
            r"/variable/thickness/3/\d/\d+_0_data$", name)]
        self.assertGreaterEqual(len(damaged), 4)
        for name in damaged:
            at, size = places[name]
            data[at + 8:at + size] = b"\xff" * (size - 8)
        copy = HOME / "damaged.mvx"
        copy.write_bytes(data)
        for form in ("ensight", "vtu", "npz"):
            lines = self.export(copy, form, "--force", code=DATA_ERROR)
            self.assertEqual(len(lines), len(damaged), lines)
            for name, line in zip(sorted(damaged), lines):
                self.assertTrue(line.startswith(f"morvex: not exported: {name}: "), line)
        parts = ensight_parts(self.folder / "damaged.geo.0002")
        self.assertNotIn("tria3", parts[3])
        self.assertIn("quad4", parts[3])
        with np.load(self.folder / "damaged.npz") as archive, morvex.open(CRASH) as case:
            self.assertNotIn("variables/stress/tube/1", archive)
            np.testing.assert_array_equal(archive["variables/stress/tube/2"],
                                          case["stress"].read(2, 0))
        entries = ElementTree.parse(self.folder / "damaged_0002.vtm").iter("DataSet")
        self.assertEqual([entry.get("index") for entry in entries], ["0", "1", "3"])


if __name__ == "__main__":
    unittest.main()
