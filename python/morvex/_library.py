"""libmorvex by ctypes: structs, functions, and where the library is found."""

from __future__ import annotations

import ctypes
import ctypes.util
import functools
import glob
import logging
import operator
import os
import pathlib
from ctypes import POINTER, c_char_p, c_double, c_float, c_int32, c_uint32, c_uint64, c_void_p
from typing import Any, Iterator, Optional

from ._constants import Code
from ._errors import Error, LibraryError, OutOfRange, make_error
from ._version import __version__

_SONAME = "libmorvex.so.1"
_ELEMENT_TYPES = 34
_log = logging.getLogger("morvex")
_log.addHandler(logging.NullHandler())


class ErrorInfo(ctypes.Structure):
    _fields_ = [("code", c_int32), ("step", c_int32), ("part", c_int32), ("path", c_char_p),
                ("text", c_char_p)]


MessageFunction = ctypes.CFUNCTYPE(None, c_void_p, c_int32, c_char_p)
ProgressFunction = ctypes.CFUNCTYPE(c_int32, c_void_p, c_uint64, c_uint64, c_uint64)
FailedFunction = ctypes.CFUNCTYPE(None, c_void_p, c_uint64, POINTER(ErrorInfo))


class _Sized(ctypes.Structure):
    """A struct that begins with its size, by which the library knows the caller's release."""

    def __init__(self, **fields: Any) -> None:
        super().__init__(size=ctypes.sizeof(self), **fields)


class OpenOptions(_Sized):
    _fields_ = [("size", c_uint64), ("threads", c_int32), ("reserved", c_int32),
                ("message", MessageFunction), ("user", c_void_p)]


class Geometry(ctypes.Structure):
    _fields_ = [("change", c_int32), ("timeset", c_int32), ("steps", c_uint64)]


class Summary(_Sized):
    _fields_ = [("size", c_uint64), ("title", c_char_p), ("timesets", c_uint64),
                ("parts", c_uint64), ("variables", c_uint64), ("model", Geometry),
                ("particles", Geometry), ("version", c_uint32 * 3), ("reserved", c_uint32)]


class PartStruct(_Sized):
    _fields_ = [("size", c_uint64), ("name", c_char_p), ("id", c_int32), ("is_block", c_int32),
                ("nodes", c_uint64), ("elements", c_uint64 * _ELEMENT_TYPES),
                ("border_faces", c_uint64 * _ELEMENT_TYPES), ("extents", c_int32 * 4)]


class VariableStruct(_Sized):
    _fields_ = [("size", c_uint64), ("name", c_char_p), ("description", c_char_p),
                ("imaginary_name", c_char_p), ("type", c_int32), ("components", c_int32),
                ("location", c_int32), ("is_complex", c_int32), ("frequency", c_float),
                ("is_constant", c_int32), ("on_particles", c_int32), ("timeset", c_int32),
                ("steps", c_uint64)]


class RequestStruct(ctypes.Structure):
    _fields_ = [("kind", c_int32), ("step", c_int32), ("part", c_int32),
                ("element_type", c_int32), ("variable", c_int32), ("component", c_int32),
                ("imaginary", c_int32), ("layout", c_int32), ("target", c_void_p),
                ("capacity", c_uint64), ("count", c_uint64), ("code", c_int32),
                ("reserved", c_int32), ("more", c_uint64 * 3)]


class ReadOptions(_Sized):
    _fields_ = [("size", c_uint64), ("threads", c_int32), ("reserved", c_int32),
                ("progress", ProgressFunction), ("failed", FailedFunction), ("user", c_void_p)]


