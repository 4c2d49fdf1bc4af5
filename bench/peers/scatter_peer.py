"""Peer of bench_scatter: VTK's glyph and surface filters on the same data.

bench_scatter writes its inputs beside itself: 10^6 points (scatter_coords.raw,
x y z doubles) with one value each (scatter_values.raw), the 256 colours of the
grey map it colours them with (scatter_table.raw, RGBA bytes) and the colours it
gave each point (scatter_colors.raw); and for the face render the node values of
n^3 lattices (face_nodes_<n>.raw, float, i fastest) with the map's table, whose
alpha is 0 below the cut (face_table.raw).

Symbols. Ours: the scatter plot module's run, positions and packed colours into
the scene's vertex property, as points (symbol 30) or 7-pixel squares (21).
Peers, with the same 256 colours in a vtkLookupTable over the same range:
vtkVertexGlyphFilter (a vertex cell per point) against our points, and
vtkGlyph3D with a vtkCubeSource and with a vtkSphereSource (8 x 8) against our
squares, each followed by the colour mapping a mapper does (MapScalars).

Face render. Ours: the module's run: cell values, which cells stand, their
faces with colours and normals. Peer: the same cells hidden through the ghost
array (computed in numpy from the same table before timing), then
vtkDataSetSurfaceFilter, then the colour mapping of the faces' cell values.

Outputs are compared: symbol counts and every point's colour (within one
step of the table, VTK rounding the table index down where we round to
nearest); face counts exactly and the faces' mean red within 1.

Times: the machine is shared, so the two sides take turns: three single runs
of our module (a fresh benchmark process, after one run to warm up), then one
run of the peer, repeated; each side's best single run counts. Real time and CPU time of
the whole process (worker threads included) are both given. 2 threads on each
side (TBB's default arena on this machine, vtkSMPTools.Initialize(2)).
"""
import os
import subprocess
import sys
import time

import numpy as np
from vtkmodules.util.numpy_support import numpy_to_vtk, vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkLookupTable, vtkPoints, vtkSMPTools
from vtkmodules.vtkCommonDataModel import vtkDataSetAttributes, vtkImageData, vtkPolyData
from vtkmodules.vtkFiltersCore import vtkGlyph3D
from vtkmodules.vtkFiltersGeneral import vtkVertexGlyphFilter
from vtkmodules.vtkFiltersGeometry import vtkDataSetSurfaceFilter
from vtkmodules.vtkFiltersSources import vtkCubeSource, vtkSphereSource

from _peer import benchmark_runs, program

THREADS = 2
SIZES = (64, 128, 256)
REPEATS = {"vtkVertexGlyphFilter": 5, "vtkGlyph3D cube": 2, "vtkGlyph3D sphere": 1, 64: 5, 128: 3, 256: 3}


def ours(build_dir, pattern):
    """A turn of our benchmark `pattern`: its repetitions' records (single runs, times in ms)."""
    runs = benchmark_runs(os.path.join(build_dir, "bench", "bench_scatter"), "--benchmark_filter=" + pattern,
                          "--benchmark_repetitions=3")
    return [run for run in runs if run.get("run_type") == "iteration"]


class Timing:
    """Best real and CPU (whole process) times of each side, in ms, their runs
    alternating so that both meet the same load of a shared machine."""

    def __init__(self):
        self.ours_real = self.ours_cpu = self.peer_real = self.peer_cpu = float("inf")
        self.record = None
        self.result = None

    def add_ours(self, records):
        for record in records:
            self.record = record
            self.ours_real = min(self.ours_real, record["real_time"])
            self.ours_cpu = min(self.ours_cpu, record["cpu_time"])

    def add_peer(self, run):
        start, cpu = time.perf_counter(), time.process_time()
        self.result = run()
        self.peer_real = min(self.peer_real, (time.perf_counter() - start) * 1e3)
        self.peer_cpu = min(self.peer_cpu, (time.process_time() - cpu) * 1e3)


def alternate(build_dir, pattern, run, repeats):
    timing = Timing()
    for _ in range(repeats):
        timing.add_ours(ours(build_dir, pattern))
        timing.add_peer(run)
    return timing


def lookup_table(path, low, high):
    table = np.fromfile(path, dtype=np.uint8).reshape(256, 4)
    lut = vtkLookupTable()
    lut.SetNumberOfTableValues(256)
    for i, (r, g, b, a) in enumerate(table):
        lut.SetTableValue(i, r / 255.0, g / 255.0, b / 255.0, a / 255.0)
    lut.SetTableRange(low, high)
    return table, lut


