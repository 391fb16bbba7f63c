"""Steps of a case as VTK's objects. Needs VTK 9.1 or later; only this module imports it."""

from __future__ import annotations

import collections
import itertools
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
from ._contents import AnyStep, Part, Particles, Parts, Step, Variable
from ._errors import Error, NotDefined
from ._read import Batch, Progress, Reading, Request, address_of

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
    such as the mesh, is neither read nor made again. Nothing that was delivered changes later.
    """

    def __init__(self, case: Case) -> None:
        self.case = case
        self._plan: Optional[_Plan] = None
        self._names: Optional[tuple[Parts, vtkMultiBlockDataSet]] = None

    def at(self, step: AnyStep = 0, parts: Selection = None, variables: Selection = None,
           progress: Optional[Progress] = None, failures: Optional[list[Error]] = None, *,
           threads: int = 0, out: Optional[vtkMultiBlockDataSet] = None) -> vtkMultiBlockDataSet:
        """A step of the case.

        :param step: a `Step`, or a number of `Case.steps`
        :param parts: numbers or names, and "particles"; None for all. Others cost nothing.
        :param variables: numbers or names; None for all. Others cost nothing.
        :param progress: see `Case.read`; not called in reads of less than 64 MiB
        :param failures: takes the errors of damaged arrays, which are then left out; so is a part
            without its points or cells. Without it the first one is raised.
        :param threads: see `Case.read`
        :param out: takes the step in place of what it has; None for a new object
        :return: what steps have in common is in all of them: it is not to be changed
        """
        case = self.case
        when = case.step_of(step)
        plan = self._plan = self._plan_of(when, parts, variables)
        whole = vtkMultiBlockDataSet() if out is None else out

        def name_blocks() -> None:
            whole.Initialize()
            whole.CopyStructure(self._named_blocks(when))

        blocks, failed = plan.read(when, threads, progress, name_blocks)
        for field in plan.constants:
            try:
                value = _copied(np.array([field.read(when)], np.float32))
            except Error as failure:
                failed.append(failure)
                continue
            value.SetName(plan.labels[field.index][0])
            whole.GetFieldData().AddArray(value)
        if failed and failures is None:
            raise failed[0]
        if failures is not None:
            failures += failed
        for block in blocks:
            whole.SetBlock(block.number, block.made)
        whole.GetInformation().Set(vtkDataObject.DATA_TIME_STEP(), when.time)
        return whole

    def _plan_of(self, when: Step, parts: Selection, variables: Selection) -> _Plan:
        """The last plan, if it is the one for the selection and the mesh of the step."""
        case = self.case
        chosen = None if parts is None else tuple(parts)
        shown = None if variables is None else tuple(variables)
        of_step = case.parts_at(when)
        elsewhere = []  # variables whose values are on the parts of another step
        if case.model_change == Change.CONNECTIVITY:
            elsewhere = [v.index for v in case.variables if not v.is_constant and
                         not v.on_particles and v.geometry_step(when) != of_step.step]
        place = of_step, chosen, shown, elsewhere
        last = self._plan
        if last and last.place == place:
            return last
        plan = _Plan(place, when, last)
        numbers = range(len(of_step)) if chosen is None else sorted(
            {of_step.index(part) for part in chosen if part != PARTICLES})
        fields = list(case.variables) if shown is None else [
            case.variables[i] for i in sorted({case.variables.index(name) for name in shown})]
        plan.constants = [field for field in fields if field.is_constant]
        fields = [field for field in fields if not field.is_constant]
        on_parts = [f for f in fields if not f.on_particles and f.index not in elsewhere]
        for number in numbers:
            plan.add_part(of_step[number], on_parts)
        if case.particles is not None and (chosen is None or PARTICLES in chosen):
            plan.add_particles(len(of_step), case.particles,
                               [field for field in fields if field.on_particles])
        return plan

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
    return _distinct([part.name for part in case.parts_at(step)], "part")


def array_labels(case: Case) -> list[tuple[str, str]]:
    """Names of the arrays of each variable, the second one for its imaginary part; made distinct
    like those of the parts."""
    labels = _distinct([variable.name for variable in case.variables], "variable")
    imaginary = []
    for label, variable in zip(labels, case.variables):
        own = _printable(variable.imaginary_name)
        imaginary.append(own if own and own != label else f"{label} (imaginary)")
    counts = collections.Counter(labels)
    counts.update(own for own, variable in zip(imaginary, case.variables) if variable.is_complex)
    return [(label, own if counts[own] <= 1 else f"{label} (imaginary)")
            for label, own in zip(labels, imaginary)]


def _distinct(texts: Iterable[str], what: str) -> list[str]:
    names = [_printable(text) for text in texts]
    counts = collections.Counter(names)
    return [name if name and counts[name] == 1 else f"{name} ({what} {i})".strip()
            for i, name in enumerate(names)]


class _Item:
    """One of VTK's objects, kept until a step has another one.

    :param clock: what its own steps are those of; see `_Plan`
    :param ask: answers the requests for the arrays that the object is made of, at an own step
    :param step: an own step whose requests fit all steps in size; None where none does
    """

    def __init__(self, clock: Any, ask: Callable[[int], list[Request]],
                 step: Optional[int]) -> None:
        self.clock = clock
        self.step: Optional[int] = None  #: own step of `made`
        self.made: Any = None  #: an Error if it can't be read, None where the file has no values
        self._ask = ask
        self._requests = None if step is None else ask(step)

    def requests(self, step: int) -> list[Request]:
        """What to read. The steps of the requests may be other ones."""
        return self._ask(step) if self._requests is None else self._requests

    def begin(self, arrays: list[Any]) -> None:
        """Makes the object of arrays that are being filled, if it needs no values."""

    def finish(self, arrays: list[Any]) -> None:
        """Makes the object of arrays that are filled, if it needs the values."""


class _Points(_Item):
    def begin(self, arrays: list[Any]) -> None:
        self.made = _points(arrays[0])


class _Cells(_Item):
    def finish(self, arrays: list[Any]) -> None:
        self.made = _cells(*arrays)


class _Values(_Item):
    """An array of a variable; without requests where there are no values."""

    def __init__(self, field: Variable, is_imaginary: bool, name: str, part: Optional[Part],
                 step: Optional[int]) -> None:
        def ask(own: int) -> list[Request]:
            try:
                return [field.request(own, part or 0, imaginary=is_imaginary)]
            except NotDefined:
                return []

        super().__init__(field.index, ask, step)
        self._name = name
        self._is_symmetric = field.type == 3 and field.components == 6
        names = field.component_names
        order = _SYMMETRIC_TENSOR if self._is_symmetric else range(len(names))
        self._components = [(i, names[c]) for i, c in enumerate(order)]

    def begin(self, arrays: list[Any]) -> None:
        for array in arrays:
            array.SetName(self._name)
            for c, component in self._components:
                array.SetComponentName(c, component)
            self.made = array

    def finish(self, arrays: list[Any]) -> None:
        if self._is_symmetric:
            for array in arrays:
                values = vtk_to_numpy(array)
                values[:] = values[:, _SYMMETRIC_TENSOR]


class _Block:
    """A block of the whole: its items, and the object of the last step."""

    def __init__(self, number: int, part: Optional[Part], points: _Points,
                 cells: Optional[_Cells]) -> None:
        self.number = number
        self.part = part  #: None for the particles
        self.points = points
        self.cells = cells  #: None for a structured block and for the particles
        self.of_nodes: list[_Values] = []
        self.of_cells: list[_Values] = []
        self.made: Any = None  #: None without points or cells
        self.failures: list[Error] = []
        self._attributes: tuple = ()

    def items(self) -> list[_Item]:
        """All items, in the order in which failures are reported."""
        geometry = [self.points] if self.cells is None else [self.points, self.cells]
        return [*geometry, *self.of_nodes, *self.of_cells]

    def clear(self) -> None:
        """Lets go of the object. A step never changes that of another step."""
        self.made, self.failures, self._attributes = None, [], ()

    def make(self) -> None:
        """Makes the object of what the items have. Values may still be missing in their arrays."""
        self.clear()
        made = _vertices(self) if self.part is None else _grid(self)
        if made is None:
            return
        # VTK takes 5 us to part with a wrapper whose object lives on: they stay with the object.
        self._attributes = of_nodes, of_cells = made.GetPointData(), made.GetCellData()
        for data, values in ((of_nodes, self.of_nodes), (of_cells, self.of_cells)):
            for item in values:
                if isinstance(item.made, Error):
                    self.failures.append(item.made)
                elif item.made is not None:
                    data.AddArray(item.made)
        self.made = made


class _Plan:
    """What the steps of one mesh are made of, with the objects of the last one.

    Items that change together have a clock: the coordinates, the cells, the particles, each
    variable.

    :param place: what it is the plan of; it begins with the parts
    :param before: the plan whose items are taken over as far as this one has them
    """

    def __init__(self, place: tuple, when: Step, before: Optional[_Plan]) -> None:
        self.place = place
        self.constants: list[Variable] = []
        self._case: Case = place[0].case
        self.labels = before.labels if before else array_labels(self._case)
        self._when = when  # a step that the plan is for
        self._blocks: list[_Block] = []
        self._items: dict[tuple, _Item] = {}
        self._before = before._items if before and before.place[0] is place[0] else {}
        self._clocks: dict[Any, Callable[[Step], int]] = {}

    def add_part(self, part: Part, fields: Sequence[Variable]) -> None:
        """A block for a part, with variables of the model."""
        at = part.step
        points = self._item(("points", part.index), "points", part.step_of, lambda: _Points(
            "points", lambda _: [part.request(Kind.COORDINATES, at)], at))
        cells = None
        if not part.is_block:
            kinds = [Kind.CELL_TYPES, Kind.CELL_OFFSETS, Kind.CELL_CONNECTIVITY]
            if ElementType.POLYHEDRON in part.elements:
                kinds += [Kind.FACES_PER_POLYHEDRON, Kind.NODES_PER_FACE]
            cells = self._item(("cells", part.index), "cells", lambda _: at, lambda: _Cells(
                "cells", lambda _: [part.request(kind, at) for kind in kinds], at))
        block = _Block(part.index, part, points, cells)
        for field in fields:
            if part.is_block or field.location == "node":
                block.of_nodes += self._values(field, part)
            elif field.location == "element":
                block.of_cells += self._values(field, part)
        self._blocks.append(block)

    def add_particles(self, number: int, particles: Particles, fields: Sequence[Variable]) -> None:
        """A block for the particles, whose number may change from step to step."""
        points = self._item((PARTICLES,), PARTICLES, particles.step_of, lambda: _Points(
            PARTICLES, lambda own: [particles.request(Kind.PARTICLE_COORDINATES, own)], None))
        block = _Block(number, None, points, None)
        block.of_nodes = [item for field in fields for item in self._values(field, None)]
        self._blocks.append(block)

    def _item(self, key: tuple, clock: Any, step_of: Callable[[Step], int],
              make: Callable[[], Any]) -> Any:
        self._clocks.setdefault(clock, step_of)
        self._items[key] = item = self._before.get(key) or make()
        return item

    def _values(self, field: Variable, part: Optional[Part]) -> list[_Values]:
        """Items for the values of a variable on a part, None for the particles."""
        own = field.step_of(self._when) if part else None
        name, imaginary = self.labels[field.index]
        return [self._item((field.index, is_imaginary, part.index if part else None), field.index,
                           field.step_of,
                           lambda: _Values(field, is_imaginary, name, part, own))
                for is_imaginary, name in ((False, name), (True, imaginary))[:1 + field.is_complex]]

    def read(self, when: Step, threads: int, progress: Optional[Progress],
             meanwhile: Callable[[], Any]) -> tuple[list[_Block], list[Error]]:
        """Reads what is new. Returns the blocks, and what could not be read.

        While the library reads, this thread makes the objects, and calls `meanwhile`.
        """
        self._before = {}
        now = {clock: step_of(when) for clock, step_of in self._clocks.items()}
        new = {block: items for block in self._blocks
               if (items := [item for item in block.items() if item.step != now[item.clock]])}
        sizes = {block: sum([request.nbytes for item in items
                             for request in item.requests(now[item.clock])])
                 for block, items in new.items()}
        is_shown = progress is not None and sum(sizes.values()) >= _WORTH_SHOWING
        loads = []
        try:
            with Reading(self._case._open_handle(), threads,
                         progress if is_shown else None) as reading:
                for blocks in [list(new)] if is_shown else _head_and_rest(sizes):
                    for block in blocks:
                        block.clear()
                    load = _Load([item for block in blocks for item in new[block]], now)
                    reading.add(load.batch)
                    loads.append(load)
                meanwhile()
                for load in loads:
                    load.begin()
                for block in self._blocks:
                    if block.made is None and (block.cells is None or block.cells.made is not None):
                        block.make()
                reading.wait()
            failed = {item for load in loads for item in load.finish()}
            for block in self._blocks:
                if block.made is None or (failed and not failed.isdisjoint(block.items())):
                    block.make()
        except BaseException:
            for block, items in new.items():
                block.clear()
                for item in items:
                    item.step = item.made = None
            raise
        return self._blocks, [failure for block in self._blocks for failure in block.failures]


def _head_and_rest(sizes: dict[_Block, int]) -> list[list[_Block]]:
    """The largest blocks with a quarter of the bytes, and the others: the arrays of these are made
    while those of the first are read."""
    order = sorted(sizes, key=sizes.__getitem__, reverse=True)
    ends = itertools.accumulate(map(sizes.__getitem__, order))
    count = 1 + sum(end * 4 < sum(sizes.values()) for end in ends)
    return [blocks for blocks in (order[:count], order[count:]) if blocks]


class _Load:
    """Items that are being read, with the arrays that are filled for them."""

    def __init__(self, items: list[_Item], now: dict[Any, int]) -> None:
        # What nobody else holds makes room for the new arrays.
        for item in items:
            item.step = item.made = None
        self._items = items
        self._now = now
        self._arrays: list[list[Any]] = []
        requests, steps, addresses = [], [], []
        for item in items:
            step = now[item.clock]
            asked = item.requests(step)
            arrays = [_new_array(request.dtype, request.shape) for request in asked]
            for request, array in zip(asked, arrays):
                requests.append(request)
                steps.append(step)
                addresses.append(address_of(array) if request.nbytes else 0)
            self._arrays.append(arrays)
        self.batch = Batch(requests, steps, addresses)

    def begin(self) -> None:
        """Makes the objects that need no values."""
        for item, arrays in zip(self._items, self._arrays):
            item.begin(arrays)

    def finish(self) -> list[_Item]:
        """Makes the other ones, after the read. Returns the items that failed."""
        outcomes = iter(self.batch.outcomes())
        failed = []
        for item, arrays in zip(self._items, self._arrays):
            item.step = self._now[item.clock]
            failures = [failure for failure in itertools.islice(outcomes, len(arrays)) if failure]
            if not failures:
                item.finish(arrays)
                continue
            is_absent = isinstance(failures[0], NotDefined) and isinstance(item, _Values)
            item.made = None if is_absent else failures[0]
            failed.append(item)
        return failed


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


def _grid(block: _Block) -> Optional[vtkPointSet]:
    """The grid of a part without its values; None, and a failure more, without points or cells."""
    part, points, cells = block.part, block.points.made, block.cells and block.cells.made
    assert part is not None
    missing = [made for made in (points, cells) if isinstance(made, Error)]
    info = part.info()
    if info.extents and math.prod(info.extents) != info.nodes:
        missing.append(Error(f"the block {info.name!r} has {info.nodes} nodes, but the extents "
                             f"{info.extents}", Code.DAMAGED, part=part.index))
    if missing:
        block.failures += missing
        return None
    grid: vtkPointSet
    if info.extents:
        grid = vtkStructuredGrid()
        grid.SetDimensions(info.extents)
    else:
        grid = vtkUnstructuredGrid()
        grid.ShallowCopy(cells)
    grid.SetPoints(points)
    return grid


def _vertices(block: _Block) -> Optional[vtkPolyData]:
    """The particles without their values; None, and a failure more, without points."""
    points = block.points.made
    if isinstance(points, Error):
        block.failures.append(points)
        return None
    data = vtkPolyData()
    data.SetPoints(points)
    count = points.GetNumberOfPoints()
    vertices = vtkCellArray()
    vertices.SetData(_copied(np.arange(count + 1)), _copied(np.arange(count)))
    data.SetVerts(vertices)
    return data


def _printable(text: str) -> str:
    """VTK takes no bytes that are no text."""
    return text.encode("utf-8", "replace").decode()
