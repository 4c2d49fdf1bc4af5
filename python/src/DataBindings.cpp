#include "python/src/Bindings.h"
#include "python/src/DataViews.h"

#include <pybind11/stl.h>

namespace py = pybind11;

namespace pyfenrak {

namespace {

constexpr const char* kComponentDoc = "component: a number from 0, or a name";

// One coordinate of every point: a view.
py::object Column(const PointsView& view, int axis)
{
    return view.Coordinates()[py::make_tuple(py::slice(0, static_cast<py::ssize_t>(view.Count()), 1), axis)];
}

} // namespace

void BindData(py::module_& module)
{
    py::class_<VertexView>(module, "_Vertices")
        .def_property_readonly("component_count", &VertexView::ComponentCount, "Values per node or point.")
        .def_property_readonly("dtype", &VertexView::Dtype, "The element type of the values.")
        .def_property_readonly("names", &VertexView::Names, "The name of each component.")
        .def("values", &VertexView::Values, py::arg("component") = 0,
             (std::string("A read-only view of one component's values (blanks hold what the store holds).\n") +
              kComponentDoc)
                 .c_str())
        .def("blank_mask", &VertexView::BlankMask, py::arg("component") = 0,
             (std::string("True where the component is blank (no data).\n") + kComponentDoc).c_str());

    py::class_<LatticeView, VertexView>(module, "Lattice", R"(A lattice a module gave: nodes on a grid, indexed [i, j, k].

Values are read-only views of the library's store, valid as long as this
object or an array from it lives.)")
        .def_property_readonly("kind", &LatticeView::Kind, "'uniform', 'rectilinear' or 'curvilinear'.")
        .def_property_readonly("dims", &LatticeView::Dims, "Nodes along i, j and k.")
        .def_property_readonly("origin", &LatticeView::Origin, "The first node of a uniform lattice, else None.")
        .def_property_readonly("spacing", &LatticeView::Spacing,
                               "The node spacing of a uniform lattice (0 on an axis of one node), else None.")
        .def_property_readonly("axes", &LatticeView::Axes, "The node coordinates along each axis: (x, y, z).")
        .def_property_readonly("bounds", &LatticeView::Bounds, "((xmin, ymin, zmin), (xmax, ymax, zmax)).")
        .def("coordinates", &LatticeView::Coordinates,
             "Every node's position, shape (nx, ny, nz, 3): a view for a curvilinear lattice, computed otherwise.")
        .def("__repr__", [](const LatticeView& view) {
            return "<fenrak.Lattice " + view.Kind() + " " + py::str(view.Dims()).cast<std::string>() + " x " +
                   std::to_string(view.ComponentCount()) + " " + view.Dtype().attr("name").cast<std::string>() + ">";
        });

    py::class_<PointsView, VertexView>(module, "Points", R"(A point set a module gave.

Coordinates and values are read-only views of the library's store.)")
        .def_property_readonly("coordinates", &PointsView::Coordinates, "The positions, shape (n, 3).")
        .def_property_readonly("x", [](const PointsView& view) { return Column(view, 0); })
        .def_property_readonly("y", [](const PointsView& view) { return Column(view, 1); })
        .def_property_readonly("z", [](const PointsView& view) { return Column(view, 2); })
        .def_property_readonly("labels", &PointsView::Labels, "Per point its label, or None.")
        .def_property_readonly("bounds", &PointsView::Bounds, "((xmin, ymin, zmin), (xmax, ymax, zmax)).")
        .def("__len__", &PointsView::Count)
        .def("__repr__", [](const PointsView& view) {
            return "<fenrak.Points " + std::to_string(view.Count()) + " x " + std::to_string(view.ComponentCount()) +
                   ">";
        });
}

} // namespace pyfenrak
