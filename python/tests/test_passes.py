"""Passes driven from Python: results equal to the host's, interrupts, and no leaks."""
import csv
import gc
import json
import os
import signal
import subprocess
import sys
import threading

import numpy as np
import pytest
from numpy.lib.stride_tricks import sliding_window_view

import fenrak
from conftest import SAMPLES

GRIDDER = {"Gridder3Component": "2", "Gridder3XNum": "18", "Gridder3YNum": "16", "Gridder3ZNum": "14",
           "Gridder3Method": "1", "Gridder3Search": "1", "Gridder3SearchRadius": "90",
           "Gridder3SearchMin": "3", "Gridder3SearchMax": "16"}


def test_gridding_from_python_equals_the_hosts_result(net, tmp_path):
    assays = os.path.join(SAMPLES, "boreholes.csv")
    scene = {"modules": [{"name": "Assays", "type": "PointSet", "file": assays},
                         {"name": "Grid", "type": "Gridder", "inputs": ["Assays"],
                          "properties": dict(GRIDDER, Gridder3DoIt="1")}]}
    (tmp_path / "grid.json").write_text(json.dumps(scene))
    subprocess.run([os.environ["FENRAK_PROGRAM"], "render", str(tmp_path / "grid.json"), "--save",
                    str(tmp_path / "grid.doc")], check=True, capture_output=True)

    with open(assays, newline="") as file:
        rows = list(csv.DictReader(file))
    column = {name: np.array([float(r[name]) if r[name] else np.nan for r in rows]) for name in "xyz"}
    values = {name: np.array([float(r[name]) if r[name] else np.nan for r in rows]) for name in ("cu", "au")}
    points = net.add_points(column["x"], column["y"], column["z"], values, labels=[r["lith"] for r in rows])
    grid = net.add("Gridder", inputs=points, **GRIDDER)
    grid["Gridder3DoIt"] = True
    net.run()
    ours = grid.output()

    host = fenrak.Network()
    host.load(tmp_path / "grid.doc")
    theirs = host["Grid"].output()
    assert ours.dims == theirs.dims == (18, 16, 14) and ours.bounds == theirs.bounds
    assert np.array_equal(ours.blank_mask(), theirs.blank_mask()) and 0 < ours.blank_mask().sum() < 18 * 16 * 14
    assert np.array_equal(ours.values(), theirs.values())
    host.close()


def slow_gridder(net):
    points = net.add_points(*np.random.default_rng(5).random((3, 3000)) * 100, np.arange(3000.0))
    grid = net.add("Gridder", inputs=points, Gridder3XNum=60, Gridder3YNum=60, Gridder3ZNum=60,
                   Gridder3Search="All data")
    shell = net.add("Isosurface", inputs=grid)
    grid["Gridder3DoIt"] = True
    return grid, shell


def test_an_interrupt_aborts_the_pass_cleanly_and_the_next_pass_completes(net):
    grid, shell = slow_gridder(net)
    seen = []
    # Ctrl-C from another Python thread once the gridding is under way: that
    # thread can run only while the pass lets go of the GIL.
    timer = threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT))

    def progress(text, fraction):
        seen.append((text, fraction))
        if len(seen) == 1:
            timer.start()

    with pytest.raises(KeyboardInterrupt):
        net.run(progress)
    timer.join()
    assert grid.status == "aborted" and grid.output() is None and shell.status == "stale"
    assert seen and seen[0][0].startswith("Gridding") and all(0 <= f <= 1 for _, f in seen)
    grid.set(Gridder3XNum=8, Gridder3YNum=8, Gridder3ZNum=8, Gridder3DoIt=True)
    net.run()
    assert (grid.status, shell.status) == ("ok", "ok") and grid.output().dims == (8, 8, 8)


def test_a_callback_that_raises_aborts_the_pass_and_propagates(net):
    grid, _ = slow_gridder(net)
    with pytest.raises(ZeroDivisionError):
        net.run(lambda text, fraction: 1 / 0)
    assert grid.status == "aborted"


def test_a_value_set_before_the_first_data_is_not_replaced_by_their_default(net):
    source = net.add("FunctionLattice", FunctionLatticeXNum=8, FunctionLatticeYNum=8, FunctionLatticeZNum=8)
    shell = net.add("Isosurface", inputs=source, IsoSurfaceIsovalue=0.1)
    net.run()
    assert shell["IsoSurfaceIsovalue"] == 0.1 and shell.status == "ok"


def test_module_types_drive_from_python_by_registry_type_and_key_alone(net):
    values = np.random.default_rng(1).random((10, 9, 8))
    source = net.add_lattice(values, origin=(100, 200, -50), spacing=(10, 10, 5))
    dilated = net.add("Filter", inputs=source, LatticeFilterFilter="Maximum (dilation)",
                      LatticeFilterEdge="Replicate")
    contours = net.add("Contours", inputs=dilated, ContourSpacing="Min, max, interval", ContourMinLevel=0.7,
                       ContourMaxLevel=1, ContourLevelInterval=0.05)
    net.run()
    expected = sliding_window_view(np.pad(values, 1, mode="edge"), (3, 3, 3)).max(axis=(-3, -2, -1))
    assert np.array_equal(dilated.output().values(), expected) and dilated.output().origin == (100, 200, -50)
    assert contours.status == "ok" and net.render(size=(64, 48)).std() > 0


def test_well_files_read_into_a_well_data_module(net):
    folder = os.path.join(SAMPLES, "wells")
    files = [os.path.join(folder, name) for name in sorted(os.listdir(folder)) if name != "zones.csv"]
    wells = net.add("WellData", "Wells", files=files)
    net.add("WellRender", inputs=wells, WellRenderPathColorMethod=1, WellRenderPathColorLog="GR")
    net.run()
    assert net.render(size=(64, 48)).std() > 0
    with pytest.raises(ValueError, match="nowhere.las: cannot open the well file"):
        net.add("WellData", files=os.path.join(folder, "nowhere.las"))
    with pytest.raises(ValueError, match="files are only for a well data module"):
        net.add("Isosurface", files=files)
    assert [m.name for m in net.modules] == ["Wells", "WellRender"]
    points = net.add_points([0.0], [0.0], [0.0])
    with pytest.raises(ValueError, match="nowhere.csv: cannot open the point file"):
        points["PointsSrcFilename"] = os.path.join(SAMPLES, "nowhere.csv")


def test_no_leak_after_a_thousand_networks():
    values = np.random.default_rng(0).random((12, 12, 12))

    def one_network():
        with fenrak.Network() as net:
            lattice = net.add_lattice(values, mask=values > 0.9)
            net.add("Isosurface", inputs=lattice, IsoSurfaceIsovalue=0.5)
            net.run()
            return lattice.output().values()

    def resident_bytes():
        with open("/proc/self/statm") as statm:
            return int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")

    for _ in range(100):
        one_network()
    gc.collect()
    before = (resident_bytes(), len(gc.get_objects()), sys.getrefcount(values))
    for _ in range(1000):
        kept = one_network()
    del kept
    gc.collect()
    after = (resident_bytes(), len(gc.get_objects()), sys.getrefcount(values))
    # One lattice left behind per network would be 14 MB.
    assert after[0] - before[0] < 4e6, "resident memory grew by %d bytes" % (after[0] - before[0])
    assert after[1] < before[1] + 100 and after[2] == before[2]
