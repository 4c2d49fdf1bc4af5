#pragma once
// Data for tests: arrays built from lists of doubles, lattices whose node
// values are a known function of the node, on uniform, sheared or warped grids,
// and the rows of point tables.

#include "core/data/LatticeUtility.h"
#include "core/data/VdArray.h"
#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "core/gridding/CPointData.h"
#include "core/network/VbPort.h"
#include "core/processing/ExpressionLattice.h"

#include <cmath>
#include <functional>
#include <memory>
#include <type_traits>
#include <vector>

namespace testsupport {

// An array of `components` per tuple holding `values` in order, with the
// listed flat indices blanked.
inline core::VdArray MakeArray(shr::PrimType type, const std::vector<double>& values,
                               const std::vector<unsigned int>& blanks = {}, unsigned int components = 1)
{
    const auto tuples = static_cast<unsigned int>(values.size() / components);
    core::VdArray array(type, tuples, components);
    for (unsigned int tuple = 0; tuple < tuples; ++tuple)
        array.SetTuple(tuple, &values[size_t(tuple) * components]);
    for (unsigned int index : blanks)
        array.SetBlank(index / components, index % components);
    return array;
}

inline double ValueAt(const core::VdArray& array, uint32_t index)
{
    double value = 0.0;
    array.GetData()->GetValue(index, value);
    return value;
}

using NodeFunction = std::function<double(unsigned int i, unsigned int j, unsigned int k, unsigned int c)>;
using Placement = std::function<shr::Vec3d(double i, double j, double k)>;

// i + 10 j + 100 k, negated for odd components: linear, so trilinear
// interpolation reproduces it exactly.
inline double Linear(unsigned int i, unsigned int j, unsigned int k, unsigned int c)
{
    const double value = i + 10.0 * j + 100.0 * k;
    return c % 2 ? -value : value;
}

// Node values in node order, components interleaved.
inline std::vector<double> NodeValues(const unsigned int* dims, unsigned int components, const NodeFunction& f = Linear)
{
    std::vector<double> values;
    for (unsigned int k = 0; k < dims[2]; ++k)
        for (unsigned int j = 0; j < dims[1]; ++j)
            for (unsigned int i = 0; i < dims[0]; ++i)
                for (unsigned int c = 0; c < components; ++c)
                    values.push_back(f(i, j, k, c));
    return values;
}

inline core::VdUniformLattice MakeUniform(const unsigned int* dims, unsigned int components = 1,
                                          const NodeFunction& f = Linear)
{
    const std::vector<double> values = NodeValues(dims, components, f);
    return core::VdUniformLattice(shr::Double, dims, values.data(), components);
}

// Node positions, three doubles per node in node order.
inline std::vector<double> NodePositions(const unsigned int* dims, const Placement& place)
{
    std::vector<double> coords;
    for (unsigned int k = 0; k < dims[2]; ++k)
        for (unsigned int j = 0; j < dims[1]; ++j)
            for (unsigned int i = 0; i < dims[0]; ++i) {
                const shr::Vec3d p = place(i, j, k);
                coords.insert(coords.end(), {p.x, p.y, p.z});
            }
    return coords;
}

// An affine shear: every cell a parallelepiped.
inline shr::Vec3d Sheared(double i, double j, double k)
{
    return shr::Vec3d(i + 0.5 * j, j + 0.3 * k, k + 0.2 * i);
}

// A smooth warp: cells are curved hexahedra, no two alike.
inline shr::Vec3d Warped(double i, double j, double k)
{
    return shr::Vec3d(i + 0.25 * std::sin(0.7 * j + 0.3 * k), j + 0.2 * std::cos(0.5 * i + 0.9 * k),
                      k + 0.15 * std::sin(0.4 * i * j + 0.2));
}

inline core::VdCurvilinearLattice MakeCurvilinear(const unsigned int* dims, const Placement& place,
                                                  unsigned int components = 1)
{
    const std::vector<double> coords = NodePositions(dims, place);
    const std::vector<double> values = NodeValues(dims, components);
    return core::VdCurvilinearLattice(shr::Double, shr::Double, dims, coords.data(), values.data(), components);
}

// What a blank node reads as in ComponentValues.
constexpr double kBlankValue = core::VdVertexData::BlankVal;

// A uniform lattice of `dims` holding `values` (tuple by tuple) as `type`;
// the nodes whose value is kBlankValue are blanked.
inline std::unique_ptr<core::VdUniformLattice> ValueLattice(const unsigned int* dims, const std::vector<double>& values,
                                                            unsigned int components = 1,
                                                            shr::PrimType type = shr::Double)
{
    auto lattice = core::DispatchPrimType(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        std::vector<T> elements;
        for (double value : values)
            elements.push_back(core::PrimConvert<T>(value == kBlankValue ? 0.0 : value));
        return std::make_unique<core::VdUniformLattice>(type, dims, elements.data(), components);
    });
    for (size_t e = 0; e < values.size(); ++e)
        if (values[e] == kBlankValue)
            lattice->SetBlank(static_cast<unsigned int>(e / components), static_cast<unsigned int>(e % components));
    return lattice;
}

