"""Steps of a case as VTK's objects. Needs VTK 9.1 or later; only this module imports it."""

from __future__ import annotations

import collections
import functools
import math
from typing import Any, Callable, Iterable, Optional, Sequence, Union

import numpy as np
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkCommonCore import (vtkFloatArray, vtkIdTypeArray, vtkIntArray, vtkPoints,
                                      vtkUnsignedCharArray)
from vtkmodules.vtkCommonDataModel import (vtkCellArray, vtkCompositeDataSet, vtkDataObject,
                                           vtkDataSetAttributes, vtkMultiBlockDataSet, vtkPointSet,
                                           vtkPolyData, vtkStructuredGrid, vtkUnstructuredGrid)

from ._case import Case
from ._constants import Change, Code, ElementType, Kind
from ._contents import AnyStep, Part, Parts, Step, Variable
from ._errors import Error, NotDefined
from ._read import Progress, Request

#: Cell type of VTK for each pair of element types, the second of which is the ghost.
_VTK_TYPES = np.array([1, 3, 21, 5, 22, 9, 23, 10, 24, 14, 27, 13, 26, 12, 25, 7, 42],
                      np.uint8).repeat(2)

#: Where VTK's nodes of a cell are among the stored ones. Stored bars have the node in the middle
#: between the others; the first triangle of a stored pentahedron faces the second one, VTK's faces
#: away from it.
_PENTAHEDRON = [3, 4, 5, 0, 1, 2]
_NODE_ORDERS = {
    ElementType.BAR3: [0, 2, 1],
    ElementType.PENTAHEDRON6: _PENTAHEDRON,
    ElementType.PENTAHEDRON15: [*_PENTAHEDRON, 9, 10, 11, 6, 7, 8, 12, 13, 14],
}
_SYMMETRIC_TENSOR = [0, 1, 2, 3, 5, 4]  # VTK has yz before xz
PARTICLES = "particles"  #: name of the block of the particles
_WORTH_SHOWING = 64 << 20  # bytes, about 0.1 s of decoding
Selection = Optional[Iterable[Union[int, str]]]


class Grids:
    """Makes a vtkMultiBlockDataSet of a step, with one block for each part and the particles last.

    A block is a vtkUnstructuredGrid; a vtkStructuredGrid for a structured block; a vtkPolyData of
    vertices for the particles; empty for a part that is not selected. Elements of ghost types have
    DUPLICATECELL in "vtkGhostType". Constants are field data of the whole. Symmetric tensors have
    VTK's order xx, yy, zz, xy, yz, xz.

    The library fills the memory of VTK's arrays. What a step has in common with the one before,
    such as the mesh, is neither read nor made again.
    """

    def __init__(self, case: Case) -> None:
        self.case = case
        self._kept: dict[tuple, Any] = {}
        self._names: Optional[tuple[Parts, vtkMultiBlockDataSet]] = None

    def at(self, step: AnyStep = 0, parts: Selection = None, variables: Selection = None,
           progress: Optional[Progress] = None,
           failures: Optional[list[Error]] = None) -> vtkMultiBlockDataSet:
        """A step of the case.

        :param step: a `Step`, or a number of `Case.steps`
        :param parts: numbers or names, and "particles"; None for all. Others cost nothing.
        :param variables: numbers or names; None for all. Others cost nothing.
        :param progress: see `Case.read`; not called in reads of less than 64 MiB
        :param failures: takes the errors of damaged arrays, which are then left out; so is a part
            without its points or cells. Without it the first one is raised.
        """
        case = self.case
        when = case.step_of(step)
        wanted = None if parts is None else set(parts)
        of_step = case.parts_at(when)
        chosen = list(of_step) if wanted is None else [
            of_step[i] for i in sorted({of_step.index(p) for p in wanted - {PARTICLES}})]
        fields = list(case.variables) if variables is None else [
            case.variables[i] for i in sorted({case.variables.index(v) for v in variables})]
        with_particles = case.particles is not None and (wanted is None or PARTICLES in wanted)

        plan = _Plan(case, when, self._kept, fields)
        blocks = [plan.part(part) for part in chosen]
        particles = plan.particles() if with_particles else None
        self._kept = plan.read(progress)

        whole = vtkMultiBlockDataSet()
        whole.CopyStructure(self._named_blocks(when))
        failed: list[Error] = []
        for part, keys in zip(chosen, blocks):
            whole.SetBlock(part.index, _grid(part, self._kept, failed, *keys))
        if particles:
            whole.SetBlock(len(of_step), _vertices(self._kept, failed, *particles))
        for field in fields:
            if field.is_constant:
                try:
                    value = _copied(np.array([field.read(when)], np.float32))
                except Error as failure:
                    failed.append(failure)
                    continue
                value.SetName(_printable(field.name))
                whole.GetFieldData().AddArray(value)
        if failed and failures is None:
            raise failed[0]
        if failures is not None:
            failures += failed
        whole.GetInformation().Set(vtkDataObject.DATA_TIME_STEP(), when.time)
        return whole

    def _named_blocks(self, when: Step) -> vtkMultiBlockDataSet:
        """Empty blocks with the names of the parts; the last answer is kept."""
        of_step = self.case.parts_at(when)
        if self._names is None or self._names[0] is not of_step:
            labels = part_labels(self.case, when)
            labels += [PARTICLES] if self.case.particles is not None else []
            blocks = vtkMultiBlockDataSet()
            blocks.SetNumberOfBlocks(len(labels))
            for i, label in enumerate(labels):
                blocks.GetMetaData(i).Set(vtkCompositeDataSet.NAME(), label)
            self._names = of_step, blocks
        return self._names[1]


