#pragma once
// What the tests of the lattice tools share: lattices of each kind whose node
// values are a function of the node's position, and a fixture that feeds
// them to a module through the network.
#include "ExpressionTestSupport.h"

#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "core/processing/ExpressionLattice.h"

#include <functional>
#include <memory>
#include <vector>

namespace toolstest {

using Field = std::function<double(const shr::Vec3d& uvw, unsigned int component)>;
const unsigned int kKinds[3] = {core::PortUniformLattice, core::PortRectilinearLattice,
                                core::PortCurvilinearLattice};

// Node (i, j, k) of each kind: uniform from (10, -4, 2) with spacing
// (1.5, 2, 0.5); rectilinear with uneven steps; curvilinear sheared, every
// cell a parallelepiped, so that a linear field stays linear in each cell.
inline shr::Vec3d NodePosition(unsigned int kind, unsigned int i, unsigned int j, unsigned int k)
{
    if (kind == core::PortUniformLattice)
        return shr::Vec3d(10 + 1.5 * i, -4 + 2.0 * j, 2 + 0.5 * k);
    if (kind == core::PortRectilinearLattice)
        return shr::Vec3d(10 + 1.5 * i + 0.4 * (i % 2), -4 + 2.0 * j + 0.7 * (j % 2), 2 + 0.5 * k + 0.1 * (k % 2));
    return shr::Vec3d(10 + 1.5 * i + 0.5 * j, -4 + 2.0 * j + 0.3 * k, 2 + 0.5 * k + 0.2 * i);
}

inline std::unique_ptr<core::VdLattice> MakeLattice(unsigned int kind, const unsigned int* dims, shr::PrimType type,
                                                    unsigned int components, const Field& field)
{
    std::unique_ptr<core::VdLattice> lattice;
    if (kind == core::PortUniformLattice) {
        auto uniform = std::make_unique<core::VdUniformLattice>(type, dims, nullptr, components);
        uniform->SetUVWBounds(shr::Box3d(NodePosition(kind, 0, 0, 0),
                                         NodePosition(kind, dims[0] - 1, dims[1] - 1, dims[2] - 1)));
        lattice = std::move(uniform);
    } else if (kind == core::PortRectilinearLattice) {
        std::vector<double> axes[3];
        for (int a = 0; a < 3; ++a)
            for (unsigned int n = 0; n < dims[a]; ++n)
                axes[a].push_back(NodePosition(kind, n, n, n)[a]);
        lattice = std::make_unique<core::VdRectilinearLattice>(type, dims, nullptr, components, axes[0], axes[1],
                                                              axes[2]);
    } else {
        std::vector<double> coords;
        for (unsigned int k = 0; k < dims[2]; ++k)
            for (unsigned int j = 0; j < dims[1]; ++j)
                for (unsigned int i = 0; i < dims[0]; ++i) {
                    const shr::Vec3d p = NodePosition(kind, i, j, k);
                    coords.insert(coords.end(), {p.x, p.y, p.z});
                }
        lattice = std::make_unique<core::VdCurvilinearLattice>(shr::Double, type, dims, coords.data(), nullptr,
                                                              components);
    }
    for (uint32_t n = 0; n < lattice->VertexCount(); ++n)
        for (unsigned int c = 0; c < components; ++c)
            core::StoreElement(*lattice, n, c, field(lattice->IJKToUVW(n % dims[0], n / dims[0] % dims[1],
                                                                        n / dims[0] / dims[1]),
                                                     c));
    lattice->DataModified();
    return lattice;
}

// Element (node, c) as a double.
inline double Value(const core::VdVertexData& data, uint32_t node, unsigned int c)
{
    return core::ReadElement(data.DataPtr(node, c), data.DataType());
}

class ToolsTest : public exprtest::ExpressionModuleTest {
protected:
    // `module` fed with `data` from a new source; both owned by the network.
    template <class Module>
    Module* Feed(core::VdData* data, Module* module, int input = 0)
    {
        auto* source = Add(new exprtest::DataSource(data, data->GetType()));
        if (module->Id().IsBad())
            Add(module);
        Link(module, source, input);
        return module;
    }
    template <class Data = core::VdLattice>
    static const Data* Output(const core::VoModule* module)
    {
        return dynamic_cast<const Data*>(module->GetOutput(0)->Data());
    }
};

} // namespace toolstest
