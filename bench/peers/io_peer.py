"""Peer of bench_io: VTK 9.1's SEG-Y and NetCDF CF readers, and numpy's plain
read, on the same 512^3 files.

bench_io makes /tmp/fenrak_bench_io.sgy (a 512 x 512 x 512 float cube) and
/tmp/fenrak_bench_io.nc (the same cube as a CF NetCDF variable), reads them
into lattices, and writes beside itself the sum, minimum and maximum of each
lattice's values. This script runs it, then reads each file with VTK
(vtkSegYReader, vtkNetCDFCFReader) and with numpy.fromfile, compares VTK's
values with ours (sum, minimum, maximum), and prints the times and ratios.
One thread on both sides; best of three runs here, Google Benchmark's mean
of three there.
"""
import os
import sys
import time

import numpy as np
import vtk
from vtk.util.numpy_support import vtk_to_numpy

from _peer import benchmark_runs

SEGY = "/tmp/fenrak_bench_io.sgy"
NETCDF = "/tmp/fenrak_bench_io.nc"
REPEATS = 3


def ours(build_dir):
    return {run["name"].split("/")[0] + "/" + run["name"].split("/")[1]: run["real_time"] / 1000.0
            for run in benchmark_runs(os.path.join(build_dir, "bench", "bench_io"))}


def read_segy():
    reader = vtk.vtkSegYReader()
    reader.SetFileName(SEGY)
    reader.SetXYCoordModeToCDP()
    reader.SetStructuredGrid(0)
    reader.Update()
    output = reader.GetOutput()
    return vtk_to_numpy(output.GetPointData().GetArray(0))


def read_netcdf():
    reader = vtk.vtkNetCDFCFReader()
    reader.SetFileName(NETCDF)
    reader.UpdateMetaData()
    reader.SetVariableArrayStatus("component_1", 1)
    reader.SphericalCoordinatesOff()
    reader.Update()
    output = reader.GetOutput()
    return vtk_to_numpy(output.GetPointData().GetArray("component_1"))


def plain(path):
    return np.fromfile(path, dtype=np.uint8)


def best(function, *args):
    walls = []
    result = None
    for _ in range(REPEATS):
        start = time.perf_counter()
        result = function(*args)
        walls.append(time.perf_counter() - start)
    return min(walls), result


def check(name, values, sums_file):
    sums = np.fromfile(sums_file, dtype="<f8")
    values = values.astype(np.float64)
    found = np.array([values.sum(), values.min(), values.max()])
    if values.size != 512 ** 3 or not np.allclose(found, sums, rtol=1e-9, atol=1e-6):
        sys.exit(f"io_peer: {name}: VTK's values {found} differ from ours {sums}")


def main():
    build_dir = sys.argv[1] if len(sys.argv) > 1 else "build/bench"
    runs = ours(build_dir)
    folder = os.path.join(build_dir, "bench")
    for name, path, reader, sums in (("segy", SEGY, read_segy, "io_segy_sums.raw"),
                                     ("netcdf", NETCDF, read_netcdf, "io_netcdf_sums.raw")):
        check(name, reader(), os.path.join(folder, sums))
        vtk_time, _ = best(reader)
        plain_time, _ = best(plain, path)
        mine = runs[f"BM_ReadLattice/{name}"]
        print(f"{name}: ours {mine:.3f} s, our plain read {runs[f'BM_PlainRead/{name}']:.3f} s, "
              f"numpy plain read {plain_time:.3f} s, VTK {vtk_time:.3f} s; "
              f"ours / plain read {mine / runs[f'BM_PlainRead/{name}']:.2f}, VTK / ours {vtk_time / mine:.2f}")


if __name__ == "__main__":
    main()
