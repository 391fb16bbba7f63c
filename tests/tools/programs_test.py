#!/usr/bin/env python3
"""Runs the programs on the sample model, on damaged copies of it and on what is no result file.

Reads MORVEX_TOOLS (folder of the programs), MORVEX_EXAMPLE and MORVEX_GUARDED_EXAMPLE (the example
hosts) and MORVEX_SOURCE (the project) from the environment; arguments name the classes to run.
"""

import json
import os
import pathlib
import re
import struct
import subprocess
import tempfile
import unittest
import zlib

TOOLS = pathlib.Path(os.environ["MORVEX_TOOLS"])
SAMPLE_OPTIONS = ["--nodes", "900", "--steps", "5"]
ALL_WELL, DATA_FAILED, USAGE, CANNOT_OPEN, OUTPUT_FAILED = range(5)

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
    made = run("morvex-sample", SAMPLE, "--truth", TRUTH, *SAMPLE_OPTIONS)
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


class TestCase(unittest.TestCase):
    def expect(self, code, program, *arguments):
        result = run(program, *arguments)
        self.assertEqual(result.returncode, code, f"{arguments}\n{result.stdout}{result.stderr}")
        return result


class Info(TestCase):
    def test_json_is_all_of_standard_output_and_tells_the_model(self):
        info = json.loads(self.expect(ALL_WELL, "morvex", "info", SAMPLE, "--json").stdout)
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

    def test_tables_are_aligned_and_name_the_elements(self):
        lines = self.expect(ALL_WELL, "morvex", "info", SAMPLE).stdout.splitlines()
        heading = next(line for line in lines if "shape" in line)
        rows = lines[lines.index(heading) + 1:][:3]
        self.assertEqual([row.split()[2] for row in rows], ["tube", "block", "plate"])
        for row in rows:
            self.assertEqual(row.index("unstructured"), heading.index("shape"))
        self.assertRegex("\n".join(lines), r"(?m)^ +26  hexahedron8 +\d+$")


class Verify(TestCase):
    def test_all_orders_and_thread_counts_give_one_outcome(self):
        outcomes = {
            self.expect(ALL_WELL, "morvex", "verify", SAMPLE, *options).stdout
            for options in ([], ["--threads", "1"], ["--threads", "3"], ["--order", "backward"],
                            ["--order", "random", "--seed", "7"],
                            ["--order", "random", "--seed", "8", "--threads", "2"])
        }
        self.assertEqual(len(outcomes), 1, outcomes)

    def test_counts_are_those_of_the_model(self):
        table = self.expect(ALL_WELL, "morvex", "verify", SAMPLE).stdout
        arrays = {row[0]: int(row[1])
                  for row in re.findall(r"(?m)^  (\w[\w -]*?) {2,}(\d+) +\d+  [0-9a-f]{16}$", table)}
        truth = json.loads(TRUTH.read_text(encoding="utf-8"))
        self.assertEqual(arrays["variables"], sum(len(v["arrays"]) for v in truth["variables"]))
        self.assertEqual(arrays["coordinates"], 3 * 3 * 5)
        self.assertEqual(arrays["particles"], 3 * 5)
        self.assertEqual(arrays["border faces"], 3)
        self.assertEqual(arrays["connectivity"], sum(len(p["elements"]) for p in truth["parts"]))

    def test_a_damaged_dataset_is_named_and_only_it_fails(self):
        data = SAMPLE.read_bytes()
        for path in ("/variable/stress/2/0/10_0_data", "/geometry/0/3/1/coordinates_1",
                     "/geometry/0/0/0/10_elementnodeids", "/geometry/0/0/1/10_bfspi"):
            with self.subTest(path):
                damaged = bytearray(data)
                position, size = payloads(data)[path]
                damaged[position + 8:position + size] = b"\xFF" * (size - 8)  # all but the recipe
                result = self.expect(DATA_FAILED, "morvex", "verify", copy_with(damaged))
                self.assertEqual(re.findall(r"(?m)^FAILED  (\S+): \S", result.stdout), [path])

    def test_the_reason_is_told_where_the_exception_is_no_standard_one(self):
        data = bytearray(SAMPLE.read_bytes())
        position, size = payloads(data)["/kelbor/recipes"]
        tag = struct.pack("<i", 1005)
        at = data.index(tag, position, position + size)
        data[at:at + 4] = struct.pack("<i", 1999)
        copy = copy_with(data)
        result = self.expect(DATA_FAILED, "morvex", "verify", copy)
        self.assertRegex(result.stdout,
                         r"(?m)^FAILED  /\S+: Deserialization: Invalid class type detected$")
        self.assertIn("unknown class 1999", run("morvex-dump", copy, "--recipes").stdout)


