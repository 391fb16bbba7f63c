"""The release of the package, which is the oldest release of the library that it works with."""

__version__ = "7.0.1"
