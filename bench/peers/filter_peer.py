"""Peer of bench_filter: VTK's image filters and scipy.ndimage on the same data.

bench_filter writes its float input beside itself (filter_in_<shape>.raw: a
128^3 or 256^3 cube, or a 4096 x 4096 image, i fastest) and the first output
of each of its runs (filter_out_<case>_<shape>.raw). This script runs it,
reads the same floats, and filters them with

    average3  vtkImageConvolve (27 weights of 1/27; 9 of 1/9 on the image),
              ndimage.uniform_filter
    gauss3    vtkImageGaussianSmooth and ndimage.gaussian_filter with a
              standard deviation of one node cut off at one node, the kernel
              of our Gauss with alpha 0.5 over 3 nodes
    median3/5 vtkImageMedian3D and ndimage.median_filter
    sobel     vtkImageSobel3D (vtkImageSobel2D on the image) followed by
              vtkImageMagnitude, and the norm of ndimage.sobel along each
              axis: ours gives the gradient's length, so do the peers

Before anything is timed, the interiors (one window's reach from the edges,
where the edge rules differ) are compared with ours: the same values to float
rounding, or for Sobel, whose 3D weights differ from every peer's (ours: 1 2 1
/ 2 3 2 / 1 2 1 across each axis), against ndimage.correlate with our weights.

Threads: VTK runs on two threads, as ours does in the runs it is set beside;
scipy's filters run on one, and so does ours beside them. A machine shared
with other work makes single runs unreliable, so each row takes turns: ours
(a run of bench_filter, both thread counts), VTK, scipy, again and again, and
each side's best run counts.
"""
import os
import sys
import time

import numpy as np
import scipy.ndimage as ndimage
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkSMPTools
from vtkmodules.vtkImagingGeneral import (vtkImageGaussianSmooth, vtkImageMedian3D, vtkImageSobel2D,
                                          vtkImageSobel3D)
from vtkmodules.vtkImagingGeneral import vtkImageConvolve
from vtkmodules.vtkImagingMath import vtkImageMagnitude

from _peer import benchmark_runs, image_data, program

CASES = ("average3", "gauss3", "median3", "median5", "sobel")
SHAPES = (128, 256, 4096)
THREADS = 2
HALF = {"average3": 1, "gauss3": 1, "median3": 1, "median5": 2, "sobel": 1}
TOLERANCE = {"average3": 1e-5, "gauss3": 1e-5, "median3": 0.0, "median5": 0.0, "sobel": 1e-4}


def repeats(shape, case):
    if case.startswith("median"):
        return 3 if shape == 128 else 1
    return 9 if shape == 128 else 3


def ours(build_dir, case, shape):
    """One run of ours: seconds by thread count, for one case and shape."""
    times = {}
    for run in benchmark_runs(os.path.join(build_dir, "bench", "bench_filter"),
                              "--benchmark_filter=BM_Filter/case:%d/shape:%d/" % (CASES.index(case), shape)):
        fields = dict(part.split(":") for part in run["name"].split("/")[1:] if ":" in part)
        times[int(fields["threads"])] = run["real_time"] / 1000.0
    return times


def dims(shape):
    return (1, shape, shape) if shape == 4096 else (shape, shape, shape)


def read(bench_dir, name, shape):
    return np.fromfile(os.path.join(bench_dir, name), dtype="<f4").reshape(dims(shape))


def image(values):
    nz, ny, nx = values.shape
    return image_data(values.ravel(), (nx, ny, nz))


def vtk_filter(case, flat):
    if case == "average3":
        f = vtkImageConvolve()
        if flat:
            f.SetKernel3x3([1.0 / 9] * 9)
        else:
            f.SetKernel3x3x3([1.0 / 27] * 27)
    elif case == "gauss3":
        f = vtkImageGaussianSmooth()
        f.SetDimensionality(2 if flat else 3)
        f.SetStandardDeviations(1.0, 1.0, 1.0)
        f.SetRadiusFactors(1.0, 1.0, 1.0)
    elif case.startswith("median"):
        f = vtkImageMedian3D()
        size = int(case[-1])
        f.SetKernelSize(size, size, 1 if flat else size)
    else:
        f = vtkImageSobel2D() if flat else vtkImageSobel3D()
    f.SetNumberOfThreads(THREADS)
    if case != "sobel":
        return f, f
    # Ours gives the gradient's length: the peer's gradient and its length.
    length = vtkImageMagnitude()
    length.SetNumberOfThreads(THREADS)
    length.SetInputConnection(f.GetOutputPort())
    return f, length


def run_vtk(pipeline):
    """One run of a VTK pipeline (first filter, last filter): seconds, and its output."""
    first, last = pipeline
    first.Modified()
    start = time.perf_counter()
    last.Update()
    seconds = time.perf_counter() - start
    return seconds, vtk_to_numpy(last.GetOutput().GetPointData().GetScalars())