class Dump(TestCase):
    def test_everything_that_was_stored_is_shown(self):
        text = self.expect(ALL_WELL, "morvex-dump", SAMPLE).stdout
        self.assertIn('title                     "crash box"', text)
        self.assertRegex(text, r'datasetNames +"displacement", "plastic_strain"')
        self.assertRegex(text, r'pattern of "displacement" +K\w+')
        self.assertIn("OmpDecompressionWrapper of ChunkedZlibDecompressionWrapper <- input 0", text)
        self.assertRegex(text, r'Dequantization <- .* -> "Dequantized"')
        self.assertRegex(text, r'(?m)^  coordinates_0  \d+ bytes, plain  recipe \d+ "abs_\w+')
        self.assertNotIn("which is not in the list", text)

    def test_selections_leave_the_rest_out(self):
        headings = {"--records": "\nRecords\n", "--recipes": "\nRecipes\n",
                    "--tree": "\nGroups and datasets\n"}
        for option in headings:
            text = self.expect(ALL_WELL, "morvex-dump", SAMPLE, option).stdout
            shown = [other for other in headings if headings[other] in text]
            self.assertEqual(shown, [option])

    def test_a_damaged_record_costs_only_itself(self):
        data = bytearray(SAMPLE.read_bytes())
        data[data.index(b"crash box") - 48] ^= 0xFF  # the length of the title
        text = self.expect(DATA_FAILED, "morvex-dump", copy_with(data)).stdout
        self.assertRegex(text, r"FAILED /kelbor/casemetadata: \w")
        self.assertIn("coordinates_0", text)


class Messages(TestCase):
    def test_the_log_file_takes_all_messages_wherever_it_is_named(self):
        log = pathlib.Path(workspace.name) / "messages.log"
        plain = run("morvex", "info", SAMPLE, "--json")
        self.assertIn("STATUS: ", plain.stderr)
        for arguments in (["-lf", log, "info", SAMPLE, "--json"],
                          ["info", "-lf", log, SAMPLE, "--json"],
                          ["info", SAMPLE, "--json", "-lf", log],
                          ["info", SAMPLE, "--json", f"-lf={log}"],
                          ["info", SAMPLE, "--json", f"--log-file={log}"]):
            log.unlink(missing_ok=True)
            result = self.expect(ALL_WELL, "morvex", *arguments)
            self.assertEqual(result.stdout, plain.stdout)
            self.assertEqual(result.stderr, "")
            self.assertEqual(log.read_text(encoding="utf-8"), plain.stderr)

    def test_help_and_version_are_data(self):
        for program in ("morvex", "morvex-dump", "morvex-demo"):
            text = self.expect(ALL_WELL, program, "-h").stdout
            self.assertIn("Exit codes", text)
        self.assertIn("-lf LOGFILENAME", self.expect(ALL_WELL, "morvex", "-h").stdout)
        self.assertRegex(self.expect(ALL_WELL, "morvex", "--version").stdout,
                         r"^morvex \d+\.\d+\.\d+\n$")


