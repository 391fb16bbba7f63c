"""Draws parts of a result file's last step, coloured by a variable, with VTK alone:

    vtk_picture.py RESULT PICTURE.png VARIABLE [PART...]
"""

import sys

import vtkmodules.vtkRenderingOpenGL2  # draws for vtkRenderingCore
from vtkmodules.vtkFiltersGeometry import vtkCompositeDataGeometryFilter
from vtkmodules.vtkIOImage import vtkPNGWriter
from vtkmodules.vtkRenderingCore import (vtkActor, vtkPolyDataMapper, vtkRenderer, vtkRenderWindow,
                                         vtkWindowToImageFilter)

import morvex


def surface_of(path, name, parts):
    """The surface of the parts, or of all that have values of the variable."""
    with morvex.open(path) as case:
        step = case.steps[-1]
        grids = morvex.to_vtk(case, step, parts=parts or case[name].requests(step),
                              variables=[name])
    surface = vtkCompositeDataGeometryFilter()
    surface.SetInputDataObject(grids)
    surface.Update()
    return surface.GetOutput()


def draw(surface, name, picture):
    mapper = vtkPolyDataMapper()
    mapper.SetInputData(surface)
    values = surface.GetPointData().GetArray(name) or surface.GetCellData().GetArray(name)
    if surface.GetPointData().HasArray(name):
        mapper.SetScalarModeToUsePointFieldData()
    else:
        mapper.SetScalarModeToUseCellFieldData()
    mapper.SelectColorArray(name)
    mapper.SetScalarRange(values.GetRange(-1))  # of the magnitude
    mapper.CreateDefaultLookupTable()
    mapper.GetLookupTable().SetVectorModeToMagnitude()
    mapper.GetLookupTable().SetHueRange(0.67, 0.0)  # blue to red
    actor = vtkActor()
    actor.SetMapper(mapper)
    renderer = vtkRenderer()
    renderer.AddActor(actor)
    renderer.SetBackground(1, 1, 1)
    camera = renderer.GetActiveCamera()
    camera.SetPosition(-1, -2, 1)
    camera.SetViewUp(0, 0, 1)
    renderer.ResetCamera()
    window = vtkRenderWindow()
    window.SetOffScreenRendering(True)
    window.SetSize(900, 600)
    window.AddRenderer(renderer)
    window.Render()
    image = vtkWindowToImageFilter()
    image.SetInput(window)
    writer = vtkPNGWriter()
    writer.SetFileName(picture)
    writer.SetInputConnection(image.GetOutputPort())
    writer.Write()


def main(path, picture, name, *parts):
    draw(surface_of(path, name, parts), name, picture)


main(*sys.argv[1:])
