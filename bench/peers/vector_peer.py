"""Peer of bench_vectors: VTK's stream tracer and glyph filters on the same data.

bench_vectors writes beside itself the vortex on n^3 nodes over [-1, 1]^3
(vec_vortex_<n>.raw, three little-endian floats a node, i fastest), the same
directions at unit speed (vec_unit_<n>.raw), the seeds (vec_seeds.raw, three
doubles each), its first stream lines (vec_lines_<n>.raw: per line a point
count, then the points, all doubles) and the tip of every arrow
(vec_tips_<n>.raw). This script runs it, then VTK on the same files:

Stream lines: vtkStreamTracer, Runge-Kutta 4, forward, the same step (as a
length) and number of steps, the propagation limit their product, vorticity
off. VTK integrates the unit direction while we integrate the velocity with a
time step; on the unit-speed field the two step alike, up to the speed lost
between nodes, so the points of a line drift along it, not off it: every point
of our first lines must lie within a small distance of VTK's line from the
same seed, and the line lengths must agree closely.

Arrows: vtkExtractVOI with sample rate 2 (the same subsampled nodes) feeding
vtkGlyph3D with a vtkArrowSource, scaled by the vector with our scale factor
and oriented by it. The tip of every glyph must be our arrow's tip.

Same thread count (2) through vtkSMPTools; ours runs these modules on the
update thread alone. Best of several runs on each side.
"""
import os
import sys

import numpy as np
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkPoints, vtkSMPTools
from vtkmodules.vtkCommonDataModel import vtkPolyData
from vtkmodules.vtkFiltersCore import vtkGlyph3D
from vtkmodules.vtkFiltersFlowPaths import vtkStreamTracer
from vtkmodules.vtkFiltersSources import vtkArrowSource
from vtkmodules.vtkImagingCore import vtkExtractVOI

from _peer import benchmark_runs, best_of, image_data, program

SIZES = (64, 128)
STEPS = 1000
STEP = 0.002
SAMPLE_RATE = 2
THREADS = 2
REPEATS = 5
# A point of our line may lie this far from VTK's (a fraction of the smallest cell, 2 / 127).
LINE_TOLERANCE = 2e-3


def ours(build_dir):
    results = {}
    for run in benchmark_runs(os.path.join(build_dir, "bench", "bench_vectors")):
        workload = run["name"].split("/")[0].replace("BM_", "")
        n = int(run["name"].split("n:")[1].split("/")[0])
        results[(workload, n)] = run
    return results


def field(bench_dir, name, n):
    values = np.fromfile(os.path.join(bench_dir, "vec_%s_%d.raw" % (name, n)), dtype="<f4").reshape(-1, 3)
    step = 2.0 / (n - 1)
    return image_data(values, (n, n, n), (-1.0, -1.0, -1.0), (step, step, step), "velocity", vectors=True)


def best_wall(update, repeats=REPEATS):
    return best_of(update, repeats)[0]


def our_lines(bench_dir, n):
    values = np.fromfile(os.path.join(bench_dir, "vec_lines_%d.raw" % n), dtype="<f8")
    lines, at = [], 0
    while at < len(values):
        count = int(values[at])
        lines.append(values[at + 1:at + 1 + 3 * count].reshape(-1, 3))
        at += 1 + 3 * count
    return lines


def distance_to_polyline(points, line):
    a, b = line[:-1], line[1:]
    ab = b - a
    length2 = np.maximum((ab * ab).sum(axis=1), 1e-300)
    worst = 0.0
    for p in points:
        t = np.clip(((p - a) * ab).sum(axis=1) / length2, 0.0, 1.0)
        nearest = a + ab * t[:, None]
        worst = max(worst, np.sqrt(((nearest - p) ** 2).sum(axis=1)).min())
    return worst


def arc_length(line):
    return np.sqrt(((line[1:] - line[:-1]) ** 2).sum(axis=1)).sum()


def stream_lines(bench_dir, n, seeds):
    tracer = vtkStreamTracer()
    tracer.SetInputData(field(bench_dir, "unit", n))
    tracer.SetSourceData(seeds)
    tracer.SetIntegratorTypeToRungeKutta4()
    tracer.SetIntegrationStepUnit(vtkStreamTracer.LENGTH_UNIT)
    tracer.SetInitialIntegrationStep(STEP)
    tracer.SetMaximumNumberOfSteps(STEPS)
    tracer.SetMaximumPropagation(STEPS * STEP)
    tracer.SetIntegrationDirectionToForward()
    tracer.SetComputeVorticity(False)

    def update():
        tracer.Modified()
        tracer.Update()
    update()
    return tracer, update


