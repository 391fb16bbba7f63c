#!/usr/bin/env python3
"""Checks that includes point one way only: each folder of src/ may include those before it.

Usage: check_layers.py PROJECT_DIR. Prints every include that breaks the order; exit status 1 then.
"""

import pathlib
import re
import sys

LAYERS = [
    "platform", "inflate", "core", "sdf", "metadata", "recipes", "procedures", "simulation", "reader",
]
INCLUDE = re.compile(r'^\s*#\s*include\s+([<"])([^>"]+)[>"]', re.MULTILINE)

# Kernels are arithmetic alone: pure functions that use a SIMD library and no other folder.
KERNELS = "procedures/kernels"
# One file knows the parallel runtime, one zlib.
OWN_FILES = {"tbb/task_arena.h": "procedures/arena.cpp", "zlib.h": "inflate/zlib_stream.hpp"}


def violations(source_dir):
    for path in sorted(source_dir.rglob("*.[ch]pp")):
        name = path.relative_to(source_dir).as_posix()
        layer = LAYERS.index(name.split("/")[0])
        for kind, included in INCLUDE.findall(path.read_text(encoding="utf-8")):
            if kind == "<":
                if OWN_FILES.get(included, name) != name:
                    yield f"{name} includes <{included}>"
                continue
            folder = included.split("/")[0]
            if folder == "morvex" and LAYERS[layer] == "reader":
                continue  # the header for hosts
            if folder not in LAYERS or LAYERS.index(folder) > layer:
                yield f"{name} includes \"{included}\""
            elif name.startswith(KERNELS) and not included.startswith(KERNELS + "/"):
                yield f"{name} includes \"{included}\""


def main():
    source_dir = pathlib.Path(sys.argv[1]) / "src"
    found = list(violations(source_dir))
    for line in found:
        print(line)
    checked = sum(1 for _ in source_dir.rglob("*.[ch]pp"))
    if checked == 0:
        sys.exit("no sources found in " + str(source_dir))
    print(f"{checked} files checked, {len(found)} includes against the order")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
