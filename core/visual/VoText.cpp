#include "core/visual/VoText.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/visual/TextRows.h"
#include "core/visual/VectorRows.h"
#include "shr/Archive.h"

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoText, VoModule)
const VbModuleInfo VoText::s_ModuleInfo("Graphics Output\\Text", VoText::GetClassTypeId(), 0, PortGeometry,
                                        "Displays a block of text positioned in 3D", 27);

namespace VoTextPrivate {

const char* const kPrefix = "Text";
const TextRows::KeyRegistrar s_TextKeys(kPrefix);
const VectorRows kPositionRows{kPrefix, "Pos", VoText::IdPosition, VoText::IdXPos};
const VectorRows::KeyRegistrar s_PositionKeys(kPositionRows);

} // namespace VoTextPrivate

using namespace VoTextPrivate;

VoText::VoText() : m_Format(TextRows::DefaultFormat())
{
    auto* geometry = new VdGeometry(this, false);
    geometry->Clippable(false);
    AddOutput("Output Geometry", PortGeometry)->Data(geometry);
}

VoText::~VoText() = default;

int VoText::RendererJustification(int justification)
{
    switch (justification) {
    case TextFormat::Left: return VgRenderer::LEFT;
    case TextFormat::Center: return VgRenderer::CENTER;
    default: return VgRenderer::RIGHT;
    }
}

VoModule::ModuleStatus VoText::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    VgStateScope scope(*renderer, OutputGeometry(0));
    if (m_Text.empty())
        return ModuleOk;
    renderer->setBaseColor(m_Format.m_Color);
    renderer->setFont(m_Format.m_Face.c_str(), m_Format.m_Height);
    renderer->drawText2(m_Position, m_Text.c_str(),
                        static_cast<VgRenderer::Justification>(RendererJustification(m_Format.m_Justification)), true);
    return ModuleOk;
}

void VoText::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    TextRows::AddTextRow(Id(), kPrefix, list, m_Text);
    kPositionRows.Add(Id(), list, "Position", "Where the text stands in the scene.", m_Position);
    TextRows::AddFormatRows(Id(), kPrefix, list, m_Format);
    list.Outdent();
}

void VoText::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    if (!kPositionRows.Read(list, id, m_Position) && !TextRows::PropertyEvent(list, id, m_Text, m_Format))
        return;
    SetModified();
}

void VoText::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    TextFormat format = m_Format;
    shr::GString text = m_Text;
    shr::Vec3d position = m_Position;
    TextRows::Transfer(archive, format, text);
    archive.Transfer(position);
    archive.Transfer(format.m_Height);
    if (archive.IsStoring())
        return;
    TextRows::CheckLoaded(archive, format);
    m_Format = format;
    m_Text = text;
    m_Position = position;
}

} // namespace core
