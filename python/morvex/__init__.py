"""Compressed finite-element result files as numpy arrays.

    import morvex

    with morvex.open("crash.mvx") as case:
        for step in case.steps:
            xyz = case.parts["tube"].coordinates(step)
            stress = case["stress"].read(step, "block")

Arrays are filled in place by libmorvex, whose threads work without the interpreter's lock. Lengths
and values have the units of the analysis; files don't state them.
"""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any, Optional, Sequence, Union

from ._case import Case
from ._constants import Change, Code, ElementType, Kind
from ._contents import (AnyStep, BorderFaces, Cells, Part, PartInfo, Particles, PerPart,
                        PolyhedronFaces, Step, Variable)
from ._errors import (Cancelled, ClosedError, Error, LibraryError, NameNotFound, NotDefined,
                      OpenError, OutOfMemory, OutOfRange)
from ._library import library_version
from ._read import Request
from ._version import __version__

if TYPE_CHECKING:
    from vtkmodules.vtkCommonDataModel import vtkMultiBlockDataSet


def open(path: Union[str, os.PathLike], *, threads: int = 0) -> Case:
    """Opens a result file and reads its metadata; no array is decoded.

    :param threads: most threads of a read; 0 for as many as processors
    :raises OpenError: the system refuses the file
    :raises Error: it is no result file, or one that requires a later release of the library
    :raises LibraryError: libmorvex is missing or too old
    """
    return Case(path, threads)


def to_vtk(case: Case, step: AnyStep = 0, *, parts: Optional[Sequence[Any]] = None,
           variables: Optional[Sequence[str]] = None) -> vtkMultiBlockDataSet:
    """A step as VTK's objects: see `morvex.grids.Grids`, which keeps what steps have in common.

    :param step: a `Step`, or a number of `Case.steps`
    :param parts: numbers or names; None for all
    :param variables: names; None for all
    """
    from .grids import Grids  # VTK is needed here alone

    return Grids(case).at(step, parts, variables)


__all__ = ["AnyStep", "BorderFaces", "Cancelled", "Case", "Cells", "Change", "ClosedError", "Code",
           "ElementType", "Error", "Kind", "LibraryError", "NameNotFound", "NotDefined",
           "OpenError", "OutOfMemory", "OutOfRange", "Part", "PartInfo", "Particles", "PerPart",
           "PolyhedronFaces", "Request", "Step", "Variable", "library_version", "open", "to_vtk",
           "__version__"]