def part_labels(case: Case, step: AnyStep = 0) -> list[str]:
    """Names of the parts, made distinct: a number is added to those that are empty or repeated."""
    names = [_printable(part.name) for part in case.parts_at(step)]
    counts = collections.Counter(names)
    return [name if name and counts[name] == 1 else f"{name} (part {i})".strip()
            for i, name in enumerate(names)]


class _Plan:
    """What a step needs: objects kept from the step before, and arrays that are to be read.

    The keys are tuples that begin with what the object is and end with the step that it belongs to.
    """

    def __init__(self, case: Case, when: Step, kept: dict[tuple, Any],
                 fields: Sequence[Variable]) -> None:
        self._case = case
        self._when = when
        self._kept = kept
        self._fields = [(field, field.step_of(when)) for field in fields if not field.is_constant]
        self._objects: dict[tuple, Any] = {}
        self._requests: list[Request] = []
        self._makers: list[tuple[tuple, int, Callable[..., Any]]] = []

    def part(self, part: Part) -> tuple[tuple, tuple, list[tuple]]:
        """Keys of the points, the cells and the arrays of a part."""
        at = part.step_of(self._when)
        points = self._want(("points", part.index, at), _points,
                            lambda: [part.request(Kind.COORDINATES, at)])
        cells = ("cells", part.index, part.step)
        is_block = part.is_block
        if not is_block:
            kinds = [Kind.CELL_TYPES, Kind.CELL_OFFSETS, Kind.CELL_CONNECTIVITY]
            if ElementType.POLYHEDRON in part.elements:
                kinds += [Kind.FACES_PER_POLYHEDRON, Kind.NODES_PER_FACE]
            self._want(cells, _cells, lambda: [part.request(kind, part.step) for kind in kinds])
        may_move = self._case.model_change == Change.CONNECTIVITY
        keys = []
        for field, own in self._fields:
            if not field.on_particles and (field.location != "unknown" or is_block) and not (
                    may_move and field.geometry_step(own) != part.step):
                keys += self._values(field, own, part)
        return points, cells, keys

    def particles(self) -> tuple[tuple, list[tuple]]:
        """Keys of the points and the arrays of the particles."""
        particles = self._case.particles
        assert particles is not None
        at = particles.step_of(self._when)
        request = particles.request(Kind.PARTICLE_COORDINATES, at)
        points = self._want((PARTICLES, at), _points, lambda: [request])
        return points, [key for field, own in self._fields if field.on_particles
                        for key in self._values(field, own, None)]

    def read(self, progress: Optional[Progress]) -> dict[tuple, Any]:
        """Reads and makes what is new; all objects by key, None where the file has no values, and
        an Error in place of what could not be read."""
        arrays = [_new_array(request.dtype, request.shape) for request in self._requests]
        is_long = sum(request.nbytes for request in self._requests) >= _WORTH_SHOWING
        results = self._case.read(self._requests, [
            np.frombuffer(array if r.nbytes else bytearray(), r.dtype).reshape(r.shape)
            for array, r in zip(arrays, self._requests)],
                                  progress=progress if is_long else None, errors="return")
        at = 0
        for key, count, make in self._makers:
            failed = next((r for r in results[at:at + count] if isinstance(r, Error)), None)
            if isinstance(failed, NotDefined) and key[0] == "field":
                self._objects[key] = None
            else:
                self._objects[key] = failed or make(*arrays[at:at + count])
            at += count
        return self._objects

    def _want(self, key: tuple, make: Callable[..., Any],
              requests: Callable[[], list[Request]]) -> tuple:
        if key in self._kept:
            self._objects[key] = self._kept[key]
        elif key not in self._objects:
            new = requests()
            self._requests += new
            self._makers.append((key, len(new), make))
            self._objects[key] = None
        return key

    def _values(self, field: Variable, own: int, part: Optional[Part]) -> list[tuple]:
        keys = []
        is_per_node = part is None or part.is_block or field.location == "node"
        for is_imaginary in (False, True)[:1 + field.is_complex]:
            key = ("field", is_per_node, field.index, is_imaginary, part.index if part else -1, own)
            try:
                keys.append(self._want(
                    key, functools.partial(_field_array, field, is_imaginary),
                    lambda: [field.request(own, part or 0, imaginary=is_imaginary)]))
            except NotDefined:
                self._objects[key] = None
        return keys


