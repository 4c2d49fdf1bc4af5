"""Pictures, scene-graph files, documents and scene files from Python."""
import os
import subprocess
import sys

import numpy as np
import pytest

import fenrak
from conftest import ROOT, read_png


def small_scene(net):
    source = net.add("FunctionLattice", "Field", FunctionLatticeXNum=16, FunctionLatticeYNum=16,
                     FunctionLatticeZNum=16)
    net.add("Isosurface", "Shell", inputs=source, IsoSurfaceIsovalue=0.12, IsoSurfaceColorMethod="Fixed",
            IsoSurfaceColor=(230, 90, 30))
    net.run()


def test_a_rendered_array_shows_the_scene_and_equals_the_png(net, tmp_path):
    small_scene(net)
    picture = net.render(size=(96, 72), azimuth=40, background=(0, 0, 64))
    assert picture.shape == (72, 96, 4) and picture.dtype == np.uint8
    assert np.array_equal(picture[0, 0], [0, 0, 64, 255])  # the corner is background
    orange = (picture[..., 0] > 2 * picture[..., 2].astype(int)) & (picture[..., 0] > 60)
    assert 0.05 < orange.mean() < 0.9  # the shell fills part of the view
    net.render(tmp_path / "shell.png", size=(96, 72), azimuth=40, background=(0, 0, 64))
    assert np.array_equal(read_png(tmp_path / "shell.png"), picture)
    net.view.size = (48, 36)
    assert net.render().shape == (36, 48, 4)


@pytest.mark.parametrize("view, message", [
    (dict(size=(0, 10)), "size 0x10"),
    (dict(elevation=95), "elevation must be from -90 to 90"),
    (dict(zoom=0), "zoom must be a positive number"),
    (dict(background="no such colour"), "bad colour"),
])
def test_a_view_that_cannot_be_drawn_is_refused(net, view, message):
    with pytest.raises(ValueError, match=message):
        net.render(**view)


def test_documents_and_scene_graph_files_hold_the_scene(net, tmp_path):
    small_scene(net)
    net.view = fenrak.View(size=(64, 48), azimuth=120, elevation=10, background="steelblue")
    before = net.render()
    net.write_scene_graph(tmp_path / "scene.iv")
    assert open(tmp_path / "scene.iv").read().startswith("#Inventor V2.1 ascii")
    net.save(tmp_path / "scene.doc")

    again = fenrak.Network()
    again.load(tmp_path / "scene.doc")
    assert [m.name for m in again.modules] == ["Field", "Shell"] and again["Shell"]["IsoSurfaceIsovalue"] == 0.12
    assert again.view.size == (64, 48) and again.view.background == (70, 130, 180, 255)
    again.run()
    assert np.array_equal(again.render(), before)
    shell = again["Shell"]
    again.load(tmp_path / "scene.doc")  # the same ids again, other modules
    with pytest.raises(ValueError, match="no longer in the network"):
        shell.name
    with pytest.raises(ValueError, match="scene.iv: cannot read the document"):
        again.load(tmp_path / "scene.iv")
    assert len(again) == 0
    again.close()


def test_a_json_scene_loads_with_its_view(net):
    net.load_scene(os.path.join(ROOT, "data", "scenes", "function-lattice.json"))
    assert [m.name for m in net.modules] == ["Field", "Blend", "Shell", "Blend surface"]
    assert all(m.status == "ok" for m in net.modules) and net["Shell"]["IsoSurfaceIsovalue"] == 0.2
    assert net.view.size == (1024, 768) and net["Blend"].output().dims == (40, 40, 40)


def test_a_background_from_global_settings_leaves_with_the_modules(net):
    net.add("GlobalSettings", EnvironmentBackgroundColor=(200, 0, 0))
    net.run()
    assert tuple(net.render(size=(64, 48))[0, 0]) == (200, 0, 0, 255)
    net.load_scene(os.path.join(ROOT, "data", "scenes", "function-lattice.json"))
    assert tuple(net.render(size=(64, 48))[0, 0]) == (0, 0, 0, 255)


def test_the_example_grids_assays_and_draws_a_grade_shell(tmp_path):
    example = os.path.join(ROOT, "python", "examples", "assay_shell.py")
    run = subprocess.run([sys.executable, example, "-o", str(tmp_path / "shell.png"), "--cells", "24"],
                         capture_output=True, text=True, check=True)
    assert "nodes at or above 0.5 % Cu" in run.stdout
    picture = read_png(tmp_path / "shell.png")
    assert picture.shape == (768, 1024, 4) and len(np.unique(picture.reshape(-1, 4), axis=0)) > 100