def compare_lines(bench_dir, n, tracer):
    out = tracer.GetOutput()
    points = vtk_to_numpy(out.GetPoints().GetData()).astype(np.float64)
    seed_ids = vtk_to_numpy(out.GetCellData().GetArray("SeedIds"))
    peer = {}
    for cell in range(out.GetNumberOfCells()):
        ids = out.GetCell(cell).GetPointIds()
        peer[int(seed_ids[cell])] = points[[ids.GetId(i) for i in range(ids.GetNumberOfIds())]]
    worst_distance, worst_length = 0.0, 0.0
    for seed, line in enumerate(our_lines(bench_dir, n)):
        if seed not in peer or len(peer[seed]) < 2:
            return "no peer line from seed %d" % seed, 0.0, 0.0
        worst_distance = max(worst_distance, distance_to_polyline(line, peer[seed]))
        worst_length = max(worst_length, abs(arc_length(line) / arc_length(peer[seed]) - 1.0))
    problem = None
    if worst_distance > LINE_TOLERANCE:
        problem = "a point lies %.2e from the peer's line" % worst_distance
    elif worst_length > 0.01:
        problem = "line lengths differ by %.2f%%" % (100.0 * worst_length)
    return problem, worst_distance, worst_length


def arrows(bench_dir, n, scale):
    extract = vtkExtractVOI()
    extract.SetInputData(field(bench_dir, "vortex", n))
    extract.SetVOI(0, n - 1, 0, n - 1, 0, n - 1)
    extract.SetSampleRate(SAMPLE_RATE, SAMPLE_RATE, SAMPLE_RATE)
    arrow = vtkArrowSource()
    arrow.Update()
    glyph = vtkGlyph3D()
    glyph.SetInputConnection(extract.GetOutputPort())
    glyph.SetSourceConnection(arrow.GetOutputPort())
    glyph.SetVectorModeToUseVector()
    glyph.SetScaleModeToScaleByVector()
    glyph.SetScaleFactor(scale)
    glyph.ClampingOff()
    glyph.OrientOn()

    def update():
        extract.Modified()
        glyph.Update()
    update()
    tip = int(np.argmax(vtk_to_numpy(arrow.GetOutput().GetPoints().GetData())[:, 0]))
    return glyph, update, tip, arrow.GetOutput().GetNumberOfPoints()


def compare_tips(bench_dir, n, glyph, tip, per_glyph):
    mine = np.fromfile(os.path.join(bench_dir, "vec_tips_%d.raw" % n), dtype="<f8").reshape(-1, 3)
    points = vtk_to_numpy(glyph.GetOutput().GetPoints().GetData()).astype(np.float64)
    peer = points[tip::per_glyph]
    if len(peer) != len(mine):
        return "%d glyphs against our %d arrows" % (len(peer), len(mine)), 0.0
    worst = float(np.abs(peer - mine).max())
    return (None if worst < 1e-5 else "tips differ by %.2e" % worst), worst


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    if not program(build_dir, "bench_vectors", "vector"):
        return 0
    vtkSMPTools.Initialize(THREADS)
    mine = ours(build_dir)
    seed_values = np.fromfile(os.path.join(bench_dir, "vec_seeds.raw"), dtype="<f8").reshape(-1, 3)
    seed_points = vtkPoints()
    for s in seed_values:
        seed_points.InsertNextPoint(*s)
    seeds = vtkPolyData()
    seeds.SetPoints(seed_points)
    status = 0
    print("%-22s %10s %10s %10s %8s   %s" % ("workload", "ours", "VTK", "ours/VTK", "output", "check"))
    for n in SIZES:
        run = mine[("StreamLines", n)]
        tracer, update = stream_lines(bench_dir, n, seeds)
        problem, distance, length = compare_lines(bench_dir, n, tracer)
        seconds = best_wall(update)
        points = tracer.GetOutput().GetNumberOfPoints()
        print("%-22s %8.1fms %8.1fms %10.2f %8d   %s" % (
            "stream lines %d^3" % n, run["real_time"], seconds * 1e3, run["real_time"] / (seconds * 1e3),
            int(run["points"]), problem or "points within %.1e of VTK's lines, lengths within %.2f%% (VTK: %d points)"
            % (distance, 100.0 * length, points)))
        status |= problem is not None

        run = mine[("Arrows", n)]
        glyph, update, tip, per_glyph = arrows(bench_dir, n, run["scale"])
        problem, worst = compare_tips(bench_dir, n, glyph, tip, per_glyph)
        seconds = best_wall(update)
        print("%-22s %8.1fms %8.1fms %10.2f %8d   %s" % (
            "arrows %d^3 / %d" % (n, SAMPLE_RATE), run["real_time"], seconds * 1e3,
            run["real_time"] / (seconds * 1e3), int(run["arrows"]),
            problem or "tips within %.1e of VTK's (VTK: %d points a glyph)" % (worst, per_glyph)))
        status |= problem is not None
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/release"))
