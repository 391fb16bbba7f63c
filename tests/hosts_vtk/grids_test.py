#!/usr/bin/env python3
"""Cells as VTK's objects, and the reader in plain VTK. Needs VTK, not ParaView."""

import pathlib
import re
import sys
import types
import unittest
import unittest.mock

import numpy as np

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path += [str(ROOT / "tests/python"), str(ROOT / "plugins/paraview")]
sys.modules["paraview"] = None  # plain VTK

from morvex_reader import MorvexReader
from support import sample
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkCommonDataModel import vtkCompositeDataSet, vtkMultiBlockDataSet

import morvex
from morvex import ElementType, grids

WEDGE = np.array([[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 1], [1, 0, 1], [0, 1, 1]], float)
CUBE = np.array([[x, y, z] for z in (0, 1) for x, y in ((0, 0), (1, 0), (1, 1), (0, 1))], float)
CUBE_FACES = [[0, 3, 2, 1], [4, 5, 6, 7], [0, 1, 5, 4], [1, 2, 6, 5], [2, 3, 7, 6], [3, 0, 4, 7]]
TETRAHEDRON_FACES = [[0, 2, 1], [0, 1, 4], [1, 2, 4], [2, 0, 4]]  # of nodes of the cube


def with_middles(corners, edges):
    return np.concatenate([corners, [(corners[a] + corners[b]) / 2 for a, b in edges]])


def grid_of(cells, faces=()):
    """A grid of (type, coordinates) and of polyhedra that share the nodes of the cube."""
    types = [t for t, _ in cells] + [ElementType.POLYHEDRON] * len(faces)
    lists = []
    for _, xyz in cells:
        lists.append(np.arange(len(xyz)) + sum(map(len, lists)))
    start = sum(map(len, lists))
    lists += [start + np.concatenate(cell) for cell in faces]
    offsets = np.cumsum([0] + [len(nodes) for nodes in lists])
    tables = (np.array([len(cell) for cell in faces], np.int32),
              np.array([len(face) for cell in faces for face in cell], np.int32)) if faces else ()
    grid = grids._cells(*map(grids._copied, (np.array(types, np.uint8), offsets,
                                             np.concatenate(lists), *tables)))
    grid.SetPoints(grids._points(grids._copied(np.concatenate(
        [*(xyz for _, xyz in cells), CUBE]).astype(np.float32))))
    return grid


def array(points):
    return vtk_to_numpy(points.GetData())


class CellsOfVtk(unittest.TestCase):
    def test_faces_look_outward_and_middles_are_between_their_corners(self):
        wedge15 = with_middles(WEDGE, [(0, 1), (1, 2), (2, 0), (3, 4), (4, 5), (5, 3), (0, 3),
                                       (1, 4), (2, 5)])
        bar3 = np.array([[0, 0, 0], [1, 0, 0], [2, 0, 0]], float)  # the middle between the ends
        grid = grid_of([(ElementType.BAR3, bar3), (ElementType.PENTAHEDRON6, WEDGE),
                              (ElementType.GHOST_PENTAHEDRON6, WEDGE),
                              (ElementType.PENTAHEDRON15, wedge15),
                              (ElementType.HEXAHEDRON8, CUBE)], [CUBE_FACES, TETRAHEDRON_FACES])
        self.assertEqual(array(grid.GetCell(0).GetPoints())[:, 0].tolist(), [0, 2, 1])
        self.assertEqual(vtk_to_numpy(grid.GetCellGhostArray()).tolist(), [0, 0, 1, 0, 0, 0, 0])
        for i in range(1, grid.GetNumberOfCells()):
            cell = grid.GetCell(i)
            center = array(cell.GetPoints()).mean(axis=0)
            self.assertGreaterEqual(cell.GetNumberOfFaces(), 4)
            for f in range(cell.GetNumberOfFaces()):
                face = array(cell.GetFace(f).GetPoints())
                normal = np.cross(face[1] - face[0], face[2] - face[0])
                self.assertGreater(normal @ (face.mean(axis=0) - center), 0, (i, f))
            for e in range(cell.GetNumberOfEdges()):
                edge = array(cell.GetEdge(e).GetPoints())
                if len(edge) == 3:
                    np.testing.assert_allclose(edge[2], (edge[0] + edge[1]) / 2)

    def test_polyhedra_have_each_node_once_and_all_faces(self):
        grid = grid_of([(ElementType.TETRAHEDRON4, CUBE[:4])], [CUBE_FACES, TETRAHEDRON_FACES])
        for i, faces in ((1, CUBE_FACES), (2, TETRAHEDRON_FACES)):
            cell = grid.GetCell(i)
            ids = [cell.GetPointId(n) for n in range(cell.GetNumberOfPoints())]
            self.assertEqual(ids, sorted({4 + n for face in faces for n in face}))
            seen = [[cell.GetFace(f).GetPointId(n) - 4 for n in range(len(face))]
                    for f, face in enumerate(faces)]
            self.assertEqual(seen, faces)


