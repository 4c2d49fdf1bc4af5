"""Peer of bench_lattice: VTK's probe filter on the same warped curvilinear lattice.

bench_lattice writes the node coordinates, the node values, a million query
points and its own interpolated answers as raw little-endian doubles beside
itself. This script builds a vtkStructuredGrid from the same nodes, probes it
at the same points with vtkProbeFilter on one thread (the locator is built
inside the probe, as our first pass builds its cell locator), checks that both
sides found the same points inside and the same values, and prints points per
second for both and the ratio.
"""
import os
import sys
import time

import numpy as np
from vtkmodules.util.numpy_support import numpy_to_vtk, vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkPoints
from vtkmodules.vtkCommonCore import vtkSMPTools
from vtkmodules.vtkCommonDataModel import vtkPolyData, vtkStructuredGrid
from vtkmodules.vtkFiltersCore import vtkProbeFilter

from _peer import benchmark_runs, program

SIZES = (65, 129)
BLANK = 1.7976931348623157e308
# Both sides invert each cell by Newton iteration, which stops at its own
# tolerance: values agree to about 1e-9 here.
TOLERANCE = 1e-7


def ours(build_dir):
    results = {}
    for run in benchmark_runs(os.path.join(build_dir, "bench", "bench_lattice")):
        n = int(run["name"].split("/")[1])
        results[n] = (run["points_per_s"], run["first_pass_s"])
    return results


def probe(bench_dir, n, queries):
    coords = np.fromfile(os.path.join(bench_dir, "lattice_coords_%d.raw" % n), dtype="<f8").reshape(-1, 3)
    values = np.fromfile(os.path.join(bench_dir, "lattice_values_%d.raw" % n), dtype="<f8")
    grid = vtkStructuredGrid()
    grid.SetDimensions(n, n, n)
    points = vtkPoints()
    points.SetData(numpy_to_vtk(coords, deep=True))
    grid.SetPoints(points)
    scalars = numpy_to_vtk(values, deep=True)
    scalars.SetName("value")
    grid.GetPointData().SetScalars(scalars)
    query_points = vtkPoints()
    query_points.SetData(numpy_to_vtk(queries, deep=True))
    query = vtkPolyData()
    query.SetPoints(query_points)
    f = vtkProbeFilter()
    f.SetInputData(query)
    f.SetSourceData(grid)
    start = time.perf_counter()
    f.Update()
    elapsed = time.perf_counter() - start
    out = f.GetOutput()
    found = vtk_to_numpy(out.GetPointData().GetArray(f.GetValidPointMaskArrayName())).astype(bool)
    result = vtk_to_numpy(out.GetPointData().GetArray("value"))
    return elapsed, found, result


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    if not program(build_dir, "bench_lattice", "lattice"):
        return 0
    vtkSMPTools.Initialize(1)
    mine = ours(build_dir)
    queries = np.fromfile(os.path.join(bench_dir, "lattice_queries.raw"), dtype="<f8").reshape(-1, 3)
    status = 0
    print("%-6s %16s %16s %16s %8s" % ("nodes", "ours (pts/s)", "ours+locator", "VTK probe", "ratio"))
    for n in SIZES:
        answers = np.fromfile(os.path.join(bench_dir, "lattice_ours_%d.raw" % n), dtype="<f8")
        seconds, found, values = probe(bench_dir, n, queries)
        inside = answers != BLANK
        disagree = int(np.count_nonzero(inside != found))
        both = inside & found
        worst = float(np.max(np.abs(answers[both] - values[both]))) if both.any() else 0.0
        if disagree > len(queries) // 10000 or worst > TOLERANCE:
            print("lattice peer: %d^3: %d points disagree on inside/outside, largest difference %.3g"
                  % (n, disagree, worst))
            status = 1
        rate, first_pass = mine[n]
        peer_rate = len(queries) / seconds
        with_locator = len(queries) / first_pass
        print("%-6s %16.0f %16.0f %16.0f %8.2f" % ("%d^3" % n, rate, with_locator, peer_rate,
                                                   peer_rate / with_locator))
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/release"))
