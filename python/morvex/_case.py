"""An open result file."""

from __future__ import annotations

import ctypes
import functools
import os
import weakref
from typing import Any, Iterator, Optional, Sequence, Union

import numpy as np

from ._constants import Change, Code
from ._contents import AnyStep, Particles, Parts, Step, Variable, Variables
from ._errors import ClosedError, Error, OutOfRange, make_error
from ._library import OpenOptions, Summary, check, int32, library, log_message, text_of
from ._read import Batch, Piece, Progress, Reading, Request, address_of, struct_of


class Case:
    """An open result file: variables by name, parts, particles, steps.

    Any thread may use it, several at once too. Reads release the interpreter's lock. It closes at
    the end of a `with` block, by `close`, or when it is collected.
    """

    def __init__(self, path: Union[str, os.PathLike], threads: int = 0) -> None:
        self.path = os.fsdecode(path)
        handle = ctypes.c_void_p()
        options = OpenOptions(threads=threads, message=log_message)
        encoded = os.fsencode(path)
        if b"\0" in encoded:
            raise ValueError("the path has a zero byte")
        opened = library().morvex_open
        try:
            check(opened(encoded, ctypes.byref(options), ctypes.byref(handle)))
        except Error as failure:
            raise make_error(failure.code, f"{self.path}: {failure.text}") from None
        self._threads = threads
        self._handle: Optional[ctypes.c_void_p] = handle
        self._close = weakref.finalize(self, library().morvex_close, handle)
        self._summary = Summary()
        self._call("morvex_get_summary", ctypes.byref(self._summary))
        self.title = text_of(self._summary.title)
        self.model_change = Change(self._summary.model.change)
        self._parts: dict[int, Parts] = {}
        self.variables = Variables(self, self._summary.variables)
        self.particles = None if self._summary.particles.change < 0 else Particles(self)

    # --- closing

    def close(self) -> None:
        """Closes the file, after the reads of other threads have ended. May be called again."""
        self._handle = None
        self._close()

    @property
    def closed(self) -> bool:
        """Whether the file is closed."""
        return self._handle is None

    def __enter__(self) -> Case:
        return self

    def __exit__(self, *_failure: Any) -> None:
        self.close()

    def __reduce__(self) -> Any:  # another process opens the file again
        return Case, (self.path, self._threads)

    # --- what there is

    @property
    def parts(self) -> Parts:
        """The parts of the model at its first step, by number or name."""
        return self.parts_at(0)

    def parts_at(self, step: AnyStep) -> Parts:
        """The parts at a step of the model; they differ where the connectivity changes."""
        at = self._model_step(step) if self.model_change == Change.CONNECTIVITY else 0
        self._open_handle()
        parts = self._parts.get(at)
        if parts is None:
            parts = Parts(self, at)
            first = self._parts.get(0, parts)
            self._parts = {0: first, at: parts} if first.step == 0 else {at: parts}
        return parts

    @functools.cached_property
    def times(self) -> np.ndarray:
        """(steps,) float64: the times of all time sets in use, without doubles, rising; in the unit
        of the analysis. A file without time sets has one step at time 0."""
        model, particles = self._summary.model, self._summary.particles
        used = {g.timeset for g in (model, particles) if g.change > 0 and g.timeset >= 0}
        used |= {v.timeset for v in self.variables if v.timeset is not None}
        return np.unique(np.concatenate([self._times(s) for s in used] or
                                        [self._times(None)])).astype(np.float64)

    @functools.cached_property
    def steps(self) -> tuple[Step, ...]:
        """The steps of `times`, which all functions accept."""
        return tuple(Step(i, float(time)) for i, time in enumerate(self.times))

    @functools.cached_property
    def timesets(self) -> tuple[np.ndarray, ...]:
        """The time sets as stored, float32."""
        found = []
        for number in range(self._summary.timesets):
            values, count = ctypes.POINTER(ctypes.c_float)(), ctypes.c_uint64()
            self._call("morvex_get_times", number, ctypes.byref(values), ctypes.byref(count))
            found.append(np.array(values[:count.value], np.float32))
        return tuple(found)

    def step_of(self, step: AnyStep) -> Step:
        """A step of `steps` by its number, from the last below 0."""
        if isinstance(step, Step):
            return step
        if not -len(self.steps) <= step < len(self.steps):
            raise OutOfRange(f"there is no step {step}: there are {len(self.steps)}",
                             Code.OUT_OF_RANGE)
        return self.steps[step]

    def box(self, step: AnyStep = 0) -> Optional[np.ndarray]:
        """(2, 3) float32, smallest and largest x, y, z of the model; None if the file has none."""
        corners, given = (ctypes.c_float * 6)(), ctypes.c_int32()
        self._call("morvex_get_box", self._model_step(step), corners, ctypes.byref(given))
        return np.array(corners, np.float32).reshape(2, 3) if given.value else None

    def __getitem__(self, name: str) -> Variable:
        if not isinstance(name, str):
            raise TypeError("a case has its variables by name; `variables` has them by number")
        return self.variables[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self.variables.names)

    def __len__(self) -> int:
        return len(self.variables)

    def __contains__(self, name: object) -> bool:
        return name in self.variables.names

    def keys(self) -> list[str]:
        """Names of the variables."""
        return self.variables.names

    def __repr__(self) -> str:
        if self.closed:
            return f"<morvex.Case {self.path!r} (closed)>"
        title = f" {self.title!r}," if self.title else ""
        nodes = sum(part.nodes for part in self.parts) if len(self.parts) <= 1000 else None
        what = [f"{len(self.parts)} parts"]
        what += [f"{nodes:,} nodes"] if nodes is not None else []
        what += [f"{self.particles.count():,} particles"] if self.particles else []
        what += [f"{len(self)} variables", f"{len(self.steps)} steps"]
        span = f" ({self.times[0]:g} to {self.times[-1]:g})" if len(self.times) > 1 else ""
        return f"<morvex.Case {self.path!r}:{title} {', '.join(what)}{span}>"

    # --- reading

    def read(self, requests: Sequence[Request], out: Optional[Sequence[Any]] = None, *,
             threads: int = 0, progress: Optional[Progress] = None,
             errors: str = "raise") -> list[Any]:
        """Reads arrays in one go, which is faster than one after the other.

        Ctrl-C ends the read before the next array and raises KeyboardInterrupt.

        :param requests: made by `request` of parts, particles and variables of this case
        :param out: arrays to fill, one for each request; None, also for single ones, for new arrays
        :param threads: most threads; 0 for the number of the case
        :param progress: called by this thread with arrays done, arrays in all and bytes delivered,
            not for each array; if it returns anything true, the read ends and raises `Cancelled`
        :param errors: "raise" to raise the failure of the first array that failed, after all others
            are read; "return" to return failures in place of their arrays
        """
        if errors not in ("raise", "return"):
            raise ValueError('errors must be "raise" or "return"')
        requests = list(requests)
        for request in requests:
            if request.case is not self:
                raise ValueError(f"{request!r} is of another case")
        given = [None] * len(requests) if out is None else list(out)
        if len(given) != len(requests):
            raise ValueError(f"{len(requests)} requests, but {len(given)} arrays to fill")
        targets = [request.target(array) for request, array in zip(requests, given)]
        batch = Batch(requests, [request.step for request in requests],
                      [address_of(target) for target in targets])
        with Reading(self._open_handle(), threads, progress) as reading:
            reading.add(batch)
            reading.wait()
        failures = batch.outcomes()
        if errors == "raise":
            for failure in failures:
                if failure:
                    raise failure
        return [failure or target for failure, target in zip(failures, targets)]

    def read_one(self, request: Request, out: Optional[np.ndarray] = None) -> np.ndarray:
        """Reads one array."""
        return self.read([request], None if out is None else [out])[0]

    def finish_geometry(self) -> None:
        """Drops what reads of coordinates keep for each other."""
        self._call("morvex_finish_geometry")

    # --- used by parts, particles and variables

    def _open_handle(self) -> ctypes.c_void_p:
        handle = self._handle
        if handle is None:
            raise ClosedError(f"the case {self.path!r} is closed", Code.BAD_HANDLE)
        return handle

    def _call(self, function: str, *arguments: Any) -> None:
        check(getattr(library(), function)(self._open_handle(), *arguments))

    def _size(self, piece: Piece) -> int:
        count = ctypes.c_uint64()
        self._call("morvex_get_size", struct_of(piece), ctypes.byref(count), None)
        return count.value

    def _times(self, timeset: Optional[int]) -> np.ndarray:
        """Times of a set; of none, and in a file without sets, a single 0."""
        if timeset is None or timeset >= self._summary.timesets:
            return np.zeros(1, np.float32)
        return self.timesets[timeset]

    def _own_step(self, step: AnyStep, timeset: Optional[int], count: int) -> int:
        """The own step of what has `count` steps at the times of a time set."""
        if isinstance(step, Step):
            if timeset is None:
                return 0
            later = np.flatnonzero(self._times(timeset) > step.time)
            return min(max(int(later[0]) - 1, 0) if len(later) else count - 1, count - 1)
        number = int32(step)
        number += count if number < 0 else 0
        if number < 0:
            raise OutOfRange(f"there is no step {step}: there are {count}", Code.OUT_OF_RANGE)
        return number

    def _geometry_step(self, geometry: Any, step: AnyStep) -> int:
        timeset = geometry.timeset if geometry.timeset >= 0 and geometry.change > 0 else None
        return self._own_step(step, timeset, max(geometry.steps, 1))

    def _model_step(self, step: AnyStep) -> int:
        return self._geometry_step(self._summary.model, step)
