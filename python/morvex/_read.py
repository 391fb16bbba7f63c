"""Requests for arrays, and the batches that read them into numpy's memory."""

from __future__ import annotations

import ctypes
import functools
import threading
from typing import Any, Callable, NamedTuple, Optional, Sequence, Union

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

    __slots__ = ("case", "what", "step", "shape", "dtype", "nbytes", "sizes", "structs")

    def __init__(self, case: Any, what: str, pieces: Sequence[Piece],
                 shape: tuple[int, ...]) -> None:
        self.case = case
        self.what = what
        self.step = pieces[0].step  #: of all pieces, whatever is in the structs
        self.shape = shape
        self.dtype = _DTYPES[pieces[0].kind]
        self.sizes = [piece.values * self.dtype.itemsize for piece in pieces]  #: in bytes
        self.nbytes = sum(self.sizes)
        self.structs = b"".join(bytes(struct_of(piece)) for piece in pieces)

    def at(self, step: int) -> Request:
        """The same at another step, where it must have the same size."""
        other = object.__new__(Request)
        other.case, other.what, other.step = self.case, self.what, step
        other.shape, other.dtype, other.nbytes = self.shape, self.dtype, self.nbytes
        other.sizes, other.structs = self.sizes, self.structs
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


def struct_of(piece: Piece) -> RequestStruct:
    """The library's request, without a target."""
    return RequestStruct(*piece[:-1], _INTERLEAVED, None, piece.values)


class _Batch:
    """One call of the library for all pieces of some requests."""

    def __init__(self, handle: Any, requests: Sequence[Request], targets: Sequence[np.ndarray],
                 threads: int) -> None:
        self.handle = handle
        self.requests = requests
        self.targets = targets  # kept alive while the library writes
        self.threads = threads
        self.failures: dict[int, Error] = {}
        self.progress = (0, 0, 0)
        self.stop = ctypes.create_string_buffer(b"0", 2)  # "1" ends the read
        self.is_finished = threading.Event()
        self.outcome: Optional[BaseException] = None
        addresses = []
        for request, target in zip(requests, targets):
            address = target.__array_interface__["data"][0]
            for size in request.sizes:
                addresses.append(address)
                address += size
        self.structs = np.frombuffer(bytearray().join(r.structs for r in requests), _STRUCT)
        self.structs["step"] = np.repeat([request.step for request in requests],
                                         [len(request.sizes) for request in requests])
        self.structs["target"] = addresses

    def run(self, progress: Optional[Progress] = None) -> None:
        """Reads; a failure of some arrays is left in `failures`, any other is raised."""
        def on_progress(_user: Any, done: int, total: int, size: int) -> int:
            self.progress = (done, total, size)
            return int(self.stop.value)

        def on_failure(_user: Any, index: int, info: Any) -> None:
            self.failures[index] = error_of(info.contents)

        options = ReadOptions(threads=self.threads, failed=FailedFunction(on_failure))
        if progress:
            options.progress = ProgressFunction(on_progress)
        else:
            options.progress, options.user = _stop_function(), ctypes.addressof(self.stop)
        structs = ctypes.cast(self.structs.ctypes.data, ctypes.POINTER(RequestStruct))
        code = library().morvex_read(self.handle, structs, len(self.structs),
                                     ctypes.byref(options))
        if code == Code.CANCELLED or not self.failures:
            check(code)

    def run_aside(self, progress: Optional[Progress]) -> None:
        """Reads in another thread, so that this one can be interrupted and shows the progress."""
        def work() -> None:
            try:
                self.run(progress)
            except BaseException as failure:
                self.outcome = failure
            finally:
                self.is_finished.set()

        worker = threading.Thread(target=work, name="morvex read")
        try:
            worker.start()
            while not self.is_finished.wait(_SHOWN_EVERY if progress else None):
                if progress and progress(*self.progress):
                    self.stop.value = b"1"
            worker.join()
            if progress and not self.outcome:
                progress(*self.progress)
        except BaseException:
            self.stop.value = b"1"
            _join(worker)
            raise
        if self.outcome:
            raise self.outcome

    def results(self) -> list[Union[np.ndarray, Error]]:
        """The targets; the failure in place of an array that could not be read.

        Of an array of several element types those without values in the file become NaN.
        """
        if not self.failures:
            return list(self.targets)
        results: list[Union[np.ndarray, Error]] = []
        at = 0
        for request, target in zip(self.requests, self.targets):
            count = len(request.sizes)
            failures = {i - at: self.failures[i] for i in range(at, at + count)
                        if i in self.failures}
            absent = [i for i in failures if isinstance(failures[i], NotDefined)]
            at += count
            if not failures:
                results.append(target)
            elif len(absent) < len(failures) or len(absent) == count:
                others = [i for i in failures if i not in absent]
                results.append(failures[min(others or absent)])
            else:
                flat = target.reshape(-1)
                for i in absent:
                    start = sum(request.sizes[:i])
                    end = start + request.sizes[i]
                    flat[start // flat.itemsize:end // flat.itemsize] = np.nan
                results.append(target)
        return results


@functools.lru_cache(maxsize=None)
def _stop_function() -> Any:
    """A progress function that returns the number in the text that `user` points to.

    It is the C library's atoi, which ignores the other arguments: threads that call it don't wait
    for the interpreter's lock, as they would with a function in Python.
    """
    atoi = ctypes.CDLL(None).atoi
    return ctypes.cast(atoi, ProgressFunction)


def _join(worker: threading.Thread) -> None:
    """Waits for the end of the array that is being read, whatever signals arrive meanwhile."""
    while worker.is_alive():
        try:
            worker.join()
        except KeyboardInterrupt:
            pass


def read_batch(handle: Any, requests: Sequence[Request], targets: Sequence[np.ndarray],
               threads: int, progress: Optional[Progress]) -> list[Union[np.ndarray, Error]]:
    """Reads all arrays into the targets and returns them; a failure in place of one that failed."""
    batch = _Batch(handle, requests, targets, threads)
    is_main = threading.current_thread() is threading.main_thread()  # the one that Ctrl-C reaches
    is_long = sum(request.nbytes for request in requests) >= _WORTH_A_THREAD
    if progress or (is_main and is_long):
        batch.run_aside(progress)
    else:
        batch.run()
    return batch.results()

