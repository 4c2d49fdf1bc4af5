#include "core/visual/VoSliceModule.h"

#include "core/data/VdLattice.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "shr/Archive.h"

namespace core {

SHR_IMPLEMENT_TYPE(VoSliceModule, VoLatticeModule)

void VoSliceModule::UpdateMappingData()
{
    const VdLattice* lattice = InputLattice(0);
    if (!lattice || lattice->ComponentCount() == 0)
        return;
    UpdateColorMapDataLimits(lattice);
    const std::pair<double, double> limits = lattice->DataMinMax(InputComponentSafe());
    m_Mapping.FillWindow(limits.first, limits.second);
}

void VoSliceModule::AddMappingRows(VbPropList& list, const VdLattice* lattice, const char* prefix, int idMapping,
                                   int idLegend)
{
    const bool haveData = lattice && lattice->ComponentCount() > 0;
    const std::pair<double, double> limits =
        haveData ? lattice->DataMinMax(InputComponentSafe()) : std::make_pair(0.0, 0.0);
    const std::vector<unsigned int>* histogram = haveData ? &lattice->DataHistogram(InputComponentSafe()) : nullptr;
    m_Mapping.GetProperties(Id(), list, prefix, idMapping, m_ColorMap, histogram, limits.first, limits.second);
    list.Outdent();
    m_Legend.GetProperties(Id(), list, prefix, idLegend, "Legend", "Legend");
    m_Mapping.EnableRows(list, idMapping, m_Legend, idLegend);
}

bool VoSliceModule::MappingEvent(VbPropList& list, const VbPropertyEvent& event, int idMapping, int idLegend)
{
    if (m_Mapping.PropertyEvent(list, event, idMapping, m_ColorMap)) {
        if (event.Id() == idMapping + SliceMapping::RowColorMap)
            UpdateColorMapDataLimits(InputLattice(0));
        m_Mapping.EnableRows(list, idMapping, m_Legend, idLegend);
        return true;
    }
    if (event.Id() <= idLegend)
        return false;
    m_Legend.PropertyEvent(Id(), list, event, idLegend);
    return true;
}

void VoSliceModule::DrawTexturedPolygon(VgRenderer& renderer, double quality, int width, int height,
                                        const std::vector<shr::Color4b>& pixels, VgVertexData& face)
{
    renderer.setTextureQuality(quality);
    renderer.setVertexOrdering(VgRenderer::COUNTERCLOCKWISE);
    renderer.setTexture(width, height, pixels.data(), m_Lighting ? VgRenderer::MODULATE : VgRenderer::DECAL,
                        VgRenderer::TEX_CLAMP);
    if (m_Opacity < 1.0)
        renderer.setTransparency(1.0 - m_Opacity);
    face.textureBinding = VgVertexData::PER_VERTEX;
    const std::vector<shr::Vec3d>& v = face.vertices;
    const shr::Vec3d normal = (v[0] - v[2]).Cross(v[1] - v[2]).Normalized();
    face.normals.emplace_back(float(normal.x), float(normal.y), float(normal.z));
    face.normalBinding = VgVertexData::OVERALL;
    const int counts[] = {static_cast<int>(v.size())};
    renderer.drawFaceSet(face, counts, 1);
    if (m_Mapping.method == SliceMapping::Colormap)
        m_Legend.Execute(renderer);
}

VoSliceModule::StoredLook::StoredLook(const VoSliceModule& slice)
    : opacity(slice.m_Opacity), mapping(slice.m_Mapping), colorMap(slice.m_ColorMap), legend(slice.m_Legend)
{
}

void VoSliceModule::StoredLook::Transfer(shr::Archive& archive)
{
    archive.Transfer(opacity);
    mapping.Transfer(archive);
    colorMap.Serialize(archive);
    legend.Serialize(archive);
}

void VoSliceModule::StoredLook::Commit(VoSliceModule& slice) const
{
    slice.m_Opacity = opacity;
    slice.m_Mapping = mapping;
    slice.TakeColorMapAndLegend(colorMap, legend);
}

} // namespace core
