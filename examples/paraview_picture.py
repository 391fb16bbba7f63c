"""Renders parts of a result file's last step, coloured by a variable:

    pvbatch paraview_picture.py PLUGIN RESULT PICTURE.png VARIABLE [WORD...]

PLUGIN is the path of morvex_reader.py. The words choose the parts with one of them in their names.
"""

import sys

from paraview.simple import (ColorBy, GetActiveViewOrCreate, GetAnimationScene, LoadPlugin,
                             OpenDataFile, Render, SaveScreenshot, Show)


def main(plugin, path, picture, variable, *words):
    LoadPlugin(plugin, remote=True, ns=globals())
    reader = OpenDataFile(path)
    reader.UpdatePipelineInformation()
    if words:
        reader.Parts = [part for part in reader.Parts if any(word in part for word in words)]
    reader.Arrays = [variable]
    view = GetActiveViewOrCreate("RenderView")
    view.ViewSize = [1200, 800]
    GetAnimationScene().UpdateAnimationUsingDataTimeSteps()
    view.ViewTime = reader.TimestepValues[-1] if len(reader.TimestepValues) else 0
    shown = Show(reader, view)
    reader.UpdatePipeline(view.ViewTime)
    ColorBy(shown, ("POINTS" if variable in reader.PointData.keys() else "CELLS", variable))
    shown.RescaleTransferFunctionToDataRange(False, True)
    shown.SetScalarBarVisibility(view, True)
    view.CameraViewUp = [0, 0, 1]
    view.CameraPosition = [-1, -2, 1]
    view.CameraFocalPoint = [0, 0, 0]
    view.ResetCamera(True)
    Render(view)
    SaveScreenshot(picture, view)


main(*sys.argv[1:])
