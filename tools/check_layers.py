#!/usr/bin/env python3
"""Checks that includes point one way only: each folder of src/ may include those before it, and
guard/, which stands outside of the library, its own files and the headers for hosts.

Usage: check_layers.py PROJECT_DIR. Prints every include that breaks the order; exit status 1 then.
"""

import pathlib
import re
import sys

LAYERS = ["platform", "core", "sdf", "metadata", "recipes", "procedures", "simulation", "reader"]
INCLUDE = re.compile(r'^\s*#\s*include\s+([<"])([^>"]+)[>"]', re.MULTILINE)

# Kernels stand apart: pure functions that know zlib and a SIMD library, and nothing of the graph.
KERNELS = "procedures/kernels"
KERNELS_MAY_INCLUDE = (KERNELS + "/", "platform/")
# One file knows the parallel runtime.
PARALLEL_RUNTIME = {"omp.h": "procedures/team.cpp"}
# What the guard may know of the library.
HOST_HEADERS = ("morvex/morvex_ensg.h", "morvex/morvex_guard.h")


def violations(source_dir):
    for path in sorted(source_dir.rglob("*.[ch]pp")):
        name = path.relative_to(source_dir).as_posix()
        layer = LAYERS.index(name.split("/")[0])
        for kind, included in INCLUDE.findall(path.read_text(encoding="utf-8")):
            if kind == "<":
                if PARALLEL_RUNTIME.get(included, name) != name:
                    yield f"{name} includes <{included}>"
                continue
            folder = included.split("/")[0]
            if folder == "morvex" and LAYERS[layer] == "reader":
                continue  # the header for hosts
            if folder not in LAYERS or LAYERS.index(folder) > layer:
                yield f"{name} includes \"{included}\""
            elif name.startswith(KERNELS) and not included.startswith(KERNELS_MAY_INCLUDE):
                yield f"{name} includes \"{included}\""


def guard_violations(guard_dir):
    for path in sorted(guard_dir.rglob("*.[ch]pp")):
        for _, included in INCLUDE.findall(path.read_text(encoding="utf-8")):
            # The guard's own files and those of the standard library stand in no folder.
            if "/" in included and included not in HOST_HEADERS:
                yield f"guard/{path.name} includes \"{included}\""


def main():
    source_dir = pathlib.Path(sys.argv[1]) / "src"
    guard_dir = pathlib.Path(sys.argv[1]) / "guard"
    found = [*violations(source_dir), *guard_violations(guard_dir)]
    for line in found:
        print(line)
    checked = 0
    for folder in (source_dir, guard_dir):
        sources = sum(1 for _ in folder.rglob("*.[ch]pp"))
        if sources == 0:
            sys.exit("no sources found in " + str(folder))
        checked += sources
    print(f"{checked} files checked, {len(found)} includes against the order")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
