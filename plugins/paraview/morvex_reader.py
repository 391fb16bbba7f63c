"""ParaView reader of compressed finite-element result files, by the Python package morvex.

ParaView: Tools > Manage Plugins > Load New, or the environment variable PV_PLUGIN_PATH. Plain VTK:
`from morvex_reader import MorvexReader`. In a parallel run each rank reads its share of the parts.

ParaView 5.11 with Python 3.11, as on Debian 12, loads plugins like this one with the folder
python311 in PYTHONPATH.
"""

import os
import sys

from vtkmodules.util.vtkAlgorithm import VTKPythonAlgorithmBase
from vtkmodules.vtkCommonCore import vtkDataArraySelection, vtkOutputWindow
from vtkmodules.vtkCommonDataModel import vtkMultiBlockDataSet
from vtkmodules.vtkCommonExecutionModel import vtkAlgorithm, vtkStreamingDemandDrivenPipeline

try:
    from paraview.util.vtkAlgorithm import smdomain, smhint, smproperty, smproxy
except ImportError:  # plain VTK: the decorators describe the class to ParaView alone

    class _Ignored:
        def __getattr__(self, _name):
            return lambda *_arguments, **_options: lambda function: function

    smdomain = smhint = smproperty = smproxy = _Ignored()

try:
    import morvex
except ImportError:  # a source tree, or an archive of both
    sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../python"))
    import morvex
from morvex.grids import PARTICLES, Grids, array_labels, part_labels

_SHOWN_FAILURES = 5  # of an update
_VALUES_OF_A_BLOCK = 20_000  # that are read in 0.1 ms, about what the objects of a block take


@smproxy.reader(name="MorvexReader", label="Morvex Reader", extensions="mvx sdf",
                file_description="Compressed result file")
