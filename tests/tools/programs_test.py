#!/usr/bin/env python3
"""Runs the programs on the sample model, on damaged copies of it and on what is no result file.

Reads MORVEX_TOOLS (folder of the programs), MORVEX_EXAMPLES (folder of the examples) and MORVEX_SOURCE
(the project) from the environment; arguments name the classes to run.
"""

import fcntl
import json
import os
import pathlib
import pty
import re
import shutil
import struct
import subprocess
import tempfile
import termios
import unittest
import zlib

TOOLS = pathlib.Path(os.environ["MORVEX_TOOLS"])
SAMPLE_OPTIONS = ["--nodes", "900", "--steps", "5"]
SUCCESS, FINDINGS, USAGE, CANNOT_OPEN, OUTPUT_FAILED, DATA_ERROR = range(6)

workspace = tempfile.TemporaryDirectory()
SAMPLE = pathlib.Path(workspace.name) / "sample.mvx"
TRUTH = pathlib.Path(workspace.name) / "truth.json"


# A sanitizer's report must not look like a code of the programs.
ENVIRONMENT = os.environ | {
    name: f"{os.environ.get(name, '')}:exitcode=99" for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS")
}


def run(program, *arguments, stdout=subprocess.PIPE):
    command = [TOOLS / program, *map(str, arguments)]
    return subprocess.run(command, stdout=stdout, stderr=subprocess.PIPE, text=True, timeout=300,
                          check=False, env=ENVIRONMENT)


def setUpModule():
    made = run("morvex", "sample", SAMPLE, "--truth", TRUTH, *SAMPLE_OPTIONS)
    assert made.returncode == 0, made.stderr


def tearDownModule():
    workspace.cleanup()


def payloads(data):
    """Position and size of each dataset of a container that isn't stored in a table, by path."""
    region, = struct.unpack_from("<Q", data, 8)
    found = {}

    def walk(path, size, offset, stored):
        table = data[region + offset:region + offset + stored]
        if stored != size:
            table = zlib.decompress(table)
        count, = struct.unpack_from("<Q", table)
        at = 8
        for _ in range(count):
            kind, length = struct.unpack_from("<cQ", table, at)
            name = table[at + 9:at + 9 + length].decode()
            fields = struct.unpack_from("<3Q", table, at + 9 + length)
            at += 9 + length + 24
            if kind == b"G":
                walk(f"{path}/{name}", *fields)
            elif fields[0] > 16:
                found[f"{path}/{name}"] = (fields[1], fields[2] or fields[0])

    walk("", *struct.unpack("<3Q", data[-24:]))
    return found


def copy_with(data):
    copy = SAMPLE.with_suffix(".copy")
    copy.write_bytes(data)
    return copy


def damaged_at(path):
    """A copy in which all of a dataset but its recipe is damaged."""
    data = bytearray(SAMPLE.read_bytes())
    position, size = payloads(data)[path]
    data[position + 8:position + size] = b"\xFF" * (size - 8)
    return copy_with(data)


def columns(text, column):
    """The numbers of a column of a text, whose lines may be comments."""
    rows = (line.split() for line in text.splitlines() if line and not line.startswith("#"))
    return [float(row[column]) for row in rows]


class TestCase(unittest.TestCase):
    def expect(self, code, program, *arguments):
        result = run(program, *arguments)
        self.assertEqual(result.returncode, code, f"{arguments}\n{result.stdout}{result.stderr}")
        return result


class Info(TestCase):
    def test_json_is_all_of_standard_output_and_tells_the_model(self):
        info = json.loads(self.expect(SUCCESS, "morvex", "info", SAMPLE, "--json").stdout)
        truth = json.loads(TRUTH.read_text(encoding="utf-8"))
        self.assertEqual(info["timeSets"], [truth["times"]])
        self.assertEqual([part["nodes"] for part in info["parts"]],
                         [part["nodes"] for part in truth["parts"]])
        self.assertEqual([part["name"] for part in info["parts"]], ["tube", "block", "plate"])
        self.assertEqual(info["parts"][1]["elements"],
                         {"hexahedron8": truth["parts"][1]["elements"]["26"]})
        self.assertEqual([v["name"] for v in info["variables"]],
                         [v["name"] for v in truth["variables"]])
        variables = {variable["name"]: variable for variable in info["variables"]}
        self.assertEqual(variables["displacement"]["components"], 3)
        self.assertEqual(variables["stress"]["location"], "element")
        self.assertTrue(variables["sound_pressure"]["complex"])
        self.assertEqual(variables["sound_pressure"]["frequency"], 120.0)
        self.assertEqual(variables["fragment_speed"]["of"], "particles")
        self.assertEqual(len(variables["crush_force"]["values"]), 5)
        for told, written in zip(variables["crush_force"]["values"], truth["crushForce"]):
            self.assertAlmostEqual(told, written, places=4)
        self.assertEqual(info["model"]["adaptivity"], "coordinates change")
        self.assertEqual(info["particleCounts"], [25])
        self.assertEqual(info["problems"], [])
        self.assertIsNone(variables["sound_pressure"]["timeSet"])
        self.assertEqual(variables["sound_pressure"]["steps"], 1)
        self.assertEqual(variables["displacement"]["timeSet"], 0)


    def test_ranges_are_those_of_the_values(self):
        def ranges(*options):
            info = json.loads(self.expect(SUCCESS, "morvex", "info", SAMPLE, "--ranges", "--json",
                                          *options).stdout)
            return {v["name"]: v.get("ranges") for v in info["variables"]}

        for component, found in enumerate(ranges()["displacement"]):
            values = [value for step in range(5) for value in columns(
                self.expect(SUCCESS, "morvex", "cat", SAMPLE, "--variable", "displacement",
                            "--step", step).stdout, component)]
            self.assertEqual(found["values"], len(values))
            self.assertAlmostEqual(found["min"], min(values), places=4)
            self.assertAlmostEqual(found["max"], max(values), places=4)
        by_step = ranges("--step", "1:3", "--variable", "stress")["stress"]
        self.assertEqual([row["step"] for row in by_step], [1, 2])