class PlainVtk(unittest.TestCase):
    def test_the_reader_keeps_what_steps_share_and_leaves_out_what_is_off(self):
        reader = MorvexReader()
        reader.SetFileName(sample())
        reader.GetArraySelection().DisableArray("stress")
        reader.GetPartSelection().DisableArray("plate")
        reader.Update()
        case = reader._grids.case
        sizes = []

        class Watched(grids.Batch):
            def __init__(self, requests, *rest):
                sizes.append(sorted(request.label for request in requests))
                super().__init__(requests, *rest)

        self.enterContext(unittest.mock.patch.object(grids, "Batch", Watched))
        times = case.times

        def update(index):
            self.assertEqual(reader.UpdateTimeStep(times[index]), 1)
            return reader.GetOutputDataObject(0)

        second = update(1)
        self.assertFalse([label for label in sizes[-1] if "cell" in label or "stress" in label])
        self.assertFalse([label for label in sizes[-1] if "part 2" in label])
        self.assertIsNone(second.GetBlock(2))
        self.assertEqual([second.GetMetaData(i).Get(vtkCompositeDataSet.NAME()) for i in range(4)],
                         ["tube", "block", "plate", "particles"])
        update(0)
        again = update(1)
        for part, xyz in enumerate([second.GetBlock(i).GetPoints() for i in (0, 1)]):
            np.testing.assert_array_equal(array(again.GetBlock(part).GetPoints()), array(xyz))
        reader.GetArraySelection().EnableArray("stress")
        reader.Update()
        self.assertTrue(sizes[-1])
        self.assertFalse([label for label in sizes[-1] if "stress" not in label])
        whole = reader.GetOutputDataObject(0)
        np.testing.assert_array_equal(
            vtk_to_numpy(whole.GetBlock(1).GetCellData().GetArray("stress")),
            case["stress"].read(1, 1))
        self.assertAlmostEqual(whole.GetFieldData().GetArray("crush_force").GetValue(0),
                               case["crush_force"].read(1))

    def test_what_was_delivered_stays_and_a_read_that_ends_early_spoils_nothing(self):
        def values(whole):
            grid = whole.GetBlock(1)
            return [array(grid.GetPoints()), *(vtk_to_numpy(data.GetArray(i)) for data in (
                grid.GetPointData(), grid.GetCellData()) for i in range(data.GetNumberOfArrays()))]

        with morvex.open(sample()) as case:
            shown, target = grids.Grids(case), vtkMultiBlockDataSet()
            first = shown.at(0)
            kept = values(first)
            copies = [v.copy() for v in kept]
            self.assertIs(shown.at(1, out=target), target)
            with unittest.mock.patch.object(grids, "_WORTH_SHOWING", 0), \
                    self.assertRaises(ZeroDivisionError):
                shown.at(2, progress=lambda *_: 1 // 0, out=target)
            self.assertIsNone(target.GetBlock(1))
            shown.at(2, out=target)
            for found, expected in zip(values(target), values(morvex.to_vtk(case, 2))):
                np.testing.assert_array_equal(found, expected)
            for found, expected, again in zip(kept, copies, values(first)):
                np.testing.assert_array_equal(found, expected)
                np.testing.assert_array_equal(again, expected)

    def test_arrays_have_distinct_names(self):
        def variable(name, imaginary=""):
            return types.SimpleNamespace(name=name, imaginary_name=imaginary,
                                         is_complex=bool(imaginary))

        case = types.SimpleNamespace(variables=[
            variable("stress"), variable("stress"), variable(""), variable("wave", "phase"),
            variable("phase"), variable("wind", "wind")])
        names = [name for names, each in zip(grids.array_labels(case), case.variables)
                 for name in names[:1 + each.is_complex]]
        self.assertEqual(names, ["stress (variable 0)", "stress (variable 1)", "(variable 2)",
                                 "wave", "wave (imaginary)", "phase", "wind", "wind (imaginary)"])

    def test_ranks_share_parts_and_processors(self):
        reader = MorvexReader()
        reader.SetFileName(sample())
        asked = []
        at = grids.Grids.at

        def watched(self, step, parts, *rest, threads, **options):
            asked.append((list(parts), threads))
            return at(self, step, parts, *rest, threads=threads, **options)

        processors = unittest.mock.patch("os.sched_getaffinity", lambda _: set(range(8)))
        with unittest.mock.patch.object(grids.Grids, "at", watched), processors:
            for rank in range(3):
                reader.UpdateTimeStep(reader.GetTimestepValues()[rank], rank, 3, 0)
            reader.SetThreads(5)
            reader.UpdateTimeStep(reader.GetTimestepValues()[0], 0, 9, 0)
        self.assertEqual([threads for _, threads in asked], [2, 2, 2, 5])
        parts = [part for share, _ in asked[:3] for part in share]
        self.assertEqual(sorted(map(str, parts)), ["0", "1", "2", grids.PARTICLES])
        self.assertTrue(all(share for share, _ in asked[:3]))

    def test_a_step_that_is_not_there_and_a_closed_case(self):
        case = morvex.open(sample())
        with self.assertRaisesRegex(IndexError, "step 5"):
            morvex.to_vtk(case, 5)
        case.close()
        with self.assertRaisesRegex(morvex.ClosedError, "is closed"):
            morvex.to_vtk(case)

    def test_what_is_damaged_is_left_out_and_told_at_each_step(self):
        with morvex.open(sample()) as case:
            whole = morvex.to_vtk(case, 1)
        data = bytearray(pathlib.Path(sample()).read_bytes())
        first, last = len(data) * 35 // 100, len(data) * 45 // 100  # in the values
        data[first:last] = b"\xFF" * (last - first)
        copy = pathlib.Path(sample()).with_suffix(".damaged")
        copy.write_bytes(data)
        with morvex.open(copy) as case:
            failures, again = [], []
            shown = grids.Grids(case)
            output = shown.at(1, failures=failures)
            shown.at(1, failures=again)
            self.assertTrue(failures)
            self.assertEqual([str(f) for f in failures], [str(f) for f in again])
            with self.assertRaisesRegex(morvex.Error, re.escape(str(failures[0]))):
                morvex.to_vtk(case, 1)
        lost = 0
        for i in range(whole.GetNumberOfBlocks()):
            block, intact = output.GetBlock(i), whole.GetBlock(i)
            if block is None:
                lost += 1
                continue
            for found, expected in ((block.GetPointData(), intact.GetPointData()),
                                    (block.GetCellData(), intact.GetCellData())):
                lost += expected.GetNumberOfArrays() - found.GetNumberOfArrays()
                for k in range(found.GetNumberOfArrays()):
                    values = found.GetAbstractArray(k)
                    np.testing.assert_array_equal(
                        vtk_to_numpy(values),
                        vtk_to_numpy(expected.GetAbstractArray(values.GetName())))
        self.assertEqual(lost, len(failures))


if __name__ == "__main__":
    unittest.main()
