"""Peer of bench_volume: VTK's volume mappers on the same 256^3 lattice.

bench_volume writes its field as raw little-endian floats beside itself
(volume_256.raw, i fastest, voxel spacing 1 from the origin), draws it at
1024 x 768 through the volume node with 2-D and 3-D textures, and reports per
mode the time of a new node's first picture (textures made and loaded, one
frame) and of one more frame, with the covered share and mean brightness of
its picture. This script runs it, then draws the same data with VTK through the
same camera (the centre seen from (1, 0.8, 0.6) at 2.2 diagonals, Z up, 30
degrees high) and the same transfer function (black, red, yellow, white;
clear below 0.3 of the range, then up to 0.8 opacity), sampled once per voxel
(sample distance 1, opacity unit distance 1, no automatic adjustment, no
shading), with vtkSmartVolumeMapper and vtkGPUVolumeRayCastMapper.

Times: each side's first picture of a new volume, its steady frame, and the
load (first picture less a frame: for VTK that includes compiling its
shaders). Every picture is read back on both sides. Best of several frames.
Before timing, the pictures are compared: the covered share and the mean
brightness must agree within the tolerances below (the two renderers sample
differently: slices against rays). Quarter-size pictures of every renderer go
to bench/results beside the figures.

VTK draws through GLX, so the script runs itself under xvfb-run when no
display is set; Mesa's llvmpipe draws on both sides with the same thread count.
"""
import json
import os
import shutil
import subprocess
import sys
import time

import numpy as np
from vtkmodules.util.numpy_support import numpy_to_vtk, vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkSMPTools, vtkUnsignedCharArray
from vtkmodules.vtkCommonDataModel import vtkImageData, vtkPiecewiseFunction
from vtkmodules.vtkIOImage import vtkPNGWriter
from vtkmodules.vtkRenderingCore import vtkColorTransferFunction, vtkRenderer, vtkRenderWindow, vtkVolume, \
    vtkVolumeProperty
import vtkmodules.vtkRenderingOpenGL2  # noqa: F401  the OpenGL back end
from vtkmodules.vtkRenderingVolume import vtkGPUVolumeRayCastMapper
from vtkmodules.vtkRenderingVolumeOpenGL2 import vtkSmartVolumeMapper

SIDE = 256
WIDTH, HEIGHT = 1024, 768
SHRINK = 4
THREADS = 2
FRAMES = 5
# Pictures agree when these differ by no more than this.
COVERED_TOLERANCE = 0.05    # share of the picture
BRIGHTNESS_TOLERANCE = 0.35  # relative
RESULTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "results")
METHODS = {0: "2-D textures", 1: "3-D textures"}


def ours(build_dir):
    program = os.path.join(build_dir, "bench", "bench_volume")
    env = dict(os.environ, FENRAK_BENCH_PICTURES=RESULTS, LP_NUM_THREADS=str(THREADS))
    output = subprocess.run([program, "--benchmark_format=json"], check=True, capture_output=True, text=True,
                            env=env).stdout
    results = {}
    for run in json.loads(output)["benchmarks"]:
        workload = run["name"].split("/")[0].replace("BM_", "")
        method = int(run["name"].split("method:")[1].split("/")[0])
        results[(workload, method)] = run
    return results


def volume_data(bench_dir):
    values = np.fromfile(os.path.join(bench_dir, "volume_256.raw"), dtype="<f4")
    data = vtkImageData()
    data.SetDimensions(SIDE, SIDE, SIDE)
    data.SetOrigin(0.0, 0.0, 0.0)
    data.SetSpacing(1.0, 1.0, 1.0)
    scalars = numpy_to_vtk(values, deep=True)
    scalars.SetName("value")
    data.GetPointData().SetScalars(scalars)
    return data, float(values.min()), float(values.max())


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


def read_back(window):
    pixels = vtkUnsignedCharArray()
    window.GetRGBACharPixelData(0, 0, WIDTH - 1, HEIGHT - 1, 1, pixels)
    return vtk_to_numpy(pixels).reshape(HEIGHT, WIDTH, 4)[::-1, :, :3]


def picture(window):
    start = time.perf_counter()
    window.Render()
    image = read_back(window)
    return time.perf_counter() - start, image


def summary(image):
    total = image.astype(np.int32).sum(axis=2)
    return float((total > 24).mean()), float(total.mean() / 3.0)


