#!/usr/bin/env python3
"""What the Python package and the ParaView reader add to the library's time.

    hosts.py [--quick] FILE...

Each way of reading has a handle of its own and walks through the steps like the other, the two of
them in turn. The library alone gets the same requests with targets that are kept, so that it needs
no new memory. Times are those of the clock, medians over all steps and rounds; so are the ratios.
The ranks of mpirun have one thread each, and the slowest one counts.
"""

import argparse
import ctypes
import itertools
import json
import os
import pathlib
import statistics
import subprocess
import sys
import time

import numpy as np

sys.modules["paraview"] = None  # plain VTK
sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "plugins/paraview"))
from morvex_reader import MorvexReader

import morvex
from morvex import _library
from morvex.grids import Grids

THREADS = len(os.sched_getaffinity(0))
STRUCT = np.dtype(_library.RequestStruct)
RANKS = (1, 2)


class Requests:
    """What a piece of Python asks the library for, and the same without Python."""

    def __init__(self, work):
        library = _library.library()
        function, seen = library.morvex_read, []

        def read(handle, structs, count, options):
            seen.append(ctypes.string_at(structs, count * STRUCT.itemsize))
            return function(handle, structs, count, options)

        library.morvex_read = read
        try:
            work()
        finally:
            library.morvex_read = function
        self.structs = np.frombuffer(bytearray().join(seen), STRUCT)

    def keep_targets(self):
        """Gives the requests memory of their own, which is never new when it is measured."""
        sizes = np.array([morvex.Kind(kind).dtype.itemsize for kind in self.structs["kind"]],
                         np.uint64) * self.structs["capacity"]
        starts = np.cumsum(np.append(0, (sizes + np.uint64(63)) // np.uint64(64) * np.uint64(64)))
        self._memory = np.ones(int(starts[-1]), np.uint8)
        self.structs["target"] = self._memory.__array_interface__["data"][0] + starts[:-1]

    def read(self, case):
        options = _library.ReadOptions()
        _library.library().morvex_read(
            case._handle, ctypes.cast(self.structs.ctypes.data,
                                      ctypes.POINTER(_library.RequestStruct)),
            len(self.structs), ctypes.byref(options))


def seconds(work):
    start = time.perf_counter()
    work()
    return time.perf_counter() - start


def show(what, pairs, arrays=""):
    """A row: the first of each pair beside the second, in the order of the columns."""
    first, second = (statistics.median(column) * 1e3 for column in zip(*pairs))
    ratios = sorted(a / b for a, b in pairs)
    low, high = ratios[len(ratios) // 4], ratios[len(ratios) * 3 // 4]
    print(f"  {what:34} {arrays:>7} {first:9.2f} {second:9.2f}   {statistics.median(ratios):5.2f}"
          f"   {low:.2f} to {high:.2f}", flush=True)


def measure_batches(path, rounds):
    """All coordinates and values of a step in one call of `Case.read`, beside the library's."""
    with morvex.open(path, threads=THREADS) as case, morvex.open(path, threads=THREADS) as other:
        batches = []
        for step in case.steps:
            requests = [part.request(morvex.Kind.COORDINATES, step) for part in case.parts]
            for variable in case.variables:
                if not variable.is_constant and not variable.on_particles:
                    requests += variable.requests(step).values()
            targets = [np.ones(request.shape, request.dtype) for request in requests]
            call = Requests(lambda: case.read(requests, targets, errors="return"))
            call.read(other)
            batches.append((requests, targets, call))
        pairs = [(seconds(lambda: case.read(requests, targets, errors="return")),
                  seconds(lambda: call.read(other)))
                 for _ in range(rounds) for requests, targets, call in batches]
        show("Case.read by the C call", pairs, len(batches[0][0]))


def measure_steps(path, rounds):
    """Each step after the other, by the reader, beside the library."""
    reader = MorvexReader()
    reader.SetFileName(path)
    reader.Update()
    times = reader.GetTimestepValues()
    # The step before has been shown, so that what steps share is not asked for.
    calls = {}
    for time_of_step in [*times, times[0]]:
        calls[time_of_step] = Requests(lambda: reader.UpdateTimeStep(time_of_step))
    with morvex.open(path, threads=THREADS) as other:
        for call in calls.values():
            call.keep_targets()
            call.read(other)
        pairs = []
        for _, at in itertools.product(range(rounds), times):
            if len(calls[at].structs):
                pairs.append((seconds(lambda: reader.UpdateTimeStep(at)),
                              seconds(lambda: calls[at].read(other))))
        if pairs and len(times) > 1:
            show("next step, reader by library", pairs, len(calls[times[-1]].structs))


def measure_first(path, rounds):
    """A step with its mesh, from a file that was opened just now, beside the library."""
    def opened():
        return morvex.open(path, threads=THREADS)

    with opened() as case:
        call = Requests(lambda: Grids(case).at(0))
    call.keep_targets()
    pairs = []
    for _ in range(rounds):
        with opened() as case, opened() as other:
            pairs.append((seconds(lambda: Grids(case).at(0)), seconds(lambda: call.read(other))))
    show("first step, Grids by library", pairs, len(call.structs))


def run_rank(path, rounds):
    """One rank of a run: prints the times of the slowest one as JSON."""
    from mpi4py import MPI
    ranks = MPI.COMM_WORLD
    reader = MorvexReader()
    reader.SetFileName(path)
    reader.SetThreads(1)
    times = reader.GetTimestepValues()

    def update(at):
        ranks.Barrier()
        return ranks.allreduce(
            seconds(lambda: reader.UpdateTimeStep(at, ranks.rank, ranks.size, 0)), MPI.MAX)

    first = update(times[0])
    later = [update(at) for _ in range(rounds) for at in [*times[1:], times[0]]]
    if ranks.rank == 0:
        print(json.dumps({"first": first, "later": later}))


def measure_ranks(path, rounds):
    """Two ranks beside one, in runs that take turns."""
    seen = {count: {"first": [], "later": []} for count in RANKS}
    for _, count in itertools.product(range(rounds), RANKS):
        command = ["mpirun", "--allow-run-as-root", "--oversubscribe", "-np", str(count),
                   sys.executable, __file__, "--rank", path]
        answer = subprocess.run(command, check=True, timeout=600, stdout=subprocess.PIPE)
        for what, values in json.loads(answer.stdout).items():
            seen[count][what] += [values] if what == "first" else values
    one, two = seen[RANKS[0]], seen[RANKS[1]]
    show("first step, 2 ranks by 1", list(zip(two["first"], one["first"])))
    show("next step, 2 ranks by 1", list(zip(two["later"], one["later"])))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("files", nargs="+", metavar="FILE")
    parser.add_argument("--quick", action="store_true", help="seconds, for a test of the program")
    parser.add_argument("--rank", action="store_true", help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.rank:
        run_rank(options.files[0], 3)
        return
    rounds = 2 if options.quick else 9
    print(f"{os.cpu_count()} processors, wall time, medians; threads of a read: {THREADS}")
    for path in options.files:
        print(f"\n{path}\n  {'':34} {'arrays':>7} {'ms':>9} {'beside':>9}   ratio   middle half")
        measure_batches(path, rounds)
        measure_steps(path, rounds)
        measure_first(path, rounds)
        measure_ranks(path, 1 if options.quick else 3)


if __name__ == "__main__":
    main()
