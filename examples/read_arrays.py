#!/usr/bin/env python3
"""Shows what is in a result file, and the range of each variable at its last step."""

import sys

import numpy as np

import morvex


def main(path):
    with morvex.open(path) as case:
        print(case)
        print(case.parts)
        for variable in case.variables:
            print(variable)
            if variable.is_constant:
                print(f"  {variable.read(-1):g}")
                continue
            values = variable.read(-1)
            arrays = {"particles": values} if variable.on_particles else {
                case.parts[number].name: array for number, array in values.items()}
            for name, array in arrays.items():
                if array.size:
                    print(f"  {name}: {np.nanmin(array):g} to {np.nanmax(array):g}")

        # Many arrays are read fastest in one go.
        requests = [part.request(morvex.Kind.COORDINATES, step)
                    for part in case.parts for step in case.steps]
        arrays = case.read(requests)
        print(f"{len(arrays)} arrays of coordinates, {sum(a.nbytes for a in arrays):,} bytes")


if __name__ == "__main__":
    main(sys.argv[1])
