#include "core/processing/VoLatticeSampler.h"

#include "core/properties/VbPropList.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

namespace core {

SHR_IMPLEMENT_TYPE(VoLatticeSampler, VoModule)

const char* const VoLatticeSampler::MethodNames[2] = {"Nearest neighbor", "Trilinear"};

VoLatticeSampler::VoLatticeSampler(const char* prefix, const char* autoHelp) : m_Prefix(prefix), m_AutoHelp(autoHelp)
{
}

void VoLatticeSampler::Method(unsigned int method)
{
    if (method > VdLattice::INTERP_LINEAR)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid resample method %u.", method);
    m_Method = static_cast<VdLattice::InterpMethod>(method);
}

void VoLatticeSampler::OnInputChanged(int, bool recalc)
{
    if (recalc && m_Geometry.autoLimits)
        CalcAutoParameters();
}

void VoLatticeSampler::AddMethodRow(VbPropList& list, const char* key) const
{
    list.AddCombo(Id(), key, IdMethod, "Resample method", "The method used to interpolate nodes from the input lattices.",
                  m_Method, 2, const_cast<const char**>(MethodNames), 0);
}

void VoLatticeSampler::AddGeometryRows(VbPropList& list) const
{
    m_Geometry.AddRows(Id(), list, m_Prefix, LatticeGeometry::AutoLimitsAndResolution, m_AutoHelp);
}

bool VoLatticeSampler::SamplerPropertyEvent(VbPropList& list, int id)
{
    if (id == IdMethod) {
        unsigned int method = m_Method;
        list.GetValue(id, method);
        Method(method);
        return true;
    }
    if (!m_Geometry.PropertyEvent(list, id))
        return false;
    if (id == LatticeGeometry::AutoId) {
        if (m_Geometry.autoLimits)
            CalcAutoParameters();
        UpdateProperties(list);
    }
    return true;
}

void VoLatticeSampler::CheckLoaded(const shr::Archive& archive, uint32_t method, const LatticeGeometry& geometry)
{
    if (method > VdLattice::INTERP_LINEAR)
        archive.ThrowFormatError("invalid resample method %u", method);
    geometry.CheckLoadedNodes(archive);
}

} // namespace core
