"""Peer of bench_gridder: VTK's vtkPointInterpolator with a Shepard kernel.

bench_gridder writes the scattered points (x, y, z, value as little-endian
doubles) of each size, its own lattice values of each case, and one line per
case with the point count, nodes per axis, the neighbour count and its CPU
time. For each case this script grids the same points onto the same lattice
with vtkPointInterpolator (vtkShepardKernel, power 2, the same number of
nearest points; vtkStaticPointLocator) on one thread, checks that every node
value agrees with ours, then times a second run and prints both times and the
ratio ours / VTK (CPU time on both sides; the peer's includes building its
locator, as ours includes building the search tree).
"""
import os
import sys
import time

import numpy as np
from vtkmodules.util.numpy_support import numpy_to_vtk, vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkPoints, vtkSMPTools
from vtkmodules.vtkCommonDataModel import vtkImageData, vtkPolyData, vtkStaticPointLocator
from vtkmodules.vtkFiltersPoints import vtkPointInterpolator, vtkShepardKernel

SIDE = 100.0
# Both sides weight the same 16 points by 1 / d^2; the node positions are
# computed a little differently (min + i * step against origin + i * spacing),
# so values agree to rounding only.
TOLERANCE = 1e-9


def source(bench_dir, count):
    raw = np.fromfile(os.path.join(bench_dir, "gridder_points_%d.raw" % count), dtype="<f8").reshape(-1, 4)
    points = vtkPoints()
    points.SetData(numpy_to_vtk(np.ascontiguousarray(raw[:, :3]), deep=True))
    data = vtkPolyData()
    data.SetPoints(points)
    values = numpy_to_vtk(np.ascontiguousarray(raw[:, 3]), deep=True)
    values.SetName("value")
    data.GetPointData().AddArray(values)
    return data


def interpolate(points, nodes, neighbours):
    """Returns (node values, CPU seconds)."""
    lattice = vtkImageData()
    lattice.SetDimensions(nodes, nodes, nodes)
    lattice.SetOrigin(0.0, 0.0, 0.0)
    step = SIDE / (nodes - 1)
    lattice.SetSpacing(step, step, step)
    kernel = vtkShepardKernel()
    kernel.SetPowerParameter(2.0)
    kernel.SetKernelFootprintToNClosest()
    kernel.SetNumberOfPoints(neighbours)
    f = vtkPointInterpolator()
    f.SetInputData(lattice)
    f.SetSourceData(points)
    f.SetKernel(kernel)
    f.SetLocator(vtkStaticPointLocator())
    start = time.process_time()
    f.Update()
    elapsed = time.process_time() - start
    return vtk_to_numpy(f.GetOutput().GetPointData().GetArray("value")), elapsed


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    ours_path = os.path.join(bench_dir, "gridder_ours.txt")
    if not os.path.exists(ours_path):
        print("gridder peer: skipped, bench_gridder has not run in %s" % bench_dir)
        return 0
    vtkSMPTools.Initialize(1)
    status = 0
    print("%-14s %12s %12s %8s %12s" % ("case", "ours (ms)", "VTK (ms)", "ratio", "max |diff|"))
    sources = {}
    with open(ours_path) as f:
        for line in f:
            name, count, nodes, neighbours, seconds = line.split()
            count, nodes, neighbours, seconds = int(count), int(nodes), int(neighbours), float(seconds)
            if count not in sources:
                sources[count] = source(bench_dir, count)
            ours = np.fromfile(os.path.join(bench_dir, "gridder_values_%d_%d.raw" % (count, nodes)), dtype="<f8")
            theirs, _ = interpolate(sources[count], nodes, neighbours)
            difference = float(np.max(np.abs(ours - theirs)))
            if not difference <= TOLERANCE:
                worst = int(np.argmax(np.abs(ours - theirs)))
                print("gridder peer: %s: values differ by %.3g at node %d (%.17g here, %.17g in VTK); not timed"
                      % (name, difference, worst, ours[worst], theirs[worst]))
                status = 1
                continue
            _, elapsed = interpolate(sources[count], nodes, neighbours)
            print("%-14s %12.1f %12.1f %8.2f %12.2g" % (name, seconds * 1e3, elapsed * 1e3, seconds / elapsed,
                                                         difference))
            sys.stdout.flush()
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/bench"))
