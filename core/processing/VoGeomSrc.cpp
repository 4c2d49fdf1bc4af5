#include "core/processing/VoGeomSrc.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/InvInterface.h"
#include "core/graphics/InvMemoryArchive.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/processing/DataInfoRows.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <Inventor/nodes/SoDrawStyle.h>
#include <Inventor/nodes/SoTranslation.h>

#include <cstdint>
#include <vector>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoGeomSrc, VoModule)

const VbModuleInfo VoGeomSrc::s_ModuleInfo("Data Source\\Geometry", VoGeomSrc::GetClassTypeId(), 0, PortGeometry,
                                           "Serves as a container for arbitrary geometry", -1);

namespace VoGeomSrcPrivate {

const unsigned char kDouble = VbDoublePropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"GeomSrcFilename", VoGeomSrc::IdFileName, VbStringPropertyConverter::Key()},
    {"GeomSrcDrawStyle", VoGeomSrc::IdDrawStyle, VbUnsignedPropertyConverter::Key()},
    {"GeomSrcXMin", VoGeomSrc::IdLimits + 1, kDouble},
    {"GeomSrcXMax", VoGeomSrc::IdLimits + 2, kDouble},
    {"GeomSrcYMin", VoGeomSrc::IdLimits + 4, kDouble},
    {"GeomSrcYMax", VoGeomSrc::IdLimits + 5, kDouble},
    {"GeomSrcZMin", VoGeomSrc::IdLimits + 7, kDouble},
    {"GeomSrcZMax", VoGeomSrc::IdLimits + 8, kDouble},
};

// The document version from which the file name is stored.
constexpr int kFileNameVersion = 107;
constexpr float kForcedPointSize = 3.0f;

} // namespace VoGeomSrcPrivate

using namespace VoGeomSrcPrivate;

VoGeomSrc::VoGeomSrc()
{
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

VoGeomSrc::VoGeomSrc(bool moveWithTransform, InvSmartPtr<SoNode> geometry, const char* fileName) : VoGeomSrc()
{
    m_FileName = fileName ? fileName : "";
    m_Geometry = geometry;
    m_MoveWithTransform = moveWithTransform;
}

void VoGeomSrc::SetGeom(InvSmartPtr<SoNode> geometry)
{
    m_Geometry = geometry;
    SetModified();
}

VoModule::ModuleStatus VoGeomSrc::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    renderer->PushNode(OutputGeometry(0), true);
    if (m_Geometry) {
        renderer->UpdateTransform(m_Geometry);
        if (m_MoveWithTransform) {
            auto* translation = new SoTranslation;
            const SceneTransform& transform = renderer->Transform();
            translation->translation.setValue(static_cast<float>(transform.XTransform()),
                                              static_cast<float>(transform.YTransform()), 0.0f);
            renderer->addInventorNode(translation);
        }
    }
    AddDrawStyle(*renderer);
    renderer->addInventorNode(m_Geometry.get());
    renderer->popState();
    return ModuleOk;
}

// "As is" leaves the file's own styles in force; the others override them.
void VoGeomSrc::AddDrawStyle(VgRenderer& renderer) const
{
    auto* style = new SoDrawStyle;
    if (m_DrawStyle == AsIs) {
        style->style.setValue(SoDrawStyle::FILLED);
        style->setOverride(FALSE);
    } else {
        static const SoDrawStyle::Style forced[DrawStyleCount] = {SoDrawStyle::FILLED, SoDrawStyle::FILLED,
                                                                  SoDrawStyle::LINES, SoDrawStyle::POINTS};
        style->style.setValue(forced[m_DrawStyle < DrawStyleCount ? m_DrawStyle : Shaded]);
        style->pointSize.setValue(kForcedPointSize);
        style->setOverride(TRUE);
    }
    renderer.addInventorNode(style);
}

void VoGeomSrc::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddFilename(Id(), "GeomSrcFilename", IdFileName, "File path",
                     "The path and filename that this dataset was loaded from (if any).", m_FileName, false,
                     VbPropList::GeometryFiles);
    list.AddCombo(Id(), "GeomSrcDrawStyle", IdDrawStyle, "Draw style", "The style used to draw the geometry.",
                  m_DrawStyle, "As is", "Shaded", "Lines", "Points", nullptr);
    list.Outdent();
    list.AddHeader(Id(), IdGeometry, "Geometry", "Geometry", "", "");
    list.Indent();
    const shr::Box3d box = m_Geometry ? InvBoundingBox(m_Geometry) : shr::Box3d();
    DataInfoRows::AddLimits(Id(), list, IdLimits, "GeomSrc", box, false);
    list.Outdent();
}

void VoGeomSrc::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    if (event.Id() == IdFileName) {
        list.GetValue(IdFileName, m_FileName);
        UiProxy::Instance()->ReloadDataFile(*this, m_FileName);
    } else if (event.Id() == IdDrawStyle) {
        unsigned int style = AsIs;
        list.GetValue(IdDrawStyle, style);
        if (style >= DrawStyleCount)
            shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid draw style %u.", style);
        m_DrawStyle = style;
    }
    SetModified();
}

void VoGeomSrc::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    // Read into locals, so that a truncated document leaves the module as it was.
    shr::GString fileName = archive.IsStoring() ? m_FileName : shr::GString();
    if (archive.IsStoring() || archive.GetVersion() >= kFileNameVersion)
        archive.Transfer(fileName);
    uint32_t style = m_DrawStyle;
    archive.Transfer(style);
    if (archive.IsLoading() && style >= DrawStyleCount)
        archive.ThrowFormatError("invalid draw style %u", style);
    InvSmartPtr<SoNode> geometry = m_Geometry;
    TransferGeometry(archive, geometry);
    if (archive.IsStoring())
        return;
    m_FileName = fileName;
    m_DrawStyle = style;
    m_Geometry = geometry;
}

void VoGeomSrc::TransferGeometry(shr::Archive& archive, InvSmartPtr<SoNode>& geometry) const
{
    InvMemoryArchive memory(archive.GetFilename());
    if (archive.IsStoring()) {
        void* buffer = nullptr;
        const size_t size = geometry ? memory.Write(geometry.get(), buffer) : 0;
        if (size > UINT32_MAX)
            archive.ThrowFormatError("the geometry is too large to be stored");
        uint32_t length = static_cast<uint32_t>(size);
        archive.Transfer(length);
        if (length > 0)
            archive.Write(buffer, length);
        return;
    }
    uint32_t length = 0;
    archive.Transfer(length);
    geometry.reset();
    if (length == 0)
        return;
    archive.CheckCount(length, 1);
    std::vector<unsigned char> bytes(length);
    archive.Read(bytes.data(), length);
    geometry = memory.Read(bytes.data(), bytes.size());
    if (!geometry)
        archive.ThrowFormatError("the stored geometry cannot be read");
}

} // namespace core
