#pragma once
// DataViews: a module's output lattice or point set as numpy arrays. Values
// and coordinates are views of the library's own stores, read-only, holding
// a counted reference to the data object, so that they stay valid whatever
// becomes of the module or the network (a later pass makes new objects).
//
// Lattice arrays are indexed [i, j, k] (x, y, z): the library keeps i
// fastest, so a component of a lattice of one component is a Fortran-ordered
// array, and with more components the view steps over the others. Blank masks
// are computed (the library keeps a bit per value), as are the node positions
// of uniform and rectilinear lattices.
#include "shr/PrimType.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <string>
#include <vector>

namespace core {
class VdData;
class VdLattice;
class VdPoints;
class VdVertexData;
} // namespace core

namespace pyfenrak {

// A counted reference to a data object.
class DataRef {
public:
    explicit DataRef(core::VdData* data = nullptr);
    DataRef(const DataRef& other) : DataRef(other.m_Data) {}
    DataRef& operator=(const DataRef& other);
    ~DataRef();

    core::VdData* get() const { return m_Data; }

private:
    core::VdData* m_Data;
};

// The numpy type of an element type, and back; a TypeError names the types
// the library takes. Booleans are taken as unsigned bytes.
pybind11::dtype DtypeOf(shr::PrimType type);
shr::PrimType PrimTypeOf(const pybind11::dtype& dtype);

// An array over memory of the data object `owner` holds.
pybind11::array ViewOf(const DataRef& owner, const pybind11::dtype& dtype, std::vector<pybind11::ssize_t> shape,
                       std::vector<pybind11::ssize_t> strides, const void* data, bool writeable);

// What lattices and point sets share: values by component, per node.
class VertexView {
public:
    // `shape` is the node shape; `steps` the tuples from one node to the next along each axis.
    VertexView(DataRef data, std::vector<std::string> names, std::vector<pybind11::ssize_t> shape,
               std::vector<pybind11::ssize_t> steps);
    virtual ~VertexView() = default;

    unsigned int ComponentCount() const;
    pybind11::dtype Dtype() const;
    const std::vector<std::string>& Names() const { return m_Names; }
    // `component` is a number from 0 or a name.
    pybind11::array Values(pybind11::handle component) const;
    pybind11::array BlankMask(pybind11::handle component) const;

protected:
    const core::VdVertexData& Vertices() const;
    const DataRef& Data() const { return m_Data; }
    const std::vector<pybind11::ssize_t>& Shape() const { return m_Shape; }
    unsigned int Component(pybind11::handle component) const;

private:
    DataRef m_Data;
    std::vector<std::string> m_Names;
    std::vector<pybind11::ssize_t> m_Shape;
    std::vector<pybind11::ssize_t> m_Steps;
};

class LatticeView : public VertexView {
public:
    // Names missing from `names` are the library's ("Component 1", ...).
    LatticeView(DataRef data, std::vector<std::string> names);

    // "uniform", "rectilinear" or "curvilinear".
    std::string Kind() const;
    pybind11::tuple Dims() const;
    // The first node and the node spacing of a uniform lattice, else None.
    pybind11::object Origin() const;
    pybind11::object Spacing() const;
    // The node coordinates along each axis (a TypeError for a curvilinear lattice).
    pybind11::tuple Axes() const;
    // (nx, ny, nz, 3): each node's position in the lattice's own coordinates.
    pybind11::array Coordinates() const;
    pybind11::tuple Bounds() const;

private:
    const core::VdLattice& Lattice() const;
};

class PointsView : public VertexView {
public:
    PointsView(DataRef data, std::vector<std::string> names);

    size_t Count() const;
    // (n, 3), in the coordinates' own element type.
    pybind11::array Coordinates() const;
    // Per point its label, or None.
    pybind11::list Labels() const;
    pybind11::tuple Bounds() const;

private:
    const core::VdPoints& Points() const;
};

// The view of a data object: LatticeView, PointsView, or a TypeError naming
// what it is instead.
pybind11::object ViewOfData(const DataRef& data, const std::vector<std::string>* names, const std::string& what);

} // namespace pyfenrak
