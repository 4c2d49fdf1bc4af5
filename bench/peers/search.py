"""Peer of bench_search: scipy's cKDTree on the same points and lattice queries.

bench_search writes the raw points (one file per size) and queries as
little-endian doubles beside itself, with one line per workload giving its name,
point count, k, radius, our query time and the neighbour count and index sum it
found. This script builds a cKDTree (single-threaded), asks for the k nearest
within the radius at every query, checks that it found the same neighbours
(count and index sum) and prints both times and the ratio ours / peer.
"""
import os
import sys
import time

import numpy as np
from scipy.spatial import cKDTree

PASSES = 3


def main(build_dir):
    bench_dir = os.path.join(build_dir, "bench")
    ours_path = os.path.join(bench_dir, "search_ours.txt")
    queries_path = os.path.join(bench_dir, "search_queries.raw")
    if not (os.path.exists(ours_path) and os.path.exists(queries_path)):
        print("search peer: skipped, bench_search has not run in %s" % bench_dir)
        return 0
    queries = np.fromfile(queries_path, dtype="<f8").reshape(-1, 3)
    status = 0
    print("%-16s %12s %12s %8s" % ("workload", "ours (ms)", "cKDTree (ms)", "ratio"))
    with open(ours_path) as f:
        for line in f:
            name, count, k, radius, seconds, total, checksum = line.split()
            count, k, radius = int(count), int(k), float(radius)
            seconds, total, checksum = float(seconds), int(total), float(checksum)
            points = np.fromfile(os.path.join(bench_dir, "search_points_%d.raw" % count), dtype="<f8")
            tree = cKDTree(points.reshape(-1, 3))
            best = None
            for _ in range(PASSES):
                start = time.perf_counter()
                dist, index = tree.query(queries, k=k, distance_upper_bound=radius, workers=1)
                elapsed = time.perf_counter() - start
                best = elapsed if best is None else min(best, elapsed)
            found = np.isfinite(dist)
            peer_total = int(found.sum())
            peer_checksum = float(index[found].astype(np.float64).sum())
            if peer_total != total or peer_checksum != checksum:
                print("search peer: %s: %d neighbours (sum %.17g) here, %d (sum %.17g) in bench_search"
                      % (name, peer_total, peer_checksum, total, checksum))
                status = 1
                continue
            print("%-16s %12.1f %12.1f %8.2f" % (name, seconds * 1e3, best * 1e3, seconds / best))
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "build/release"))
