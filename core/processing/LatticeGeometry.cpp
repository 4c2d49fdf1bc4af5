#include "core/processing/LatticeGeometry.h"

#include "core/data/MemoryBudget.h"
#include "core/data/VdUniformLattice.h"
#include "core/network/CoreError.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/StringUtil.h"

#include <new>
#include <tuple>

namespace core {

namespace {

const char kAxes[3] = {'X', 'Y', 'Z'};
const char kIndexAxes[3] = {'i', 'j', 'k'};

void Register(const char* prefix, const shr::GString& suffix, int id, unsigned char converter)
{
    VbPropertyRegistry::Instance().Set(shr::GString(prefix) + suffix, static_cast<unsigned short>(id), converter);
}

} // namespace

void LatticeGeometry::RegisterKeys(const char* prefix, bool withAuto)
{
    const unsigned char doubleKey = VbDoublePropertyConverter::Key();
    if (withAuto)
        Register(prefix, "Auto", AutoId, VbBoolPropertyConverter::Key());
    for (int axis = 0; axis < 3; ++axis) {
        Register(prefix, shr::ToString("%cMin", kAxes[axis]), LimitsId + 3 * axis + 1, doubleKey);
        Register(prefix, shr::ToString("%cMax", kAxes[axis]), LimitsId + 3 * axis + 2, doubleKey);
        Register(prefix, shr::ToString("%cNum", kAxes[axis]), ResolutionId + 1 + axis,
                 VbUnsignedPropertyConverter::Key());
    }
}

void LatticeGeometry::AddRows(const VbModuleId& module, VbPropList& list, const char* prefix, AutoScope scope,
                              const char* autoHelp) const
{
    const shr::GString key(prefix);
    list.AddHeader(module, GeometryId, "Geometry", "Geometry", "", "");
    list.Indent();
    if (scope != NoAuto)
        list.AddCheck(module, key + "Auto", AutoId, "Calculate from input", autoHelp, autoLimits);
    const bool limitsFollowInput = scope != NoAuto && autoLimits;
    const bool nodesFollowInput = scope == AutoLimitsAndResolution && autoLimits;
    PropertyUtility::UpdateLimits(module, LimitsId, key, list, std::make_tuple(limits.min.x, limits.min.y, limits.min.z),
                                  std::make_tuple(limits.max.x, limits.max.y, limits.max.z), !limitsFollowInput);
    PropertyUtility::UpdateResolution(module, ResolutionId, key, list, std::make_tuple(nodes[0], nodes[1], nodes[2]),
                                      !nodesFollowInput);
    list.Outdent();
}

bool LatticeGeometry::PropertyEvent(VbPropList& list, int id)
{
    if (id == AutoId) {
        list.GetValue(id, autoLimits);
    } else if (id > LimitsId && id < LimitsId + 9 && (id - LimitsId) % 3 != 0) {
        const int axis = (id - LimitsId) / 3;
        list.GetValue(id, (id - LimitsId) % 3 == 1 ? limits.min[axis] : limits.max[axis]);
    } else if (id > ResolutionId && id <= ResolutionId + 3) {
        list.GetValue(id, nodes[id - ResolutionId - 1]);
    } else {
        return false;
    }
    return true;
}

void LatticeGeometry::Validate() const
{
    for (int axis = 0; axis < 3; ++axis)
        if (limits.min[axis] > limits.max[axis])
            CORE_THROW(3, kAxes[axis]);
    for (int axis = 0; axis < 3; ++axis)
        if (nodes[axis] == 0 || nodes[axis] > MaxNodes)
            CORE_THROW(4, kIndexAxes[axis], MaxNodes);
}

std::unique_ptr<VdUniformLattice> LatticeGeometry::MakeLattice(shr::PrimType type, unsigned int componentCount) const
{
    MemoryBudget::CheckLattice(nodes, componentCount, type);
    std::unique_ptr<VdUniformLattice> lattice;
    try {
        lattice = std::make_unique<VdUniformLattice>(type, nodes, nullptr, componentCount);
    } catch (const std::bad_alloc&) {
        CORE_THROW(46);
    }
    lattice->SetUVWBounds(limits);
    return lattice;
}

void LatticeGeometry::TransferLimits(shr::Archive& archive)
{
    for (int axis = 0; axis < 3; ++axis) {
        archive.Transfer(limits.min[axis]);
        archive.Transfer(limits.max[axis]);
    }
}

void LatticeGeometry::TransferNodes(shr::Archive& archive)
{
    for (unsigned int& n : nodes)
        archive.Transfer(n);
}

void LatticeGeometry::CheckLoadedNodes(const shr::Archive& archive) const
{
    for (int axis = 0; axis < 3; ++axis)
        if (nodes[axis] == 0 || nodes[axis] > MaxNodes)
            archive.ThrowFormatError("%u nodes on the %c axis, where 1 to %u are allowed", nodes[axis], kAxes[axis],
                                     MaxNodes);
}

} // namespace core
