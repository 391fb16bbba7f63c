#!/usr/bin/env python3
"""Writes the last step of a result file for programs that read VTK's files (.vtm)."""

import sys

from vtkmodules.vtkIOXML import vtkXMLMultiBlockDataWriter

import morvex


def main(path, output):
    with morvex.open(path) as case:
        writer = vtkXMLMultiBlockDataWriter()
        writer.SetFileName(output)
        writer.SetInputData(morvex.to_vtk(case, -1))
        if not writer.Write():
            sys.exit(f"can't write {output}")


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2])
