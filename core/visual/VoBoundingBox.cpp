#include "core/visual/VoBoundingBox.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/graphics/VgRenderer.h"
#include "core/visual/InputBounds.h"
#include "core/visual/RowReader.h"
#include "shr/Archive.h"
#include "shr/StringUtil.h"

#include <iterator>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoBoundingBox, VoModule)
const VbModuleInfo VoBoundingBox::s_ModuleInfo("Graphics Output\\BoundingBox", VoBoundingBox::GetClassTypeId(), 63,
                                               PortGeometry,
                                               "Draws a 3D bounding box around the input object's geometry", 18);

namespace BoundingBoxPrivate {

const VbPropertyRegistrar s_Registrars[] = {
    {"BoundingBoxColor", VoBoundingBox::IdColor, VbColorPropertyConverter::Key()},
    {"BoundingBoxLineWidth", VoBoundingBox::IdLineWidth, VbDoublePropertyConverter::Key()},
    {"BoundingBoxShowLabels", VoBoundingBox::IdShowLabels, VbBoolPropertyConverter::Key()},
    {"BoundingBoxFont", VoBoundingBox::IdFont, VbStringPropertyConverter::Key()},
    {"BoundingBoxLabelSize", VoBoundingBox::IdLabelSize, VbDoublePropertyConverter::Key()},
    {"BoundingBoxLabelColor", VoBoundingBox::IdLabelColor, VbColorPropertyConverter::Key()},
    {"BoundingBoxLabelFormatType", VoBoundingBox::IdLabelFormat + 1, VbUnsignedPropertyConverter::Key()},
    {"BoundingBoxLabelFormatNumDigits", VoBoundingBox::IdLabelFormat + 2, VbUnsignedPropertyConverter::Key()},
    {"BoundingBoxLabelFormatPrefix", VoBoundingBox::IdLabelFormat + 3, VbStringPropertyConverter::Key()},
    {"BoundingBoxLabelFormatPostfix", VoBoundingBox::IdLabelFormat + 4, VbStringPropertyConverter::Key()},
};

constexpr double kMaxLineWidth = 16.0;
constexpr double kMaxLabelSize = 1000.0;

} // namespace BoundingBoxPrivate

using namespace BoundingBoxPrivate;

VoBoundingBox::VoBoundingBox()
    : m_Color(shr::Color4b::Yellow), m_Text(12.0, shr::Color4b::Black, "Arial", TextFormat::Left, false, true),
      m_LabelFormat(2, 7)
{
    SetGeomFilter(false);
    AddInput("Input Module", 63);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

bool VoBoundingBox::CompatibleImpl(int, const VoModule& source, int output, bool) const
{
    return output >= 0 && source.GetOutput(static_cast<size_t>(output)) != nullptr;
}

bool VoBoundingBox::GetBox(const VgRenderer* renderer, shr::Box3d& box, shr::Mat4d& matrix) const
{
    return GetInputBounds(GetInputData(0), renderer, box, matrix);
}

std::pair<shr::GString, shr::GString> VoBoundingBox::FormatLabels(const shr::Box3d& box) const
{
    return {m_LabelFormat.Format(box.min, true), m_LabelFormat.Format(box.max, true)};
}

VoModule::ModuleStatus VoBoundingBox::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    VgStateScope scope(*renderer, OutputGeometry(0));
    shr::Box3d box;
    shr::Mat4d matrix;
    if (!GetBox(renderer.get(), box, matrix))
        return ModuleOk;
    renderer->setLineWidth(m_LineWidth);
    renderer->setBaseColor(m_Color);
    VgVertexData edges;
    edges.vertices.resize(8);
    box.GetCorners(edges.vertices.data());
    matrix.Transform(edges.vertices.data(), edges.vertices.data(), 8);
    edges.indices.assign(std::begin(kEdgeIndices), std::end(kEdgeIndices));
    renderer->drawIndexedLineSet(edges);
    if (m_ShowLabels) {
        const auto [low, high] = FormatLabels(box);
        renderer->setFont(m_Text.m_Face.c_str(), m_Text.m_Height);
        renderer->setBaseColor(m_Text.m_Color);
        const bool transformed = matrix.GetType() != shr::Mat4d::Identity;
        renderer->drawText2(transformed ? box.min * matrix : box.min, low.c_str(), VgRenderer::CENTER, true);
        renderer->drawText2(transformed ? box.max * matrix : box.max, high.c_str(), VgRenderer::CENTER, true);
    }
    return ModuleOk;
}

