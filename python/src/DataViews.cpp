#include "python/src/DataViews.h"

#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdPoints.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "python/src/Errors.h"
#include "shr/StringUtil.h"

#include <pybind11/stl.h>

#include <cstring>
#include <strings.h>

namespace py = pybind11;

namespace pyfenrak {

namespace {

py::tuple Triple(const shr::Vec3d& v)
{
    return py::make_tuple(v.x, v.y, v.z);
}

py::tuple BoxTuple(const shr::Box3d& box)
{
    return py::make_tuple(Triple(box.min), Triple(box.max));
}

std::vector<std::string> WithDefaults(std::vector<std::string> names, unsigned int count)
{
    names.resize(count);
    for (unsigned int c = 0; c < count; ++c) {
        if (names[c].empty())
            names[c] = shr::ToString("Component %u", c + 1);
    }
    return names;
}

std::vector<py::ssize_t> LatticeShape(const DataRef& data)
{
    const unsigned int* dims = static_cast<const core::VdLattice*>(data.get())->GetDims();
    return {dims[0], dims[1], dims[2]};
}

// Tuples from one node to the next along i, j and k.
std::vector<py::ssize_t> LatticeSteps(const DataRef& data)
{
    const std::vector<py::ssize_t> shape = LatticeShape(data);
    return {1, shape[0], shape[0] * shape[1]};
}

} // namespace

// ---- references and types --------------------------------------------------

DataRef::DataRef(core::VdData* data) : m_Data(data)
{
    if (m_Data)
        m_Data->AddRef();
}

DataRef& DataRef::operator=(const DataRef& other)
{
    DataRef copy(other);
    std::swap(m_Data, copy.m_Data);
    return *this;
}

DataRef::~DataRef()
{
    if (m_Data)
        m_Data->DecRef();
}

py::dtype DtypeOf(shr::PrimType type)
{
    switch (type) {
    case shr::Int8: return py::dtype::of<int8_t>();
    case shr::UInt8: return py::dtype::of<uint8_t>();
    case shr::Int16: return py::dtype::of<int16_t>();
    case shr::UInt16: return py::dtype::of<uint16_t>();
    case shr::Int32: return py::dtype::of<int32_t>();
    case shr::UInt32: return py::dtype::of<uint32_t>();
    case shr::Int64: return py::dtype::of<int64_t>();
    case shr::Float: return py::dtype::of<float>();
    case shr::Double: return py::dtype::of<double>();
    }
    throw std::logic_error("an element type outside the enumeration");
}

shr::PrimType PrimTypeOf(const py::dtype& dtype)
{
    const char kind = dtype.kind();
    const py::ssize_t size = dtype.itemsize();
    if (kind == 'b' || (kind == 'u' && size == 1))
        return shr::UInt8;
    if (kind == 'i' && size == 1)
        return shr::Int8;
    if (kind == 'i' && size == 2)
        return shr::Int16;
    if (kind == 'u' && size == 2)
        return shr::UInt16;
    if (kind == 'i' && size == 4)
        return shr::Int32;
    if (kind == 'u' && size == 4)
        return shr::UInt32;
    if (kind == 'i' && size == 8)
        return shr::Int64;
    if (kind == 'f' && size == 4)
        return shr::Float;
    if (kind == 'f' && size == 8)
        return shr::Double;
    ThrowTypeError("values of type " + dtype.attr("name").cast<std::string>() +
                   ": the library takes int8, uint8, int16, uint16, int32, uint32, int64, float32 and float64");
}

py::array ViewOf(const DataRef& owner, const py::dtype& dtype, std::vector<py::ssize_t> shape,
                 std::vector<py::ssize_t> strides, const void* data, bool writeable)
{
    py::capsule base(new DataRef(owner), [](void* ref) { delete static_cast<DataRef*>(ref); });
    py::array array(dtype, std::move(shape), std::move(strides), data, base);
    if (!writeable)
        py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return array;
}

// ---- values ----------------------------------------------------------------

VertexView::VertexView(DataRef data, std::vector<std::string> names, std::vector<py::ssize_t> shape,
                       std::vector<py::ssize_t> steps)
    : m_Data(std::move(data)), m_Shape(std::move(shape)), m_Steps(std::move(steps))
{
    m_Names = WithDefaults(std::move(names), ComponentCount());
}

const core::VdVertexData& VertexView::Vertices() const
{
    return *static_cast<const core::VdVertexData*>(m_Data.get());
}

unsigned int VertexView::ComponentCount() const
{
    return Vertices().ComponentCount();
}

py::dtype VertexView::Dtype() const
{
    return DtypeOf(Vertices().DataType());
}

unsigned int VertexView::Component(py::handle component) const
{
    if (py::isinstance<py::str>(component)) {
        const std::string name = component.cast<std::string>();
        for (size_t c = 0; c < m_Names.size(); ++c) {
            if (strcasecmp(m_Names[c].c_str(), name.c_str()) == 0)
                return static_cast<unsigned int>(c);
        }
        ThrowValueError("no component named \"" + name + "\"; the components are " +
                        py::str(py::cast(m_Names)).cast<std::string>());
    }
    const py::ssize_t index = component.cast<py::ssize_t>();
    if (index < 0 || index >= static_cast<py::ssize_t>(ComponentCount()))
        throw py::index_error("component " + std::to_string(index) + " of " + std::to_string(ComponentCount()));
    return static_cast<unsigned int>(index);
}

py::array VertexView::Values(py::handle component) const
{
    const unsigned int c = Component(component);
    const core::VdVertexData& vertices = Vertices();
    std::vector<py::ssize_t> strides;
    for (py::ssize_t step : m_Steps)
        strides.push_back(step * static_cast<py::ssize_t>(vertices.DataTupleSize()));
    const auto* first = static_cast<const char*>(vertices.DataPtr());
    return ViewOf(m_Data, Dtype(), m_Shape, strides, first ? first + c * vertices.DataComponentSize() : nullptr,
                  false);
}

// Node n of the view is the n-th element in Fortran order: node order.
py::array VertexView::BlankMask(py::handle component) const
{
    const unsigned int c = Component(component);
    const core::VdVertexData& vertices = Vertices();
    py::array_t<bool, py::array::f_style> mask(m_Shape);
    bool* out = mask.mutable_data();
    const unsigned int count = vertices.VertexCount();
    const bool blanks = vertices.HasBlanks();
    py::gil_scoped_release release;
    if (count > 0)
        std::memset(out, 0, count);
    for (unsigned int n = 0; blanks && n < count; ++n)
        out[n] = vertices.IsBlank(n, c);
    return mask;
}

// ---- lattices --------------------------------------------------------------

LatticeView::LatticeView(DataRef data, std::vector<std::string> names)
    : VertexView(data, std::move(names), LatticeShape(data), LatticeSteps(data))
{
}

const core::VdLattice& LatticeView::Lattice() const
{
    return *static_cast<const core::VdLattice*>(Data().get());
}

std::string LatticeView::Kind() const
{
    switch (Lattice().GetType()) {
    case 2: return "uniform";
    case 4: return "rectilinear";
    default: return "curvilinear";
    }
}

py::tuple LatticeView::Dims() const
{
    return py::make_tuple(Shape()[0], Shape()[1], Shape()[2]);
}

py::object LatticeView::Origin() const
{
    const auto* uniform = dynamic_cast<const core::VdUniformLattice*>(&Lattice());
    return uniform ? py::object(Triple(uniform->UVWBounds().min)) : py::object(py::none());
}

py::object LatticeView::Spacing() const
{
    const auto* uniform = dynamic_cast<const core::VdUniformLattice*>(&Lattice());
    return uniform ? py::object(Triple(uniform->GetSpacing())) : py::object(py::none());
}

py::tuple LatticeView::Axes() const
{
    const core::VdLattice& lattice = Lattice();
    if (const auto* rectilinear = dynamic_cast<const core::VdRectilinearLattice*>(&lattice)) {
        const std::vector<double>* coords[3] = {&rectilinear->GetUCoords(), &rectilinear->GetVCoords(),
                                                &rectilinear->GetWCoords()};
        py::tuple axes(3);
        for (int axis = 0; axis < 3; ++axis)
            axes[axis] = ViewOf(Data(), py::dtype::of<double>(), {py::ssize_t(coords[axis]->size())},
                                {py::ssize_t(sizeof(double))}, coords[axis]->data(), false);
        return axes;
    }
    if (Kind() == "curvilinear")
        ThrowTypeError("a curvilinear lattice has no axes: each node has its own position (see coordinates())");
    py::tuple axes(3);
    for (int axis = 0; axis < 3; ++axis) {
        py::array_t<double> values(Shape()[axis]);
        double* out = values.mutable_data();
        for (unsigned int n = 0; n < Shape()[axis]; ++n) {
            const unsigned int ijk[3] = {axis == 0 ? n : 0, axis == 1 ? n : 0, axis == 2 ? n : 0};
            out[n] = lattice.IJKToUVW(ijk[0], ijk[1], ijk[2])[axis];
        }
        axes[axis] = values;
    }
    return axes;
}

py::array LatticeView::Coordinates() const
{
    const py::ssize_t nx = Shape()[0], ny = Shape()[1], nz = Shape()[2];
    if (const auto* curvilinear = dynamic_cast<const core::VdCurvilinearLattice*>(&Lattice())) {
        const py::ssize_t size = curvilinear->GetCoordComponentSize();
        return ViewOf(Data(), DtypeOf(curvilinear->GetCoordType()), {nx, ny, nz, 3},
                      {3 * size, nx * 3 * size, nx * ny * 3 * size, size}, curvilinear->GetCoordPtr(), false);
    }
    py::array_t<double, py::array::f_style> coords({nx, ny, nz, py::ssize_t(3)});
    double* out = coords.mutable_data();
    const core::VdLattice& lattice = Lattice();
    const py::ssize_t nodes = nx * ny * nz;
    py::gil_scoped_release release;
    for (py::ssize_t n = 0; n < nodes; ++n) {
        unsigned int i, j, k;
        lattice.IndexToIJK(static_cast<uint32_t>(n), i, j, k);
        const shr::Vec3d uvw = lattice.IJKToUVW(i, j, k);
        for (int axis = 0; axis < 3; ++axis)
            out[n + axis * nodes] = uvw[axis];
    }
    return coords;
}

py::tuple LatticeView::Bounds() const
{
    return BoxTuple(Lattice().GetUVWBounds());
}

// ---- points ----------------------------------------------------------------

PointsView::PointsView(DataRef data, std::vector<std::string> names)
    : VertexView(data, std::move(names), {py::ssize_t(static_cast<const core::VdPoints*>(data.get())->VertexCount())},
                 {1})
{
}

const core::VdPoints& PointsView::Points() const
{
    return *static_cast<const core::VdPoints*>(Data().get());
}

size_t PointsView::Count() const
{
    return Points().VertexCount();
}

py::array PointsView::Coordinates() const
{
    const core::VdPoints& points = Points();
    const py::ssize_t size = points.GetCoordComponentSize();
    return ViewOf(Data(), DtypeOf(points.GetCoordType()), {py::ssize_t(Count()), 3}, {3 * size, size},
                  points.GetCoordPtr(), false);
}

py::list PointsView::Labels() const
{
    const core::VdPoints& points = Points();
    py::list labels(Count());
    for (size_t n = 0; n < Count(); ++n)
        labels[n] = py::none();
    for (auto it = points.labels_begin(); it != points.labels_end(); ++it) {
        if (it->first < Count())
            labels[it->first] = py::str(it->second);
    }
    return labels;
}

py::tuple PointsView::Bounds() const
{
    return BoxTuple(Points().GetUVWBounds());
}

py::object ViewOfData(const DataRef& data, const std::vector<std::string>* names, const std::string& what)
{
    const std::vector<std::string> given = names ? *names : std::vector<std::string>();
    if (dynamic_cast<core::VdLattice*>(data.get()))
        return py::cast(LatticeView(data, given));
    if (dynamic_cast<core::VdPoints*>(data.get()))
        return py::cast(PointsView(data, given));
    ThrowTypeError(what + " is " + data.get()->GetTypeName() +
                   ": only lattices and point sets become arrays");
}

} // namespace pyfenrak
