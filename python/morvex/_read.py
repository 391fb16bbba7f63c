"""Requests for arrays, and the batches that read them into numpy's memory."""

from __future__ import annotations

import ctypes
import functools
import queue
import threading
from typing import Any, Callable, NamedTuple, Optional, Sequence

import numpy as np

from ._constants import Code, Kind
from ._errors import Error, NotDefined
from ._library import (FailedFunction, ProgressFunction, ReadOptions, RequestStruct, check,
                       error_of, library)

ALL_COMPONENTS = -1
_INTERLEAVED = 1
_WORTH_A_THREAD = 1 << 20  # bytes, about 1 ms of decoding; a thread costs 0.1 ms
_SHOWN_EVERY = 0.05  # s between two calls of a progress function
_STRUCT = np.dtype(RequestStruct)

#: Receives arrays done, arrays in all and bytes delivered; anything true ends the read.
Progress = Callable[[int, int, int], Any]


class Piece(NamedTuple):
    """One array of the file as the library counts, and how many values it has."""

    kind: int
    step: int = 0
    part: int = 0
    element_type: int = 0
    variable: int = 0
    component: int = ALL_COMPONENTS
    imaginary: int = 0
    values: int = 0


class Request:
    """An array that `Case.read` can read: `shape`, `dtype`, and the stored arrays in it.

    Parts, particles and variables make requests; nothing is decoded for that.
    """

    __slots__ = ("case", "what", "step", "shape", "dtype", "nbytes", "pieces", "structs")

    def __init__(self, case: Any, what: str, pieces: Sequence[Piece],
                 shape: tuple[int, ...]) -> None:
        self.case = case
        self.what = what
        self.step = pieces[0].step  #: of all pieces, whatever is in the structs
        self.shape = shape
        self.dtype = _DTYPES[pieces[0].kind]
        self.pieces = len(pieces)
        self.nbytes = 0
        structs = []
        for piece in pieces:
            struct = struct_of(piece)
            struct.target = self.nbytes  # from the beginning of the array
            structs.append(bytes(struct))
            self.nbytes += piece.values * self.dtype.itemsize
        self.structs = b"".join(structs)

    def at(self, step: int) -> Request:
        """The same at another step, where it must have the same size."""
        other = object.__new__(Request)
        other.case, other.what, other.step = self.case, self.what, step
        other.shape, other.dtype, other.nbytes = self.shape, self.dtype, self.nbytes
        other.pieces, other.structs = self.pieces, self.structs
        return other

    @property
    def label(self) -> str:
        """What is read, for messages."""
        return f"{self.what}, step {self.step}"

    def __repr__(self) -> str:
        return f"<morvex.Request {self.label}: {self.shape} {self.dtype}>"

    def target(self, out: Optional[np.ndarray]) -> np.ndarray:
        """`out` if it can take the array as it is, a new array for None; else ValueError."""
        if out is None:
            return np.empty(self.shape, self.dtype)
        if out.shape != self.shape or out.dtype != self.dtype:
            raise ValueError(f"out must be {self.shape} {self.dtype}, not {out.shape} {out.dtype}")
        if not out.flags.carray:
            raise ValueError("out must be contiguous, aligned and writeable")
        return out


_DTYPES = {int(kind): kind.dtype for kind in Kind}
_NOTHING = ctypes.c_char * 0


def struct_of(piece: Piece) -> RequestStruct:
    """The library's request, without a target."""
    return RequestStruct(*piece[:-1], _INTERLEAVED, None, piece.values)


def address_of(memory: Any) -> int:
    """Where the memory of an object with a writeable buffer begins."""
    return ctypes.addressof(_NOTHING.from_buffer(memory))