class List(TestCase):
    def test_arrays_are_listed_with_the_bytes_of_their_datasets(self):
        found = json.loads(self.expect(SUCCESS, "morvex", "list", SAMPLE, "--json").stdout)["arrays"]
        stored = {row["path"]: row["stored"] for row in found}
        sizes = payloads(SAMPLE.read_bytes())
        self.assertEqual(stored["/geometry/0/1/1/coordinates_0"],
                         sizes["/geometry/0/1/1/coordinates_0"][1])
        path = "/variable/stress/2/0/10_0_data"  # has its exponents beside it
        self.assertEqual(stored[path], sizes[path][1] + sizes[path + "_qe"][1])
        total = json.loads(run("morvex", "verify", SAMPLE, "--json").stdout)
        self.assertEqual(len(found), sum(kind["arrays"] for kind in total["kinds"].values()))
        self.assertIsNone(stored["/variable/crush_force/2"])

    def test_arrays_are_named_by_path_pattern_and_kind(self):
        def paths(*options):
            text = self.expect(SUCCESS, "morvex", "list", SAMPLE, *options).stdout
            return [line.split()[-1] for line in text.splitlines()[1:]]

        path = "/variable/stress/2/0/10_0_data"
        self.assertEqual(paths("--array", path), [path])
        self.assertEqual(paths("--array", "/variable/stress/?/0/*", "--step", "2"), [path])
        self.assertEqual(len(paths("--array", "coordinates", "--step", "0", "--part", "tube")), 3)
        for wrong, hint in ((path.replace("stress", "strss"), path), ("cordinates", "coordinates")):
            result = self.expect(USAGE, "morvex", "list", SAMPLE, "--array", wrong)
            self.assertIn(f"is it '{hint}'", result.stderr)

    def test_damage_is_named_and_the_rest_is_listed(self):
        path = "/variable/stress/2/0/10_0_data"
        damaged = damaged_at(path)
        whole = self.expect(SUCCESS, "morvex", "list", "-l", SAMPLE).stdout
        for command in (["list", "-l"], ["digest"], ["digest", "--json"], ["info", "--ranges"]):
            result = self.expect(DATA_ERROR, "morvex", *command, damaged)
            self.assertRegex(result.stderr, rf"^morvex: [^\n]*{path}[^\n]*\n$")
            if command[0] == "list":
                self.assertEqual(result.stdout.count("\n"), whole.count("\n"))
            if command == ["digest"]:
                self.assertEqual(result.stdout, "")  # it would look like that of other values


class Stat(TestCase):
    def test_the_bytes_sum_up_to_the_size_of_the_file(self):
        found = json.loads(self.expect(SUCCESS, "morvex", "stat", SAMPLE, "--json").stdout)
        arrays = found["arrays"]
        self.assertEqual(found["size"], SAMPLE.stat().st_size)
        self.assertEqual(found["unused"], 0)
        rest = found["otherArrays"] + found["records"] + found["tables"]
        self.assertEqual(arrays["stored"] + rest, found["size"])
        for table in ("variables", "parts", "forms"):
            for key in ("arrays", "stored", "decoded"):
                self.assertEqual(sum(row[key] for row in found[table]), arrays[key], (table, key))
        sizes = payloads(SAMPLE.read_bytes())
        self.assertEqual(found["records"], sum(
            size for path, (_, size) in sizes.items()
            if not path.startswith(("/geometry/", "/variable/"))))
        self.assertLessEqual({"exact", "quantised", "quantised, time difference",
                              "quantised, tree difference", "exact, id window"},
                             {row["name"] for row in found["forms"]})


