"""The network from Python: the catalogue, modules, links and property values."""
import os
import subprocess

import numpy as np
import pytest

import fenrak


def host_lines(*args):
    return subprocess.run([os.environ["FENRAK_PROGRAM"], *args], check=True, capture_output=True,
                          text=True).stdout.splitlines()


def test_the_module_catalogue_is_what_the_host_command_prints():
    lines = []
    for m in fenrak.modules():
        lines += ["%s  (%s)" % (m["type"], m["path"]), "  inputs:  " + (", ".join(m["inputs"]) or "none"),
                  "  outputs: " + (", ".join(m["outputs"]) or "none")] + (["  " + m["help"]] if m["help"] else [])
    assert host_lines("modules") == lines + ["%d module types." % len(fenrak.modules())]


@pytest.mark.parametrize("type_", ["Gridder", "Contours", "Axes"])
def test_property_rows_are_what_the_host_command_prints(type_):
    printed = [line for line in host_lines("properties", type_)[2:] if not line.startswith("  [")]
    rows = fenrak.properties(type_)
    expected = []
    for row in rows:
        remark = "; ".join(text for text in (row["condition"], row["note"]) if text)
        when = "  (%s)" % remark if remark else ""
        expected.append(("  %-32s %-12s " % (row["key"], row["kind"]), row["label"] + when))
        if row["choices"]:
            expected.append(("      choices: " + ", ".join("%d %s" % c for c in enumerate(row["choices"])), ""))
    assert len(printed) == len(expected)
    assert all(line.startswith(start) and line.endswith(end) for line, (start, end) in zip(printed, expected))
    assert any(row["condition"].startswith("with data") or row["note"] for row in rows)


def test_property_rows_hold_values_in_their_types():
    rows = {r["key"]: r for r in fenrak.properties("Isosurface")}
    assert rows["IsoSurfaceDrawstyle"]["choices"] == ["Shaded", "Lines", "Points"]
    assert rows["IsoSurfaceColor"] == {"key": "IsoSurfaceColor", "kind": "color", "value": (128, 128, 128, 255),
                                       "label": "Color", "group": "Rendering", "choices": [], "condition": "",
                                       "note": ""}
    assert [type(rows[key]["value"]) for key in ("IsoSurfaceOpacity", "IsoSurfaceDrawstyle")] == [float, int]
    with pytest.raises(ValueError, match='unknown module type "Isosurfaces"'):
        fenrak.properties("Isosurfaces")


# (module type, key, value set, value read back) for each kind of row.
VALUES = [
    ("Axes", "AxesShowGrid", True, True),                                    # check
    ("Axes", "AxesShowGrid", np.bool_(False), False),
    ("Axes", "AxesXAxisLabelFormatType", 1, 1),                              # combo by number
    ("Axes", "AxesXAxisLabelFormatType", "exponential", 1),                  # combo by label
    ("Axes", "AxesXAxisLabelFormatNumDigits", np.int64(4), 4),               # unsigned
    ("Axes", "AxesXAxisTicksPerLabel", 3, 3),                                # integer
    ("Axes", "AxesGridLineWidth", 2.75, 2.75),                               # double
    ("Axes", "AxesGridLineWidth", np.float32(0.5), 0.5),
    ("Isosurface", "IsoSurfaceIsovalue", 0.1 + 0.2, 0.1 + 0.2),              # every digit
    ("Axes", "AxesXAxisTitle", "Easting (m)", "Easting (m)"),                # text
    ("Axes", "AxesGridColor", (10, 20, 30), (10, 20, 30, 255)),              # colour
    ("Axes", "AxesGridColor", np.array([1, 2, 3, 4]), (1, 2, 3, 4)),
    ("Axes", "AxesGridColor", "white", (255, 255, 255, 255)),
    ("Axes", "AxesFont", "DejaVu Sans", "DejaVu Sans"),                      # font
    ("Contours", "ContourColormap", "Rainbow", None),                        # colour map
]


@pytest.mark.parametrize("type_, key, value, expected", VALUES)
def test_property_values_of_every_kind_read_back_in_their_types(net, type_, key, value, expected):
    module = net.add(type_)
    module[key] = value
    if expected is None:
        assert module[key].startswith("Rainbow:")
    else:
        assert module[key] == expected and type(module[key]) is type(expected)
    assert module.properties()[key] == module[key]


@pytest.mark.parametrize("key, value, message", [
    ("IsoSurfaceIsovalue", "deep", 'bad value "deep" for property key "IsoSurfaceIsovalue"'),
    ("IsoSurfaceColor", (1, 2), 'bad value "1 2" for property key "IsoSurfaceColor"'),
    ("IsoSurfaceDrawstyle", "Sketchy", 'bad value "Sketchy" for property key "IsoSurfaceDrawstyle"'),
    ("IsoSurfaceIsoval", 1, 'unknown property key "IsoSurfaceIsoval"'),
    ("IsoSurfaceComponent", 1, 'property key "IsoSurfaceComponent" has no effect with the other settings; '
                               'it applies with data'),
])
def test_bad_keys_and_values_raise_value_error_with_the_librarys_message(net, key, value, message):
    module = net.add("Isosurface", IsoSurfaceIsovalue=2.5)
    with pytest.raises(ValueError) as error:
        module[key] = value
    assert str(error.value).startswith(message)
    assert module["IsoSurfaceIsovalue"] == 2.5  # the module kept its value


