"""Peer of bench_wellrender: VTK's vtkTubeFilter on the same 100 wells.

bench_wellrender builds 100 wells of 2,000 log samples each and draws them with
the well render module as tubes coloured by the gamma ray log (blue, green, red
over the log's range) and sized by the resistivity log (radius 2.5 to 7.5),
20 sides, into a 1024 x 768 picture; it reports its first frame and its steady
frame, best of five, with the CPU time of the whole process,
and writes beside itself the points the tubes pass through (wellrender_*.raw:
the point count of each well, the points, the gamma ray at each and the radius
of the segment that starts there). This script runs it, then draws the same
points with VTK: a polyline per well, vtkTubeFilter with 20 sides, capped,
radius by absolute scalar (the same radii), coloured by the same gamma ray
through the same three colours, seen through the same camera (the centre from
(1, -0.8, 0.6) at 1.6 diagonals, Z up, 30 degrees high).

Times, every picture read back: the first frame after the data reach the
drawing (VTK: the tube filter, the upload and the drawing; ours: the tubes made
from the logs and drawn, best of five); and the steady frame after it
(VTK's buffers, our kept tubes), best of five on both sides. Before the ratios
the pictures are compared: the covered share and the mean brightness must agree
within the tolerances below (VTK's tubes taper from one radius to the next and
shade colours along each segment, ours step at each sample). Quarter-size pictures go to bench/results. For the record, the same tube
calls sent each frame through the extrusion library (GLE) in immediate mode.

VTK draws through GLX, so the script runs itself under xvfb-run when no display
is set; Mesa's llvmpipe draws on both sides with the same thread count.
"""
import os
import sys

import numpy as np
from vtkmodules.util.numpy_support import numpy_to_vtk
from vtkmodules.vtkCommonCore import vtkLookupTable, vtkPoints
from vtkmodules.vtkCommonDataModel import vtkCellArray, vtkPolyData
from vtkmodules.vtkFiltersCore import vtkTubeFilter
from vtkmodules.vtkRenderingCore import vtkActor, vtkPolyDataMapper, vtkRenderer, vtkRenderWindow
import vtkmodules.vtkRenderingOpenGL2  # noqa: F401  the OpenGL back end

from _peer import program
from _pictures import RESULTS, benchmark_runs, picture, save, start_drawing, summary

WIDTH, HEIGHT = 1024, 768
SHRINK = 4
THREADS = 2
FRAMES = 5
SIDES = 20
COVERED_TOLERANCE = 0.03     # share of the picture
BRIGHTNESS_TOLERANCE = 0.35  # relative: the two light the tubes differently


def ours(build_dir):
    runs = {}
    for run in benchmark_runs(os.path.join(build_dir, "bench", "bench_wellrender"), RESULTS, THREADS):
        runs.setdefault(run["name"].split("/")[0].replace("BM_", ""), []).append(run)
    return {name: min(repeated, key=lambda r: r["real_time"]) for name, repeated in runs.items()}


def tubes(bench_dir):
    def raw(name, dtype):
        return np.fromfile(os.path.join(bench_dir, "wellrender_%s.raw" % name), dtype=dtype)

    counts = raw("counts", "<i4")
    points = raw("points", "<f8").reshape(-1, 3)
    gamma, radius, limits = raw("gr", "<f8"), raw("radius", "<f8"), raw("limits", "<f8")
    vtk_points = vtkPoints()
    vtk_points.SetData(numpy_to_vtk(points, deep=True))
    lines = vtkCellArray()
    start = 0
    for count in counts:
        lines.InsertNextCell(int(count))
        for index in range(start, start + int(count)):
            lines.InsertCellPoint(index)
        start += int(count)
    data = vtkPolyData()
    data.SetPoints(vtk_points)
    data.SetLines(lines)
    radii = numpy_to_vtk(radius, deep=True)
    radii.SetName("radius")
    colours = numpy_to_vtk(gamma, deep=True)
    colours.SetName("GR")
    data.GetPointData().AddArray(colours)
    data.GetPointData().SetScalars(radii)
    return data, points, float(limits[0]), float(limits[1])


def lookup_table(low, high):
    """Blue, green, red over the range, as the module's map."""
    table = vtkLookupTable()
    table.SetNumberOfTableValues(256)
    for i in range(256):
        t = i / 255.0
        rgb = (0.0, 2 * t, 1 - 2 * t) if t < 0.5 else (2 * t - 1, 2 - 2 * t, 0.0)
        table.SetTableValue(i, rgb[0], rgb[1], rgb[2], 1.0)
    table.SetRange(low, high)
    return table


