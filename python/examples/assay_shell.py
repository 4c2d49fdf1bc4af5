"""Grids the copper assays of a borehole file and draws a 0.5 % Cu grade shell.

    python3 assay_shell.py [ASSAYS.csv] [-o shell.png] [--cells N]

The assays are read with the csv module: x, y, z and the copper grade per
sample (an empty cell is a sample without an assay). They are gridded by
inverse distance within 120 m onto an N x N x N lattice over the samples'
extent, and drawn as a translucent shell over the samples coloured by grade.
Without ASSAYS the sample boreholes of the source tree are used.
"""
import argparse
import csv
import math
import os
import sys

import numpy as np

import fenrak

SAMPLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "data", "samples", "boreholes.csv")


def read_assays(path):
    """Columns x, y, z and cu of a CSV file, as float arrays; an empty cu is NaN (a blank)."""
    columns = {"x": [], "y": [], "z": [], "cu": []}
    with open(path, newline="") as file:
        for row in csv.DictReader(file):
            for name, values in columns.items():
                values.append(float(row[name]) if row[name].strip() else math.nan)
    return {name: np.array(values) for name, values in columns.items()}


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("assays", nargs="?", default=SAMPLES)
    parser.add_argument("-o", "--output", default="assay_shell.png")
    parser.add_argument("--cells", type=int, default=40, help="nodes along each axis of the grid")
    args = parser.parse_args(argv)

    assays = read_assays(args.assays)
    with fenrak.Network() as net:
        samples = net.add_points(assays["x"], assays["y"], assays["z"], {"cu": assays["cu"]}, name="Assays")
        grid = net.add("Gridder", "Copper grid", inputs=samples,
                       Gridder3XNum=args.cells, Gridder3YNum=args.cells, Gridder3ZNum=args.cells,
                       Gridder3Method="Inverse distance", Gridder3DistancePower=2,
                       Gridder3Search="Simple", Gridder3SearchRadius=120,
                       Gridder3SearchMin=3, Gridder3SearchMax=24)
        grid["Gridder3DoIt"] = True  # the gridder computes when asked
        net.add("Isosurface", "Grade shell", inputs=grid,
                IsoSurfaceIsovalue=0.5, IsoSurfaceColorMethod="Fixed",
                IsoSurfaceColor=(205, 120, 60), IsoSurfaceOpacity=0.6)
        net.add("ScatterPlot", "Samples", inputs=samples,
                ScatterPlotSizePoint=3, ScatterPlotColormap="Rainbow",
                ScatterPlotLegendEnable=True, ScatterPlotLegendTitle="Cu %",
                ScatterPlotLegendFGColor="white")

        net.run(lambda text, fraction: print("%s %3.0f%%" % (text, 100 * fraction), file=sys.stderr))

        copper = grid.output()
        inside = (copper.values() >= 0.5) & ~copper.blank_mask()
        cell = np.prod(copper.spacing)
        print("grid %s: %d of %d nodes at or above 0.5 %% Cu (about %.3g m3)"
              % ("x".join(map(str, copper.dims)), inside.sum(), inside.size, inside.sum() * cell))
        net.render(args.output, size=(1024, 768), azimuth=35, elevation=20)
        print("wrote", args.output)


if __name__ == "__main__":
    main(sys.argv[1:])
