"""Peer of bench_expression: VTK's vtkArrayCalculator over the same 256^3 inputs.

bench_expression writes the raw inputs (arrays a, b, c of doubles, one after the
other) and its own best time, thread count and output checksum beside itself;
this script evaluates the same expression text with the same thread count, takes
the best of a few passes, checks that both sides computed the same values and
prints both times and the ratio ours / peer.
"""
import os
import sys
import time

import numpy as np
import vtk
from vtk.util import numpy_support

PASSES = 3


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    ours_path = os.path.join(bench_dir, "expression_ours.txt")
    raw_path = os.path.join(bench_dir, "expression_input.raw")
    if not (os.path.exists(ours_path) and os.path.exists(raw_path)):
        print("expression peer: skipped, bench_expression has not run in %s" % bench_dir)
        return 0
    with open(ours_path) as f:
        side, threads, ours_seconds, ours_sum = f.readline().split()
        text = f.readline().strip()
    side, threads = int(side), int(threads)
    ours_seconds, ours_sum = float(ours_seconds), float(ours_sum)

    count = side ** 3
    raw = np.fromfile(raw_path, dtype="<f8")
    if raw.size != 3 * count:
        print("expression peer: %s has %d values, expected %d" % (raw_path, raw.size, 3 * count))
        return 1
    image = vtk.vtkImageData()
    image.SetDimensions(side, side, side)
    for index, name in enumerate("abc"):
        array = numpy_support.numpy_to_vtk(raw[index * count:(index + 1) * count], deep=1)
        array.SetName(name)
        image.GetPointData().AddArray(array)
    del raw

    vtk.vtkSMPTools.Initialize(threads)
    best = float("inf")
    for _ in range(PASSES):
        calculator = vtk.vtkArrayCalculator()
        calculator.SetInputData(image)
        for name in "abc":
            calculator.AddScalarArrayName(name)
        calculator.SetFunction(text)
        calculator.SetResultArrayName("W")
        start = time.perf_counter()
        calculator.Update()
        best = min(best, time.perf_counter() - start)
    result = numpy_support.vtk_to_numpy(calculator.GetOutput().GetPointData().GetArray("W"))
    peer_sum = float(np.sum(result, dtype=np.float64))
    agree = abs(peer_sum - ours_sum) <= 1e-9 * max(1.0, abs(ours_sum))

    print("ExpressionLattice %d^3, %d threads (%s): tzexpr %.1f ms, vtkArrayCalculator %.1f ms, "
          "ratio tzexpr / VTK %.2f; output sums %s (%.10g vs %.10g)"
          % (side, threads, vtk.vtkSMPTools.GetBackend(), ours_seconds * 1e3, best * 1e3,
             ours_seconds / best, "agree" if agree else "DIFFER", ours_sum, peer_sum))
    return 0 if agree else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/bench"))