_ARRAYS = {np.dtype(np.float32): vtkFloatArray, np.dtype(np.int64): vtkIdTypeArray,
           np.dtype(np.int32): vtkIntArray, np.dtype(np.uint8): vtkUnsignedCharArray}


def _new_array(dtype: np.dtype, shape: tuple[int, ...]) -> Any:
    """An array of VTK, whose memory lives as long as any object of VTK needs it."""
    array = _ARRAYS[dtype]()
    array.SetNumberOfComponents(shape[1] if len(shape) == 2 else 1)
    array.SetNumberOfTuples(shape[0])
    return array


def _copied(values: np.ndarray) -> Any:
    array = _new_array(values.dtype, values.shape)
    vtk_to_numpy(array)[:] = values
    return array


def _points(coordinates: vtkFloatArray) -> vtkPoints:
    points = vtkPoints()
    points.SetData(coordinates)
    return points


def _field_array(field: Variable, is_imaginary: bool, array: vtkFloatArray) -> vtkFloatArray:
    """The array with its name and those of its components, in VTK's order."""
    order = list(range(array.GetNumberOfComponents()))
    if field.type == 3 and len(order) == 6:
        order = _SYMMETRIC_TENSOR
        values = vtk_to_numpy(array)
        values[:] = values[:, order]
    name = field.name
    if is_imaginary:
        name = field.imaginary_name
        name = name if name and name != field.name else f"{field.name} (imaginary)"
    array.SetName(_printable(name))
    for c, component in zip(order, field.component_names):
        array.SetComponentName(c, component)
    return array


def _cells(type_array: vtkUnsignedCharArray, offset_array: vtkIdTypeArray,
           node_array: vtkIdTypeArray, *face_arrays: vtkIntArray) -> vtkUnstructuredGrid:
    """A grid without points, made in the memory of the arrays of `Part.cells`."""
    grid = vtkUnstructuredGrid()
    types, offsets, nodes = map(vtk_to_numpy, (type_array, offset_array, node_array))
    if np.any(types % 2):
        ghosts = _copied((types % 2) * np.uint8(vtkDataSetAttributes.DUPLICATECELL))
        ghosts.SetName(vtkDataSetAttributes.GhostArrayName())
        grid.GetCellData().AddArray(ghosts)
    for twin, order in _NODE_ORDERS.items():
        first, last = np.searchsorted(types, [twin, twin + 2])
        cells = nodes[offsets[first]:offsets[last]].reshape(-1, len(order))
        cells[:] = cells[:, order]
    polyhedra = []
    if face_arrays:
        faces_per_cell, nodes_per_face = map(vtk_to_numpy, face_arrays)
        first = len(types) - len(faces_per_cell)  # polyhedra are the last type
        start = offsets[first]
        stream, heads = _face_stream(nodes[start:], faces_per_cell, nodes_per_face)
        locations = np.full(len(types), -1, np.int64)
        locations[first:] = heads
        tail, sizes = _distinct_nodes(nodes[start:], np.diff(offsets[first:]))
        offsets[first + 1:] = start + np.cumsum(sizes)
        node_array = _copied(np.concatenate([nodes[:start], tail]))
        polyhedra = [_copied(locations), _copied(stream)]
    types[:] = _VTK_TYPES[types]
    cell_array = vtkCellArray()
    cell_array.SetData(offset_array, node_array)
    grid.SetCells(type_array, cell_array, *polyhedra)
    return grid


