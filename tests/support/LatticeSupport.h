#pragma once
// Data for tests: arrays built from lists of doubles, and lattices whose node
// values are a known function of the node, on uniform, sheared or warped grids.
#include "core/data/LatticeUtility.h"
#include "core/data/VdArray.h"
#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdUniformLattice.h"

#include <cmath>
#include <functional>
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
