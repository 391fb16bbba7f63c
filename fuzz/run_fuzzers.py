#!/usr/bin/env python3
"""Runs the fuzzers of a build on the writer's seeds and the corpus of the source tree.

Two at a time where there are two processors. What the fuzzers learn stays in the build directory and
is where the next run goes on. Ends with a table, and with exit code 1 if anything was found.
"""
import argparse
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

SOURCE = pathlib.Path(__file__).resolve().parent
LIMITS = ["-max_len=65536", "-timeout=20", "-rss_limit_mb=2048", "-malloc_limit_mb=256"]
# libFuzzer's marks: what it has run, and what that reached.
PROGRESS = re.compile(r"^#\d+\s.*cov: (\d+) ft: (\d+)(?: corp: (\d+))?", re.MULTILINE)
EXECUTIONS = re.compile(r"^stat::number_of_executed_units: (\d+)", re.MULTILINE)
REPRODUCER = re.compile(r"^.*Test unit written to (\S+)", re.MULTILINE)


class Fuzzer:
    def __init__(self, program: pathlib.Path, seeds: pathlib.Path):
        self.name = program.name
        self.program = program
        self.learnt = program.with_suffix(".corpus")
        self.artifacts = program.with_suffix(".finds")
        self.log = program.with_suffix(".log")
        self.inputs = [seeds / self.name, SOURCE / "corpus" / self.name]
        self.output, self.code = "", 0

    def run(self, seconds: int, options: list) -> "Fuzzer":
        for folder in (self.learnt, self.artifacts):
            folder.mkdir(exist_ok=True)
        command = [self.program, f"-max_total_time={seconds}", "-print_final_stats=1", *LIMITS,
                   f"-artifact_prefix={self.artifacts}/", *options, self.learnt,
                   *(folder for folder in self.inputs if folder.is_dir())]
        with self.log.open("w") as log:
            self.code = subprocess.run(command, stdout=log, stderr=subprocess.STDOUT,
                                       check=False).returncode
        self.output = self.log.read_text(errors="replace")
        return self

    def row(self) -> str:
        executions = (EXECUTIONS.findall(self.output) or ["?"])[-1]
        edges, features, corpus = (PROGRESS.findall(self.output) or [("?", "?", "?")])[-1]
        result = "nothing found" if self.code == 0 else "FOUND SOMETHING"
        return (f"{self.name:16} {executions:>12} {edges:>8} {features:>10} {corpus or '?':>8}  "
                f"{result}")

    def find(self) -> str:
        paths = REPRODUCER.findall(self.output)
        again = f"{self.program} {paths[-1]}" if paths else "no input was written"
        tail = "\n".join(self.output.splitlines()[-60:])
        return f"\n== {self.name} failed; log: {self.log}\n{tail}\n== again with: {again}"


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path, help="folder of the fuzzers, build/fuzz/fuzz")
    parser.add_argument("--seconds", type=int, default=60, help="for each fuzzer")
    parser.add_argument("--only", default="", help="part of a fuzzer's name")
    arguments, options = parser.parse_known_args()  # what is unknown here is libFuzzer's

    build = arguments.build.resolve()
    seeds = build / "seeds"
    subprocess.run([build / "write_seeds", seeds], check=True)
    fuzzers = [Fuzzer(program, seeds) for program in sorted(build.glob("fuzz_*"))
               if program.is_file() and not program.suffix and arguments.only in program.name]
    if not fuzzers:
        print("No fuzzer was built.", file=sys.stderr)
        return 1
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        fuzzers = list(pool.map(lambda f: f.run(arguments.seconds, options), fuzzers))

    print(f"{'fuzzer':16} {'executions':>12} {'edges':>8} {'features':>10} {'corpus':>8}")
    for fuzzer in fuzzers:
        print(fuzzer.row())
    failed = [fuzzer for fuzzer in fuzzers if fuzzer.code != 0]
    for fuzzer in failed:
        print(fuzzer.find(), file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