class Failures(TestCase):
    def test_what_is_no_result_file_can_not_be_opened(self):
        folder = pathlib.Path(workspace.name)
        text = folder / "text.mvx"
        text.write_text("No result file.\n" * 50, encoding="utf-8")
        empty = folder / "empty.mvx"
        empty.touch()
        for path in (folder / "missing.mvx", folder, text, empty):
            for program in (["morvex", "info"], ["morvex", "verify"], ["morvex-dump"],
                            ["morvex-demo"]):
                result = self.expect(CANNOT_OPEN, *program, path)
                self.assertEqual(result.stdout, "")
                self.assertIn(str(path), result.stderr)

    def test_a_truncated_file_never_ends_in_a_signal(self):
        data = SAMPLE.read_bytes()
        for length in (4, 20, 43, 44, 1000, len(data) // 2, len(data) - 24, len(data) - 1):
            copy = copy_with(data[:length])
            for program in (["morvex", "info"], ["morvex", "verify"], ["morvex-dump"]):
                result = run(*program, copy)
                self.assertIn(result.returncode, (DATA_FAILED, CANNOT_OPEN),
                              f"{program} {length}\n{result.stderr}")

    def test_wrong_usage_is_told_apart(self):
        for arguments in ([], ["info"], ["info", SAMPLE, "--bogus"], ["show", SAMPLE],
                          ["verify", SAMPLE, "--order", "sideways"],
                          ["verify", SAMPLE, "--threads", "0"], ["info", SAMPLE, "--step", "-1"]):
            result = self.expect(USAGE, "morvex", *arguments)
            self.assertEqual(result.stdout, "")
            self.assertNotEqual(result.stderr, "")

    def test_a_step_beyond_the_last_is_told(self):
        self.expect(ALL_WELL, "morvex", "info", SAMPLE, "--step", "4")
        result = self.expect(DATA_FAILED, "morvex", "info", SAMPLE, "--step", "5")
        self.assertIn("step 5", result.stderr)

    def test_lost_output_is_a_failure(self):
        if not os.path.exists("/dev/full"):
            self.skipTest("no device that is always full")
        with open("/dev/full", "w", encoding="utf-8") as full:
            self.assertEqual(run("morvex", "info", SAMPLE, stdout=full).returncode, OUTPUT_FAILED)
        self.expect(OUTPUT_FAILED, "morvex", "info", SAMPLE, "-lf", "/nowhere/messages.log")


class Demo(TestCase):
    def test_the_sample_is_read_as_written(self):
        result = self.expect(ALL_WELL, "morvex-demo", SAMPLE, *SAMPLE_OPTIONS)
        self.assertIn("Everything was read as it was written.", result.stdout)

    def test_other_numbers_are_noticed(self):
        self.expect(DATA_FAILED, "morvex-demo", SAMPLE, "--nodes", "2000", "--steps", "5")
        truth = json.loads(TRUTH.read_text(encoding="utf-8"))
        for name in ("times", "crushForce"):
            data = bytearray(SAMPLE.read_bytes())
            stored = struct.pack("<5f", *truth[name])
            self.assertEqual(data.count(stored), 1)
            data[data.index(stored) + 14] ^= 1
            result = self.expect(DATA_FAILED, "morvex-demo", copy_with(data), *SAMPLE_OPTIONS)
            self.assertRegex(result.stdout, r"(?m)^DIFFERS  \S")


class Example(TestCase):
    def test_the_host_in_c_lists_the_parts(self):
        result = subprocess.run([os.environ["MORVEX_EXAMPLE"], SAMPLE], stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL, text=True, timeout=60, check=True)
        told = re.findall(r"(?m)^(\w+): (\d+) nodes, \(", result.stdout)
        truth = json.loads(TRUTH.read_text(encoding="utf-8"))
        self.assertEqual([int(nodes) for _, nodes in told],
                         [part["nodes"] for part in truth["parts"]])

    def test_the_guarded_host_tells_ranges_and_failures(self):
        def ask(variable, path=SAMPLE):
            return subprocess.run([os.environ["MORVEX_GUARDED_EXAMPLE"], path, str(variable)],
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                  timeout=60, check=False)

        truth = json.loads(TRUTH.read_text(encoding="utf-8"))
        names = [variable["name"] for variable in truth["variables"]]
        result = ask(names.index("displacement"))
        self.assertEqual(result.returncode, 0, result.stderr)
        told = re.findall(r"(?m)^step (\d) part (\d): \S+ to \S+$", result.stdout)
        self.assertEqual({step for step, _ in told}, set("01234"))
        self.assertIn("15 of 15 arrays", result.stderr)
        self.assertEqual(ask(99).returncode, 2)
        missing = ask(0, "missing.mvx")
        self.assertEqual(missing.returncode, 1)
        self.assertIn("MXG_CANNOT_OPEN", missing.stderr)

    def test_the_readme_shows_it_as_it_is(self):
        source = pathlib.Path(os.environ["MORVEX_SOURCE"])
        code = (source / "examples/host.c").read_text(encoding="utf-8")
        self.assertIn(f"```c\n{code}```", (source / "README.md").read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main()
