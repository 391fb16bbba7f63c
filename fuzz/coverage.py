#!/usr/bin/env python3
"""Tells which lines of src/ the fuzzers reach, folder by folder.

Runs fuzzers that are built for coverage once over all inputs: seeds, the corpus of the source tree,
and what the fuzzers of another build have learnt.
"""
import argparse
import collections
import json
import os
import pathlib
import subprocess
import sys

SOURCE = pathlib.Path(__file__).resolve().parent


def profile_of(program: pathlib.Path, inputs: list, profile: pathlib.Path) -> None:
    environment = dict(os.environ, LLVM_PROFILE_FILE=str(profile))
    subprocess.run([program, "-runs=0", "-rss_limit_mb=4096", *inputs], env=environment, check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def lines_by_folder(programs: list, merged: pathlib.Path) -> dict:
    objects = [word for program in programs[1:] for word in ("-object", program)]
    exported = subprocess.run(
        ["llvm-cov", "export", "-summary-only", f"-instr-profile={merged}", programs[0], *objects],
        check=True, capture_output=True, text=True).stdout
    folders = collections.defaultdict(lambda: [0, 0])
    for file in json.loads(exported)["data"][0]["files"]:
        path = pathlib.Path(os.path.relpath(file["filename"], SOURCE.parent))
        if path.parts[0] != "src":
            continue
        lines = file["summary"]["lines"]
        for name in (path.parent.as_posix(), "all"):
            folders[name][0] += lines["covered"]
            folders[name][1] += lines["count"]
    return folders


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path, help="the fuzzers, build/fuzz-coverage/fuzz")
    parser.add_argument("learnt", type=pathlib.Path, help="where others ran, build/fuzz/fuzz")
    arguments = parser.parse_args()

    build = arguments.build.resolve()
    subprocess.run([build / "write_seeds", build / "seeds"], check=True)
    programs = [path for path in sorted(build.glob("fuzz_*")) if path.is_file() and not path.suffix]
    profiles = []
    for program in programs:
        name = program.name
        inputs = [build / "seeds" / name, SOURCE / "corpus" / name,
                  arguments.learnt / f"{name}.corpus"]
        profiles.append(program.with_suffix(".profraw"))
        profile_of(program, [folder for folder in inputs if folder.is_dir()], profiles[-1])
    merged = build / "all.profdata"
    subprocess.run(["llvm-profdata", "merge", "-o", merged, *profiles], check=True)

    print("| folder | lines reached | of | |\n|---|---|---|---|")
    for name, (covered, count) in sorted(lines_by_folder(programs, merged).items()):
        print(f"| {name} | {covered} | {count} | {100 * covered / max(count, 1):.0f} % |")
    return 0


if __name__ == "__main__":
    sys.exit(main())
