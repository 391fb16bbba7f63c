#!/usr/bin/env python3
"""Installs the build into a folder and uses it from projects of their own, as a host would.

Usage: package_test.py BUILD_DIR SOURCE_DIR PROGRAM
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES C CXX)
find_package(morvex 7.0 REQUIRED)
set(CMAKE_CXX_STANDARD 17)
add_executable(host {source}/examples/host.c)
target_link_libraries(host PRIVATE morvex::morvex)
add_executable(read {source}/examples/read.cpp)
target_link_libraries(read PRIVATE morvex::morvex)
add_executable(first_array {source}/examples/first_array.cpp)
target_link_libraries(first_array PRIVATE morvex::ensg)
"""


def run(*command, **options):
    result = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, text=True, check=False, **options)
    if result.returncode != 0:
        sys.exit(f"{command} ended with {result.returncode}\n{result.stdout}{result.stderr}")
    return result.stdout


def main():
    build, source, program = map(pathlib.Path, sys.argv[1:])
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        prefix = root / "prefix"
        run("cmake", "--install", build, "--prefix", prefix)
        sample = root / "sample.mvx"
        run(program, "sample", sample, "--nodes", "500", "--steps", "2")

        # The installed program finds the installed library by itself.
        expected = run(prefix / "bin/morvex", "info", sample)
        assert "tube" in expected, expected

        readme = next(prefix.rglob("README.md"))
        for link in re.findall(r"\]\(([^):]+)\)", readme.read_text(encoding="utf-8")):
            assert (readme.parent / link).is_file(), f"{link} is not installed"

        scratch = root / "scratch"
        scratch.mkdir()
        (scratch / "CMakeLists.txt").write_text(PROJECT.format(source=source), encoding="utf-8")
        run("cmake", "-S", scratch, "-B", scratch / "build", f"-DCMAKE_PREFIX_PATH={prefix}")
        run("cmake", "--build", scratch / "build")
        hosts = {
            "host.c": ("morvex", [sample, "displacement"], "step 1: "),
            "read.cpp": ("morvex", [sample, "displacement"], "tube: "),
            "first_array.cpp": ("morvex-ensg", [sample], "\n"),
        }
        pc_files = next(prefix.rglob("morvex-ensg.pc")).parent
        libraries = next(prefix.rglob("libmorvex-ensg.so")).parent
        for example, (package, arguments, answer) in hosts.items():
            name, language = example.split(".")
            by_cmake = run(scratch / "build" / name, *arguments)
            assert answer in by_cmake, by_cmake
            compiler = ("cc", "-std=c99") if language == "c" else ("c++", "-std=c++17")
            flags = run("pkg-config", "--cflags", "--libs", package,
                        env=os.environ | {"PKG_CONFIG_PATH": str(pc_files)}).split()
            host = root / name
            run(*compiler, source / "examples" / example, "-o", host, *flags)
            by_pkg_config = run(host, *arguments,
                                env=os.environ | {"LD_LIBRARY_PATH": str(libraries)})
            assert answer in by_pkg_config, by_pkg_config


if __name__ == "__main__":
    main()