def symbols(build_dir, bench_dir):
    coords = np.fromfile(os.path.join(bench_dir, "scatter_coords.raw"), dtype="<f8").reshape(-1, 3)
    values = np.fromfile(os.path.join(bench_dir, "scatter_values.raw"), dtype="<f8")
    table, lut = lookup_table(os.path.join(bench_dir, "scatter_table.raw"), values.min(), values.max())
    points = vtkPoints()
    points.SetData(numpy_to_vtk(coords, deep=True))
    cloud = vtkPolyData()
    cloud.SetPoints(points)
    scalars = numpy_to_vtk(values, deep=True)
    scalars.SetName("value")
    cloud.GetPointData().SetScalars(scalars)

    def vertices():
        f = vtkVertexGlyphFilter()
        f.SetInputData(cloud)
        f.Update()
        out = f.GetOutput()
        return out, lut.MapScalars(out.GetPointData().GetScalars(), 0, 0)

    def glyphs(source):
        def run():
            f = vtkGlyph3D()
            f.SetInputData(cloud)
            f.SetSourceConnection(source.GetOutputPort())
            f.SetScaleModeToDataScalingOff()
            f.SetColorModeToColorByScalar()
            f.Update()
            out = f.GetOutput()
            return out, lut.MapScalars(out.GetPointData().GetScalars(), 0, 0)
        return run

    cube = vtkCubeSource()
    cube.SetXLength(2.0)
    cube.SetYLength(2.0)
    cube.SetZLength(2.0)
    sphere = vtkSphereSource()
    sphere.SetThetaResolution(8)
    sphere.SetPhiResolution(8)

    status = 0
    rows = []
    for kind, peer, run in ((0, "vtkVertexGlyphFilter", vertices), (1, "vtkGlyph3D cube", glyphs(cube)),
                            (1, "vtkGlyph3D sphere", glyphs(sphere))):
        timing = alternate(build_dir, "BM_PointSymbols/kind:%d/" % kind, run, REPEATS[peer])
        out, colors = timing.result
        symbols_ours = int(timing.record["symbols"])
        if kind == 0:
            ours_colors = np.fromfile(os.path.join(bench_dir, "scatter_colors.raw"), dtype=np.uint8).reshape(-1, 4)
            peer_colors = vtk_to_numpy(colors).reshape(-1, 4)
            step = int(np.abs(peer_colors[:, :3].astype(int) - ours_colors[:, :3].astype(int)).max())
            if out.GetNumberOfVerts() != symbols_ours or step > 2:
                print("scatter peer: %s: %d vertices against our %d, colours apart by %d" % (
                    peer, out.GetNumberOfVerts(), symbols_ours, step))
                status = 1
        elif symbols_ours != len(values) or out.GetNumberOfPoints() % len(values) != 0:
            print("scatter peer: %s: %d symbols, %d glyph points, for %d points" % (
                peer, symbols_ours, out.GetNumberOfPoints(), len(values)))
            status = 1
        rows.append(("%s vs %s" % ("points" if kind == 0 else "squares", peer), timing, len(values)))
    return status, rows


def faces(build_dir, bench_dir, n):
    nodes = np.fromfile(os.path.join(bench_dir, "face_nodes_%d.raw" % n), dtype="<f4").reshape(n, n, n)
    low, high = float(nodes.min()), float(nodes.max())
    table, lut = lookup_table(os.path.join(bench_dir, "face_table.raw"), low, high)
    # A cell takes its first node's value; it stands where the table's alpha
    # at the nearest entry is not 0, as in the module.
    cells = nodes[:-1, :-1, :-1].astype(np.float64)
    index = np.floor(255.0 * ((cells - low) / (high - low)) + 0.5).astype(np.int64).clip(0, 255)
    hidden = table[index, 3] == 0
    grid = vtkImageData()
    grid.SetDimensions(n, n, n)
    values = numpy_to_vtk(cells.ravel(), deep=True)
    values.SetName("value")
    grid.GetCellData().SetScalars(values)
    ghosts = numpy_to_vtk(np.where(hidden.ravel(), vtkDataSetAttributes.HIDDENCELL, 0).astype(np.uint8),
                          deep=True)
    ghosts.SetName(vtkDataSetAttributes.GhostArrayName())

    def run():
        grid.GetCellData().RemoveArray(vtkDataSetAttributes.GhostArrayName())
        grid.GetCellData().AddArray(ghosts)
        f = vtkDataSetSurfaceFilter()
        f.SetInputData(grid)
        f.Update()
        out = f.GetOutput()
        return out, lut.MapScalars(out.GetCellData().GetScalars(), 0, 0)

    timing = alternate(build_dir, "BM_FaceRender/n:%d/" % n, run, REPEATS[n])
    out, colors = timing.result
    record = timing.record
    red = vtk_to_numpy(colors).reshape(-1, 4)[:, 0].mean()
    status = 0
    if out.GetNumberOfPolys() != int(record["faces"]) or abs(red - record["mean_red"]) > 1.0:
        print("scatter peer: %d^3: %d faces (mean red %.2f) against our %d (%.2f)" % (
            n, out.GetNumberOfPolys(), red, int(record["faces"]), record["mean_red"]))
        status = 1
    return status, ("blocks %d^3 vs vtkDataSetSurfaceFilter" % n, timing, out.GetNumberOfPolys())


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    if not program(build_dir, "bench_scatter", "scatter"):
        return 0
    vtkSMPTools.Initialize(THREADS)
    # One run writes every input file.
    subprocess.run([os.path.join(bench_dir, "bench_scatter"), "--benchmark_min_time=0.01"], check=True,
                   capture_output=True)
    status, rows = symbols(build_dir, bench_dir)
    for n in SIZES:
        face_status, row = faces(build_dir, bench_dir, n)
        status |= face_status
        rows.append(row)
    print("%-42s %10s %10s %10s %10s %9s %9s" % (
        "workload", "ours real", "peer real", "ours cpu", "peer cpu", "real", "cpu"))
    for name, t, count in rows:
        print("%-42s %8.1fms %8.1fms %8.1fms %8.1fms %9.2f %9.2f" % (
            name, t.ours_real, t.peer_real, t.ours_cpu, t.peer_cpu, t.ours_real / t.peer_real,
            t.ours_cpu / t.peer_cpu))
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/bench"))
