"""Peer of bench_lattice_tools: VTK 9.1 and numpy on the same lattices.

bench_lattice_tools writes its float inputs (lattice_tools_in_<n>.raw: n^3
nodes, spacing 1 from the origin, i fastest), each of its outputs, and the
offset and scale of the 8-bit cast. This script runs it, then for each row
builds the same vtkImageData, runs the peer once, compares the peer's output
with ours, and times the peer. Both sides use the same number of threads and
report the best of several runs, in wall time and in CPU time of the whole
process (all threads): on a machine shared with other work the CPU time is
the steadier measure of the work done, the wall time that of the wait.

Each of our runs makes its output lattice anew, as the module does on every
execution; so does the peer's "fresh" time (the filter's output data are
released before each run, and the peer allocates them again). A VTK filter
that runs again keeps its output arrays, which spares it the first touch of
new memory: the "kept" column shows that time too, and the ratio is given
against both.

Rows:
  resample 256^3 -> 200^3 and 128^3 -> 384^3, trilinear, over the input's box:
      vtkImageReslice (linear) and vtkResampleToImage (probing).
  gradient of 256^3: vtkImageGradient (3-D, boundaries handled) and
      numpy.gradient (one-sided differences at the edges, as ours).
      vtkImageGradient differences the edge node with itself and halves the
      result, so only interior nodes are compared with it.
  cast of 256^3 to 8 bits with the stretch's offset and scale:
      vtkImageShiftScale (clamped to the type, as ours).
"""
import os
import sys

import numpy as np
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkSMPTools
from vtkmodules.vtkCommonExecutionModel import vtkThreadedImageAlgorithm
from vtkmodules.vtkFiltersCore import vtkResampleToImage
from vtkmodules.vtkImagingCore import vtkImageReslice, vtkImageShiftScale
from vtkmodules.vtkImagingGeneral import vtkImageGradient

from _peer import benchmark_runs, best_of, image_data, program

THREADS = 2
REPEATS = 5
# Trilinear interpolation in double on both sides, the weights formed a little
# differently: values agree to a few float rounding steps of values near 1.
RESAMPLE_TOLERANCE = 1e-5
# numpy differences in float32, we in double; VTK in double.
GRADIENT_TOLERANCE = 1e-6


def ours(build_dir):
    # Ours runs TBB with at most THREADS workers (tbb::global_control in the program).
    times = {}
    for run in benchmark_runs(os.path.join(build_dir, "bench", "bench_lattice_tools"),
                              "--benchmark_repetitions=%d" % REPEATS):
        if run.get("run_type") != "iteration":
            continue
        # "BM_Resample/256/200/process_time/real_time" -> ("Resample", "256", "200")
        key = tuple(part for part in run["run_name"].replace("BM_", "").split("/")
                    if part not in ("process_time", "real_time"))
        wall, cpu = times.get(key, (float("inf"), float("inf")))
        times[key] = (min(wall, run["real_time"] / 1000.0), min(cpu, run["cpu_time"] / 1000.0))
    return times


def raw(bench_dir, name, dtype):
    return np.fromfile(os.path.join(bench_dir, "lattice_tools_%s.raw" % name), dtype=dtype)


def image(values, n):
    return image_data(values, (n, n, n))


def vtk_times(f, repeats=REPEATS):
    """(fresh, kept): best times with the output released before each run, and kept."""
    def fresh():
        f.GetOutput().ReleaseData()
        f.Modified()
        f.Update()

    def kept():
        f.Modified()
        f.Update()
    return best_of(fresh, repeats), best_of(kept, repeats)


def reslice(data, n_in, n_out):
    f = vtkImageReslice()
    f.SetInputData(data)
    f.SetInterpolationModeToLinear()
    f.SetOutputOrigin(0.0, 0.0, 0.0)
    step = (n_in - 1.0) / (n_out - 1.0)
    f.SetOutputSpacing(step, step, step)
    f.SetOutputExtent(0, n_out - 1, 0, n_out - 1, 0, n_out - 1)
    f.SetNumberOfThreads(THREADS)
    return f


def resample_to_image(data, n_in, n_out):
    f = vtkResampleToImage()
    f.SetInputDataObject(data)
    f.UseInputBoundsOff()
    f.SetSamplingBounds(0.0, n_in - 1.0, 0.0, n_in - 1.0, 0.0, n_in - 1.0)
    f.SetSamplingDimensions(n_out, n_out, n_out)
    return f


def point_values(output, name="value"):
    array = output.GetPointData().GetArray(name)
    if array is None:
        array = output.GetPointData().GetScalars()
    return vtk_to_numpy(array)


