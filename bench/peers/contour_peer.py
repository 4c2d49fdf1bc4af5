"""Peer of bench_contour: VTK's contour filters, warp and normals on the same images.

bench_contour writes each terrain image as raw little-endian floats beside
itself (contour_<n>.raw, n x n nodes of unit spacing, i fastest) with its 20
levels (contour_<n>.levels, doubles), and reports, from a run of the module's
tracer, the segments, the polyline vertices and the vertices on lattice edges.
This script runs it and contours the same image at the same levels with

- vtkContourFilter on the image (VTK contours a 2-D image by squares),
- vtkMarchingSquares on the image,
- vtkContourFilter on a vtkPolyData of the very triangles the module traces
  (two a cell, as it makes them), for the smaller image only.

Counts first. Contouring by squares puts one point on each cut lattice edge,
so the image peers' point counts must equal our distinct vertices on lattice
edges: vtkContourFilter's exactly, vtkMarchingSquares' as floats (its point
locator merges points whose float coordinates coincide). Contouring our
triangles must give our segment and distinct vertex counts exactly.
The segment counts of the image peers differ by design: a square gives one
segment where its two triangles give two when the line crosses the diagonal.

The height field: the 2048 x 2048 image as quads (vtkImageDataGeometryFilter,
not timed), then vtkWarpScalar along Z by our height factor and
vtkPolyDataNormals (point normals, no splitting, no consistency pass). Heights
must agree after our shift by the minimum; normals must be parallel (ours
point to the underside, where the mesh's counter-clockwise faces look).

Both sides on two threads: ours on TBB's default arena (one thread per core,
two on the bench machine), VTK through vtkSMPTools.Initialize(2). Times are
one network pass of the module on our side (Google Benchmark's mean), the
best of several filter updates on VTK's. Our contour module is timed twice:
run again (new levels or colours: it keeps the memory of its triangulation)
and on its first run (a new module, which allocates it).
"""
import math
import os
import sys

import numpy as np
from vtkmodules.util.numpy_support import numpy_to_vtk, numpy_to_vtkIdTypeArray, vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkPoints, vtkSMPTools
from vtkmodules.vtkCommonDataModel import vtkCellArray, vtkPolyData
from vtkmodules.vtkFiltersCore import vtkContourFilter, vtkMarchingSquares, vtkPolyDataNormals
from vtkmodules.vtkFiltersGeneral import vtkWarpScalar
from vtkmodules.vtkFiltersGeometry import vtkImageDataGeometryFilter

from _peer import benchmark_runs, best_of, image_data, program

THREADS = 2
SIZES = (1024, 4096)
TRIANGLE_PEER_SIZES = (1024,)
HEIGHT_SIZE = 2048
HEIGHT_SCALE = 0.25
REPEATS = {1024: 5, 2048: 3, 4096: 2}


def ours(build_dir):
    results = {}
    for run in benchmark_runs(program(build_dir, "bench_contour", "contour")):
        parts = run["name"].replace("BM_", "").split("/")
        kind = parts[0] if parts[1].startswith("n:") else parts[0] + "_" + parts[1]
        n = int(run["name"].split("n:")[1].split("/")[0])
        results[(kind, n)] = run
    return results


def image(path, n):
    values = np.fromfile(path, dtype="<f4")
    return image_data(values, (n, n, 1)), values


def mesh_triangles(data, n):
    """The module's triangles of the image: (v, v+n, v+1) and (v+1, v+n, v+n+1)."""
    rows, columns = np.meshgrid(np.arange(n - 1), np.arange(n - 1), indexing="ij")
    v = (rows * n + columns).ravel().astype(np.int64)
    first = np.stack([v, v + n, v + 1], axis=1)
    second = np.stack([v + 1, v + n, v + n + 1], axis=1)
    triangles = np.stack([first, second], axis=1).reshape(-1, 3)
    cells = np.hstack([np.full((len(triangles), 1), 3, dtype=np.int64), triangles]).ravel()
    xs, ys = np.meshgrid(np.arange(n, dtype=np.float64), np.arange(n, dtype=np.float64))
    points = vtkPoints()
    points.SetData(numpy_to_vtk(np.stack([xs.ravel(), ys.ravel(), np.zeros(n * n)], axis=1), deep=True))
    polys = vtkCellArray()
    polys.SetCells(len(triangles), numpy_to_vtkIdTypeArray(cells, deep=True))
    poly = vtkPolyData()
    poly.SetPoints(points)
    poly.SetPolys(polys)
    poly.GetPointData().SetScalars(data.GetPointData().GetScalars())
    return poly


def best_update(f, repeats, modified=None):
    """The best wall time of `repeats` updates of `f`, `modified` (or `f`) marked modified before each."""
    return best_of(f.Update, repeats, (modified or f).Modified)[0]


def contour(kind, data, levels, repeats):
    f = vtkMarchingSquares() if kind == "MarchingSquares" else vtkContourFilter()
    if kind != "MarchingSquares":
        f.ComputeScalarsOff()
        f.ComputeNormalsOff()
    f.SetInputData(data)
    for l, level in enumerate(levels):
        f.SetValue(l, level)
    seconds = best_update(f, repeats)
    out = f.GetOutput()
    return seconds, out.GetNumberOfCells(), out.GetNumberOfPoints()