class Cat(TestCase):
    def test_text_csv_and_numpy_have_the_values_that_were_written(self):
        truth = json.loads(TRUTH.read_text(encoding="utf-8"))
        options = [SAMPLE, "coordinates", "--part", "tube", "--step", "3"]
        text = self.expect(SUCCESS, "morvex", "cat", *options).stdout
        csv = self.expect(SUCCESS, "morvex", "cat", *options, "--csv").stdout.splitlines()
        self.assertEqual(csv[0].split(","), [f"/geometry/0/3/0/coordinates_{k}" for k in range(3)])
        self.assertEqual([line.replace(",", " ") for line in csv[1:]], text.splitlines())
        npy = pathlib.Path(workspace.name) / "coordinates.npy"
        npy.unlink(missing_ok=True)
        self.expect(SUCCESS, "morvex", "cat", *options, "--npy", "-o", npy)
        nodes = truth["parts"][0]["nodes"]
        data = npy.read_bytes()
        length, = struct.unpack_from("<H", data, 8)
        self.assertEqual((data[:8], (10 + length) % 64), (b"\x93NUMPY\x01\x00", 0))
        self.assertIn(b"'<f4', 'fortran_order': False, 'shape': (%d, 3)" % nodes, data[:128])
        values = struct.unpack(f"<{3 * nodes}f", data[10 + length:])
        shown = [float(cell) for cell in text.split()]
        self.assertEqual(struct.pack(f"<{len(shown)}f", *shown), data[10 + length:])
        for axis, probes in enumerate(truth["parts"][0]["coordinates"][3]):
            for place, value in probes.items():
                self.assertAlmostEqual(values[3 * int(place) + axis], value, places=2)

    def test_elements_are_rows_of_whole_numbers(self):
        text = self.expect(SUCCESS, "morvex", "cat", SAMPLE, "connectivity", "--part", "block").stdout
        truth = json.loads(TRUTH.read_text(encoding="utf-8"))["parts"][1]
        rows = [[int(cell) for cell in line.split()] for line in text.splitlines()]
        self.assertEqual((len(rows), {len(row) for row in rows}), (truth["elements"]["26"], {8}))
        self.assertEqual((min(map(min, rows)), max(map(max, rows))), (1, truth["nodes"]))

    def test_what_can_not_be_written_leaves_nothing(self):
        folder = pathlib.Path(tempfile.mkdtemp(dir=workspace.name))
        there = folder / "there.csv"
        there.write_text("mine", encoding="utf-8")
        some = [SAMPLE, "coordinates", "--part", "tube", "--step", "0"]
        self.expect(USAGE, "morvex", "cat", *some, "-o", there)
        self.expect(OUTPUT_FAILED, "morvex", "cat", *some, "-o", folder / "no/file")
        self.expect(USAGE, "morvex", "cat", SAMPLE, "coordinates", "--csv", "-o", folder / "new")
        self.expect(DATA_ERROR, "morvex", "cat", damaged_at("/geometry/0/0/0/coordinates_1"),
                    *some[1:], "--npy", "-o", folder / "new")
        self.assertEqual((list(folder.iterdir()), there.read_text(encoding="utf-8")), ([there], "mine"))


class Diff(TestCase):
    def test_other_storage_of_the_same_values_is_no_difference(self):
        other = SAMPLE.with_suffix(".chunks")
        self.expect(SUCCESS, "morvex", "sample", other, "--chunks", "1", "--force", *SAMPLE_OPTIONS)
        self.assertNotEqual(other.read_bytes(), SAMPLE.read_bytes())
        self.assertIn("No differences", self.expect(SUCCESS, "morvex", "diff", SAMPLE, other).stdout)
        digests = {line.split()[0] for line in
                   self.expect(SUCCESS, "morvex", "digest", SAMPLE, other).stdout.splitlines()}
        self.assertEqual(len(digests), 1)

    def test_a_difference_is_found_at_its_place_and_within_tolerances(self):
        truth = json.loads(TRUTH.read_text(encoding="utf-8"))
        data = bytearray(SAMPLE.read_bytes())
        forces = struct.pack("<5f", *truth["crushForce"])
        at = data.index(forces) + 8
        changed = truth["crushForce"][2] * 1.001
        data[at:at + 4] = struct.pack("<f", changed)
        copy = copy_with(data)
        found = json.loads(self.expect(FINDINGS, "morvex", "diff", SAMPLE, copy, "--json").stdout)
        (row,) = found["differences"]
        self.assertEqual((row["what"], row["step"], row["differing"]), ("crush_force", 2, 1))
        self.assertAlmostEqual(row["valueB"], changed, places=4)
        self.assertEqual(found["structure"], [])
        self.expect(SUCCESS, "morvex", "diff", SAMPLE, copy, "--tolerance", "0.002")
        self.expect(FINDINGS, "morvex", "diff", SAMPLE, copy, "--tolerance", "0.0005")
        self.expect(SUCCESS, "morvex", "diff", SAMPLE, copy, "--absolute", "1")
        self.assertEqual(self.expect(FINDINGS, "morvex", "diff", "-q", SAMPLE, copy).stdout, "")
        self.assertNotEqual(*(line.split()[0] for line in
                              run("morvex", "digest", SAMPLE, copy).stdout.splitlines()))

    def test_structure_is_compared_and_what_one_file_lacks_is_named(self):
        shorter = SAMPLE.with_suffix(".shorter")
        self.expect(SUCCESS, "morvex", "sample", shorter, "--force", "--nodes", "900", "--steps", "4")
        found = json.loads(self.expect(FINDINGS, "morvex", "diff", SAMPLE, shorter, "--json").stdout)
        self.assertIn("time set 0, steps: 5 and 4", found["structure"])
        self.assertIn("/variable/stress/4", found["onlyA"])
        self.assertEqual(found["onlyB"], [])
        self.expect(DATA_ERROR, "morvex", "diff", SAMPLE,
                    damaged_at("/variable/stress/2/0/10_0_data"))


