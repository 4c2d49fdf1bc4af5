"""Peer of bench_gridder: VTK's vtkPointInterpolator with a Shepard kernel.

bench_gridder writes the scattered points (x, y, z, value as little-endian
doubles) of each size, its own lattice values of each case, and one line per
case and thread count with the point count, nodes per axis, the neighbour
count, the threads and its best real and CPU times. For each case this script
grids the same points onto the same lattice with vtkPointInterpolator
(vtkShepardKernel, power 2, the same number of nearest points;
vtkStaticPointLocator), checks that every node value agrees with ours, then
times the best of three runs with vtkSMPTools on the same thread count and
prints both times and the ratios ours / VTK, real and CPU (the peer's time
includes building its locator, as ours includes building the search tree).
So that both sides meet the same load on a shared machine, each case of ours
is run again (bench_gridder with FENRAK_BENCH_CASE, which writes its times to
gridder_case.txt) just before VTK's.
"""
import os
import subprocess
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


RUNS = 3


def interpolate(points, nodes, neighbours):
    """Returns (node values, real seconds, CPU seconds)."""
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
    start, cpu = time.perf_counter(), time.process_time()
    f.Update()
    real, cpu = time.perf_counter() - start, time.process_time() - cpu
    return vtk_to_numpy(f.GetOutput().GetPointData().GetArray("value")), real, cpu


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    ours_path = os.path.join(bench_dir, "gridder_ours.txt")
    if not os.path.exists(ours_path):
        print("gridder peer: skipped, bench_gridder has not run in %s" % bench_dir)
        return 0
    status = 0
    print("%-14s %7s %12s %12s %8s %12s %12s %8s %10s" % (
        "case", "threads", "ours (ms)", "VTK (ms)", "ratio", "ours CPU", "VTK CPU", "ratio", "max |diff|"))
    sources = {}
    checked = {}
    with open(ours_path) as f:
        names = list(dict.fromkeys(line.split()[0] for line in f if line.strip()))
    program = os.path.join(bench_dir, "bench_gridder")
    for case in names:
        subprocess.run([program, "--benchmark_format=json"], check=True, capture_output=True,
                       env=dict(os.environ, FENRAK_BENCH_CASE=case))
        with open(os.path.join(bench_dir, "gridder_case.txt")) as f:
            lines = [line for line in f if line.strip()]
        for line in lines:
            name, count, nodes, neighbours, threads, real, cpu = line.split()
            count, nodes, neighbours, threads = int(count), int(nodes), int(neighbours), int(threads)
            real, cpu = float(real), float(cpu)
            vtkSMPTools.Initialize(threads)
            if count not in sources:
                sources[count] = source(bench_dir, count)
            if name not in checked:
                ours = np.fromfile(os.path.join(bench_dir, "gridder_values_%d_%d.raw" % (count, nodes)), dtype="<f8")
                theirs = interpolate(sources[count], nodes, neighbours)[0]
                checked[name] = float(np.max(np.abs(ours - theirs)))
                if not checked[name] <= TOLERANCE:
                    worst = int(np.argmax(np.abs(ours - theirs)))
                    print("gridder peer: %s: values differ by %.3g at node %d (%.17g here, %.17g in VTK); not timed"
                          % (name, checked[name], worst, ours[worst], theirs[worst]))
            if not checked[name] <= TOLERANCE:
                status = 1
                continue
            runs = [interpolate(sources[count], nodes, neighbours)[1:] for _ in range(RUNS)]
            peer_real, peer_cpu = min(r[0] for r in runs), min(r[1] for r in runs)
            print("%-14s %7d %12.1f %12.1f %8.2f %12.1f %12.1f %8.2f %10.2g" % (
                name, threads, real * 1e3, peer_real * 1e3, real / peer_real, cpu * 1e3, peer_cpu * 1e3,
                cpu / peer_cpu, checked[name]))
            sys.stdout.flush()
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/bench"))