def save(image, name):
    small = image.reshape(HEIGHT // SHRINK, SHRINK, WIDTH // SHRINK, SHRINK, 3).mean(axis=(1, 3)).astype(np.uint8)
    data = vtkImageData()
    data.SetDimensions(WIDTH // SHRINK, HEIGHT // SHRINK, 1)
    data.GetPointData().SetScalars(numpy_to_vtk(np.ascontiguousarray(small[::-1]).reshape(-1, 3), deep=True))
    writer = vtkPNGWriter()
    writer.SetFileName(os.path.join(RESULTS, name))
    writer.SetInputData(data)
    writer.Write()


def peer(kind, data, prop):
    """(first picture, best frame, picture, mode used) of one mapper, or None where it cannot draw."""
    window = vtkRenderWindow()
    window.SetSize(WIDTH, HEIGHT)
    window.SetMultiSamples(0)
    window.OffScreenRenderingOn()
    renderer = vtkRenderer()
    renderer.SetBackground(0.0, 0.0, 0.0)
    window.AddRenderer(renderer)
    mapper = make_mapper(kind)
    mapper.SetInputData(data)
    if kind == "vtkGPUVolumeRayCastMapper" and not mapper.IsRenderSupported(window, prop):
        return None
    volume = vtkVolume()
    volume.SetMapper(mapper)
    volume.SetProperty(prop)
    renderer.AddVolume(volume)
    place_camera(renderer)
    first, image = picture(window)
    best = min(picture(window)[0] for _ in range(FRAMES))
    used = ""
    if kind == "vtkSmartVolumeMapper":
        used = {0: "default", 1: "ray cast", 2: "GPU", 3: "undefined", 4: "OSPRay", 5: "ANARI"}.get(
            mapper.GetLastUsedRenderMode(), str(mapper.GetLastUsedRenderMode()))
    window.Finalize()
    return first, best, image, used


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    if not os.path.exists(os.path.join(bench_dir, "bench_volume")):
        print("volume peer: skipped, bench_volume is not built in %s" % build_dir)
        return 0
    if not os.environ.get("DISPLAY") and shutil.which("xvfb-run") and not os.environ.get("FENRAK_UNDER_XVFB"):
        env = dict(os.environ, FENRAK_UNDER_XVFB="1")
        return subprocess.call(["xvfb-run", "-a", "-s", "-screen 0 1280x1024x24", sys.executable,
                                os.path.abspath(__file__), build_dir], env=env)
    os.environ["LP_NUM_THREADS"] = str(THREADS)
    vtkSMPTools.Initialize(THREADS)
    os.makedirs(RESULTS, exist_ok=True)
    mine = ours(build_dir)
    data, low, high = volume_data(bench_dir)
    prop = volume_property(low, high)
    status = 0
    print("256^3 at %d x %d, %d threads (llvmpipe and TBB)" % (WIDTH, HEIGHT, THREADS))
    print("%-28s %10s %10s %10s %9s %9s" % ("renderer", "first", "frame", "load", "covered", "bright"))
    for method in (0, 1):
        frame = mine[("Frame", method)]
        first = mine[("Load", method)]["real_time"] / 1000.0
        seconds = frame["real_time"] / 1000.0
        print("%-28s %9.0fms %9.0fms %9.0fms %9.3f %9.1f" % (
            "ours, " + METHODS[method], first * 1e3, seconds * 1e3, (first - seconds) * 1e3, frame["covered"],
            frame["brightness"]))
    for kind in ("vtkSmartVolumeMapper", "vtkGPUVolumeRayCastMapper"):
        result = peer(kind, data, prop)
        if result is None:
            print("%-28s cannot draw here" % kind)
            continue
        first, best, image, used = result
        covered, bright = summary(image)
        save(image, "volume_%s.png" % ("smart" if kind == "vtkSmartVolumeMapper" else "gpu"))
        label = kind + (" (%s)" % used if used else "")
        print("%-28s %9.0fms %9.0fms %9.0fms %9.3f %9.1f" % (
            label, first * 1e3, best * 1e3, (first - best) * 1e3, covered, bright))
        for method in (0, 1):
            frame = mine[("Frame", method)]
            ours_first = mine[("Load", method)]["real_time"] / 1000.0
            ours_frame = frame["real_time"] / 1000.0
            agree = abs(frame["covered"] - covered) <= COVERED_TOLERANCE and \
                abs(frame["brightness"] - bright) <= BRIGHTNESS_TOLERANCE * bright
            if not agree:
                print("    pictures differ: ours (%s) covers %.3f at %.1f, %s %.3f at %.1f" % (
                    METHODS[method], frame["covered"], frame["brightness"], kind, covered, bright))
                status = 1
            print("    ratio ours (%s) / %s: frame %.2f, load %.2f" % (
                METHODS[method], kind, ours_frame / best,
                (ours_first - ours_frame) / max(first - best, 1e-9)))
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/release"))