class Explain(TestCase):
    def test_the_chain_is_told_with_all_that_it_depends_on(self):
        text = self.expect(SUCCESS, "morvex", "explain", SAMPLE, "/variable/displacement/1/0/0_data",
                           "--analyze").stdout
        self.assertRegex(text, r"(?m)^  \d+  Dequantization: .*step of 0\.\d+$")
        self.assertIn("<- /variable/displacement/1/0/0_data_vquant", text)
        self.assertRegex(text, r"(?m)^    <- /variable/displacement/\d/0/0_data_vquant$")
        self.assertRegex(text, r"ran Dequantization: [\d.]+ ms, \d+ bytes in, \d+ out")
        dot = self.expect(SUCCESS, "morvex", "explain", SAMPLE, "*", "--dot").stdout
        made = set(re.findall(r"(?m)^  (\w+) \[", dot))
        used = {end for edge in re.findall(r"(?m)^  (\w+) -> (\w+);$", dot) for end in edge}
        self.assertEqual(used - made, set())

    def test_every_array_can_be_explained_and_read(self):
        text = self.expect(SUCCESS, "morvex", "explain", SAMPLE, "*", "--analyze").stdout
        arrays = self.expect(SUCCESS, "morvex", "list", SAMPLE).stdout.count("\n") - 1
        self.assertEqual(len(re.findall(r"(?m)^/", text)), arrays)
        self.assertNotIn("FAILED", text)


class Manual(TestCase):
    def test_pages_and_completion_have_each_command_and_option(self):
        folder = pathlib.Path(tempfile.mkdtemp(dir=workspace.name))
        self.expect(SUCCESS, "morvex", "--write-manual", folder)
        completion = (folder / "morvex.bash").read_text(encoding="utf-8")
        text = run("morvex", "--help").stdout
        commands = re.findall(r"(?m)^  ([a-z]+)  ", text[text.index("Commands:"):])
        self.assertIn("list", commands)
        for command in commands:
            page = (folder / f"morvex-{command}.1").read_text(encoding="utf-8").replace("\\-", "-")
            for option in re.findall(r"--[a-z-]+", run("morvex", command, "--help").stdout):
                self.assertIn(option, page)
                self.assertIn(option, completion)
        self.assertEqual(len(list(folder.glob("*.1"))), len(commands) + 1)
        subprocess.run(["bash", "-n", folder / "morvex.bash"], check=True)
        if shutil.which("groff"):
            for page in folder.glob("*.1"):
                warnings = subprocess.run(["groff", "-man", "-ww", "-z", "-Tutf8", page],
                                          stderr=subprocess.PIPE, check=True).stderr
                self.assertEqual(warnings, b"")


