"""Numbers of the library's interface by name."""

from __future__ import annotations

import enum

import numpy as np


class Code(enum.IntEnum):
    """What became of a call."""

    OK = 0
    BAD_ARGUMENT = 1
    BAD_HANDLE = 2
    OUT_OF_RANGE = 3
    TOO_SMALL = 4
    WRONG_KIND = 5
    NOT_DEFINED = 6
    CANCELLED = 7
    CANNOT_OPEN = 8
    NOT_A_RESULT = 9
    NEWER_FILE = 10
    NO_SUCH_DATA = 11
    DAMAGED = 12
    AMBIGUOUS = 13
    TOO_LARGE = 14
    OUT_OF_MEMORY = 15
    FILE_CHANGED = 16
    INTERNAL = 17


class Change(enum.IntEnum):
    """What changes over the steps of a geometry."""

    ABSENT = -1
    STATIC = 0
    COORDINATES = 1
    CONNECTIVITY = 2  # everything may change, also the number of parts


class Kind(enum.IntEnum):
    """What an array holds."""

    COORDINATES = 0
    VARIABLE = 1
    CONNECTIVITY = 2
    NODES_PER_POLYGON = 3
    FACES_PER_POLYHEDRON = 4
    NODES_PER_FACE = 5
    NODE_IDS = 6
    ELEMENT_IDS = 7
    BORDER_FACES = 8
    BORDER_PARENT_IDS = 9
    BORDER_PARENT_TYPES = 10
    PARTICLE_COORDINATES = 11
    PARTICLE_IDS = 12
    CELL_OFFSETS = 13
    CELL_CONNECTIVITY = 14
    CELL_TYPES = 15

    @property
    def dtype(self) -> np.dtype:
        """Type of the values."""
        return np.dtype(_DTYPES.get(self, np.int32))


_DTYPES = {
    Kind.COORDINATES: np.float32,
    Kind.VARIABLE: np.float32,
    Kind.PARTICLE_COORDINATES: np.float32,
    Kind.BORDER_PARENT_TYPES: np.int16,
    Kind.CELL_OFFSETS: np.int64,
    Kind.CELL_CONNECTIVITY: np.int64,
    Kind.CELL_TYPES: np.uint8,
}


class ElementType(enum.IntEnum):
    """Shape and number of nodes of an element. Each even type is followed by its ghost twin."""

    POINT = 0
    GHOST_POINT = 1
    BAR2 = 2
    GHOST_BAR2 = 3
    BAR3 = 4
    GHOST_BAR3 = 5
    TRIANGLE3 = 6
    GHOST_TRIANGLE3 = 7
    TRIANGLE6 = 8
    GHOST_TRIANGLE6 = 9
    QUADRILATERAL4 = 10
    GHOST_QUADRILATERAL4 = 11
    QUADRILATERAL8 = 12
    GHOST_QUADRILATERAL8 = 13
    TETRAHEDRON4 = 14
    GHOST_TETRAHEDRON4 = 15
    TETRAHEDRON10 = 16
    GHOST_TETRAHEDRON10 = 17
    PYRAMID5 = 18
    GHOST_PYRAMID5 = 19
    PYRAMID13 = 20
    GHOST_PYRAMID13 = 21
    PENTAHEDRON6 = 22
    GHOST_PENTAHEDRON6 = 23
    PENTAHEDRON15 = 24
    GHOST_PENTAHEDRON15 = 25
    HEXAHEDRON8 = 26
    GHOST_HEXAHEDRON8 = 27
    HEXAHEDRON20 = 28
    GHOST_HEXAHEDRON20 = 29
    POLYGON = 30
    GHOST_POLYGON = 31
    POLYHEDRON = 32
    GHOST_POLYHEDRON = 33

    @property
    def is_ghost(self) -> bool:
        """Whether another part or process owns the elements."""
        return self % 2 == 1

    @property
    def has_cells(self) -> bool:
        """Whether files store the nodes of such elements: not of ghost polygons and polyhedra."""
        return self not in (ElementType.GHOST_POLYGON, ElementType.GHOST_POLYHEDRON)

    def __str__(self) -> str:
        return self.name.lower().replace("_", " ")