def test_a_key_shown_only_once_another_is_set_is_set_after_it(net):
    points = net.add_points([0.0, 1.0], [0.0, 1.0], [0.0, 1.0], [1.0, 2.0])
    grid = net.add("Gridder", inputs=points, Gridder3SearchRadius=55.5, Gridder3Search="Simple")
    assert (grid["Gridder3Search"], grid["Gridder3SearchRadius"]) == (1, 55.5)


def test_values_without_a_text_form_raise_type_error(net):
    module = net.add("Isosurface")
    for value in ({}, [(1, 2)], [1, "a"]):
        with pytest.raises(TypeError, match="IsoSurfaceColor"):
            module["IsoSurfaceColor"] = value


def test_a_failed_add_leaves_the_network_as_it_was(net):
    points = net.add_points([0.0], [0.0], [0.0], [1.0])
    with pytest.raises(ValueError, match="takes Uniform lattice, Rectilinear lattice, Curvilinear lattice"):
        net.add("Isosurface", inputs=points)
    with pytest.raises(ValueError, match='unknown property key "GridderNoSuchKey"'):
        net.add("Gridder", inputs=points, GridderNoSuchKey=1)
    with pytest.raises(ValueError, match="is in the network already"):
        net.add("Gridder", "PointSet")
    assert [m.name for m in net.modules] == ["PointSet"]


def test_links_names_and_removal(net):
    source = net.add("FunctionLattice")
    first, second = net.add("Isosurface", inputs=source), net.add("Isosurface", inputs="FunctionLattice")
    assert second.name == "Isosurface 2" and first.inputs == [source] and second.inputs == [source]
    upstream = net.add("Math", inputs=source)
    with pytest.raises(ValueError, match="would close a cycle"):
        net.connect(net.add("Math", inputs=upstream), upstream)
    with pytest.raises(IndexError):
        net.connect(source, first, 3)
    net.disconnect(first)
    assert first.inputs == [None]
    first.name = "Shell"
    assert "Shell" in net and net["Shell"] == first
    with pytest.raises(ValueError, match="in the network already"):
        first.name = "Isosurface 2"
    net.remove(second)
    with pytest.raises(ValueError, match="no longer in the network"):
        second["IsoSurfaceIsovalue"]
    assert len(net) == 4


def test_a_new_network_closes_the_one_before():
    first = fenrak.Network()
    module = first.add("FunctionLattice")
    second = fenrak.Network()
    assert first.closed and len(second) == 0
    for call in (lambda: module.name, lambda: first.add("Isosurface"), first.run):
        with pytest.raises(RuntimeError, match="this network is closed"):
            call()
    second.close()


def test_status_time_and_messages_of_the_latest_execution(net):
    source = net.add("FunctionLattice", FunctionLatticeXNum=8, FunctionLatticeYNum=8, FunctionLatticeZNum=8)
    shell = net.add("Isosurface", inputs=source)
    assert shell.status == "stale"
    net.run()
    assert (source.status, shell.status) == ("ok", "ok")
    assert shell.time >= 0 and shell.messages[-1].endswith("triangles")
    source["FunctionLatticeExprComp1"] = "x +"
    with pytest.raises(fenrak.ExecutionError, match='module "FunctionLattice": execution failed: '):
        net.run()
    assert source.status == "failed" and source.messages
    net.run(check=False)  # the failure stands, unreported


def test_a_progress_callback_may_not_use_the_network(net):
    points = net.add_points(*np.random.default_rng(3).random((3, 2000)) * 100, np.arange(2000.0))
    grid = net.add("Gridder", inputs=points, Gridder3XNum=40, Gridder3YNum=40, Gridder3ZNum=40,
                   Gridder3Search="All data")
    grid["Gridder3DoIt"] = 1
    with pytest.raises(RuntimeError, match="busy with a pass"):
        net.run(lambda text, fraction: grid["Gridder3XNum"])
    assert grid.status == "aborted"


def test_keys_without_a_row_of_their_own_are_set(net):
    axes = net.add("Axes", AxesColorGrid=(255, 0, 0))  # a second key of the grid colour's row
    assert axes["AxesGridColor"] == axes["AxesColorGrid"] == (255, 0, 0, 255)
    paths = net.add("StreamLines", inputs=net.add("TestLattice", SampleLatticeFunction=4))
    paths["StreamLinesSeedPlaneNormal"] = (1, 0, 0)  # the module takes the whole vector
    net.run()  # the data's arrival resets the seed plane; the key is given again
    assert (paths["StreamLinesXNormal"], paths["StreamLinesZNormal"]) == (1.0, 0.0)
    with pytest.raises(ValueError, match='"StreamLinesSeedPlaneNormal" has no row of its own'):
        paths["StreamLinesSeedPlaneNormal"]