def scipy_call(case, values):
    flat = values.shape[0] == 1
    if case == "average3":
        return ndimage.uniform_filter(values, size=(1, 3, 3) if flat else 3, mode="nearest")
    if case == "gauss3":
        return ndimage.gaussian_filter(values, sigma=(0, 1, 1) if flat else 1, truncate=1.0, mode="nearest")
    if case.startswith("median"):
        size = int(case[-1])
        return ndimage.median_filter(values, size=(1, size, size) if flat else size, mode="nearest")
    axes = (1, 2) if flat else (0, 1, 2)
    gradients = [ndimage.sobel(values, axis=a, mode="nearest") for a in axes]
    return np.sqrt(sum(g.astype(np.float64) ** 2 for g in gradients))


def run_scipy(case, values):
    start = time.perf_counter()
    result = scipy_call(case, values)
    return time.perf_counter() - start, result


def our_sobel_reference(values):
    """Our Sobel norm by ndimage.correlate with our tables."""
    data = values.astype(np.float64)
    if values.shape[0] == 1:
        first = np.array([[1, 0, -1], [2, 0, -2], [1, 0, -1]], dtype=np.float64)[None]
        kernels = [first, np.transpose(first, (0, 2, 1))]
    else:
        side = np.array([[1, 2, 1], [2, 3, 2], [1, 2, 1]], dtype=np.float64)
        along = np.zeros((3, 3, 3))
        along[:, :, 0], along[:, :, 2] = -side, side  # along i, the last numpy axis
        kernels = [along, np.transpose(along, (0, 2, 1)), np.transpose(along, (2, 1, 0))]
    return np.sqrt(sum(ndimage.correlate(data, k, mode="nearest") ** 2 for k in kernels))


def interior(values, half):
    if values.shape[0] == 1:
        return values[:, half:-half, half:-half]
    return values[half:-half, half:-half, half:-half]


def compare(label, mine, theirs, case):
    a = interior(mine.astype(np.float64), HALF[case])
    b = interior(np.asarray(theirs, dtype=np.float64), HALF[case])
    scale = max(1.0, float(np.max(np.abs(b))))
    error = float(np.max(np.abs(a - b))) / scale
    ok = error <= TOLERANCE[case]
    if not ok:
        print("filter peer: %s: interiors differ by %.3g (relative)" % (label, error))
    return ok


def check(label, case, bench_dir, shape, values, vtk_values, scipy_values):
    """Our output's interior against the peers' (Sobel: against our weights)."""
    result = read(bench_dir, "filter_out_%s_%d.raw" % (case, shape), shape)
    if case == "sobel":
        return compare(label + " against our weights", result, our_sobel_reference(values), case)
    vtk_ok = compare(label + " VTK", result, vtk_values.reshape(values.shape), case)
    return compare(label + " scipy", result, scipy_values, case) and vtk_ok


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    if not program(build_dir, "bench_filter", "filter"):
        return 0
    vtkSMPTools.Initialize(THREADS)
    status = 0
    print("%-16s %10s %10s %8s %10s %10s %8s" % ("case", "ours 2t", "VTK 2t", "ratio", "ours 1t", "scipy 1t",
                                                 "ratio"))
    for shape in SHAPES:
        values = None
        for case in CASES:
            label = "%s %s" % (case, "4096^2" if shape == 4096 else "%d^3" % shape)
            mine = {1: float("inf"), 2: float("inf")}
            vtk_seconds = scipy_seconds = float("inf")
            for turn in range(repeats(shape, case)):
                for threads, seconds in ours(build_dir, case, shape).items():
                    mine[threads] = min(mine[threads], seconds)
                if values is None:
                    values = read(bench_dir, "filter_in_%d.raw" % shape, shape)
                if turn == 0:
                    peer = vtk_filter(case, shape == 4096)
                    peer[0].SetInputData(image(values))
                seconds, vtk_values = run_vtk(peer)
                vtk_seconds = min(vtk_seconds, seconds)
                seconds, scipy_values = run_scipy(case, values)
                scipy_seconds = min(scipy_seconds, seconds)
                if turn == 0 and not check(label, case, bench_dir, shape, values, vtk_values, scipy_values):
                    status = 1
            two, one = mine[2], mine[1]
            print("%-16s %9.1fms %9.1fms %8.2f %9.1fms %9.1fms %8.2f" % (
                label, two * 1e3, vtk_seconds * 1e3, two / vtk_seconds, one * 1e3, scipy_seconds * 1e3,
                one / scipy_seconds))
            sys.stdout.flush()
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/release"))
