"""Compares the ParaView reader with the Python package at all steps, there and back.

    mpirun -np N pvbatch --sym plugin_test.py FILE...

Every rank runs this script and compares what it has; together they must have each part once.
"""

import pathlib
import sys

import numpy as np
from paraview.modules.vtkRemotingCore import vtkProcessModule
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkDoubleArray

ROOT = pathlib.Path(__file__).resolve().parents[2]

from paraview.simple import LoadPlugin, OpenDataFile

import morvex
from morvex import ElementType

controller = vtkProcessModule.GetProcessModule().GetGlobalController()
RANK, RANKS = controller.GetLocalProcessId(), controller.GetNumberOfProcesses()
SWAPPED = [0, 1, 2, 3, 5, 4]  # VTK's order of a symmetric tensor
compared = 0


def equal(found, expected, *what):
    global compared
    np.testing.assert_array_equal(found, expected, err_msg=str(what))
    compared += 1


def sum_of_ranks(values):
    mine, total = vtkDoubleArray(), vtkDoubleArray()
    for value in values:
        mine.InsertNextValue(value)
    total.SetNumberOfValues(len(values))
    controller.AllReduce(mine, total, 2)  # the sum
    return vtk_to_numpy(total)


def compare_cells(grid, part, step, what):
    cells = part.cells(step)
    fixed = cells.types < ElementType.POLYGON
    equal(vtk_to_numpy(grid.GetCellTypesArray()) == 42, cells.types == ElementType.POLYHEDRON, what)
    found = grid.GetCells()
    offsets = vtk_to_numpy(found.GetOffsetsArray())
    nodes = vtk_to_numpy(found.GetConnectivityArray())
    equal(np.diff(offsets)[fixed], np.diff(cells.offsets)[fixed], what)
    if not np.any(cells.types == ElementType.POLYHEDRON):
        order_is_same = ~np.isin(cells.types // 2, [ElementType.BAR3 // 2,
                                                    ElementType.PENTAHEDRON6 // 2,
                                                    ElementType.PENTAHEDRON15 // 2])
        mask = np.repeat(order_is_same, np.diff(cells.offsets))
        equal(nodes[mask], cells.connectivity[mask], what)
    faces_per_cell, nodes_per_face = part.polyhedron_faces(step)
    at, face = 0, 0
    polyhedra = np.flatnonzero(cells.types == ElementType.POLYHEDRON)
    stream = vtk_to_numpy(grid.GetFaces()) if len(polyhedra) else []
    for cell, count in list(zip(polyhedra, faces_per_cell))[:200]:  # one by one takes its time
        start = cells.offsets[cell]
        stored = [count]
        for size in nodes_per_face[face:face + count]:
            stored += [size, *cells.connectivity[start:start + size]]
            start += size
        equal(stream[at:at + len(stored)], stored, what, cell)
        own = cells.connectivity[cells.offsets[cell]:cells.offsets[cell + 1]]
        equal(nodes[offsets[cell]:offsets[cell + 1]], np.unique(own), what, cell)
        at, face = at + len(stored), face + count
    if len(polyhedra):
        equal(len(stream), len(polyhedra) + len(nodes_per_face) + nodes_per_face.sum(), what)


def compare_arrays(data, case, step, part, what):
    expected = {}
    for variable in case.variables:
        if variable.is_constant or variable.on_particles == (part is not None):
            continue
        # Values of a step whose mesh is another one are not shown on this mesh.
        if part is not None and case.model_change == morvex.Change.CONNECTIVITY and \
                variable.geometry_step(step) != part.step:
            continue
        for imaginary in (False, True)[:1 + variable.is_complex]:
            try:
                values = variable.read(step, part, imaginary=imaginary)
            except morvex.NotDefined:
                continue
            name = variable.name
            if imaginary:
                name = variable.imaginary_name or f"{name} (imaginary)"
            per_cell = variable.location == "element" and part is not None and not part.is_block
            expected[name, per_cell] = values[:, SWAPPED] if variable.type == 3 else values
    names = {(attributes.GetArrayName(i), per_cell)
             for per_cell, attributes in ((False, data.GetPointData()), (True, data.GetCellData()))
             for i in range(attributes.GetNumberOfArrays())} - {("vtkGhostType", True)}
    assert names == set(expected), (what, names, set(expected))
    for (name, per_cell), values in expected.items():
        attributes = data.GetCellData() if per_cell else data.GetPointData()
        equal(vtk_to_numpy(attributes.GetArray(name)), values, what, name)


def compare_step(output, case, step, with_cells):
    """Returns which blocks this rank has."""
    held = []
    for part in case.parts_at(step):
        grid = output.GetBlock(part.index)
        held.append(grid is not None)
        if grid is None:
            continue
        what = (case.path, step.number, part.index)
        equal(vtk_to_numpy(grid.GetPoints().GetData()), part.coordinates(step), what)
        if part.is_block:
            equal(grid.GetExtent()[1::2], np.array(part.info(step).extents) - 1, what)
        elif with_cells:
            compare_cells(grid, part, step, what)
        compare_arrays(grid, case, step, part, what)
    if case.particles is not None:
        data = output.GetBlock(len(held))
        held.append(data is not None)
        if data is not None:
            xyz = case.particles.coordinates(step)
            if len(xyz):
                equal(vtk_to_numpy(data.GetPoints().GetData()), xyz, "particles", step)
            assert data.GetNumberOfVerts() == len(xyz)
            compare_arrays(data, case, step, None, ("particles", step))
    return held


def compare(path):
    source = OpenDataFile(path)
    algorithm = source.GetClientSideObject()
    source.UpdatePipelineInformation()
    case = morvex.open(path)
    times = source.TimestepValues
    equal(np.atleast_1d(times), case.times, path)
    order = [*case.steps, *reversed(case.steps[:-1])]  # a slider, there and back
    for turn, step in enumerate(order):
        source.UpdatePipeline(step.time)
        output = algorithm.GetOutputDataObject(0)
        held = compare_step(output, case, step, turn == 0 or turn == len(case.steps) - 1)
        equal(sum_of_ranks(held), np.ones(len(held)), path, step, "each part on one rank")
    return source, case


def main(paths):
    LoadPlugin(str(ROOT / "plugins/paraview/morvex_reader.py"), ns=globals())
    sources = []
    for path in paths:
        before = compared
        sources.append(compare(path))
        total = int(sum_of_ranks([compared - before])[0])
        assert total > 0
        if RANK == 0:
            print(f"{path}: {total} comparisons on {RANKS} ranks", flush=True)
    for source, case in sources[:2]:  # side by side: neither has changed the other
        source.UpdatePipeline(case.steps[0].time)
        compare_step(source.GetClientSideObject().GetOutputDataObject(0), case, case.steps[0], True)
        case.close()


main(sys.argv[1:])