def contour_rows(bench_dir, mine):
    status = 0
    print("%-14s %-22s %10s %10s %10s %10s %10s %10s %10s %11s" % (
        "image", "peer", "ours segs", "peer segs", "ours pts", "peer pts", "ours", "ours 1st", "peer",
        "ratio/1st"))
    for n in SIZES:
        run = mine[("Contour_levels", n)]
        ours_time = run["real_time"] / 1000.0
        first_time = mine[("Contour_first", n)]["real_time"] / 1000.0
        segments, vertices = int(run["segments"]), int(run["vertices"])
        edge_points, edge_points_float = int(run["edge_points"]), int(run["edge_points_float"])
        data, _ = image(os.path.join(bench_dir, "contour_%d.raw" % n), n)
        levels = np.fromfile(os.path.join(bench_dir, "contour_%d.levels" % n), dtype="<f8")
        peers = [("ContourFilter", data, edge_points), ("MarchingSquares", data, edge_points_float)]
        if n in TRIANGLE_PEER_SIZES:
            peers.append(("ContourFilter triangles", mesh_triangles(data, n), vertices))
        for name, source, expected_points in peers:
            seconds, peer_segments, peer_points = contour(name.split()[0], source, levels, REPEATS[n])
            print("%-14s %-22s %10d %10d %10d %10d %8.1fms %8.1fms %8.1fms %5.2f/%5.2f" % (
                "%d^2" % n, name, segments, peer_segments, expected_points, peer_points, ours_time * 1e3,
                first_time * 1e3, seconds * 1e3, ours_time / seconds, first_time / seconds))
            if peer_points != expected_points:
                print("contour peer: %d^2 %s: %d points against our %d" % (n, name, peer_points, expected_points))
                status = 1
            if name.endswith("triangles") and peer_segments != segments:
                print("contour peer: %d^2 %s: %d segments against our %d" % (n, name, peer_segments, segments))
                status = 1
    return status


def height_rows(bench_dir, mine):
    n = HEIGHT_SIZE
    run = mine[("HeightField", n)]
    ours_time = run["real_time"] / 1000.0
    data, values = image(os.path.join(bench_dir, "heightfield_%d.raw" % n), n)
    low, high = float(values.min()), float(values.max())
    factor = math.sqrt(2.0) * (n - 1) * 0.5 * HEIGHT_SCALE / (high - low)
    quads = vtkImageDataGeometryFilter()
    quads.SetInputData(data)
    quads.Update()
    warp = vtkWarpScalar()
    warp.SetInputData(quads.GetOutput())
    warp.UseNormalOn()
    warp.SetNormal(0.0, 0.0, 1.0)
    warp.SetScaleFactor(factor)
    normals = vtkPolyDataNormals()
    normals.SetInputConnection(warp.GetOutputPort())
    normals.SplittingOff()
    normals.ConsistencyOff()
    normals.AutoOrientNormalsOff()
    normals.ComputePointNormalsOn()
    normals.ComputeCellNormalsOff()
    best = best_update(normals, REPEATS[n], warp)
    out = normals.GetOutput()
    peer_z = vtk_to_numpy(out.GetPoints().GetData())[:, 2] - low * factor
    peer_normals = vtk_to_numpy(out.GetPointData().GetNormals())
    our_z = np.fromfile(os.path.join(bench_dir, "heightfield_%d_z.raw" % n), dtype="<f4")
    our_normals = np.fromfile(os.path.join(bench_dir, "heightfield_%d_normals.raw" % n), dtype="<f4").reshape(-1, 3)
    status = 0
    if len(our_z) != len(peer_z):
        print("contour peer: height field %d^2: %d vertices against our %d" % (n, len(peer_z), len(our_z)))
        return 1
    height_error = float(np.max(np.abs(our_z - peer_z)))
    parallel = float(np.min(np.abs(np.sum(our_normals * peer_normals, axis=1))))
    opposed = bool(np.all(np.sum(our_normals * peer_normals, axis=1) < 0.0))
    print("%-14s %-22s %10s %10s %10s %10s %10s %10s %7s" % (
        "image", "peer", "vertices", "dz max", "min |n.n|", "opposed", "ours", "peer", "ratio"))
    print("%-14s %-22s %10d %10.2g %10.6f %10s %8.1fms %8.1fms %7.2f" % (
        "%d^2" % n, "WarpScalar+Normals", len(our_z), height_error, parallel, opposed, ours_time * 1e3,
        best * 1e3, ours_time / best))
    if height_error > 1e-3 * factor * (high - low) or parallel < 0.99 or not opposed:
        print("contour peer: height field %d^2: heights or normals disagree" % n)
        status = 1
    return status


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    if not program(build_dir, "bench_contour", "contour"):
        return 0
    vtkSMPTools.Initialize(THREADS)
    mine = ours(build_dir)
    status = contour_rows(bench_dir, mine)
    return height_rows(bench_dir, mine) or status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/release"))
