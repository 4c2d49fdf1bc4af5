"""Peer of bench_volume: VTK's volume mappers on the same 256^3 lattice.

bench_volume writes its field as raw little-endian floats beside itself
(volume_256.raw, i fastest, voxel spacing 1 from the origin), draws it at
1024 x 768 through the volume node with 2-D and 3-D textures, and reports per
mode the time of a new node's texture load (its first picture less a steady
frame, both 64 x 48, so that the frame's own cost stays out) and of a frame at
full size, with the covered share and mean brightness of its picture. This script runs it, then draws the same data with VTK through the
same camera (the centre seen from (1, 0.8, 0.6) at 2.2 diagonals, Z up, 30
degrees high) and the same transfer function (black, red, yellow, white;
clear below 0.3 of the range, then up to 0.8 opacity), sampled once per voxel
(sample distance 1, opacity unit distance 1, no automatic adjustment, no
shading), with vtkSmartVolumeMapper and vtkGPUVolumeRayCastMapper.

Times: each side's load, measured in the same way, mean of three new volumes
(VTK's first volume in a window also compiles its shaders, and is left out);
and its frame at full size, best of five. Every picture is read back on both
sides.
Before timing, the pictures are compared: the covered share and the mean
brightness must agree within the tolerances below (the two renderers sample
differently: slices against rays). Quarter-size pictures of every renderer go
to bench/results beside the figures.

VTK draws through GLX, so the script runs itself under xvfb-run when no
display is set; Mesa's llvmpipe draws on both sides with the same thread count.
"""
import os
import sys

import numpy as np
from vtkmodules.vtkCommonDataModel import vtkPiecewiseFunction
from vtkmodules.vtkRenderingCore import vtkColorTransferFunction, vtkRenderer, vtkRenderWindow, vtkVolume, \
    vtkVolumeProperty
import vtkmodules.vtkRenderingOpenGL2  # noqa: F401  the OpenGL back end
from vtkmodules.vtkRenderingVolume import vtkGPUVolumeRayCastMapper
from vtkmodules.vtkRenderingVolumeOpenGL2 import vtkSmartVolumeMapper

from _peer import image_data, program
from _pictures import RESULTS, benchmark_runs, picture, save, start_drawing, summary

SIDE = 256
WIDTH, HEIGHT = 1024, 768
SHRINK = 4
THREADS = 2
FRAMES = 5
LOADS = 3
SMALL_WIDTH, SMALL_HEIGHT = 64, 48
# Pictures agree when these differ by no more than this.
COVERED_TOLERANCE = 0.05    # share of the picture
BRIGHTNESS_TOLERANCE = 0.35  # relative
METHODS = {0: "2-D textures", 1: "3-D textures"}


def ours(build_dir):
    program = os.path.join(build_dir, "bench", "bench_volume")
    runs = {}
    for run in benchmark_runs(program, RESULTS, THREADS):
        workload = run["name"].split("/")[0].replace("BM_", "")
        method = int(run["name"].split("method:")[1].split("/")[0]) if "method:" in run["name"] else None
        runs.setdefault((workload, method), []).append(run)
    # The mean load and the best frame, as on VTK's side; the fill as it comes.
    results = {}
    for key, repeated in runs.items():
        if key[0] == "Load":
            mean = dict(repeated[0], real_time=sum(r["real_time"] for r in repeated) / len(repeated))
            results[key] = mean
        else:
            results[key] = min(repeated, key=lambda r: r["real_time"])
    return results


def volume_data(bench_dir):
    values = np.fromfile(os.path.join(bench_dir, "volume_256.raw"), dtype="<f4")
    return image_data(values, (SIDE, SIDE, SIDE)), float(values.min()), float(values.max())


def volume_property(low, high):
    def at(position):
        return low + position * (high - low)

    colours = vtkColorTransferFunction()
    for position, rgb in ((0.0, (0, 0, 0)), (0.4, (1, 0, 0)), (0.7, (1, 1, 0)), (1.0, (1, 1, 1))):
        colours.AddRGBPoint(at(position), *rgb)
    opacity = vtkPiecewiseFunction()
    for position, alpha in ((0.0, 0.0), (0.3, 0.0), (1.0, 0.8)):
        opacity.AddPoint(at(position), alpha)
    prop = vtkVolumeProperty()
    prop.SetColor(colours)
    prop.SetScalarOpacity(opacity)
    prop.SetScalarOpacityUnitDistance(1.0)
    prop.SetInterpolationTypeToLinear()
    prop.ShadeOff()
    return prop


def make_mapper(kind):
    mapper = vtkSmartVolumeMapper() if kind == "vtkSmartVolumeMapper" else vtkGPUVolumeRayCastMapper()
    mapper.SetAutoAdjustSampleDistances(0)
    mapper.SetSampleDistance(1.0)
    return mapper


