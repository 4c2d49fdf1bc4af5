#include "python/src/ArrayImport.h"

#include "core/data/VdArray.h"
#include "core/data/VdPoints.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "python/src/Errors.h"
#include "shr/Box3d.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>

namespace py = pybind11;

namespace pyfenrak {

namespace {

using Shape = std::vector<py::ssize_t>;

py::module_ Numpy()
{
    return py::module_::import("numpy");
}

std::string ShapeText(const Shape& shape)
{
    return py::str(py::tuple(py::cast(shape)));
}

Shape ShapeOf(const py::array& array)
{
    return Shape(array.shape(), array.shape() + array.ndim());
}

bool IsMapping(py::handle values)
{
    return !py::isinstance<py::array>(values) && py::hasattr(values, "keys") && py::hasattr(values, "__getitem__");
}

bool IsArrayLike(py::handle value)
{
    return py::isinstance<py::array>(value) ||
           (!py::isinstance<py::str>(value) && PySequence_Check(value.ptr()) != 0);
}

// The arrays of the values, one per component, all of one shape.
struct Components {
    std::vector<py::array> arrays;
    std::vector<std::string> names;
    Shape shape;
    shr::PrimType type = shr::Double;

    unsigned int Count() const { return static_cast<unsigned int>(arrays.size()); }
};

// `rank` is the most axes a component may have; one more holds components.
Components Gather(py::handle values, size_t rank)
{
    Components components;
    if (values.is_none())
        return components;
    const py::object asarray = Numpy().attr("asarray");
    if (IsMapping(values)) {
        for (py::handle key : values.attr("keys")()) {
            components.names.push_back(py::str(key));
            components.arrays.push_back(asarray(values[key]));
        }
    } else if ((py::isinstance<py::list>(values) || py::isinstance<py::tuple>(values)) && py::len(values) > 0 &&
               IsArrayLike(values[py::int_(0)])) {
        for (py::handle item : values)
            components.arrays.push_back(asarray(item));
    } else {
        py::array array = asarray(values);
        if (static_cast<size_t>(array.ndim()) == rank + 1) {
            for (py::ssize_t c = 0; c < array.shape(array.ndim() - 1); ++c)
                components.arrays.push_back(array[py::make_tuple(py::ellipsis(), c)]);
        } else {
            components.arrays.push_back(array);
        }
    }
    if (components.arrays.empty())
        ThrowValueError("no values: give an array, a sequence of arrays or a mapping of names to arrays");
    components.names.resize(components.arrays.size());
    components.shape = ShapeOf(components.arrays.front());
    if (components.shape.empty() || components.shape.size() > rank)
        ThrowValueError("values of shape " + ShapeText(components.shape) + ": a component takes 1 to " +
                        std::to_string(rank) + " axes");
    for (size_t c = 1; c < components.arrays.size(); ++c) {
        if (ShapeOf(components.arrays[c]) != components.shape)
            ThrowValueError("component " + std::to_string(c) + " has shape " +
                            ShapeText(ShapeOf(components.arrays[c])) + ", component 0 " +
                            ShapeText(components.shape));
    }
    py::tuple arrays(components.arrays.size());
    for (size_t c = 0; c < components.arrays.size(); ++c)
        arrays[c] = components.arrays[c];
    components.type = PrimTypeOf(Numpy().attr("result_type")(*arrays));
    return components;
}

// Three finite numbers.
shr::Vec3d Vector(py::handle value, const char* what)
{
    const py::array_t<double, py::array::forcecast> numbers(py::reinterpret_borrow<py::object>(value));
    if (numbers.ndim() != 1 || numbers.size() != 3)
        ThrowValueError(std::string(what) + " must be three numbers (x, y, z)");
    const shr::Vec3d vector(numbers.at(0), numbers.at(1), numbers.at(2));
    if (!std::isfinite(vector.x) || !std::isfinite(vector.y) || !std::isfinite(vector.z))
        ThrowValueError(std::string(what) + " must be finite");
    return vector;
}

// The lattice's node counts: the component's axes, and 1 for those it lacks.
void LatticeDims(const Components& components, unsigned int dims[3])
{
    uint64_t nodes = 1;
    for (size_t axis = 0; axis < 3; ++axis) {
        const py::ssize_t count = axis < components.shape.size() ? components.shape[axis] : 1;
        if (count < 1)
            ThrowValueError("a lattice needs at least one node along each axis");
        nodes *= static_cast<uint64_t>(count);
        if (nodes * components.Count() > core::VdArray::MaxElements)
            ThrowValueError("the values hold more than the library's limit of " +
                            std::to_string(core::VdArray::MaxElements) + " numbers");
        dims[axis] = static_cast<unsigned int>(count);
    }
}

Shape LatticeShape(const unsigned int dims[3])
{
    return {dims[0], dims[1], dims[2]};
}

Shape LatticeSteps(const unsigned int dims[3])
{
    return {1, dims[0], py::ssize_t(dims[0]) * dims[1]};
}

// Blanks every NaN element. Blocks without one, the usual case, cost one
// vectorised test each.
template <class T>
void BlankNaNs(core::VdVertexData& data)
{
    constexpr uint64_t kBlock = 4096;
    const auto* values = static_cast<const T*>(data.DataPtr());
    const unsigned int components = data.ComponentCount();
    const uint64_t count = uint64_t(data.VertexCount()) * components;
    for (uint64_t first = 0; first < count; first += kBlock) {
        const uint64_t last = std::min(count, first + kBlock);
        bool any = false;
        for (uint64_t e = first; e < last; ++e)
            any |= values[e] != values[e];
        for (uint64_t e = first; any && e < last; ++e) {
            if (std::isnan(values[e]))
                data.SetBlank(static_cast<unsigned int>(e / components), static_cast<unsigned int>(e % components));
        }
    }
}

// Blanks the nodes whose element of `mask` (in node order, contiguous) is true.
void BlankMasked(core::VdVertexData& data, unsigned int component, const bool* mask)
{
    for (unsigned int n = 0; n < data.VertexCount(); ++n) {
        if (mask[n])
            data.SetBlank(n, component);
    }
}

void ApplyMask(core::VdVertexData& data, const Components& components, const Shape& nodes, py::handle mask)
{
    if (mask.is_none())
        return;
    const py::array given = Numpy().attr("asarray")(mask, py::arg("dtype") = "bool");
    Shape perComponent = components.shape;
    perComponent.push_back(components.Count());
    const bool each = ShapeOf(given) == perComponent;
    if (!each && ShapeOf(given) != components.shape)
        ThrowValueError("a mask of shape " + ShapeText(ShapeOf(given)) + " for values of shape " +
                        ShapeText(components.shape) + ": give one of that shape, or " + ShapeText(perComponent) +
                        " with the components last");
    for (unsigned int c = 0; c < components.Count(); ++c) {
        const py::object part = each ? py::object(given[py::make_tuple(py::ellipsis(), c)]) : py::object(given);
        const py::array_t<bool, py::array::f_style | py::array::forcecast> ordered(
            part.attr("reshape")(py::cast(nodes)));
        py::gil_scoped_release release;
        BlankMasked(data, c, ordered.data());
    }
}

// Copies each component into the store of `owner`, a vertex data object of
// the components' type and count, then marks the blanks.
void Fill(const DataRef& owner, const Components& components, const Shape& nodes, const Shape& steps,
          py::handle mask)
{
    auto& data = *static_cast<core::VdVertexData*>(owner.get());
    const py::dtype dtype = DtypeOf(components.type);
    Shape strides;
    for (py::ssize_t step : steps)
        strides.push_back(step * static_cast<py::ssize_t>(data.DataTupleSize()));
    auto* store = static_cast<char*>(data.DataWritePtr());
    const py::object copyto = Numpy().attr("copyto");
    for (unsigned int c = 0; c < components.Count() && store; ++c) {
        const py::array target = ViewOf(owner, dtype, nodes, strides, store + c * data.DataComponentSize(), true);
        copyto(target, components.arrays[c].attr("reshape")(py::cast(nodes)));
    }
    {
        py::gil_scoped_release release;
        if (components.type == shr::Float)
            BlankNaNs<float>(data);
        else if (components.type == shr::Double)
            BlankNaNs<double>(data);
    }
    ApplyMask(data, components, nodes, mask);
    data.DataModified();
}

// One axis of a rectilinear lattice: `count` finite, increasing coordinates.
std::vector<double> Axis(py::handle coords, unsigned int count, const char* name)
{
    const py::array_t<double, py::array::c_style | py::array::forcecast> values(
        py::reinterpret_borrow<py::object>(coords));
    if (values.ndim() != 1 || values.size() != static_cast<py::ssize_t>(count))
        ThrowValueError(std::string(name) + " must hold " + std::to_string(count) +
                        " coordinates, one per node along its axis");
    std::vector<double> axis(values.data(), values.data() + count);
    for (size_t n = 0; n < axis.size(); ++n) {
        if (!std::isfinite(axis[n]) || (n > 0 && !(axis[n] > axis[n - 1])))
            ThrowValueError(std::string(name) + " must be finite and increase from node to node");
    }
    return axis;
}

// The point positions interleaved (x, y, z per point) in their common type.
py::array PointCoords(py::handle x, py::handle y, py::handle z, shr::PrimType& type)
{
    const py::object asarray = Numpy().attr("asarray");
    const py::array axes[3] = {asarray(x), asarray(y), asarray(z)};
    const py::ssize_t count = axes[0].size();
    for (const py::array& axis : axes) {
        if (axis.ndim() != 1 || axis.size() != count)
            ThrowValueError("x, y and z must be 1-D arrays of the same length");
    }
    if (uint64_t(count) * 3 > core::VdArray::MaxElements)
        ThrowValueError("more points than the library can hold");
    type = PrimTypeOf(Numpy().attr("result_type")(axes[0], axes[1], axes[2]));
    py::array coords = Numpy().attr("empty")(py::make_tuple(count, 3), DtypeOf(type));
    for (int axis = 0; axis < 3; ++axis)
        Numpy().attr("copyto")(coords[py::make_tuple(py::slice(0, count, 1), axis)],
                               axes[axis]);
    if ((type == shr::Float || type == shr::Double) && Numpy().attr("isnan")(coords).attr("any")().cast<bool>())
        ThrowValueError("x, y and z must be numbers: NaN is not a position");
    return coords;
}

void AddLabels(core::VdPoints& points, py::handle labels)
{
    if (labels.is_none())
        return;
    if (py::len(labels) != points.VertexCount())
        ThrowValueError("labels must hold one text (or None) per point");
    unsigned int index = 0;
    for (py::handle label : labels) {
        if (!label.is_none()) {
            const std::string text = py::str(label);
            if (!text.empty())
                points.AddLabel(core::LabelStorage::Label(index, text));
        }
        ++index;
    }
}

} // namespace

DataRef ArrayImport::Uniform(py::handle values, py::handle origin, py::handle spacing, py::handle mask,
                             std::vector<std::string>& names)
{
    const Components components = Gather(values, 3);
    unsigned int dims[3];
    LatticeDims(components, dims);
    const shr::Vec3d first = Vector(origin, "origin");
    const shr::Vec3d step = Vector(spacing, "spacing");
    if (!(step.x > 0.0 && step.y > 0.0 && step.z > 0.0))
        ThrowValueError("the spacing must be positive along each axis");
    auto* lattice = new core::VdUniformLattice(components.type, dims, nullptr, components.Count());
    const DataRef owner(lattice);
    const shr::Vec3d last(first.x + (dims[0] - 1) * step.x, first.y + (dims[1] - 1) * step.y,
                          first.z + (dims[2] - 1) * step.z);
    lattice->SetUVWBounds(shr::Box3d(first, last));
    Fill(owner, components, LatticeShape(dims), LatticeSteps(dims), mask);
    names = components.names;
    return owner;
}

DataRef ArrayImport::Rectilinear(py::handle values, py::handle x, py::handle y, py::handle z, py::handle mask,
                                 std::vector<std::string>& names)
{
    const Components components = Gather(values, 3);
    unsigned int dims[3];
    LatticeDims(components, dims);
    const DataRef owner(new core::VdRectilinearLattice(components.type, dims, nullptr, components.Count(),
                                                       Axis(x, dims[0], "x"), Axis(y, dims[1], "y"),
                                                       Axis(z, dims[2], "z")));
    Fill(owner, components, LatticeShape(dims), LatticeSteps(dims), mask);
    names = components.names;
    return owner;
}

DataRef ArrayImport::Points(py::handle x, py::handle y, py::handle z, py::handle values, py::handle mask,
                            py::handle labels, std::vector<std::string>& names)
{
    shr::PrimType coordType = shr::Double;
    const py::array coords = PointCoords(x, y, z, coordType);
    const unsigned int count = static_cast<unsigned int>(coords.shape(0));
    Components components = Gather(values, 1);
    if (!components.arrays.empty() && components.shape != Shape{py::ssize_t(count)})
        ThrowValueError("values of shape " + ShapeText(components.shape) + " for " + std::to_string(count) +
                        " points: give one value per point");
    if (uint64_t(count) * components.Count() > core::VdArray::MaxElements)
        ThrowValueError("more values than the library can hold");
    const DataRef owner(
        new core::VdPoints(coordType, components.type, count, coords.data(), nullptr, components.Count()));
    auto& points = *static_cast<core::VdPoints*>(owner.get());
    Fill(owner, components, {py::ssize_t(count)}, {1}, mask);
    AddLabels(points, labels);
    names = components.names;
    return owner;
}

} // namespace pyfenrak
