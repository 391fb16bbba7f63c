"""Parts, particles and variables of a case."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import (TYPE_CHECKING, Any, Generic, Iterator, Mapping, NamedTuple, Optional, Sequence,
                    TypeVar, Union)

import numpy as np

from ._constants import Change, Code, ElementType, Kind
from ._errors import Error, NotDefined, OutOfRange, raise_unknown_name
from ._library import PartStruct, VariableStruct, bytes_of, int32, library, text_of
from ._read import ALL_COMPONENTS, Piece, Request, struct_of

if TYPE_CHECKING:
    from ._case import Case


class Step(NamedTuple):
    """A step of a case. Where a step is asked for, it names the time; a number counts the own steps
    of the array, from 0, or back from the last below 0."""

    number: int
    time: float


AnyStep = Union[int, Step]
_MOST_KNOWN = 1 << 16  # kept by a variable
_Named = TypeVar("_Named", "Part", "Variable")


class Cells(NamedTuple):
    """Cells of a part, type by type in rising order.

    The nodes of cell i are connectivity[offsets[i]:offsets[i + 1]], from 0 in the part; of a
    polyhedron these are the nodes of its faces, face by face.
    """

    offsets: np.ndarray  #: (cells + 1,) int64
    connectivity: np.ndarray  #: (offsets[-1],) int64
    types: np.ndarray  #: (cells,) uint8, `ElementType`


class PolyhedronFaces(NamedTuple):
    """Faces of the polyhedra of a part."""

    faces_per_cell: np.ndarray  #: (polyhedra,) int32
    nodes_per_face: np.ndarray  #: (faces of all,) int32


class BorderFaces(NamedTuple):
    """Faces of one type on the border of a part, and the elements that they belong to."""

    nodes: np.ndarray  #: (faces, nodes per face) int32, from 1 in the part
    parent_ids: np.ndarray  #: (faces,) int32, as stored
    parent_types: np.ndarray  #: (faces,) int16, `ElementType`


@dataclass(frozen=True)
class PartInfo:
    """A part at a step, from the metadata."""

    name: str
    id: int
    is_block: bool
    nodes: int
    elements: Mapping[ElementType, int]  #: numbers of elements, without the types that have none
    border_faces: Mapping[ElementType, int]
    extents: Optional[tuple[int, int, int]]  #: nodes of a block along i, j, k; i runs fastest


class Part:
    """A part of the model. `step` is that of its own sizes, and of reads that name none."""

    def __init__(self, case: Case, index: int, step: int) -> None:
        self.case = case
        self.index = index
        self.step = step
        self._info: Optional[PartInfo] = None

    def info(self, step: Optional[AnyStep] = None) -> PartInfo:
        """Name and sizes at a step; nothing is decoded."""
        at = self.step if step is None else self.step_of(step)
        if at == self.step and self._info:
            return self._info
        struct = PartStruct()
        self.case._call("morvex_get_part", at, self.index, ctypes.byref(struct))
        i, j, k, _ = struct.extents
        info = PartInfo(text_of(struct.name), struct.id, bool(struct.is_block), struct.nodes,
                        {ElementType(t): n for t, n in enumerate(struct.elements) if n},
                        {ElementType(t): n for t, n in enumerate(struct.border_faces) if n},
                        (i, j, k) if struct.is_block else None)
        if at == self.step:
            self._info = info
        return info

    @property
    def name(self) -> str:
        """Name, which may be "" and need not be distinct."""
        return self.info().name

    @property
    def id(self) -> int:
        """The file's identifier."""
        return self.info().id

    @property
    def is_block(self) -> bool:
        """Whether the part is a structured block, which has no cells of its own."""
        return self.info().is_block

    @property
    def nodes(self) -> int:
        """Number of nodes."""
        return self.info().nodes

    @property
    def elements(self) -> Mapping[ElementType, int]:
        """Numbers of elements by type, without the types that have none."""
        return self.info().elements

    def __repr__(self) -> str:
        info = self.info()
        what = (f"block {' x '.join(map(str, info.extents))}" if info.extents else
                ", ".join(f"{n:,} {t}" for t, n in info.elements.items()) or "no elements")
        return f"<morvex.Part {self.index} {info.name!r}: {info.nodes:,} nodes; {what}>"

    def step_of(self, step: AnyStep) -> int:
        """The step of the model for a step of the case, or for a number."""
        return self.case._model_step(step)

    def request(self, kind: Kind, step: Optional[AnyStep] = None,
                element_type: int = 0) -> Request:
        """Any array of the geometry, for `Case.read`. Shapes are those of the methods below."""
        at = self.step if step is None else self.step_of(step)
        piece = Piece(int(kind), at, self.index, int32(element_type))
        values = self.case._size(piece)
        per_item = 1
        if kind == Kind.COORDINATES:
            per_item = 3
        elif kind in (Kind.CONNECTIVITY, Kind.BORDER_FACES):
            per_item = max(library().morvex_nodes_per_element(piece.element_type), 1)
        shape = (values // per_item, per_item) if per_item > 1 else (values,)
        what = f"{Kind(kind).name.lower()} of part {self.index}"
        return Request(self.case, what, [piece._replace(values=values)], shape)

    def coordinates(self, step: Optional[AnyStep] = None,
                    out: Optional[np.ndarray] = None) -> np.ndarray:
        """(nodes, 3) float32, in the unit of the model."""
        return self.case.read_one(self.request(Kind.COORDINATES, step), out)

    def cells(self, step: Optional[AnyStep] = None) -> Cells:
        """All cells. Ghost polygons and polyhedra are left out: files have no nodes of them."""
        kinds = (Kind.CELL_OFFSETS, Kind.CELL_CONNECTIVITY, Kind.CELL_TYPES)
        return Cells(*self.case.read([self.request(kind, step) for kind in kinds]))

    def connectivity(self, element_type: int, step: Optional[AnyStep] = None) -> np.ndarray:
        """Nodes of the elements of a type as stored, from 1: (elements, nodes) int32; flat for
        polygons and polyhedra."""
        return self._read(Kind.CONNECTIVITY, step, element_type)

    def nodes_per_polygon(self, step: Optional[AnyStep] = None) -> np.ndarray:
        """(polygons,) int32."""
        return self._read(Kind.NODES_PER_POLYGON, step)

    def polyhedron_faces(self, step: Optional[AnyStep] = None) -> PolyhedronFaces:
        """How the nodes of polyhedra are made of faces."""
        kinds = (Kind.FACES_PER_POLYHEDRON, Kind.NODES_PER_FACE)
        return PolyhedronFaces(*self.case.read([self.request(kind, step) for kind in kinds]))

    def border_faces(self, element_type: int, step: Optional[AnyStep] = None) -> BorderFaces:
        """Border faces of a type below 30."""
        kinds = (Kind.BORDER_FACES, Kind.BORDER_PARENT_IDS, Kind.BORDER_PARENT_TYPES)
        return BorderFaces(
            *self.case.read([self.request(kind, step, element_type) for kind in kinds]))

    def node_ids(self, step: Optional[AnyStep] = None) -> np.ndarray:
        """(nodes,) int32: places from 0, not the solver's ids."""
        return self._read(Kind.NODE_IDS, step)

    def element_ids(self, element_type: int, step: Optional[AnyStep] = None) -> np.ndarray:
        """(elements,) int32: places from 0 through the types of the part."""
        return self._read(Kind.ELEMENT_IDS, step, element_type)

    def _read(self, kind: Kind, step: Optional[AnyStep], element_type: int = 0) -> np.ndarray:
        return self.case.read_one(self.request(kind, step, element_type))


class Particles:
    """The measured particles: nodes without elements."""

    def __init__(self, case: Case) -> None:
        self.case = case

    def count(self, step: AnyStep = 0) -> int:
        """Number of particles."""
        count = ctypes.c_uint64()
        self.case._call("morvex_get_particle_count", self.step_of(step), ctypes.byref(count))
        return count.value

    def request(self, kind: Kind, step: AnyStep = 0) -> Request:
        """Coordinates or ids, for `Case.read`."""
        piece = Piece(int(kind), self.step_of(step))
        values = self.case._size(piece)
        shape = (values // 3, 3) if kind == Kind.PARTICLE_COORDINATES else (values,)
        return Request(self.case, Kind(kind).name.lower(),
                       [piece._replace(values=values)], shape)

    def coordinates(self, step: AnyStep = 0, out: Optional[np.ndarray] = None) -> np.ndarray:
        """(particles, 3) float32, in the unit of the model."""
        return self.case.read_one(self.request(Kind.PARTICLE_COORDINATES, step), out)

    def ids(self, step: AnyStep = 0) -> np.ndarray:
        """(particles,) int32, from 1: places, not the solver's ids."""
        return self.case.read_one(self.request(Kind.PARTICLE_IDS, step))

    def __repr__(self) -> str:
        return f"<morvex.Particles: {self.count():,} at step 0>"

    def step_of(self, step: AnyStep) -> int:
        """The own step for a step of the case, or for a number."""
        return self.case._geometry_step(self.case._summary.particles, step)


class PerPart(dict):
    """Arrays by number of part; a part's name finds its array as well."""

    def __init__(self, case: Case, arrays: Mapping[int, np.ndarray]) -> None:
        super().__init__(arrays)
        self._case = case

    def __missing__(self, key: Any) -> np.ndarray:
        if isinstance(key, str):
            part = self._case.parts[key].index
            if part in self:
                return self[part]
        raise NotDefined(f"no values on part {key!r}", Code.NOT_DEFINED)


class Variable:
    """Values per node or per element of the model or the particles, or one number at each step.

    The attributes come from the metadata: `name`, `description`, `type` (1 scalar, 2 vector,
    3 symmetric tensor, 4 tensor), `component_names`, `location` ("node", "element" or "constant"),
    `on_particles`, `is_complex` with `imaginary_name` and `frequency`, `timeset` (None for none).
    """

    def __init__(self, case: Case, index: int) -> None:
        self.case = case
        self.index = index
        struct = VariableStruct()
        case._call("morvex_get_variable", index, ctypes.byref(struct))
        name_of = library().morvex_component_name
        self.name = text_of(struct.name)
        self.description = text_of(struct.description)
        self.imaginary_name = text_of(struct.imaginary_name)
        self.type = struct.type
        self.components = max(struct.components, 1)  # of an unknown type the first can be read
        self.component_names = tuple(text_of(name_of(struct.type, c))
                                     for c in range(self.components)) if self.components > 1 else ()
        self.is_constant = bool(struct.is_constant)
        self.location = "constant" if self.is_constant else {
            1: "element", 4: "node"}.get(struct.location, "unknown")
        self.on_particles = bool(struct.on_particles)
        self.is_complex = bool(struct.is_complex)
        self.frequency = struct.frequency
        self.timeset = struct.timeset if struct.timeset >= 0 else None
        self.steps = range(struct.steps)
        self._known: dict[tuple, Union[NotDefined, Request]] = {}

    @property
    def times(self) -> np.ndarray:
        """(steps,) float32: times of the own steps."""
        return self.case._times(self.timeset)

    def step_of(self, step: AnyStep) -> int:
        """The own step for a step of the case, or for a number from 0 or back from the last."""
        own = self.case._own_step(step, self.timeset, len(self.steps))
        if own >= len(self.steps) and self.timeset is not None:
            raise OutOfRange(f"{self.name!r} has no step {own}: there are {len(self.steps)}",
                             Code.OUT_OF_RANGE)
        return own

    def geometry_step(self, step: AnyStep) -> int:
        """The step of its geometry on which the values are."""
        answer = ctypes.c_int32()
        self.case._call("morvex_get_geometry_step", self.index, self.step_of(step),
                        ctypes.byref(answer))
        return answer.value

    def request(self, step: AnyStep = 0, part: Union[int, str, Part] = 0, *,
                element_type: Optional[int] = None, component: Union[int, str, None] = None,
                imaginary: bool = False) -> Request:
        """The values on a part, for `Case.read`: see `read`. `NotDefined` where there are none."""
        return self._request(self._piece(step, part, component, imaginary), element_type)

    def requests(self, step: AnyStep = 0, *, element_type: Optional[int] = None,
                 component: Union[int, str, None] = None,
                 imaginary: bool = False) -> dict[int, Request]:
        """`request` for each part on which the variable is defined, by number of part."""
        piece = self._piece(step, 0, component, imaginary)
        found = {}
        for part in self._parts(piece.step):
            try:
                found[part.index] = self._request(piece._replace(part=part.index), element_type)
            except NotDefined:
                pass
        return found

    def read(self, step: AnyStep = 0, part: Union[int, str, Part, None] = None, *,
             element_type: Optional[int] = None, component: Union[int, str, None] = None,
             imaginary: bool = False, out: Optional[np.ndarray] = None) -> Any:
        """Reads the values of a step.

        :param step: a `Step` of the case, or a number of the own steps; -1 is the last
        :param part: number, name or `Part`; None for all parts
        :param element_type: of values per element; None for all types in the order of `Part.cells`,
            with NaN for types that have no values at this step
        :param component: number or name, for example "xx"; None for all
        :param imaginary: the imaginary part of a complex variable
        :param out: array to fill, where a part is given
        :return: float32 of shape (nodes,) or (cells,), with a last axis for several components; for
            all parts a `PerPart` of them. A float for a constant.
        """
        if self.is_constant:
            value = ctypes.c_float()
            self.case._call("morvex_get_constant", self.index, self.step_of(step),
                            ctypes.byref(value))
            return value.value
        if part is not None or self.on_particles:
            request = self.request(step, part or 0, element_type=element_type, component=component,
                                   imaginary=imaginary)
            return self.case.read_one(request, out)
        if out is not None:
            raise ValueError("out takes the values of one part: name it")
        requests = self.requests(step, element_type=element_type, component=component,
                                 imaginary=imaginary)
        results = dict(zip(requests, self.case.read(list(requests.values()), errors="return")))
        for failure in results.values():
            if isinstance(failure, Error) and not isinstance(failure, NotDefined):
                raise failure
        return PerPart(self.case, {number: array for number, array in results.items()
                                   if not isinstance(array, Error)})

    def has(self, step: AnyStep, part: Union[int, str, Part] = 0, *,
            element_type: int = 0, component: Union[int, str, None] = None,
            imaginary: bool = False) -> bool:
        """Whether the file has the values; decodes nothing."""
        answer = ctypes.c_int32()
        piece = self._piece(step, part, component, imaginary)
        piece = piece._replace(element_type=int32(element_type))
        try:
            self.case._call("morvex_has_array", struct_of(piece), ctypes.byref(answer))
        except NotDefined:
            return False
        return bool(answer.value)

    def range(self, step: AnyStep, part: Union[int, str, Part] = 0, *,
              component: Union[int, str, None] = None,
              imaginary: bool = False) -> Optional[tuple[float, float]]:
        """Smallest and largest value on a part, which are decoded; None if there are no numbers."""
        lows, highs = [], []
        piece = self._piece(step, part, component, imaginary)
        for of_type in self._pieces(piece, None):
            pair = (ctypes.c_double * 2)()
            try:
                self.case._call("morvex_get_range", struct_of(of_type), pair, None)
            except NotDefined:
                continue
            if pair[0] <= pair[1]:
                lows.append(pair[0])
                highs.append(pair[1])
        return (min(lows), max(highs)) if lows else None

    def __repr__(self) -> str:
        kind = {1: "scalar", 2: "vector", 3: "symmetric tensor", 4: "tensor"}.get(
            self.type, f"type {self.type}")
        where = self.location if self.is_constant else f"per {self.location}"
        notes = " of particles" * self.on_particles + ", complex" * self.is_complex
        return (f"<morvex.Variable {self.index} {self.name!r}: {kind}, {where}{notes}, "
                f"{len(self.steps)} steps>")

    def _piece(self, step: AnyStep, part: Union[int, str, Part], component: Union[int, str, None],
               imaginary: bool) -> Piece:
        own = self.step_of(step)
        number = 0 if self.on_particles else self._parts(own).index(part)
        return Piece(int(Kind.VARIABLE), own, number, 0, self.index, self._component(component),
                     int(imaginary))

    def _request(self, piece: Piece, element_type: Optional[int]) -> Request:
        # What has one size at all steps is asked for once.
        at = piece.step if self.on_particles else self._parts(piece.step).step
        key = (piece.part, piece.component, piece.imaginary, at, element_type)
        known = self._known.get(key)
        if known is None:
            if len(self._known) >= _MOST_KNOWN:
                self._known = {}
            try:
                known = self._new_request(piece, element_type)
            except NotDefined as failure:
                known = failure
            self._known[key] = known
        if isinstance(known, NotDefined):
            raise known.with_traceback(None)
        return known.at(piece.step)

    def _new_request(self, piece: Piece, element_type: Optional[int]) -> Request:
        pieces = self._pieces(piece, element_type)
        components = self.components if piece.component == ALL_COMPONENTS else 1
        values = sum(of_type.values for of_type in pieces) // components
        return Request(self.case, f"{self.name!r} on part {piece.part}", pieces,
                       (values, components) if components > 1 else (values,))

    def _pieces(self, piece: Piece, element_type: Optional[int]) -> list[Piece]:
        """The stored arrays that make up the values on a part, one for each element type, or one
        of type 0 for values per node; `NotDefined` if there are none."""
        types: Sequence[int] = [0]
        if element_type is not None:
            types = [int32(element_type)]
        elif self.location == "element" and not self.on_particles:
            part = self._parts(piece.step)[piece.part]
            if not part.is_block:
                # Without elements the library still knows whether the variable is defined.
                types = [int(t) for t in part.elements if t.has_cells] or [0]
        pieces = [piece._replace(element_type=number) for number in types]
        return [of_type._replace(values=self.case._size(of_type)) for of_type in pieces]

    def _parts(self, own_step: int) -> Parts:
        """Parts of the model where the values of a step are."""
        if self.on_particles or self.is_constant or \
                self.case.model_change != Change.CONNECTIVITY:
            return self.case.parts
        return self.case.parts_at(self.geometry_step(own_step))

    def _component(self, component: Union[int, str, None]) -> int:
        if component is None:
            return ALL_COMPONENTS
        if isinstance(component, str):
            if component not in self.component_names:
                raise_unknown_name(f"component of {self.name!r}", component, self.component_names)
            return self.component_names.index(component)
        if component < 0:
            raise OutOfRange(f"there is no component {component}", Code.OUT_OF_RANGE)
        return int32(component)


class Named(Sequence, Generic[_Named]):
    """Parts or variables: by number, also from the end, or by the first of a name."""

    _what = ""
    _finder = ""

    def __init__(self, case: Case, count: int) -> None:
        self.case = case
        self._items: list[Optional[_Named]] = [None] * count

    def __len__(self) -> int:
        return len(self._items)

    def __getitem__(self, key: Any) -> Any:
        if isinstance(key, slice):
            return [self[i] for i in range(*key.indices(len(self)))]
        at = self.index(key)
        item = self._items[at]
        if item is None:
            item = self._items[at] = self._make(at)
        return item

    def __iter__(self) -> Iterator[_Named]:
        return (self[i] for i in range(len(self)))

    def __contains__(self, key: Any) -> bool:
        return key in self.names if isinstance(key, str) else key in list(self)

    def __repr__(self) -> str:
        return "\n".join([f"{len(self)} {self._what}s", *(f"  {item!r}" for item in self)])

    @property
    def names(self) -> list[str]:
        """Names in order; they need not be distinct."""
        return [item.name for item in self]

    def index(self, key: Any, *_range: int) -> int:  # type: ignore[override]
        """Number of an item; `NameNotFound` or `OutOfRange` if there is none."""
        if isinstance(key, str):
            found = ctypes.c_int32()
            try:
                self.case._call(self._finder, *self._place(), bytes_of(key), ctypes.byref(found))
            except OutOfRange:
                raise_unknown_name(self._what, key, self.names)
            return found.value
        number = key.index if isinstance(key, (Part, Variable)) else int32(key)
        if not -len(self) <= number < len(self):
            raise OutOfRange(f"there is no {self._what} {number}: there are {len(self)}",
                             Code.OUT_OF_RANGE)
        return number % len(self)

    def _place(self) -> tuple[int, ...]:
        return ()

    def _make(self, at: int) -> _Named:
        raise NotImplementedError


class Parts(Named[Part]):
    """The parts of the model at a step."""

    _what, _finder = "part", "morvex_find_part"

    def __init__(self, case: Case, step: int) -> None:
        count = ctypes.c_uint64()
        case._call("morvex_get_part_count", step, ctypes.byref(count))
        super().__init__(case, count.value)
        self.step = step

    def _place(self) -> tuple[int, ...]:
        return (self.step,)

    def _make(self, at: int) -> Part:
        return Part(self.case, at, self.step)


class Variables(Named[Variable]):
    """The variables of a case."""

    _what, _finder = "variable", "morvex_find_variable"

    def _make(self, at: int) -> Variable:
        return Variable(self.case, at)