def _face_stream(nodes: np.ndarray, faces_per_cell: np.ndarray,
                 nodes_per_face: np.ndarray) -> tuple[np.ndarray, np.ndarray]:
    """Polyhedra as VTK has them: for each its number of faces, and for each of these the number of
    its nodes and the nodes; and where each polyhedron begins."""
    cell_count, face_count = len(faces_per_cell), len(nodes_per_face)
    first_face = np.cumsum(faces_per_cell, dtype=np.int64) - faces_per_cell
    first_node = np.cumsum(nodes_per_face, dtype=np.int64) - nodes_per_face
    cell_of_face = np.repeat(np.arange(cell_count), faces_per_cell)
    at_face = np.arange(face_count) + first_node + cell_of_face + 1
    node_ends = np.append(first_node, len(nodes))
    at_cell = np.arange(cell_count) + first_face + node_ends[first_face]
    stream = np.empty(cell_count + face_count + len(nodes), np.int64)
    is_node = np.ones(len(stream), bool)
    is_node[at_face] = is_node[at_cell] = False
    stream[at_face] = nodes_per_face
    stream[at_cell] = faces_per_cell
    stream[is_node] = nodes
    return stream, at_cell


def _distinct_nodes(nodes: np.ndarray, sizes: np.ndarray) -> tuple[np.ndarray, np.ndarray]:
    """Nodes of each cell without repetitions, rising, and their numbers. Faces repeat each node of
    a polyhedron about three times."""
    if not len(nodes):
        return nodes, sizes
    width = int(nodes.max()) + 1
    keys = np.unique(np.repeat(np.arange(len(sizes)) * width, sizes) + nodes)
    return keys % width, np.bincount(keys // width, minlength=len(sizes))


def _grid(part: Part, objects: dict[tuple, Any], failed: list[Error], points: tuple, cells: tuple,
          fields: list[tuple]) -> Optional[vtkPointSet]:
    """The grid of a part; None, and a failure more, without its points or cells."""
    info = part.info()
    grid: vtkPointSet
    missing = [objects[key] for key in (points, cells) if isinstance(objects.get(key), Error)]
    if info.extents and math.prod(info.extents) != info.nodes:
        missing.append(Error(f"the block {info.name!r} has {info.nodes} nodes, but the extents "
                             f"{info.extents}", Code.DAMAGED, part=part.index))
    if missing:
        failed += missing
        return None
    if info.extents:
        grid = vtkStructuredGrid()
        grid.SetDimensions(info.extents)
    else:
        grid = vtkUnstructuredGrid()
        grid.ShallowCopy(objects[cells])
    grid.SetPoints(objects[points])
    _add_arrays(grid.GetPointData(), objects, failed, [key for key in fields if key[1]])
    _add_arrays(grid.GetCellData(), objects, failed, [key for key in fields if not key[1]])
    return grid


def _vertices(objects: dict[tuple, Any], failed: list[Error], points: tuple,
              fields: list[tuple]) -> Optional[vtkPolyData]:
    if isinstance(objects[points], Error):
        failed.append(objects[points])
        return None
    data = vtkPolyData()
    data.SetPoints(objects[points])
    count = objects[points].GetNumberOfPoints()
    vertices = vtkCellArray()
    vertices.SetData(_copied(np.arange(count + 1)), _copied(np.arange(count)))
    data.SetVerts(vertices)
    _add_arrays(data.GetPointData(), objects, failed, fields)
    return data


def _add_arrays(data: vtkDataSetAttributes, objects: dict[tuple, Any], failed: list[Error],
                fields: list[tuple]) -> None:
    for key in fields:
        if isinstance(objects[key], Error):
            failed.append(objects[key])
        elif objects[key] is not None:
            data.AddArray(objects[key])


def _printable(text: str) -> str:
    """VTK takes no bytes that are no text."""
    return text.encode("utf-8", "replace").decode()