// Component c of every node, kBlankValue for blanks.
inline std::vector<double> ComponentValues(const core::VdVertexData& data, unsigned int c = 0)
{
    std::vector<double> values;
    for (unsigned int n = 0; n < data.VertexCount(); ++n)
        values.push_back(data.IsBlank(n, c) ? kBlankValue : core::NodeValue(data, n, c));
    return values;
}

// A float lattice of nx x ny x nz nodes holding f(i, j, k), spacing 1 from
// `origin`: one component where f gives a number, three where it gives a vector.
template <class F>
core::VdUniformLattice* NodeLattice(unsigned int nx, unsigned int ny, unsigned int nz, F f,
                                    shr::Vec3d origin = shr::Vec3d(0, 0, 0))
{
    constexpr bool vectors = std::is_same_v<std::decay_t<decltype(f(0u, 0u, 0u))>, shr::Vec3d>;
    const unsigned int dims[3] = {nx, ny, nz};
    const auto value = [&](unsigned int i, unsigned int j, unsigned int k, unsigned int c) {
        if constexpr (vectors)
            return f(i, j, k)[c];
        else
            return double(f(i, j, k));
    };
    const std::vector<double> values = NodeValues(dims, vectors ? 3 : 1, value);
    const std::vector<float> floats(values.begin(), values.end());
    auto* lattice = new core::VdUniformLattice(shr::Float, dims, floats.data(), vectors ? 3 : 1);
    lattice->SetUVWBounds(shr::Box3d(origin, origin + shr::Vec3d(nx - 1.0, ny - 1.0, nz - 1.0)));
    return lattice;
}

// NodeLattice of a vector field.
template <class F>
core::VdUniformLattice* VectorLattice(unsigned int nx, unsigned int ny, unsigned int nz, F f)
{
    return NodeLattice(nx, ny, nz, f);
}

using Field = std::function<double(const shr::Vec3d& uvw, unsigned int component)>;

const unsigned int kLatticeKinds[3] = {core::PortUniformLattice, core::PortRectilinearLattice,
                                       core::PortCurvilinearLattice};

