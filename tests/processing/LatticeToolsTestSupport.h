#pragma once
// What the tests of the lattice tools share: lattices of each kind whose node
// values are a function of the node's position, and a fixture that feeds
// them to a module through the network.
#include "LatticeSupport.h"
#include "NetworkFixture.h"

#include "core/processing/ExpressionLattice.h"

#include <memory>

namespace toolstest {

using testsupport::Field;
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
    return testsupport::KindLattice(
        kind, dims, type, components, [kind](double i, double j, double k) {
            return NodePosition(kind, unsigned(i), unsigned(j), unsigned(k));
        }, field);
}

// Element (node, c) as a double.
inline double Value(const core::VdVertexData& data, uint32_t node, unsigned int c)
{
    return core::ReadElement(data.DataPtr(node, c), data.DataType());
}

class ToolsTest : public testsupport::ReportingNetworkTest {
protected:
    // `module` fed with `data` from a new source; both owned by the network.
    template <class Module>
    Module* Feed(core::VdData* data, Module* module, int input = 0)
    {
        auto* source = Add(new testsupport::DataSource(data, data->GetType()));
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
