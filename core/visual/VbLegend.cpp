#include "core/visual/VbLegend.h"

#include "shr/Archive.h"

#include <algorithm>

namespace core {

VbLegend::VbLegend(VbColorMap* colorMap)
    : m_FGColor(shr::Color4b::Black), m_BGColor(shr::Color4b::Ltgray), m_LabelFormat(2, 7), m_ColorMap(colorMap)
{
}

void VbLegend::Serialize(shr::Archive& archive)
{
    if (!archive.IsLoading()) {
        TransferFields(archive);
        return;
    }
    VbLegend loaded(*this);
    loaded.TransferFields(archive);
    if (archive.GetVersion() < 109) {
        // Older documents kept the corner in pixels of an 800-pixel view.
        loaded.m_XPos = std::clamp(loaded.m_XPos / 800.0f, 0.0f, 1.0f);
        loaded.m_YPos = std::clamp(loaded.m_YPos / 800.0f, 0.0f, 1.0f);
    }
    *this = loaded;
}

void VbLegend::TransferFields(shr::Archive& archive)
{
    archive.SyncCheck();
    archive.Transfer(m_Show);
    archive.Transfer(m_Vertical);
    archive.Transfer(m_UseCustomLabels);
    archive.Transfer(m_ShowBackground);
    archive.Transfer(m_Antialias);
    archive.Transfer(m_XPos);
    archive.Transfer(m_YPos);
    archive.Transfer(m_Width);
    archive.Transfer(m_Length);
    archive.Transfer(m_Title);
    archive.Transfer(m_CustomLabels);
    archive.Transfer(m_FGColor);
    archive.Transfer(m_BGColor);
    for (float& value : m_Layout)
        archive.Transfer(value);
    archive.Transfer(m_FontName);
    archive.Transfer(m_TitleHeight);
    archive.Transfer(m_LabelHeight);
    archive.Transfer(m_NumLabels);
    m_LabelFormat.Serialize(archive);
}

// The property rows, the labels and the drawing follow.

void VbLegend::Enabled(VbPropList&, int, bool) {}

void VbLegend::GetProperties(const VbModuleId&, VbPropList&, const shr::GString&, int, const shr::GString&,
                             const shr::GString&)
{
}

void VbLegend::PropertyEvent(const VbModuleId&, VbPropList&, const VbPropertyEvent&, int) {}

void VbLegend::Execute(VgRenderer&) {}

void VbLegend::GenerateLabels(std::vector<CLabel>& labels) const { labels.clear(); }

void VbLegend::Render(SoGLRenderAction*) {}

void VbLegend::Callback(void*, SoAction*) {}

} // namespace core