// ---- properties ----------------------------------------------------------------------------

void VoBoundingBox::UpdatePropertiesImpl(VbPropList& list)
{
    const VoModule* source = GetInputConnection(0, 0);
    shr::Box3d box;
    shr::Mat4d matrix;
    const bool known = GetBox(nullptr, box, matrix);
    const auto corner = [known](const shr::Vec3d& p) {
        return known ? shr::ToString("(%.10g, %.10g, %.10g)", p.x, p.y, p.z) : shr::GString("Not available");
    };
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input", "The input this module is connected to.",
                   source ? source->Name().c_str() : "Nothing");
    list.AddStatic(Id(), IdLowerLeft, "Lower left", "The lowest corner of the box.", corner(box.min).c_str());
    list.AddStatic(Id(), IdUpperRight, "Upper right", "The highest corner of the box.", corner(box.max).c_str());
    list.Outdent();

    list.AddHeader(Id(), IdRendering, "Rendering", "Rendering", "", "");
    list.Indent();
    list.AddColor(Id(), "BoundingBoxColor", IdColor, "Color", "The color of the box's edges.", m_Color);
    list.AddDouble(Id(), "BoundingBoxLineWidth", IdLineWidth, "Line width", "In pixels.", m_LineWidth,
                   ValCheckMinMax, 0.0, kMaxLineWidth, 1.0);
    list.Outdent();

    list.AddHeader(Id(), IdLabels, "Labels", "Labels", "", "The coordinates of the lowest and highest corners.");
    list.Indent();
    list.AddCheck(Id(), "BoundingBoxShowLabels", IdShowLabels, "Show labels", "Label the two corners.",
                  m_ShowLabels);
    list.AddFont(Id(), "BoundingBoxFont", IdFont, "Font", "", m_Text.m_Face);
    list.AddDouble(Id(), "BoundingBoxLabelSize", IdLabelSize, "Label size", "In points.", m_Text.m_Height,
                   ValCheckMinMax, 1.0, kMaxLabelSize, 1.0);
    list.AddColor(Id(), "BoundingBoxLabelColor", IdLabelColor, "Label color", "", m_Text.m_Color);
    m_LabelFormat.GetProperties(Id(), list, "BoundingBox", IdLabelFormat);
    list.Outdent();
    EnableLabelRows(list);
}

void VoBoundingBox::EnableLabelRows(VbPropList& list) const
{
    for (const int id : {IdFont, IdLabelSize, IdLabelColor})
        list.Enabled(id, m_ShowLabels);
    m_LabelFormat.EnableProperties(list, IdLabelFormat, m_ShowLabels);
}

void VoBoundingBox::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdColor: list.GetValue(id, m_Color); break;
    case IdLineWidth: RowReader::Clamped(list, id, 0.0, kMaxLineWidth, m_LineWidth); break;
    case IdShowLabels:
        list.GetValue(id, m_ShowLabels);
        EnableLabelRows(list);
        break;
    case IdFont: RowReader::Face(list, id, m_Text.m_Face); break;
    case IdLabelSize: RowReader::Clamped(list, id, 1.0, kMaxLabelSize, m_Text.m_Height); break;
    case IdLabelColor: list.GetValue(id, m_Text.m_Color); break;
    default:
        if (id <= IdLabelFormat || id > IdLabelFormat + 4)
            return;
        m_LabelFormat.PropertyEvent(Id(), list, event, IdLabelFormat);
    }
    SetModified();
}

void VoBoundingBox::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    shr::Color4b color = m_Color;
    float width = m_LineWidth;
    bool labels = m_ShowLabels;
    TextFormat text = m_Text;
    VbLabelFormat format = m_LabelFormat;
    archive.Transfer(color);
    archive.Transfer(width);
    archive.Transfer(labels);
    text.Serialize(archive);
    format.Serialize(archive);
    if (archive.IsStoring())
        return;
    archive.CheckRange(width, 0.0f, float(kMaxLineWidth), "the bounding box's line width");
    archive.CheckRange(text.m_Height, 1.0, kMaxLabelSize, "the bounding box's label size");
    m_Color = color;
    m_LineWidth = width;
    m_ShowLabels = labels;
    m_Text = text;
    m_LabelFormat = format;
}

} // namespace core
