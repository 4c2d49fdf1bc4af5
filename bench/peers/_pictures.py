"""What the drawing peers share: our benchmark's runs, the drawing under
xvfb-run, a frame drawn and read back with its times, the summary of a picture
that is compared with ours, and a shrunk copy."""
import os
import shutil
import subprocess
import sys
import time

import numpy as np
from vtkmodules.util.numpy_support import numpy_to_vtk, vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkSMPTools, vtkUnsignedCharArray
from vtkmodules.vtkCommonDataModel import vtkImageData
from vtkmodules.vtkIOImage import vtkPNGWriter

import _peer


def benchmark_runs(program, pictures, threads):
    """The runs (not the aggregates) of one of our drawing benchmarks, its pictures going to `pictures`."""
    env = dict(os.environ, FENRAK_BENCH_PICTURES=pictures, LP_NUM_THREADS=str(threads))
    return [run for run in _peer.benchmark_runs(program, env=env) if run.get("run_type") != "aggregate"]


# Where the drawing peers leave their pictures, beside the figures.
RESULTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "results")


def start_drawing(script, build_dir, threads):
    """Readies a drawing peer. With no display, runs `script` again under xvfb-run and gives its exit
    status; otherwise sets the thread count of llvmpipe and of VTK, makes the results folder and gives None."""
    status = run_under_xvfb(script, build_dir)
    if status is not None:
        return status
    os.environ["LP_NUM_THREADS"] = str(threads)
    vtkSMPTools.Initialize(threads)
    os.makedirs(RESULTS, exist_ok=True)
    return None


def run_under_xvfb(script, build_dir):
    """VTK draws through GLX: with no display, runs `script` again under xvfb-run and gives its exit
    status; None when this process can draw."""
    if os.environ.get("DISPLAY") or not shutil.which("xvfb-run") or os.environ.get("FENRAK_UNDER_XVFB"):
        return None
    env = dict(os.environ, FENRAK_UNDER_XVFB="1")
    # Searching from a number of its own keeps two peers started at once off one server.
    first_number = str(100 + os.getpid() % 800)
    return subprocess.call(["xvfb-run", "-a", "-n", first_number, "-s", "-screen 0 1280x1024x24",
                            sys.executable, os.path.abspath(script), build_dir], env=env)


def read_back(window):
    width, height = window.GetSize()
    pixels = vtkUnsignedCharArray()
    window.GetRGBACharPixelData(0, 0, width - 1, height - 1, 1, pixels)
    return vtk_to_numpy(pixels).reshape(height, width, 4)[::-1, :, :3]


def picture(window):
    """(wall seconds, process CPU seconds, picture) of one frame read back."""
    start, cpu = time.perf_counter(), time.process_time()
    window.Render()
    image = read_back(window)
    return time.perf_counter() - start, time.process_time() - cpu, image


def summary(image):
    """The covered share of the picture (pixels brighter than black) and its mean brightness."""
    total = image.astype(np.int32).sum(axis=2)
    return float((total > 24).mean()), float(total.mean() / 3.0)


def save(image, path, shrink=4):
    """The picture `shrink` times smaller, as a PNG file."""
    height, width = image.shape[0] // shrink, image.shape[1] // shrink
    small = image[:height * shrink, :width * shrink].reshape(height, shrink, width, shrink, 3).mean(
        axis=(1, 3)).astype(np.uint8)
    data = vtkImageData()
    data.SetDimensions(width, height, 1)
    data.GetPointData().SetScalars(numpy_to_vtk(np.ascontiguousarray(small[::-1]).reshape(-1, 3), deep=True))
    writer = vtkPNGWriter()
    writer.SetFileName(path)
    writer.SetInputData(data)
    writer.Write()