def compare(what, ours_values, peer_values, tolerance):
    diff = np.max(np.abs(ours_values.astype(np.float64) - peer_values.astype(np.float64)))
    if not diff <= tolerance:
        print("lattice tools peer: %s differs from ours by %g (tolerance %g)" % (what, diff, tolerance))
        return diff, 1
    return diff, 0


def report(row, peer, mine, fresh, kept, diff):
    """Each time a (wall, cpu) pair; `kept` None for a peer that keeps no output."""
    def cell(pair):
        return "%7.1f/%7.1f" % (pair[0] * 1e3, pair[1] * 1e3) if pair else "%15s" % "-"

    def ratio(pair):
        return "%5.2f/%5.2f" % (mine[0] / pair[0], mine[1] / pair[1]) if pair else "%11s" % "-"
    print("%-24s %-22s %s %s %s %s %s %10.3g" % (row, peer, cell(mine), cell(fresh), cell(kept), ratio(fresh),
                                                 ratio(kept), diff))


def resample_rows(bench_dir, times):
    status = 0
    for n_in, n_out in ((256, 200), (128, 384)):
        data = image(raw(bench_dir, "in_%d" % n_in, "<f4"), n_in)
        mine = raw(bench_dir, "resample_%d_%d" % (n_in, n_out), "<f4")
        row = "resample %d^3 -> %d^3" % (n_in, n_out)
        for name, make in (("vtkImageReslice", reslice), ("vtkResampleToImage", resample_to_image)):
            f = make(data, n_in, n_out)
            f.Update()
            diff, bad = compare(row + " " + name, mine, point_values(f.GetOutput()), RESAMPLE_TOLERANCE)
            status |= bad
            fresh, kept = vtk_times(f, 1 if name == "vtkResampleToImage" else REPEATS)
            report(row, name, times[("Resample", str(n_in), str(n_out))], fresh, kept, diff)
    return status


def gradient_rows(bench_dir, times):
    n = 256
    values = raw(bench_dir, "in_%d" % n, "<f4")
    mine = raw(bench_dir, "gradient_%d" % n, "<f4").reshape(n, n, n, 3)
    row = "gradient %d^3" % n
    status = 0

    f = vtkImageGradient()
    f.SetInputData(image(values, n))
    f.SetDimensionality(3)
    f.HandleBoundariesOn()
    f.SetNumberOfThreads(THREADS)
    f.Update()
    peer = vtk_to_numpy(f.GetOutput().GetPointData().GetScalars()).reshape(n, n, n, 3)
    inner = (slice(1, -1),) * 3
    diff, bad = compare(row + " vtkImageGradient", mine[inner], peer[inner], GRADIENT_TOLERANCE)
    status |= bad
    report(row, "vtkImageGradient", times[("Gradient", str(n))], *vtk_times(f), diff)

    cube = values.reshape(n, n, n)  # k, j, i
    gz, gy, gx = np.gradient(cube)
    peer = np.stack((gx, gy, gz), axis=-1)
    diff, bad = compare(row + " numpy.gradient", mine, peer, GRADIENT_TOLERANCE)
    status |= bad
    report(row, "numpy.gradient (1 thr)", times[("Gradient", str(n))], best_of(lambda: np.gradient(cube), REPEATS),
           None, diff)
    return status


def cast_rows(bench_dir, times):
    n = 256
    with open(os.path.join(bench_dir, "lattice_tools_cast.txt")) as f:
        offset, scale = (float(x) for x in f.read().split())
    f = vtkImageShiftScale()
    f.SetInputData(image(raw(bench_dir, "in_%d" % n, "<f4"), n))
    f.SetShift(offset)
    f.SetScale(scale)
    f.SetOutputScalarTypeToUnsignedChar()
    f.ClampOverflowOn()
    f.SetNumberOfThreads(THREADS)
    f.Update()
    row = "cast %d^3 to 8 bits" % n
    diff, status = compare(row, raw(bench_dir, "cast_%d" % n, "u1"), point_values(f.GetOutput()), 0)
    report(row, "vtkImageShiftScale", times[("CastStretch", str(n))], *vtk_times(f), diff)
    return status


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    if not program(build_dir, "bench_lattice_tools", "lattice tools"):
        return 0
    vtkSMPTools.Initialize(THREADS)
    vtkThreadedImageAlgorithm.SetGlobalDefaultEnableSMP(False)
    times = ours(build_dir)
    print("Times in ms as wall/CPU; ratios ours/peer as wall/CPU.")
    print("%-24s %-22s %15s %15s %15s %11s %11s %10s" % (
        "row", "peer", "ours", "peer fresh", "peer kept", "/fresh", "/kept", "max |diff|"))
    status = resample_rows(bench_dir, times)
    status |= gradient_rows(bench_dir, times)
    status |= cast_rows(bench_dir, times)
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/release"))
