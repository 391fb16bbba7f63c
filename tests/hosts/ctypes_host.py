#!/usr/bin/env python3
"""A host in Python: loads the library with ctypes and compares what it reads with what was written.

Usage: ctypes_host.py LIBRARY FILE
"""

import ctypes
import sys

NODES, STEPS = 120000, 5  # as in host_file.h
ELEMENT_TYPES = 34


def coordinate(step, axis, node):
    return 0.5 * (node % (1000 + 7 * axis)) + step * (axis + 1)


def value(step, node):
    return 0.5 * ((node * 13 + step * node) % 4001) - 700.0


def main(library_path, path):
    library = ctypes.CDLL(library_path)
    library.MX_openFile.argtypes = [ctypes.c_char_p, ctypes.c_uint64]
    assert library.MX_setNumberOfOmpThreads(3) == 0
    assert library.MX_openFile(b"/no/such/file", 0) == -1
    assert library.MX_openFile(path.encode(), 0) == 0
    assert library.MX_getNumberOfParts() == 1

    ids, types, nodes = (ctypes.c_int * 1)(), (ctypes.c_int * 1)(), (ctypes.c_int * 1)()
    name = ctypes.create_string_buffer(1 << 20)
    names = (ctypes.c_char_p * 1)(ctypes.addressof(name))
    counts = (ctypes.c_int * ELEMENT_TYPES)()
    rows = (ctypes.POINTER(ctypes.c_int) * 1)(counts)
    status = library.MX_getPartInformation(0, ids, types, names, nodes, rows, None, None)
    assert (status, nodes[0], name.value) == (0, NODES, b"plate")

    floats = ctypes.c_float * NODES
    x, y, z = floats(), floats(), floats()
    for step in range(STEPS):
        assert library.MX_getPartCoordinates(step, 0, x, y, z) == 0
        for axis, values in enumerate((x, y, z)):
            assert list(values) == [coordinate(step, axis, node) for node in range(NODES)]
        assert library.MX_getVariableByComponent(step, 0, 0, 0, 1, 0, 0, 0, x) == 0
        assert list(x) == [value(step, node) for node in range(NODES)]
    assert library.MX_exit() == 0


if __name__ == "__main__":
    main(*sys.argv[1:])