def place_camera(renderer):
    centre = 0.5 * (SIDE - 1)
    diagonal = np.sqrt(3.0) * (SIDE - 1)
    direction = np.array([1.0, 0.8, 0.6])
    position = direction / np.linalg.norm(direction) * 2.2 * diagonal + centre
    camera = renderer.GetActiveCamera()
    camera.SetPosition(*position)
    camera.SetFocalPoint(centre, centre, centre)
    camera.SetViewUp(0.0, 0.0, 1.0)
    camera.SetViewAngle(30.0)
    camera.SetClippingRange(diagonal, 4.0 * diagonal)


# Every window lives to the end: closing one while others draw can take the
# display connection they share with it.
WINDOWS = []


def new_window(width, height):
    window = vtkRenderWindow()
    WINDOWS.append(window)
    window.SetSize(width, height)
    window.SetMultiSamples(0)
    window.OffScreenRenderingOn()
    renderer = vtkRenderer()
    renderer.SetBackground(0.0, 0.0, 0.0)
    window.AddRenderer(renderer)
    place_camera(renderer)
    return window, renderer


def new_volume(kind, data, prop, window, renderer):
    """A volume with a new mapper in place of the renderer's last one; None where the mapper cannot draw."""
    mapper = make_mapper(kind)
    mapper.SetInputData(data)
    if kind == "vtkGPUVolumeRayCastMapper" and not mapper.IsRenderSupported(window, prop):
        return None
    renderer.RemoveAllViewProps()
    volume = vtkVolume()
    volume.SetMapper(mapper)
    volume.SetProperty(prop)
    renderer.AddVolume(volume)
    return mapper


def peer(kind, data, prop):
    """(load, best frame, its CPU time, its picture, mode used) of one mapper, or None where it cannot draw."""
    window, renderer = new_window(SMALL_WIDTH, SMALL_HEIGHT)
    loads = []
    # The first volume of a window also compiles the shaders; the loads after it are the textures'.
    for _ in range(LOADS + 1):
        if new_volume(kind, data, prop, window, renderer) is None:
            return None
        first = picture(window)[0]
        loads.append(max(0.0, first - picture(window)[0]))
    window, renderer = new_window(WIDTH, HEIGHT)
    mapper = new_volume(kind, data, prop, window, renderer)
    picture(window)
    frames = [picture(window) for _ in range(FRAMES)]
    best = min(frames, key=lambda frame: frame[0])
    used = ""
    if kind == "vtkSmartVolumeMapper":
        used = {0: "default", 1: "ray cast", 2: "GPU", 3: "undefined", 4: "OSPRay", 5: "ANARI"}.get(
            mapper.GetLastUsedRenderMode(), str(mapper.GetLastUsedRenderMode()))
    return sum(loads[1:]) / LOADS, best[0], best[1], best[2], used


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    if not program(build_dir, "bench_volume", "volume"):
        return 0
    status = start_drawing(__file__, build_dir, THREADS)
    if status is not None:
        return status
    mine = ours(build_dir)
    data, low, high = volume_data(bench_dir)
    prop = volume_property(low, high)
    status = 0
    print("256^3 at %d x %d, %d threads (llvmpipe and TBB); our RGBA texels alone: %.0f ms" % (
        WIDTH, HEIGHT, THREADS, mine[("Fill", None)]["real_time"]))
    print("%-28s %10s %10s %10s %9s %9s" % ("renderer", "load", "frame", "frame CPU", "covered", "bright"))
    for method in (0, 1):
        frame = mine[("Frame", method)]
        print("%-28s %9.0fms %9.0fms %9.0fms %9.3f %9.1f" % (
            "ours, " + METHODS[method], mine[("Load", method)]["real_time"], frame["real_time"],
            frame["process_cpu"] * 1e3, frame["covered"], frame["brightness"]))
    for kind in ("vtkSmartVolumeMapper", "vtkGPUVolumeRayCastMapper"):
        result = peer(kind, data, prop)
        if result is None:
            print("%-28s cannot draw here" % kind)
            continue
        load, best, best_cpu, image, used = result
        covered, bright = summary(image)
        save(image, os.path.join(RESULTS, "volume_%s.png" % ("smart" if kind == "vtkSmartVolumeMapper" else "gpu")),
             SHRINK)
        label = kind + (" (%s)" % used if used else "")
        print("%-28s %9.0fms %9.0fms %9.0fms %9.3f %9.1f" % (
            label, load * 1e3, best * 1e3, best_cpu * 1e3, covered, bright))
        for method in (0, 1):
            frame = mine[("Frame", method)]
            ours_load = mine[("Load", method)]["real_time"] / 1000.0
            ours_frame = frame["real_time"] / 1000.0
            agree = abs(frame["covered"] - covered) <= COVERED_TOLERANCE and \
                abs(frame["brightness"] - bright) <= BRIGHTNESS_TOLERANCE * bright
            if not agree:
                print("    pictures differ: ours (%s) covers %.3f at %.1f, %s %.3f at %.1f" % (
                    METHODS[method], frame["covered"], frame["brightness"], kind, covered, bright))
                status = 1
            print("    ratio ours (%s) / %s: frame %.2f (CPU %.2f), load %.2f" % (
                METHODS[method], kind, ours_frame / best, frame["process_cpu"] / max(best_cpu, 1e-9),
                ours_load / max(load, 1e-9)))
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/release"))
