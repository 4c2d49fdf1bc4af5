"""Peer of bench_network: VTK's demand-driven pipeline on the same shapes.

bench_network times one pass of our update thread over an unchanged network of
1,000 modules, as a chain and as a fan (one source, 999 consumers). This script
runs it, then builds the same shapes from VTK pass-through filters over a
trivial producer and times an Update of every sink of the unchanged pipeline
(the chain has one sink, the fan 999), which, like our pass, must find that
nothing is out of date. Ours includes waking the update thread and waiting for
it; VTK's Update runs on the calling thread.
"""
import os
import sys
import time

from vtkmodules.vtkCommonDataModel import vtkImageData
from vtkmodules.vtkCommonExecutionModel import vtkTrivialProducer
from vtkmodules.vtkFiltersCore import vtkPassThrough

from _peer import benchmark_runs, program

MODULES = 1000
PASSES = 200


def build(shape):
    image = vtkImageData()
    image.SetDimensions(2, 2, 2)
    source = vtkTrivialProducer()
    source.SetOutput(image)
    filters = []
    previous = source
    for _ in range(MODULES - 1):
        f = vtkPassThrough()
        f.SetInputConnection((previous if shape == "chain" else source).GetOutputPort())
        filters.append(f)
        previous = f
    sinks = [filters[-1]] if shape == "chain" else filters
    return source, filters, sinks


def time_unchanged_pass(shape):
    source, filters, sinks = build(shape)
    for sink in sinks:
        sink.Update()
    best = None
    for _ in range(PASSES):
        start = time.perf_counter()
        for sink in sinks:
            sink.Update()
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    return best


def ours(build_dir):
    times = {}
    for run in benchmark_runs(os.path.join(build_dir, "bench", "bench_network"), "--benchmark_min_time=0.5"):
        shape = run["name"].split("/")[1] if "/" in run["name"] else run["name"]
        scale = {"us": 1e-6, "ms": 1e-3, "ns": 1e-9}[run["time_unit"]]
        times[shape] = run["real_time"] * scale
    return times


def main(build_dir):
    if not program(build_dir, "bench_network", "network"):
        return 0
    mine = ours(build_dir)
    print("%-8s %14s %14s %8s" % ("shape", "ours (us)", "VTK (us)", "ratio"))
    for shape in ("chain", "fan"):
        peer = time_unchanged_pass(shape)
        print("%-8s %14.1f %14.1f %8.2f" % (shape, mine[shape] * 1e6, peer * 1e6, mine[shape] / peer))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/release"))
