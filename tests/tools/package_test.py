#!/usr/bin/env python3
"""Installs the build into a folder and uses it from projects of their own, as a host would.

Usage: package_test.py BUILD_DIR SOURCE_DIR SAMPLE_PROGRAM
"""

import os
import pathlib
import subprocess
import sys
import tempfile

PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES C CXX)
find_package(morvex 7.0 REQUIRED)
add_executable(host {source}/examples/host.c)
target_link_libraries(host PRIVATE morvex::ensg)
add_executable(guarded_host {source}/examples/guarded_host.c)
target_link_libraries(guarded_host PRIVATE morvex::guard)
"""


def run(*command, **options):
    result = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, text=True, check=False, **options)
    if result.returncode != 0:
        sys.exit(f"{command} ended with {result.returncode}\n{result.stdout}{result.stderr}")
    return result.stdout


def main():
    build, source, sample_program = map(pathlib.Path, sys.argv[1:])
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        prefix = root / "prefix"
        run("cmake", "--install", build, "--prefix", prefix)
        sample = root / "sample.mvx"
        run(sample_program, sample, "--nodes", "500", "--steps", "2")

        # The installed program finds the installed library by itself.
        expected = run(prefix / "bin/morvex", "info", sample)
        assert "tube" in expected, expected

        scratch = root / "scratch"
        scratch.mkdir()
        (scratch / "CMakeLists.txt").write_text(PROJECT.format(source=source), encoding="utf-8")
        run("cmake", "-S", scratch, "-B", scratch / "build", f"-DCMAKE_PREFIX_PATH={prefix}")
        run("cmake", "--build", scratch / "build")
        hosts = {"host": [sample], "guarded_host": [sample, "0"]}
        answers = {"host": "tube: ", "guarded_host": "step 1 part 0: "}
        for name, arguments in hosts.items():
            by_cmake = run(scratch / "build" / name, *arguments)
            assert answers[name] in by_cmake, by_cmake

        pc_files = next(prefix.rglob("morvex-ensg.pc")).parent
        libraries = next(prefix.rglob("libmorvex-ensg.so")).parent
        for name, package in (("host", "morvex-ensg"), ("guarded_host", "morvex-guard")):
            flags = run("pkg-config", "--cflags", "--libs", package,
                        env=os.environ | {"PKG_CONFIG_PATH": str(pc_files)}).split()
            program = root / name
            run("cc", "-std=c99", source / f"examples/{name}.c", "-o", program, *flags)
            by_pkg_config = run(program, *hosts[name],
                                env=os.environ | {"LD_LIBRARY_PATH": str(libraries)})
            assert answers[name] in by_pkg_config, by_pkg_config


if __name__ == "__main__":
    main()