class Verify(TestCase):
    def test_all_orders_and_thread_counts_give_one_outcome(self):
        outcomes = {
            self.expect(SUCCESS, "morvex", "verify", SAMPLE, *options).stdout
            for options in ([], ["--threads", "1"], ["--threads", "3"], ["--order", "backward"],
                            ["--order", "random", "--seed", "7"],
                            ["--order", "random", "--seed", "8", "--threads", "2"])
        }
        self.assertEqual(len(outcomes), 1, outcomes)

    def test_a_damaged_dataset_is_named_and_only_it_fails(self):
        for path in ("/variable/stress/2/0/10_0_data", "/geometry/0/3/1/coordinates_1",
                     "/geometry/0/0/0/10_elementnodeids", "/geometry/0/0/1/10_bfspi"):
            with self.subTest(path):
                result = self.expect(FINDINGS, "morvex", "verify", damaged_at(path))
                self.assertEqual(re.findall(r"(?m)^FAILED  (\S+): \S", result.stdout), [path])

    def test_the_reason_is_told_where_the_exception_is_no_standard_one(self):
        data = bytearray(SAMPLE.read_bytes())
        position, size = payloads(data)["/kelbor/recipes"]
        tag = struct.pack("<i", 1005)
        at = data.index(tag, position, position + size)
        data[at:at + 4] = struct.pack("<i", 1999)
        copy = copy_with(data)
        result = self.expect(FINDINGS, "morvex", "verify", copy)
        self.assertRegex(result.stdout,
                         r"(?m)^FAILED  /\S+: .*\(Deserialization: Invalid class type detected\)$")
        self.assertIn("unknown class 1999", run("morvex", "dump", copy, "--recipes").stdout)


class Dump(TestCase):
    def test_everything_that_was_stored_is_shown(self):
        text = self.expect(SUCCESS, "morvex", "dump", SAMPLE).stdout
        self.assertIn('title                     "crash box"', text)
        self.assertRegex(text, r'datasetNames +"displacement", "plastic_strain"')
        self.assertRegex(text, r'pattern of "displacement" +K\w+')
        self.assertIn("OmpDecompressionWrapper of ChunkedZlibDecompressionWrapper <- input 0", text)
        self.assertRegex(text, r'Dequantization <- .* -> "Dequantized"')
        self.assertRegex(text, r'(?m)^  coordinates_0  \d+ bytes, plain  recipe \d+ "abs_\w+')
        self.assertNotIn("which is not in the list", text)

    def test_a_group_is_shown_alone_and_must_be_there(self):
        text = self.expect(SUCCESS, "morvex", "dump", SAMPLE, "/geometry/0").stdout
        self.assertIn("/geometry/0/1/1  (", text)
        self.assertNotIn("/variable", text)
        result = self.expect(USAGE, "morvex", "dump", SAMPLE, "/geometri")
        self.assertIn("is it '/geometry'", result.stderr)

    def test_a_damaged_record_costs_only_itself(self):
        data = bytearray(SAMPLE.read_bytes())
        data[data.index(b"crash box") - 48] ^= 0xFF  # the length of the title
        text = self.expect(DATA_ERROR, "morvex", "dump", copy_with(data)).stdout
        self.assertRegex(text, r"FAILED /kelbor/casemetadata: \w")
        self.assertIn("coordinates_0", text)


