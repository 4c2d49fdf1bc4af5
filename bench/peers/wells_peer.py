"""Peer of bench_wells: numpy on the same surveys and the same log file.

bench_wells writes beside itself the survey stations of its 10,000 wells
(wells_stations.raw: azimuth, plunge, MD per station, 1,000 stations a well),
their tops (wells_tops.raw) and its minimum curvature paths (wells_paths.raw:
x, y, z, MD per point), and reads a 100 MB log file in the temporary folder.
This script runs it, then:

- computes the minimum curvature paths of all wells at once with numpy
  (whole-array operations, one thread, as numpy runs them), compares every
  coordinate with ours, and times it;
- parses the log file's data section with numpy.fromstring (numpy's C number
  parser) and compares the number of values with ours.

Best of several runs on the peer side; Google Benchmark's mean on ours.
"""
import os
import sys
import time

import numpy as np

from _peer import benchmark_runs

WELLS, STATIONS = 10000, 1000
LAS_PATH = "/tmp/fenrak_bench_wells.las"
LAS_CURVES = 9
REPEATS = 3


def ours(build_dir):
    # Names carry their settings ("BM_LasRead/min_time:2.000/real_time"): keep the first part,
    # with the arguments of the path runs.
    runs = {}
    for run in benchmark_runs(os.path.join(build_dir, "bench", "bench_wells")):
        name = run["name"].split("/min_time")[0]
        runs[name] = run
    return runs


def minimum_curvature(stations, tops):
    az = np.radians(stations[:, :, 0])
    pl = np.radians(stations[:, :, 1])
    md = stations[:, :, 2]
    a1, a2, d1, d2 = az[:, :-1], az[:, 1:], pl[:, :-1], pl[:, 1:]
    dmd = md[:, 1:] - md[:, :-1]
    c = np.cos(d2 - d1) - (1.0 - np.cos(a2 - a1)) * np.sin(d2) * np.sin(d1)
    with np.errstate(invalid="ignore"):
        dogleg = np.arccos(c)
    big = np.degrees(dogleg) >= 0.25
    rf = np.ones_like(dogleg)
    rf[big] = np.tan(dogleg[big] / 2.0) * (2.0 / dogleg[big])
    h = dmd / 2.0
    steps = np.stack([(np.sin(a2) * np.sin(d2) + np.sin(a1) * np.sin(d1)) * h * rf,
                      (np.cos(a2) * np.sin(d2) + np.cos(a1) * np.sin(d1)) * h * rf,
                      -(np.cos(d2) + np.cos(d1)) * h * rf], axis=-1)
    positions = np.concatenate([np.zeros((WELLS, 1, 3)), np.cumsum(steps, axis=1)], axis=1)
    return positions + tops[:, None, :]


def las_values(text):
    start = text.index(b"~A")
    data = text[text.index(b"\n", start) + 1:]
    return np.fromstring(data, sep=" ")


def best(function, *args):
    """Best wall and CPU seconds of a few runs, and the result."""
    walls, cpus = [], []
    for _ in range(REPEATS):
        wall, cpu = time.perf_counter(), time.process_time()
        result = function(*args)
        walls.append(time.perf_counter() - wall)
        cpus.append(time.process_time() - cpu)
    return min(walls), min(cpus), result


def main():
    build_dir = sys.argv[1] if len(sys.argv) > 1 else "build/bench"
    runs = ours(build_dir)
    folder = os.path.join(build_dir, "bench")
    stations = np.fromfile(os.path.join(folder, "wells_stations.raw"), dtype="<f8").reshape(WELLS, STATIONS, 3)
    tops = np.fromfile(os.path.join(folder, "wells_tops.raw"), dtype="<f8").reshape(WELLS, 3)
    paths = np.fromfile(os.path.join(folder, "wells_paths.raw"), dtype="<f8").reshape(WELLS, STATIONS, 4)

    seconds, cpu_seconds, positions = best(minimum_curvature, stations, tops)
    difference = np.abs(positions - paths[:, :, :3]).max()
    depths_agree = np.array_equal(paths[:, :, 3], stations[:, :, 2])
    print("paths: largest coordinate difference %.3g, MDs %s" % (difference, "agree" if depths_agree else "DIFFER"))
    numpy_ns = seconds * 1e9 / (WELLS * STATIONS)
    print("numpy MinimumCurvature: %.1f ms wall, %.1f ns per station CPU" % (
        seconds * 1e3, cpu_seconds * 1e9 / (WELLS * STATIONS)))
    # Wall time, and the calling thread's CPU time (the whole work on one thread).
    print("| Calculator | threads | ours (ms) | ns per station | CPU ns per station | numpy MinimumCurvature (ms, "
          "1 thread) | ratio |")
    for name, run in sorted(runs.items()):
        if not name.startswith("BM_Paths"):
            continue
        ms = run["real_time"]
        per_station = ms * 1e6 / (WELLS * STATIONS)
        cpu = run["cpu_time"] * 1e6 / (WELLS * STATIONS)
        print("| %s | %d | %.1f | %.2f | %.2f | %.1f | %.3f |" % (run["label"], int(run["threads"]), ms, per_station,
                                                                   cpu, seconds * 1e3, per_station / numpy_ns))

    with open(LAS_PATH, "rb") as f:
        text = f.read()
    megabytes = len(text) / 1e6
    seconds, cpu_seconds, values = best(las_values, text)
    depths = int(runs["BM_LasRead"]["depths"])
    print("log file: %.1f MB, %d depths; numpy %d values (%s)" % (
        megabytes, depths, values.size, "agree" if values.size == depths * LAS_CURVES else "DIFFER"))
    plain = runs["BM_PlainRead"]["bytes_per_second"] / 1e6
    for name in ("BM_PlainRead", "BM_LasRead", "BM_LasToWell"):
        rate = runs[name]["bytes_per_second"] / 1e6
        cpu_rate = megabytes / (runs[name]["cpu_time"] / 1e3)
        print("| %s | %.0f MB/s | CPU %.0f MB/s | %.2f of the plain read |" % (name, rate, cpu_rate, rate / plain))
    print("| numpy.fromstring (data section only) | %.0f MB/s | CPU %.0f MB/s | %.2f of the plain read |" % (
        megabytes / seconds, megabytes / cpu_seconds, megabytes / seconds / plain))
    return 0 if difference < 1e-6 and depths_agree and values.size == depths * LAS_CURVES else 1


if __name__ == "__main__":
    sys.exit(main())
