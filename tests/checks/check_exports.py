#!/usr/bin/env python3
"""Checks that a shared library exports the functions that a header declares, and nothing else.

Usage: check_exports.py LIBRARY HEADER PREFIX
"""

import re
import subprocess
import sys


def main():
    library, header, prefix = sys.argv[1:]
    with open(header, encoding="utf-8") as text:
        code = re.sub(r"/\*.*?\*/", "", text.read(), flags=re.DOTALL)
    declared = set(re.findall(rf"\b({prefix}\w+)\s*\(", code))
    listing = subprocess.run(["nm", "-D", "--defined-only", library], check=True,
                             capture_output=True, text=True).stdout
    # Kind A is the name of a version, not a function.
    exported = {line.split()[-1].split("@")[0] for line in listing.splitlines()
                if line.split()[-2] != "A"}
    for name in sorted(declared - exported):
        print("declared and not exported:", name)
    for name in sorted(exported - declared):
        print("exported and not declared:", name)
    print(f"{len(declared)} declared, {len(exported)} exported")
    return 0 if declared and declared == exported else 1


if __name__ == "__main__":
    sys.exit(main())