def place_camera(renderer, points):
    low, high = points.min(axis=0), points.max(axis=0)
    centre = 0.5 * (low + high)
    diagonal = float(np.linalg.norm(high - low))
    direction = np.array([1.0, -0.8, 0.6])
    position = direction / np.linalg.norm(direction) * 1.6 * diagonal + centre
    camera = renderer.GetActiveCamera()
    camera.SetPosition(*position)
    camera.SetFocalPoint(*centre)
    camera.SetViewUp(0.0, 0.0, 1.0)
    camera.SetViewAngle(30.0)
    camera.SetClippingRange(0.5 * diagonal, 3.0 * diagonal)


def peer(data, points, low, high):
    """(first frame and its CPU time, best steady frame and its CPU time, its picture, tube points) of VTK's tubes."""
    tube = vtkTubeFilter()
    tube.SetInputData(data)
    tube.SetNumberOfSides(SIDES)
    tube.SetVaryRadiusToVaryRadiusByAbsoluteScalar()
    tube.CappingOn()
    mapper = vtkPolyDataMapper()
    mapper.SetInputConnection(tube.GetOutputPort())
    mapper.SetScalarModeToUsePointFieldData()
    mapper.SelectColorArray("GR")
    mapper.SetLookupTable(lookup_table(low, high))
    mapper.UseLookupTableScalarRangeOn()
    actor = vtkActor()
    actor.SetMapper(mapper)
    window = vtkRenderWindow()
    window.SetSize(WIDTH, HEIGHT)
    window.SetMultiSamples(0)
    window.OffScreenRenderingOn()
    renderer = vtkRenderer()
    renderer.SetBackground(0.0, 0.0, 0.0)
    window.AddRenderer(renderer)
    renderer.AddActor(actor)
    place_camera(renderer, points)
    first = picture(window)
    frames = [picture(window) for _ in range(FRAMES)]
    best = min(frames, key=lambda frame: frame[0])
    return first[0], first[1], best[0], best[1], best[2], tube.GetOutput().GetNumberOfPoints()


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    if not program(build_dir, "bench_wellrender", "well render"):
        return 0
    status = start_drawing(__file__, build_dir, THREADS)
    if status is not None:
        return status
    mine = ours(build_dir)
    data, points, low, high = tubes(bench_dir)
    first, first_cpu_vtk, best, best_cpu, image, vtk_points = peer(data, points, low, high)
    covered, bright = summary(image)
    save(image, os.path.join(RESULTS, "wellrender_vtk.png"), SHRINK)
    frame, build, gle = mine["Frame"], mine["Build"], mine["GleFrame"]
    ours_first, first_cpu = mine["FirstFrame"]["real_time"] / 1000.0, mine["FirstFrame"]["process_cpu"]
    print("%d wells, %d tube points, at %d x %d, %d threads (llvmpipe)" % (
        len(np.fromfile(os.path.join(bench_dir, "wellrender_counts.raw"), dtype="<i4")), len(points), WIDTH, HEIGHT,
        THREADS))
    print("%-34s %10s %10s %10s %9s %9s" % ("", "first", "frame", "frame CPU", "covered", "bright"))
    print("%-34s %9.0fms %9.0fms %9.0fms %9.3f %9.1f" % (
        "ours (well render module)", ours_first * 1e3, frame["real_time"], frame["process_cpu"] * 1e3,
        frame["covered"], frame["brightness"]))
    print("%-34s %9.0fms %9.0fms %9.0fms %9.3f %9.1f" % (
        "VTK vtkTubeFilter", first * 1e3, best * 1e3, best_cpu * 1e3, covered, bright))
    print("%-34s %9s %9.0fms %9.0fms" % ("the same tubes through GLE", "", gle["real_time"], gle["process_cpu"] * 1e3))
    print("first frame CPU: ours %.0f ms, VTK %.0f ms" % (first_cpu * 1e3, first_cpu_vtk * 1e3))
    print("ours: tube geometry alone %.0f ms, %d triangles; VTK: %d tube points" % (
        build["real_time"], build["triangles"], vtk_points))
    status = 0
    if abs(frame["covered"] - covered) > COVERED_TOLERANCE or \
            abs(frame["brightness"] - bright) > BRIGHTNESS_TOLERANCE * bright:
        print("pictures differ: ours covers %.3f at %.1f, VTK %.3f at %.1f" % (
            frame["covered"], frame["brightness"], covered, bright))
        status = 1
    ours_frame = frame["real_time"] / 1000.0
    print("ratio ours / VTK: first frame %.2f (CPU %.2f), steady frame %.2f (CPU %.2f)" % (
        ours_first / first, first_cpu / max(first_cpu_vtk, 1e-9), ours_frame / best,
        frame["process_cpu"] / max(best_cpu, 1e-9)))
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/release"))
