"""numpy in and out: lattices and point sets of every element type, with blanks."""
import gc

import numpy as np
import pytest

import fenrak

DTYPES = [np.int8, np.uint8, np.int16, np.uint16, np.int32, np.uint32, np.int64, np.float32, np.float64]


def sample(dtype, shape, seed=1):
    rng = np.random.default_rng(seed)
    if np.issubdtype(dtype, np.integer):
        info = np.iinfo(dtype)
        return rng.integers(info.min, info.max, size=shape, dtype=dtype, endpoint=True)
    return (rng.standard_normal(shape) * 1e3).astype(dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_uniform_lattice_round_trip_with_blanks(net, dtype):
    values = sample(dtype, (5, 4, 3))
    mask = np.zeros(values.shape, bool)
    mask[1, 2, 0] = mask[4, 3, 2] = True
    if np.issubdtype(dtype, np.floating):
        values[0, 0, 1] = np.nan
    out = net.add_lattice(values, origin=(10, 20, -5), spacing=(2, 0.5, 4), mask=mask).output()
    blanks = mask | np.isnan(values.astype(float))
    assert (out.kind, out.dims, out.dtype, out.names) == ("uniform", (5, 4, 3), np.dtype(dtype), ["Component 1"])
    assert out.origin == (10, 20, -5) and out.spacing == (2, 0.5, 4)
    assert np.array_equal(out.values(), values, equal_nan=True)
    assert np.array_equal(out.blank_mask(), blanks)
    assert out.bounds == ((10, 20, -5), (18, 21.5, 3))
    assert [len(axis) for axis in out.axes] == [5, 4, 3] and out.axes[1][2] == 21


@pytest.mark.parametrize("dtype", DTYPES)
def test_point_set_round_trip_with_blanks_and_labels(net, dtype):
    coords = sample(np.float32, (3, 6), seed=2)
    values = {"grade": sample(dtype, 6), "index": np.arange(6, dtype=dtype)}
    out = net.add_points(*coords, values, mask=np.eye(6, 2, dtype=bool), labels=["a", None, "", "d", "e", "f"]).output()
    assert len(out) == 6 and out.dtype == np.dtype(dtype) and out.coordinates.dtype == np.float32
    assert np.array_equal(out.coordinates, coords.T) and np.array_equal(out.z, coords[2])
    assert out.names == ["grade", "index"]
    assert np.array_equal(out.values("grade"), values["grade"]) and np.array_equal(out.values(1), values["index"])
    assert list(np.flatnonzero(out.blank_mask(0))) == [0] and list(np.flatnonzero(out.blank_mask("index"))) == [1]
    assert out.labels == ["a", None, None, "d", "e", "f"]


def test_any_layout_and_byte_order_gives_the_same_lattice(net):
    values = np.arange(60.0).reshape(5, 4, 3)
    layouts = [values, np.asfortranarray(values), values.astype(">f8"), np.arange(120.0).reshape(10, 4, 3)[::2]]
    for given in layouts:
        assert np.array_equal(net.add_lattice(given).output().values(), given)


def test_components_from_a_mapping_a_sequence_and_a_last_axis(net):
    a, b = np.arange(24, dtype=np.int16).reshape(4, 3, 2), np.linspace(0, 1, 24, dtype=np.float32).reshape(4, 3, 2)
    mapped = net.add_lattice({"a": a, "b": b}, mask=np.stack([a == 5, b > 0.9], axis=-1)).output()
    assert mapped.names == ["a", "b"] and mapped.dtype == np.float32 and mapped.component_count == 2
    assert np.array_equal(mapped.values("a"), a) and np.array_equal(mapped.values("B"), b)
    assert mapped.blank_mask("a").sum() == 1 and mapped.blank_mask("b").sum() == np.sum(b > 0.9)
    stacked = net.add_lattice(np.stack([a, a * 2], axis=-1)).output()
    listed = net.add_lattice([a, a * 2]).output()
    for out in (stacked, listed):
        assert out.names == ["Component 1", "Component 2"] and np.array_equal(out.values(1), a * 2)
    flat = net.add_lattice(np.ones((4, 3))).output()
    assert flat.dims == (4, 3, 1)


def test_rectilinear_lattice_keeps_its_axes(net):
    x, y, z = np.array([0.0, 1, 3, 7]), np.array([10.0, 20]), np.array([-5.0, 0, 5])
    values = np.arange(24, dtype=np.uint16).reshape(4, 2, 3)
    out = net.add_rectilinear(values, x, y, z, mask=values % 5 == 0).output()
    assert out.kind == "rectilinear" and out.origin is None
    assert all(np.array_equal(got, want) for got, want in zip(out.axes, (x, y, z)))
    assert np.array_equal(out.coordinates(), np.stack(np.meshgrid(x, y, z, indexing="ij"), axis=-1))
    assert np.array_equal(out.blank_mask(), values % 5 == 0)


def test_output_arrays_are_read_only_views_that_outlive_the_network():
    with fenrak.Network() as net:
        values = np.arange(1000.0).reshape(10, 10, 10)
        lattice = net.add_lattice(values).output()
        first, second = lattice.values(), lattice.values()
        assert np.shares_memory(first, second) and not first.flags.writeable and first.flags.f_contiguous
        with pytest.raises(ValueError):
            first[0, 0, 0] = 1
    del lattice, second
    gc.collect()
    assert np.array_equal(first, values)


@pytest.mark.parametrize("call, error, message", [
    (lambda n: n.add_lattice(np.zeros((2, 2, 2), np.complex64)), TypeError, "the library takes int8"),
    (lambda n: n.add_lattice(np.zeros((2, 2, 2), np.uint64)), TypeError, "values of type uint64"),
    (lambda n: n.add_lattice([np.zeros((2, 2)), np.zeros((2, 3))]), ValueError, r"component 1 has shape \(2, 3\)"),
    (lambda n: n.add_lattice(np.zeros((2, 0, 2))), ValueError, "at least one node"),
    (lambda n: n.add_lattice(np.zeros((2, 2, 2)), spacing=(1, 0, 1)), ValueError, "spacing must be positive"),
    (lambda n: n.add_lattice(np.zeros((2, 2, 2)), origin=(1, 2)), ValueError, "origin must be three numbers"),
    (lambda n: n.add_lattice(np.zeros((2, 2)), mask=np.zeros((2, 3))), ValueError, r"a mask of shape \(2, 3\)"),
    (lambda n: n.add_rectilinear(np.zeros((3, 1, 1)), [0, 2, 1], [0], [0]), ValueError, "x must be finite and"),
    (lambda n: n.add_rectilinear(np.zeros((3, 1, 1)), [0, 1, 2], [0, 1], [0]), ValueError, "y must hold 1"),
    (lambda n: n.add_points([0, 1], [0, 1], [0, np.nan]), ValueError, "NaN is not a position"),
    (lambda n: n.add_points([0, 1], [0, 1], [0, 1], [1, 2, 3]), ValueError, "one value per point"),
    (lambda n: n.add_points([0, 1], [0, 1], [0, 1], labels=["a"]), ValueError, "one text"),
])
def test_arrays_that_do_not_fit_are_refused(net, call, error, message):
    with pytest.raises(error, match=message):
        call(net)
    assert len(net) == 0