_FILE = c_void_p
_OUT32, _OUT64 = POINTER(c_int32), POINTER(c_uint64)
_FUNCTIONS = {
    "morvex_version": (c_char_p, []),
    "morvex_code_name": (c_char_p, [c_int32]),
    "morvex_last_error": (POINTER(ErrorInfo), []),
    "morvex_component_name": (c_char_p, [c_int32, c_int32]),
    "morvex_nodes_per_element": (c_int32, [c_int32]),
    "morvex_open": (c_int32, [c_char_p, POINTER(OpenOptions), POINTER(_FILE)]),
    "morvex_close": (c_int32, [_FILE]),
    "morvex_get_summary": (c_int32, [_FILE, POINTER(Summary)]),
    "morvex_get_times": (c_int32, [_FILE, c_int32, POINTER(POINTER(c_float)), _OUT64]),
    "morvex_get_part": (c_int32, [_FILE, c_int32, c_int32, POINTER(PartStruct)]),
    "morvex_get_part_count": (c_int32, [_FILE, c_int32, _OUT64]),
    "morvex_get_particle_count": (c_int32, [_FILE, c_int32, _OUT64]),
    "morvex_get_box": (c_int32, [_FILE, c_int32, POINTER(c_float), _OUT32]),
    "morvex_get_variable": (c_int32, [_FILE, c_int32, POINTER(VariableStruct)]),
    "morvex_find_variable": (c_int32, [_FILE, c_char_p, _OUT32]),
    "morvex_find_part": (c_int32, [_FILE, c_int32, c_char_p, _OUT32]),
    "morvex_get_geometry_step": (c_int32, [_FILE, c_int32, c_int32, _OUT32]),
    "morvex_get_constant": (c_int32, [_FILE, c_int32, c_int32, POINTER(c_float)]),
    "morvex_read": (c_int32, [_FILE, POINTER(RequestStruct), c_uint64, POINTER(ReadOptions)]),
    "morvex_get_size": (c_int32, [_FILE, POINTER(RequestStruct), _OUT64, _OUT64]),
    "morvex_get_range": (c_int32, [_FILE, POINTER(RequestStruct), POINTER(c_double), _OUT64]),
    "morvex_has_array": (c_int32, [_FILE, POINTER(RequestStruct), _OUT32]),
    "morvex_get_path": (c_int32, [_FILE, POINTER(RequestStruct), c_uint64, c_char_p, c_uint64,
                                  _OUT64]),
    "morvex_finish_geometry": (c_int32, [_FILE]),
}


def _candidates() -> Iterator[str]:
    """Places of the library in the order in which they are tried."""
    here = pathlib.Path(__file__).resolve().parent
    yield str(here / _SONAME)
    libraries = here.parents[2]  # of an installation: lib/python3/dist-packages/morvex
    yield str(libraries / _SONAME)
    yield from sorted(glob.glob(str(libraries / "*-linux-gnu" / _SONAME)))


def _load_file() -> ctypes.CDLL:
    named = os.environ.get("MORVEX_LIBRARY")
    found = next(filter(os.path.exists, _candidates()), None)
    name = named or found or _SONAME
    try:
        return ctypes.CDLL(name)
    except OSError as failure:
        other = None if named or found else ctypes.util.find_library("morvex")
        if other:
            return ctypes.CDLL(other)
        hint = "MORVEX_LIBRARY names it" if named else "set MORVEX_LIBRARY to its path"
        raise LibraryError(f"libmorvex can't be loaded ({hint}): {failure}") from None


def _numbers(version: str) -> tuple[int, ...]:
    return tuple(int(number) for number in version.split(".") if number.isdigit())


@functools.lru_cache(maxsize=None)
def library() -> ctypes.CDLL:
    """The library, loaded at the first call; `LibraryError` if it is missing or too old."""
    loaded = _load_file()
    try:
        for name, (result, arguments) in _FUNCTIONS.items():
            function = getattr(loaded, name)
            function.restype = result
            function.argtypes = arguments
    except AttributeError as failure:
        raise LibraryError(f"the library is too old for morvex {__version__}: {failure}") from None
    version = loaded.morvex_version().decode()
    if _numbers(version) < _numbers(__version__):
        raise LibraryError(f"the library is too old: {loaded._name} has release {version}, "
                           f"morvex for Python needs {__version__}")
    return loaded


def library_version() -> str:
    """Release of the library that is in use."""
    return library().morvex_version().decode()


def text_of(value: Optional[bytes]) -> str:
    """Texts of files have no stated encoding: bytes that are no UTF-8 survive a round trip."""
    return (value or b"").decode("utf-8", "surrogateescape")


def bytes_of(value: str) -> bytes:
    return value.encode("utf-8", "surrogateescape")


def int32(value: Any) -> int:
    """A number for the library, which ctypes would cut to 32 bits."""
    number = operator.index(value)
    if not -2**31 <= number < 2**31:
        raise OutOfRange(f"the number {number} is out of range", Code.OUT_OF_RANGE)
    return number


def error_of(info: ErrorInfo) -> Error:
    """The exception for a failure that the library describes."""
    return make_error(info.code, text_of(info.text), text_of(info.path),
                      info.step if info.step >= 0 else None, info.part if info.part >= 0 else None)


def check(code: int) -> None:
    """Raises the failure of the thread's last call, whose code is given."""
    if code == Code.OK:
        return
    info = library().morvex_last_error().contents
    if info.code != code:  # a file that was collected in between has been closed
        raise make_error(code, text_of(library().morvex_code_name(code)))
    raise error_of(info)


@MessageFunction
def log_message(_user: Optional[int], level: int, text: bytes) -> None:
    """Passes messages of the library to the logger "morvex"."""
    _log.log(logging.ERROR if level else logging.WARNING, "%s", text_of(text))
