"""What the peer scripts share: our benchmark program and its records, the
lattice both sides read from the raw files as a vtkImageData, and the best
of timed runs."""
import json
import os
import subprocess
import time


def program(build_dir, name, peer):
    """The path of our benchmark program `name` in `build_dir`; None, said in a line, when it is not built."""
    path = os.path.join(build_dir, "bench", name)
    if not os.path.exists(path):
        print("%s peer: skipped, %s is not built in %s" % (peer, name, build_dir))
        return None
    return path


def benchmark_runs(path, *arguments, env=None):
    """The records of one run of our benchmark program, with its extra `arguments`, as reported."""
    output = subprocess.run([path, "--benchmark_format=json"] + list(arguments), check=True, capture_output=True,
                            text=True, env=env).stdout
    return json.loads(output)["benchmarks"]


def image_data(values, dims, origin=(0.0, 0.0, 0.0), spacing=(1.0, 1.0, 1.0), name="value", vectors=False):
    """A vtkImageData of `dims` nodes, i fastest, with `values` (one row per node) as its point
    scalars, or its vectors. VTK is imported here: peers without it use the rest."""
    from vtkmodules.util.numpy_support import numpy_to_vtk
    from vtkmodules.vtkCommonDataModel import vtkImageData

    data = vtkImageData()
    data.SetDimensions(*dims)
    data.SetOrigin(*origin)
    data.SetSpacing(*spacing)
    array = numpy_to_vtk(values, deep=True)
    array.SetName(name)
    if vectors:
        data.GetPointData().SetVectors(array)
    else:
        data.GetPointData().SetScalars(array)
    return data


def best_of(run, repeats, before=None):
    """(wall, CPU) seconds, the best of each over `repeats` calls of `run`, each after an untimed
    call of `before` (when given); CPU time is the whole process's (all threads)."""
    wall = cpu = float("inf")
    for _ in range(repeats):
        if before:
            before()
        start, start_cpu = time.perf_counter(), time.process_time()
        run()
        wall = min(wall, time.perf_counter() - start)
        cpu = min(cpu, time.process_time() - start_cpu)
    return wall, cpu
