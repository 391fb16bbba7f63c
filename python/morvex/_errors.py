"""Exceptions: all are `Error`, and the natural class of Python where there is one."""

from __future__ import annotations

import difflib
from typing import Iterable, NoReturn, Optional

from ._constants import Code


class Error(Exception):
    """A failure of the library or of the package.

    `code` is its `Code`, `path` the dataset that failed ("" where none is known), `step` and `part`
    what was asked for (None where there is none).
    """

    def __init__(self, text: str, code: Code = Code.INTERNAL, path: str = "",
                 step: Optional[int] = None, part: Optional[int] = None) -> None:
        super().__init__(text)
        self.text = text
        self.code = code
        self.path = path
        self.step = step
        self.part = part

    def __str__(self) -> str:  # a KeyError would show the text in quotes
        return self.text

    def __reduce__(self):  # so that failures pass between processes
        return type(self), (self.text, self.code, self.path, self.step, self.part)


class LibraryError(Error, OSError):
    """libmorvex is missing, can't be loaded, or is older than this package."""


class OpenError(Error, OSError):
    """The system refuses the file."""


class NameNotFound(Error, KeyError):
    """No part or variable has that name."""


class NotDefined(Error, KeyError):
    """The file has no such values: nothing is wrong with it."""


class OutOfRange(Error, IndexError):
    """No such step, part, element type, variable or component."""


class ClosedError(Error, ValueError):
    """The case is closed."""


class Cancelled(Error):
    """A progress function ended the read."""


class OutOfMemory(Error, MemoryError):
    """Memory ran out."""


_CLASSES = {
    Code.BAD_HANDLE: ClosedError,
    Code.OUT_OF_RANGE: OutOfRange,
    Code.NOT_DEFINED: NotDefined,
    Code.NO_SUCH_DATA: NotDefined,
    Code.CANCELLED: Cancelled,
    Code.CANNOT_OPEN: OpenError,
    Code.OUT_OF_MEMORY: OutOfMemory,
}


def make_error(code: int, text: str, path: str = "", step: Optional[int] = None,
               part: Optional[int] = None) -> Error:
    """The exception for a code; a code of a later release becomes a plain `Error`."""
    try:
        known = Code(code)
    except ValueError:
        known = Code.INTERNAL
        text = f"{text} (code {code})"
    if path and path not in text:
        text = f"{text} [{path}]"
    return _CLASSES.get(known, Error)(text, known, path, step, part)


def raise_unknown_name(what: str, name: str, names: Iterable[str]) -> NoReturn:
    """Raises `NameNotFound` with up to three names that resemble the wrong one."""
    by_lower = {known.lower(): known for known in names}
    near = [by_lower[key] for key in difflib.get_close_matches(name.lower(), by_lower, 3, 0.5)]
    hint = f"; did you mean {' or '.join(map(repr, near))}?" if near else ""
    raise NameNotFound(f"there is no {what} {name!r}{hint}", Code.OUT_OF_RANGE)
