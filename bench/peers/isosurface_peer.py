"""Peer of bench_isosurface: VTK's contour filters on the same lattices.

bench_isosurface writes each field as raw little-endian floats beside itself
(iso_<field>_<n>.raw, n^3 nodes over [-1, 1]^3, i fastest) and reports its
triangle and vertex counts. This script runs it, builds a vtkImageData from
the same floats, and contours it with vtkFlyingEdges3D, vtkMarchingCubes and
vtkContourFilter, normals on, at the same isovalue and the same thread count.

Counts first: vertex counts must agree exactly (one vertex per cut edge on
every side). Triangle counts can differ only through the ambiguous cases,
where the tables choose different but valid triangulations; VTK counts a node
at or above the isovalue as inside and we count one at or below, so where the
counts differ a peer also contours the negated field at the negated
isovalue, which puts the same corners inside on both sides, and the closer of
the two counts is compared.

Times: VTK re-runs the whole filter for a new isovalue and for new data alike;
ours re-runs only the sweep for a new isovalue and adds the float copy for new
data (gradients are computed at the cut edges as the sweep needs them). The
best single run on each side, real time and process CPU time; each lattice of
ours is run just before VTK's. Ratios are ours / VTK, new isovalue / new
data. `isosurface_peer.py BUILD PASSES` repeats the whole comparison.
"""
import os
import sys

import numpy as np
from vtkmodules.vtkCommonCore import vtkSMPTools
from vtkmodules.vtkFiltersCore import vtkContourFilter, vtkFlyingEdges3D, vtkMarchingCubes

from _peer import benchmark_runs, best_of, image_data, program

FIELDS = ("sphere", "waves")
ISOVALUES = {"sphere": 0.4999, "waves": 0.0123}
SIZES = (64, 128, 256)
THREADS = 2
REPEATS = {64: 7, 128: 5, 256: 3}


def ours(build_dir, field, n):
    """Our best times (real and process CPU) of both workloads on one lattice,
    run just before VTK's so that both meet the same load."""
    # Ours runs on TBB's default arena: one thread per core, THREADS on the bench machine.
    pattern = "/field:%d/n:%d/" % (FIELDS.index(field), n)
    results = {}
    for run in benchmark_runs(os.path.join(build_dir, "bench", "bench_isosurface"), "--benchmark_filter=" + pattern):
        # The best of the repetitions, as the peer's best of its runs.
        if run.get("aggregate_name") != "min":
            continue
        workload = run["name"].split("/")[0].replace("BM_", "")
        results[workload] = (run["best_real"], run["best_cpu"], int(run["triangles"]), int(run["vertices"]))
    return results


def image(bench_dir, field, n, sign):
    values = np.fromfile(os.path.join(bench_dir, "iso_%s_%d.raw" % (field, n)), dtype="<f4")
    step = 2.0 / (n - 1)
    return image_data(sign * values, (n, n, n), (-1.0, -1.0, -1.0), (step, step, step))


def make_filter(kind):
    if kind == "FlyingEdges3D":
        f = vtkFlyingEdges3D()
        f.ComputeNormalsOn()
        f.ComputeGradientsOff()
        f.ComputeScalarsOff()
    elif kind == "MarchingCubes":
        f = vtkMarchingCubes()
        f.ComputeNormalsOn()
        f.ComputeGradientsOff()
        f.ComputeScalarsOff()
    else:
        f = vtkContourFilter()
        f.ComputeNormalsOn()
        f.ComputeScalarsOff()
    return f


def contour(kind, data, isovalue, repeats):
    f = make_filter(kind)
    f.SetInputData(data)
    f.SetValue(0, isovalue)
    best, best_cpu = best_of(f.Update, repeats, f.Modified)
    out = f.GetOutput()
    return best, out.GetNumberOfPolys(), out.GetNumberOfPoints(), best_cpu


def main(build_dir, passes):
    bench_dir = os.path.join(build_dir, "bench")
    if not program(build_dir, "bench_isosurface", "isosurface"):
        return 0
    vtkSMPTools.Initialize(THREADS)
    status = 0
    print("%-13s %-14s %9s %9s %8s %8s %8s %8s %13s %13s" % (
        "lattice", "peer", "triangles", "vertices", "ours iso", "ours in", "peer", "peer CPU", "ratio iso/in",
        "CPU iso/in"))
    for _ in range(passes):
        for field in FIELDS:
            for n in SIZES:
                mine = ours(build_dir, field, n)
                iso_time, iso_cpu, triangles, vertices = mine["IsovalueChange"]
                input_time, input_cpu = mine["InputChange"][:2]
                for kind in ("FlyingEdges3D", "MarchingCubes", "ContourFilter"):
                    seconds, peer_triangles, peer_vertices, cpu = contour(
                        kind, image(bench_dir, field, n, 1.0), ISOVALUES[field], REPEATS[n])
                    if peer_triangles != triangles:
                        negated = contour(kind, image(bench_dir, field, n, -1.0), -ISOVALUES[field], REPEATS[n])
                        if abs(negated[1] - triangles) < abs(peer_triangles - triangles):
                            seconds, peer_triangles, peer_vertices, cpu = negated
                    if peer_vertices != vertices:
                        print("isosurface peer: %s %d^3 %s: %d vertices against our %d" % (
                            field, n, kind, peer_vertices, vertices))
                        status = 1
                    print("%-13s %-14s %9d %9d %6.1fms %6.1fms %6.1fms %6.1fms %6.2f/%5.2f %6.2f/%5.2f" % (
                        "%s %d^3" % (field, n), kind, triangles, vertices, iso_time * 1e3, input_time * 1e3,
                        seconds * 1e3, cpu * 1e3, iso_time / seconds, input_time / seconds, iso_cpu / cpu,
                        input_cpu / cpu))
                    if peer_triangles != triangles:
                        print("    triangle counts differ by %d (%.4f%%): ambiguous cases triangulated differently"
                              % (triangles - peer_triangles, 100.0 * (triangles - peer_triangles) / peer_triangles))
                    sys.stdout.flush()
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/bench", int(sys.argv[2]) if len(sys.argv) > 2 else 1))
