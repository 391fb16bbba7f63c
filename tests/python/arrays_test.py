#!/usr/bin/env python3
"""Every array of the sample by the Python package, against what was written."""

import threading
import unittest

import numpy as np
from support import sample, truth

import morvex
from morvex import ElementType, Kind


class Arrays(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.truth = truth()
        cls.case = morvex.open(sample())
        cls.addClassCleanup(cls.case.close)

    def expect(self, values, probes, tolerance):
        self.assertTrue(probes)
        for at, value in probes.items():
            self.assertLessEqual(abs(float(values[int(at)]) - value),
                                 tolerance["absolute"] + tolerance["relative"] * abs(value))

    def test_contents_and_coordinates(self):
        case, known = self.case, self.truth
        np.testing.assert_allclose(case.times, known["times"])
        self.assertEqual(case.parts.names, ["tube", "block", "plate"])
        for part, entry in zip(case.parts, known["parts"]):
            self.assertEqual(part.nodes, entry["nodes"])
            self.assertEqual({str(int(t)): n for t, n in part.elements.items()}, entry["elements"])
            for step, axes in zip(case.steps, entry["coordinates"]):
                xyz = part.coordinates(step)
                self.assertEqual(xyz.shape, (part.nodes, 3))
                for c, probes in enumerate(axes):
                    self.expect(xyz[:, c], probes, known["coordinateTolerance"])
        np.testing.assert_array_equal(case.parts["tube"].coordinates(-1),
                                      case.parts[0].coordinates(case.steps[-1]))

    def test_all_variables(self):
        case = self.case
        self.assertEqual(case.keys(), [entry["name"] for entry in self.truth["variables"]])
        for entry in self.truth["variables"]:
            variable = case[entry["name"]]
            of_part = {}
            for array in entry["arrays"]:
                options = {"component": array["component"], "imaginary": bool(array["imaginary"])}
                if variable.location == "element":
                    options["element_type"] = array["elementType"]
                values = variable.read(array["step"], array["part"], **options)
                self.expect(values, array["values"], entry["tolerance"])
                place = (array["step"], array["part"], bool(array["imaginary"]))
                of_part.setdefault(place, {})[array["elementType"], array["component"]] = values
            for (step, part, imaginary), pieces in of_part.items():  # all components and types
                types = sorted({t for t, _ in pieces})
                by_type = [np.stack([pieces[key] for key in sorted(pieces) if key[0] == t], -1)
                           for t in types]
                whole = variable.read(step, part, imaginary=imaginary)
                together = np.concatenate(by_type)
                np.testing.assert_array_equal(whole, together.reshape(whole.shape))
                if not imaginary and not variable.on_particles:
                    np.testing.assert_array_equal(variable.read(step)[part], whole)
                    self.assertEqual(variable.range(step, part), (whole.min(), whole.max()))
        force = [case["crush_force"].read(step) for step in case.steps]
        np.testing.assert_allclose(force, self.truth["crushForce"], rtol=1e-6)

    def test_cells_are_the_stored_elements(self):
        for part in self.case.parts:
            cells = part.cells(-1)
            types = np.concatenate([np.full(n, t) for t, n in part.elements.items()])
            np.testing.assert_array_equal(cells.types, types)
            stored = np.concatenate([part.connectivity(t).ravel() for t in part.elements])
            np.testing.assert_array_equal(cells.connectivity + 1, stored)
            self.assertEqual(cells.offsets[-1], len(stored))
            self.assertEqual(np.unique(cells.connectivity).tolist(), list(range(part.nodes)))
            np.testing.assert_array_equal(part.node_ids(), np.arange(part.nodes))
            ids = np.concatenate([part.element_ids(t) for t in part.elements])
            np.testing.assert_array_equal(ids, np.arange(len(types)))

    def test_border_faces_belong_to_their_parents(self):
        part = self.case.parts["block"]
        faces = part.border_faces(ElementType.QUADRILATERAL4)
        self.assertEqual(faces.nodes.shape[1], 4)
        self.assertEqual(set(faces.parent_types), {ElementType.HEXAHEDRON8})
        parents = part.connectivity(ElementType.HEXAHEDRON8)[faces.parent_ids]
        for face, parent in zip(faces.nodes, parents):
            self.assertLessEqual(set(face), set(parent))

    def test_particles(self):
        particles = self.case.particles
        speed = self.case["fragment_speed"]
        self.assertEqual(particles.coordinates(2).shape, (particles.count(2), 3))
        self.assertEqual(particles.ids(2).tolist(), list(range(1, particles.count(2) + 1)))
        self.assertEqual(len(speed.read(2)), particles.count(2))
        self.assertTrue(speed.on_particles)

    def test_a_batch_fills_given_arrays_and_reports_progress_to_this_thread(self):
        case, seen = self.case, []
        requests = [part.request(Kind.COORDINATES, step) for part in case.parts
                    for step in case.steps]
        given = [np.full(request.shape, -1, request.dtype) for request in requests]

        def progress(done, total, size):
            seen.append((done, total, size, threading.get_ident()))

        results = case.read(requests, given, progress=progress, threads=2)
        for result, target, request in zip(results, given, requests):
            self.assertIs(result, target)
            np.testing.assert_array_equal(target, case.read([request])[0])
        size = sum(request.nbytes for request in requests)
        self.assertEqual(seen[-1], (len(requests), len(requests), size, threading.get_ident()))


if __name__ == "__main__":
    unittest.main()