// A lattice of `kind` (the port bit of uniform, rectilinear or curvilinear)
// whose node (i, j, k) holds field(position, c) as `type`: uniform from
// (10, -4, 2) with spacing (1.5, 2, 0.5); rectilinear with uneven steps;
// curvilinear sheared, every cell a parallelepiped, so that a linear field
// stays linear in each cell.
inline std::unique_ptr<core::VdLattice> SpacedLattice(unsigned int kind, const unsigned int* dims, shr::PrimType type,
                                                      unsigned int components, const Field& field)
{
    const auto place = [kind](double x, double y, double z) {
        const unsigned int i = unsigned(x), j = unsigned(y), k = unsigned(z);
        if (kind == core::PortUniformLattice)
            return shr::Vec3d(10 + 1.5 * i, -4 + 2.0 * j, 2 + 0.5 * k);
        if (kind == core::PortRectilinearLattice)
            return shr::Vec3d(10 + 1.5 * i + 0.4 * (i % 2), -4 + 2.0 * j + 0.7 * (j % 2), 2 + 0.5 * k + 0.1 * (k % 2));
        return shr::Vec3d(10 + 1.5 * i + 0.5 * j, -4 + 2.0 * j + 0.3 * k, 2 + 0.5 * k + 0.2 * i);
    };
    std::unique_ptr<core::VdLattice> lattice;
    if (kind == core::PortUniformLattice) {
        auto uniform = std::make_unique<core::VdUniformLattice>(type, dims, nullptr, components);
        uniform->SetUVWBounds(shr::Box3d(place(0, 0, 0), place(dims[0] - 1, dims[1] - 1, dims[2] - 1)));
        lattice = std::move(uniform);
    } else if (kind == core::PortRectilinearLattice) {
        std::vector<double> axes[3];
        for (int a = 0; a < 3; ++a)
            for (unsigned int n = 0; n < dims[a]; ++n)
                axes[a].push_back(place(n, n, n)[a]);
        lattice = std::make_unique<core::VdRectilinearLattice>(type, dims, nullptr, components, axes[0], axes[1],
                                                              axes[2]);
    } else {
        const std::vector<double> coords = NodePositions(dims, place);
        lattice = std::make_unique<core::VdCurvilinearLattice>(shr::Double, type, dims, coords.data(), nullptr,
                                                              components);
    }
    for (uint32_t n = 0; n < lattice->VertexCount(); ++n) {
        const shr::Vec3d uvw = lattice->IJKToUVW(n % dims[0], n / dims[0] % dims[1], n / dims[0] / dims[1]);
        for (unsigned int c = 0; c < components; ++c)
            core::StoreElement(*lattice, n, c, field(uvw, c));
    }
    lattice->DataModified();
    return lattice;
}

// Element (node, c) of any data array as a double.
inline double ElementValue(const core::VdVertexData& data, uint32_t node, unsigned int c)
{
    return core::ReadElement(data.DataPtr(node, c), data.DataType());
}

// A point table's row at (x, y, z) with `values` (as many components as
// values) and the id `id`.
inline core::CPointDatum PointRow(double x, double y, double z, std::vector<double> values = {0.0},
                                  uint32_t id = core::CDatum::VOID_ID)
{
    core::CPointDatum row(values.size());
    row.X() = x;
    row.Y() = y;
    row.Z() = z;
    for (size_t c = 0; c < values.size(); ++c)
        row.W(c, values[c]);
    row.ID(id);
    return row;
}

// The ids of a table's rows, in order.
inline std::vector<uint32_t> RowIds(const core::CPointData& table)
{
    std::vector<uint32_t> ids;
    for (const core::CPointDatum& row : table)
        ids.push_back(row.ID());
    return ids;
}

// Everything observable about a lattice as numbers: dims, components, type,
// node values, blanks and positions, the user transform, the bounds and a
// position found again from its coordinates. For "a failure leaves the
// lattice as it was".
inline std::vector<double> LatticeSnapshot(const core::VdLattice& lattice)
{
    std::vector<double> s(lattice.GetDims(), lattice.GetDims() + 3);
    s.insert(s.end(), {double(lattice.ComponentCount()), double(lattice.DataType()), double(lattice.HasUserTransform())});
    for (unsigned int node = 0; node < lattice.VertexCount(); ++node) {
        for (unsigned int c = 0; c < lattice.ComponentCount(); ++c)
            s.insert(s.end(), {core::NodeValue(lattice, node, c), double(lattice.IsBlank(node, c))});
        unsigned int i, j, k;
        lattice.IndexToIJK(node, i, j, k);
        const shr::Vec3d uvw = lattice.IJKToUVW(i, j, k);
        s.insert(s.end(), {uvw.x, uvw.y, uvw.z});
    }
    const shr::Mat4d& m = lattice.GetUserTransform();
    s.insert(s.end(), &m.m[0][0], &m.m[0][0] + 16);
    for (const shr::Box3d& box : {lattice.GetUVWBounds(), lattice.GetXYZBounds()})
        s.insert(s.end(), {box.min.x, box.min.y, box.min.z, box.max.x, box.max.y, box.max.z});
    const shr::Vec3d probe = lattice.UVWToIJK(lattice.IJKToUVW(shr::Vec3d(0.5, 0.5, 0.5)));
    s.insert(s.end(), {probe.x, probe.y, probe.z});
    return s;
}

} // namespace testsupport