class MorvexReader(VTKPythonAlgorithmBase):
    """Delivers a vtkMultiBlockDataSet with one block for each part and the particles last."""

    def __init__(self):
        super().__init__(nInputPorts=0, nOutputPorts=1, outputType="vtkMultiBlockDataSet")
        self._name = None
        self._stamp = None  # of the file that is open
        self._grids = None
        self._numbers = {}  # of parts, by label
        self._variables = {}  # their numbers, by label
        self._is_offering = False
        self._threads = 0
        self._shared = None  # the last question for a share, and its answer
        self._parts = self._selection()
        self._arrays = self._selection()

    def _selection(self):
        selection = vtkDataArraySelection()
        selection.AddObserver("ModifiedEvent", lambda *_: self._is_offering or self.Modified())
        return selection

    @smproperty.stringvector(name="FileName", panel_visibility="never")
    @smdomain.filelist()
    @smhint.filechooser(extensions="mvx sdf", file_description="Compressed result file")
    def SetFileName(self, name):
        """The file to read; None or "" for none."""
        if name != self._name:
            self._name = name
            self._close()
            self.Modified()

    @smproperty.doublevector(name="TimestepValues", information_only="1",
                             si_class="vtkSITimeStepsProperty")
    def GetTimestepValues(self):
        """Times of all steps."""
        grids = self._open()
        return None if grids is None else grids.case.times.tolist()

    @smproperty.dataarrayselection(name="Parts")
    def GetPartSelection(self):
        """Parts by name, and the particles. Those that are switched off are not read."""
        self._open()
        return self._parts

    @smproperty.dataarrayselection(name="Arrays")
    def GetArraySelection(self):
        """Variables by name. Those that are switched off are not read."""
        self._open()
        return self._arrays

    @smproperty.intvector(name="Threads", default_values=0, panel_visibility="advanced")
    @smdomain.intrange(min=0)
    def SetThreads(self, threads):
        """Most threads of a read; 0 for this rank's share of the processors."""
        if threads != self._threads:
            self._threads = threads
            self.Modified()

    def RequestInformation(self, _request, _inputs, outputs):
        """Reports the steps, and that the work can be shared."""
        grids = self._open()
        if grids is None:
            return 0
        information = outputs.GetInformationObject(0)
        pipeline = vtkStreamingDemandDrivenPipeline
        times = grids.case.times.tolist()
        information.Remove(pipeline.TIME_STEPS())
        for time in times:
            information.Append(pipeline.TIME_STEPS(), time)
        information.Remove(pipeline.TIME_RANGE())
        information.Append(pipeline.TIME_RANGE(), times[0])
        information.Append(pipeline.TIME_RANGE(), times[-1])
        information.Set(vtkAlgorithm.CAN_HANDLE_PIECE_REQUEST(), 1)
        return 1

    def RequestData(self, _request, _inputs, outputs):
        """Reads the step that is not later than the time that is asked for."""
        grids = self._open()
        if grids is None:
            return 0
        information = outputs.GetInformationObject(0)
        pipeline = vtkStreamingDemandDrivenPipeline
        times = grids.case.times
        index = 0
        if information.Has(pipeline.UPDATE_TIME_STEP()):
            time = information.Get(pipeline.UPDATE_TIME_STEP())
            index = max(int(times.searchsorted(time, side="right")) - 1, 0)
        piece = information.Get(pipeline.UPDATE_PIECE_NUMBER()) or 0
        pieces = information.Get(pipeline.UPDATE_NUMBER_OF_PIECES()) or 1
        # Ranks may share a machine, and how many do is not known here: as if all did.
        threads = self._threads or max(len(os.sched_getaffinity(0)) // pieces, 1)
        failures = []
        try:
            step = grids.case.steps[index]
            shown = [self._variables[label] for label in self._switched_on(self._arrays)]
            grids.at(step, self._share(step, piece, pieces), shown,
                     lambda done, total, _bytes: self._report(done / max(total, 1)), failures,
                     threads=threads, out=vtkMultiBlockDataSet.GetData(information))
        except morvex.Cancelled:
            return 0
        except morvex.Error as failure:
            return self._fail(failure)
        for failure in failures[:_SHOWN_FAILURES]:
            self._fail(failure)  # the rest still shows
        if len(failures) > _SHOWN_FAILURES:
            self._fail(f"{len(failures) - _SHOWN_FAILURES} more arrays can't be read")
        return 1

    def _share(self, step, piece, pieces):
        """Parts of a rank: the most costly one left falls to the rank that has the least.

        It depends neither on the step, as long as the mesh is the same, nor on the arrays that are
        on: a mesh stays where it is. The last answer is kept.
        """
        case = self._grids.case
        parts = case.parts_at(step)
        question = parts, piece, pieces, self.GetMTime()
        if self._shared and self._shared[0] == question:
            return self._shared[1]
        costs = {}
        for label in self._switched_on(self._parts):
            number = self._numbers[label]
            if number == PARTICLES:
                costs[number] = self._cost(case.particles.count(-1), 0, True)
            elif number < len(parts):
                part = parts[number]
                costs[number] = self._cost(part.nodes, sum(part.elements.values()), False)
        loads = [0] * pieces
        mine = []
        for number in sorted(costs, key=lambda n: (-costs[n], str(n))):
            rank = loads.index(min(loads))
            loads[rank] += costs[number]
            if rank == piece:
                mine.append(number)
        self._shared = question, mine
        return mine

    def _cost(self, nodes, elements, is_particles):
        """Of the steps of a block, in values: coordinates that change and all variables that it may
        have. What is read once counts little."""
        case = self._grids.case
        values = _VALUES_OF_A_BLOCK + nodes + elements
        if case.model_change != morvex.Change.STATIC or is_particles:
            values += 3 * nodes
        for variable in case.variables:
            if variable.is_constant or variable.on_particles != is_particles:
                continue
            is_per_node = is_particles or variable.location == "node"
            values += variable.components * (nodes if is_per_node else elements)
        return values

    @staticmethod
    def _switched_on(selection):
        names = map(selection.GetArrayName, range(selection.GetNumberOfArrays()))
        return [name for name in names if selection.ArrayIsEnabled(name)]

    def _report(self, fraction):
        self.UpdateProgress(fraction)
        return self.GetAbortExecute()

    def _open(self):
        """The open file; None, with an error in VTK's output, if it can't be opened."""
        try:
            status = os.stat(self._name or "")
            stamp = status.st_mtime_ns, status.st_size, status.st_ino
        except OSError:
            stamp = None  # the library words the reason
        if self._grids and stamp == self._stamp:
            return self._grids
        self._close()
        if not self._name:
            return None
        try:
            case = morvex.open(self._name)
        except morvex.Error as failure:
            self._fail(failure)
            return None
        self._grids, self._stamp = Grids(case), stamp
        self._numbers = {label: i for i, label in enumerate(part_labels(case))}
        if case.particles is not None:
            self._numbers.setdefault(PARTICLES, PARTICLES)
        self._is_offering = True
        _offer(self._parts, self._numbers)
        self._variables = {label: i for i, (label, _) in enumerate(array_labels(case))}
        _offer(self._arrays, self._variables)
        self._is_offering = False
        return self._grids

    def _close(self):
        if self._grids:
            self._grids.case.close()
        self._grids = self._shared = None

    def _fail(self, failure):
        name = "" if str(self._name) in str(failure) else f"{self._name}: "
        vtkOutputWindow.GetInstance().DisplayErrorText(f"ERROR: {name}{failure}\n")
        return 0


def _offer(selection, names):
    """Makes the names those of a selection; what was switched off stays so."""
    for i in reversed(range(selection.GetNumberOfArrays())):
        if selection.GetArrayName(i) not in names:
            selection.RemoveArrayByIndex(i)
    for name in names:
        if not selection.ArrayExists(name):
            selection.AddArray(name)