def pixels_of(png):
    """Width, and the rows of a PNG file of 8-bit RGB as bytes."""
    width, height, *kind = struct.unpack_from(">IIBB", png, 16)
    assert kind == [8, 2]
    at, packed = 8, b""
    while at < len(png):
        size, chunk = struct.unpack_from(">I4s", png, at)
        packed += png[at + 8:at + 8 + size] if chunk == b"IDAT" else b""
        at += 12 + size
    rows, before = [], bytes(3 * width)
    data = iter(zlib.decompress(packed))
    for _ in range(height):
        method, row = next(data), bytearray()
        for i in range(3 * width):
            a = row[i - 3] if i >= 3 else 0
            b, c = before[i], before[i - 3] if i >= 3 else 0
            nearest = min((a, b, c), key=lambda p, s=a + b - c: abs(s - p))
            row.append((next(data) + (0, a, b, (a + b) // 2, nearest)[method]) & 255)
        rows.append(before := bytes(row))
    return width, rows


class Thumb(TestCase):
    def draw(self, *options):
        place = pathlib.Path(workspace.name) / "picture.png"
        self.expect(SUCCESS, "morvex", "thumb", SAMPLE, "-o", place, "--force", *options)
        return place.read_bytes()

    def test_the_model_is_in_the_picture_and_as_large_as_asked_for(self):
        width, rows = pixels_of(self.draw("--size", "160x120", "--part", "block", "--by-part",
                                          "--view", "front"))
        self.assertEqual((width, len(rows)), (160, 120))
        # The block, 120 wide and 60 high, fills the width; a margin is left.
        drawn = [[x for x in range(width) if abs(row[3 * x] - row[3 * x + 2]) > 40] for row in rows]
        high = [xs for xs in drawn if xs]
        self.assertAlmostEqual(len(high) / (max(map(max, high)) - min(map(min, high)) + 1), 0.5,
                               delta=0.03)

    def test_steps_variables_views_and_threads_matter_or_not(self):
        size = ("--size", "64x48")
        usual = self.draw(*size)
        self.assertEqual(usual, self.draw(*size, "--step", "-1", "--threads", "1"))
        for options in (["--step", "0"], ["--variable", "stress"], ["--view", "10,80"],
                        ["--part", "tube"], ["--range", "0:1"], ["--edges"],
                        ["--focus", "0,0,0,50"], ["--variable", "fragment_speed"]):
            self.assertNotEqual(usual, self.draw(*size, *options), options)
        self.assertNotEqual(self.draw(*size, "--variable", "displacement"),
                            self.draw(*size, "--variable", "displacement", "--component", "x"))

    def test_what_can_not_be_drawn_is_one_line_and_leaves_no_file(self):
        folder = pathlib.Path(tempfile.mkdtemp(dir=workspace.name))
        place = folder / "picture.png"
        for code, hint, options in (
                (USAGE, "such as 640x480", ["--size", "0x5"]), (USAGE, "30,20", ["--view", "1,91"]),
                (USAGE, "range such as", ["--range", "2:1"]), (USAGE, "distance", ["--focus", "1,2,3"]),
                (USAGE, "one step", ["--step", "0,1"]),
                (USAGE, "has no component 'w'", ["--variable", "displacement", "--component", "w"]),
                (USAGE, "nothing that is drawn has values of 'fragment_speed'",
                 ["--variable", "fragment_speed", "--part", "tube"]),
                (USAGE, "is a constant", ["--variable", "crush_force"])):
            result = self.expect(code, "morvex", "thumb", SAMPLE, "-o", place, *options)
            self.assertRegex(result.stderr, rf"^morvex: [^\n]*{re.escape(hint)}[^\n]*\n$")
        data = bytearray(SAMPLE.read_bytes())
        position, size = payloads(data)["/geometry/0/4/0/coordinates_0"]
        data[position + 8:position + size] = b"\xFF" * (size - 8)
        result = self.expect(DATA_ERROR, "morvex", "thumb", copy_with(data), "-o", place)
        self.assertIn("/geometry/0/4/0/coordinates_0: ", result.stderr)
        self.assertEqual(list(folder.iterdir()), [])

    def test_a_pipe_gets_the_file_but_no_small_picture(self):
        self.assertEqual(run("morvex", "info", SAMPLE, "--picture").stdout,
                         run("morvex", "info", SAMPLE).stdout)
        command = [TOOLS / "morvex", "thumb", SAMPLE, "-o", "-", "--size", "32x32"]
        png = subprocess.run(command, stdout=subprocess.PIPE, check=True, env=ENVIRONMENT).stdout
        self.assertEqual(pixels_of(png)[0], 32)


class Width(TestCase):
    def on_terminal(self, *arguments):
        """What the program writes to a terminal of 80 columns."""
        ours, theirs = pty.openpty()
        fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("4H", 24, 80, 0, 0))
        with subprocess.Popen([TOOLS / "morvex", *map(str, arguments)], stdout=theirs,
                              stderr=subprocess.DEVNULL, env=ENVIRONMENT):
            os.close(theirs)
            text = b""
            while piece := self.read(ours):
                text += piece
        os.close(ours)
        return text.decode().splitlines()

    @staticmethod
    def read(descriptor):
        try:
            return os.read(descriptor, 1 << 16)
        except OSError:  # the other end is closed
            return b""

    def test_lines_fit_a_terminal_and_nothing_is_cut_in_a_pipe(self):
        zoo = SAMPLE.with_suffix(".zoo")
        self.expect(SUCCESS, "morvex", "sample", zoo, "--kind", "zoo", *SAMPLE_OPTIONS, "--force")
        commands = run("morvex", "--help").stdout.partition("Commands:")[2].split("\n\n")[0]
        names = re.findall(r"^  (\w+)", commands, re.MULTILINE)
        self.assertIn("thumb", names)
        for command in (["info", "--ranges", zoo], ["stat", zoo], ["verify", zoo], ["dump", zoo],
                        ["list", "-l", zoo],
                        ["diff", SAMPLE, zoo], ["explain", zoo, "variables", "--analyze", "--step", "1"],
                        ["--help"], *([name, "--help"] for name in names)):
            with self.subTest(command=command):
                lines = self.on_terminal(*command)
                self.assertGreater(len(lines), 5)
                self.assertEqual([line for line in lines if len(line) > 80 and " " in line.strip()], [])
        whole = run("morvex", "info", zoo).stdout
        self.assertIn("on triangles and quadrilaterals, every third step", whole)
        self.assertNotIn("...", whole)
        listed = run("morvex", "list", "-l", zoo).stdout.split()
        self.assertEqual(" ".join(self.on_terminal("list", "-l", zoo)).split(), listed)


class Messages(TestCase):
    def test_success_is_silent_and_the_log_takes_what_the_library_says(self):
        damaged = damaged_at("/geometry/0/3/1/coordinates_1")
        plain = self.expect(FINDINGS, "morvex", "verify", damaged)
        self.assertEqual(plain.stderr, "")
        log = pathlib.Path(workspace.name) / "messages.log"
        for arguments in (["-lf", log, "verify", damaged], ["verify", damaged, "-lf", log],
                          ["verify", damaged, f"-lf={log}"],
                          ["verify", damaged, f"--log-file={log}"]):
            log.unlink(missing_ok=True)
            result = self.expect(FINDINGS, "morvex", *arguments)
            self.assertEqual((result.stdout, result.stderr), (plain.stdout, ""))
            self.assertIn("ERROR: ", log.read_text(encoding="utf-8"))


class Failures(TestCase):
    def test_what_is_no_result_file_can_not_be_opened(self):
        folder = pathlib.Path(workspace.name)
        text = folder / "text.mvx"
        text.write_text("No result file.\n" * 50, encoding="utf-8")
        empty = folder / "empty.mvx"
        empty.touch()
        reasons = {folder / "missing.mvx": "No such file or directory", folder: "directory",
                   text: "is no Sdf-File", empty: "is empty"}
        for path, reason in reasons.items():
            for program in (["morvex", "info"], ["morvex", "verify"], ["morvex", "dump"],
                            ["morvex-demo"]):
                result = self.expect(CANNOT_OPEN, *program, path)
                self.assertEqual(result.stdout, "")
                self.assertRegex(result.stderr,
                                 rf"(?i)^{program[0]}: {re.escape(str(path))}: [^\n]*{reason}[^\n]*\n$")

    def test_a_truncated_file_never_ends_in_a_signal(self):
        data = SAMPLE.read_bytes()
        for length in (4, 20, 43, 44, 1000, len(data) // 2, len(data) - 24, len(data) - 1):
            copy = copy_with(data[:length])
            for program in (["morvex", "info"], ["morvex", "verify"], ["morvex", "dump"]):
                result = run(*program, copy)
                self.assertIn(result.returncode, (FINDINGS, DATA_ERROR, CANNOT_OPEN),
                              f"{program} {length}\n{result.stderr}")

    def test_wrong_usage_is_one_line_with_the_nearest_name(self):
        for arguments, hint in (
                ([], "a command is missing"), (["info"], "FILE"), (["shwo", SAMPLE], "shwo"),
                (["veriffy", SAMPLE], "is it 'verify'"),
                (["info", SAMPLE, "--jsn"], "is it '--json'"),
                (["verify", SAMPLE, "--order", "sideways"], "forward, backward, random"),
                (["verify", SAMPLE, "--threads", "0"], "'0' is no whole number from 1"),
                (["info", SAMPLE, "--step", "5"], "there is no step 5: the last one is 4"),
                (["info", SAMPLE, "--step", "1::0"], "--step '1::0'"),
                (["verify", SAMPLE, "--part", "tubes"], "is it 'tube'"),
                (["verify", SAMPLE, "--variable", "strss"], "is it 'stress'")):
            result = self.expect(USAGE, "morvex", *arguments)
            self.assertEqual(result.stdout, "")
            self.assertRegex(result.stderr, rf"^morvex: [^\n]*{re.escape(hint)}[^\n]*\n$")

    def test_lost_output_is_a_failure(self):
        if not os.path.exists("/dev/full"):
            self.skipTest("no device that is always full")
        for arguments in (["info", SAMPLE], ["--help"], ["verify", SAMPLE]):
            with open("/dev/full", "w", encoding="utf-8") as full:
                result = run("morvex", *arguments, stdout=full)
            self.assertEqual(result.returncode, OUTPUT_FAILED)
            self.assertEqual(result.stderr, "morvex: standard output: No space left on device\n")
        closed = subprocess.run(["sh", "-c", f"exec {TOOLS}/morvex info {SAMPLE} >&-"],
                                stderr=subprocess.PIPE, text=True, check=False, env=ENVIRONMENT)
        self.assertEqual((closed.returncode, closed.stderr.count("\n")), (OUTPUT_FAILED, 1))
        self.expect(OUTPUT_FAILED, "morvex", "info", SAMPLE, "-lf", "/nowhere/messages.log")
        damaged = damaged_at("/geometry/0/3/1/coordinates_1")
        lost = self.expect(OUTPUT_FAILED, "morvex", "verify", damaged, "-lf", "/dev/full")
        self.assertEqual(lost.stderr, "morvex: /dev/full: not all messages could be written\n")


class Choice(TestCase):
    def test_selections_take_their_part_of_the_whole(self):
        def arrays(*options):
            kinds = json.loads(self.expect(SUCCESS, "morvex", "verify", SAMPLE, "--json",
                                           *options).stdout)["kinds"]
            return {kind: tally["arrays"] for kind, tally in kinds.items()}

        whole = arrays()
        self.assertEqual(arrays("--step", ":")["coordinates"], whole["coordinates"])
        self.assertEqual(whole["coordinates"], 5 * 3 * 3)  # steps, parts, axes
        for options, steps in ((["--step", "-1"], 1), (["--step", "0:5:2"], 3), (["--step", "0,-2"], 2),
                               (["--time", "1e9"], 1)):
            self.assertEqual(arrays(*options)["coordinates"], steps * 3 * 3, options)
            self.assertEqual(arrays(*options)["connectivity"], whole["connectivity"])
        self.assertEqual(arrays("--variable", "disp*", "--part", "tube"), {"variables": 5 * 3})
        self.assertEqual(arrays("--variable", "crush_force", "--step", "2"), {"constants": 1})

    def test_one_bad_file_does_not_keep_the_others_from_their_turn(self):
        result = self.expect(CANNOT_OPEN, "morvex", "info", "missing.mvx", SAMPLE)
        self.assertIn("tube", result.stdout)
        self.assertEqual(result.stderr.count("\n"), 1)


class Sample(TestCase):
    def test_nothing_that_is_there_is_replaced_unasked(self):
        folder = pathlib.Path(tempfile.mkdtemp(dir=workspace.name))
        there = folder / "there.mvx"
        there.write_text("mine", encoding="utf-8")
        for place in (there, folder):
            self.expect(USAGE, "morvex", "sample", place, "--nodes", "200")
        self.assertEqual(there.read_text(encoding="utf-8"), "mine")
        self.expect(SUCCESS, "morvex", "sample", there, "--nodes", "200", "--steps", "1", "--force")
        self.expect(SUCCESS, "morvex", "verify", there)
        self.expect(OUTPUT_FAILED, "morvex", "sample", folder / "no/folder.mvx")
        self.assertEqual(list(folder.iterdir()), [there])  # nothing is left over


class Demo(TestCase):
    def test_the_sample_is_read_as_written(self):
        result = self.expect(SUCCESS, "morvex-demo", SAMPLE, *SAMPLE_OPTIONS)
        self.assertIn("Everything was read as it was written.", result.stdout)

    def test_other_numbers_are_noticed(self):
        self.expect(FINDINGS, "morvex-demo", SAMPLE, "--nodes", "2000", "--steps", "5")
        truth = json.loads(TRUTH.read_text(encoding="utf-8"))
        for name in ("times", "crushForce"):
            data = bytearray(SAMPLE.read_bytes())
            stored = struct.pack("<5f", *truth[name])
            self.assertEqual(data.count(stored), 1)
            data[data.index(stored) + 14] ^= 1
            result = self.expect(FINDINGS, "morvex-demo", copy_with(data), *SAMPLE_OPTIONS)
            self.assertRegex(result.stdout, r"(?m)^DIFFERS  \S")


class Example(TestCase):
    def expect_example(self, name, *arguments):
        command = [pathlib.Path(os.environ["MORVEX_EXAMPLES"]) / f"example_{name}", SAMPLE, *arguments]
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              timeout=60, check=True).stdout

    def test_the_hosts_of_the_handles_read_nodes_and_ranges(self):
        truth = json.loads(TRUTH.read_text(encoding="utf-8"))
        triple = r"(?m)^-?[\d.e-]+ -?[\d.e-]+ -?[\d.e-]+$"
        self.assertEqual(len(re.findall(triple, self.expect_example("read"))),
                         truth["parts"][0]["nodes"])
        self.assertEqual(len(re.findall(r"(?m)^step \d: 0 to |^step \d: -?[\d.e-]+ to \d",
                                        self.expect_example("host", "displacement"))), 5)
        told = re.findall(r"(?m)^(\w+): (\d+) nodes, ",
                          self.expect_example("read_cpp", "displacement"))
        self.assertEqual([int(nodes) for _, nodes in told],
                         [part["nodes"] for part in truth["parts"]])

    def test_the_walk_reads_geometry_and_variables(self):
        told = self.expect_example("walk")
        self.assertIn("block: first hexahedron at node 1\n", told)
        self.assertRegex(told, r"(?m)^displacement, step 4, tube: \d+ values from ")
        # A variable without a time set has step 0 alone, and the walk goes on after the exception.
        self.assertRegex(told, r"(?m)^sound_pressure, step 0, block: \d+ values from ")
        self.assertIn("sound_pressure, step 1, block: No dataset ", told)

    def test_the_readme_shows_the_first_programs_as_they_are(self):
        source = pathlib.Path(os.environ["MORVEX_SOURCE"])
        for name, language in (("read.c", "c"), ("first_array.cpp", "cpp")):
            code = (source / "examples" / name).read_text(encoding="utf-8")
            self.assertIn(f"```{language}\n{code}```",
                          (source / "README.md").read_text(encoding="utf-8"))
        self.assertEqual(len(re.findall(r"(?m)^-?[\d.]+ -?[\d.]+ -?[\d.]+$",
                                        self.expect_example("first_array"))), 5)


if __name__ == "__main__":
    unittest.main()
