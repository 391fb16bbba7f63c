#!/usr/bin/env python3
"""A picture must show something; a second one of the same result must show the same."""

import sys

import numpy as np
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkIOImage import vtkPNGReader


def pixels(path):
    reader = vtkPNGReader()
    reader.SetFileName(path)
    reader.Update()
    return vtk_to_numpy(reader.GetOutput().GetPointData().GetScalars()).astype(int)


first, second = pixels(sys.argv[1]), pixels(sys.argv[-1])
shown = np.any(first != first[0], axis=1).mean()
differing = np.any(abs(first - second) > 32, axis=1).mean()
print(f"{shown:.1%} of the pixels show the model, {differing:.2%} differ")
sys.exit(not (shown > 0.05 and differing < 0.01))