class Batch:
    """One call of the library for all pieces of some requests.

    :param steps: of the requests, whatever steps they have
    :param addresses: of the arrays to fill, which the caller keeps until the read has ended
    """

    def __init__(self, requests: Sequence[Request], steps: Sequence[int],
                 addresses: Sequence[int]) -> None:
        self.nbytes = sum([request.nbytes for request in requests])
        self._requests = requests
        self._structs = np.frombuffer(bytearray().join([r.structs for r in requests]), _STRUCT)
        rows = np.array([steps, addresses], np.uint64)
        if len(self._structs) > len(requests):
            rows = rows.repeat([request.pieces for request in requests], axis=1)
        self._structs["step"] = rows[0]
        self._structs["target"] += rows[1]
        self._failures: dict[int, Error] = {}

    def read(self, handle: Any, threads: int, progress: Any, user: Any) -> None:
        """Reads all arrays. Keeps the failures of single ones; any other is raised."""
        def on_failure(_user: Any, index: int, info: Any) -> None:
            self._failures[index] = error_of(info.contents)

        options = ReadOptions(threads=threads, failed=FailedFunction(on_failure),
                              progress=progress, user=user)
        structs = ctypes.cast(self._structs.ctypes.data, ctypes.POINTER(RequestStruct))
        code = library().morvex_read(handle, structs, len(self._structs), ctypes.byref(options))
        if code == Code.CANCELLED or not self._failures:
            check(code)

    def outcomes(self) -> list[Optional[Error]]:
        """The failure of each request, or None.

        Of an array of several element types those without values in the file become NaN.
        """
        if not self._failures:
            return [None] * len(self._requests)
        outcomes: list[Optional[Error]] = []
        at = 0
        for request in self._requests:
            rows = range(at, at + request.pieces)
            at += request.pieces
            failed = [row for row in rows if row in self._failures]
            absent = [row for row in failed if isinstance(self._failures[row], NotDefined)]
            if len(absent) < len(failed) or len(absent) == request.pieces:
                others = [row for row in failed if row not in absent]
                outcomes.append(self._failures[min(others or absent)])
                continue
            for row in absent:
                struct = self._structs[row]
                values = (ctypes.c_float * int(struct["capacity"])).from_address(
                    int(struct["target"]))
                np.frombuffer(values, np.float32)[:] = np.nan
            outcomes.append(None)
        return outcomes


class Reading:
    """Reads batches in the order in which they are added, if they are large in a thread of its own.

    Then the calling thread has time for other work, and Ctrl-C interrupts it. At the end of a
    `with` block nothing is read any more: a failure of the block ends the read before the next
    array.
    """

    def __init__(self, handle: Any, threads: int = 0,
                 progress: Optional[Progress] = None) -> None:
        self._handle = handle
        self._threads = threads
        self._progress = progress
        self._seen = (0, 0, 0)
        self._stop = ctypes.create_string_buffer(b"0", 2)  # "1" ends the read
        self._batches: queue.SimpleQueue[Optional[Batch]] = queue.SimpleQueue()
        self._worker: Optional[threading.Thread] = None
        self._is_finished = threading.Event()
        self._failure: Optional[BaseException] = None

    def add(self, batch: Batch) -> None:
        """Reads a batch, or begins to. Its outcomes are known after `wait`."""
        if self._worker is None and not self._progress and batch.nbytes < _WORTH_A_THREAD:
            self._read(batch)
            return
        self._batches.put(batch)
        if self._worker is None:
            self._worker = threading.Thread(target=self._work, name="morvex read")
            self._worker.start()

    def wait(self) -> None:
        """Waits for the end of all batches, shows the progress, raises what ended them."""
        if self._worker is None:
            return
        self._batches.put(None)
        while not self._is_finished.wait(_SHOWN_EVERY if self._progress else None):
            if self._progress and self._progress(*self._seen):
                self._stop.value = b"1"
        if self._failure:
            raise self._failure
        if self._progress:
            self._progress(*self._seen)

    def __enter__(self) -> Reading:
        return self

    def __exit__(self, *_failure: Any) -> None:
        """Waits for the end of the array that is being read, whatever signals arrive meanwhile."""
        self._stop.value = b"1"
        self._batches.put(None)
        while self._worker and self._worker.is_alive():
            try:
                self._worker.join()
            except KeyboardInterrupt:
                pass

    def _work(self) -> None:
        try:
            while batch := self._batches.get():
                self._read(batch)
        except BaseException as failure:
            self._failure = failure
        finally:
            self._is_finished.set()

    def _read(self, batch: Batch) -> None:
        def on_progress(_user: Any, done: int, total: int, size: int) -> int:
            self._seen = (done, total, size)
            return int(self._stop.value)

        progress = ProgressFunction(on_progress) if self._progress else _stop_function()
        batch.read(self._handle, self._threads, progress, ctypes.addressof(self._stop))


@functools.lru_cache(maxsize=None)
def _stop_function() -> Any:
    """A progress function that returns the number in the text that `user` points to.

    It is the C library's atoi, which ignores the other arguments: threads that call it don't wait
    for the interpreter's lock, as they would with a function in Python.
    """
    atoi = ctypes.CDLL(None).atoi
    return ctypes.cast(atoi, ProgressFunction)
