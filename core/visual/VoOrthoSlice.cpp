#include "core/visual/VoOrthoSlice.h"

#include "core/data/TextureUtility.h"
#include "core/data/VdGeometry.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorMapPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbIntPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <array>
#include <limits>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoOrthoSlice, VoSliceModule)
const VbModuleInfo VoOrthoSlice::s_ModuleInfo("Graphics Output\\OrthoImage", VoOrthoSlice::GetClassTypeId(),
                                              PortUniformLattice, PortGeometry,
                                              "Displays an orthogonal slice through a lattice", 24);

namespace VoOrthoSlicePrivate {

const unsigned char kBool = VbBoolPropertyConverter::Key();
const unsigned char kDouble = VbDoublePropertyConverter::Key();
const unsigned char kInt = VbIntPropertyConverter::Key();
const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"OrthoSliceComponent", VoOrthoSlice::IdComponent, kUnsigned},
    {"OrthoSliceOrientation", VoOrthoSlice::IdOrientation, kUnsigned},
    {"OrthoSliceSlice", VoOrthoSlice::IdSlice, kInt},
    {"OrthoSliceLighting", VoOrthoSlice::IdLighting, kBool},
    {"OrthoSliceQuality", VoOrthoSlice::IdQuality, kDouble},
    {"OrthoSliceOpacity", VoOrthoSlice::IdOpacity, kDouble},
    {"OrthoSliceMapping", VoOrthoSlice::IdMapping + SliceMapping::RowMethod, kUnsigned},
    {"OrthoSliceMapWidth", VoOrthoSlice::IdMapping + SliceMapping::RowWidth, kDouble},
    {"OrthoSliceMapCenter", VoOrthoSlice::IdMapping + SliceMapping::RowCentre, kDouble},
    {"OrthoSliceColormap", VoOrthoSlice::IdMapping + SliceMapping::RowColorMap, VbColorMapPropertyConverter::Key()},
};
const VbLegend::KeyRegistrar s_LegendKeys("OrthoSlice", VoOrthoSlice::IdLegend);

const char* const kPrefix = "OrthoSlice";

// The lattice axis across each orientation's slices, and the two axes of the
// texture (columns, rows).
const int kSliceAxis[3] = {2, 1, 0};
const int kTextureAxes[3][2] = {{0, 1}, {0, 2}, {1, 2}};

// A connected lattice of another kind is the user's to fix: the message goes
// out and the module stays usable.
void ReportTypeMismatch()
{
    try {
        CORE_THROW(5, "OrthoImage", "uniform lattice");
    } catch (const shr::Exception& error) {
        UiProxy::Instance()->ErrorMsg(error);
    }
}

} // namespace VoOrthoSlicePrivate

using namespace VoOrthoSlicePrivate;

VoOrthoSlice::VoOrthoSlice()
{
    AddInput("Input Lattice", PortUniformLattice);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

const VdUniformLattice* VoOrthoSlice::InputUniform() const
{
    return dynamic_cast<const VdUniformLattice*>(InputLattice(0));
}

unsigned int VoOrthoSlice::GetSliceCount(const VdUniformLattice* lattice, unsigned int orientation)
{
    if (!lattice || orientation > OrientYZ)
        return 0;
    return lattice->GetDims()[kSliceAxis[orientation]];
}

void VoOrthoSlice::OnInputChanged(int, bool)
{
    UpdateMappingData();
}

void VoOrthoSlice::UpdatePropertiesImpl(VbPropList& list)
{
    const VdUniformLattice* lattice = InputUniform();
    AddInputRows(list);
    if (lattice)
        AddComponentRow(list, "OrthoSliceComponent", IdComponent, "The component of the input data to display.");
    list.AddCombo(Id(), "OrthoSliceOrientation", IdOrientation, "Orientation", "The plane containing the orthoslice.",
                  m_Orientation, "XY plane (axial)", "XZ plane (coronal)", "YZ plane (sagittal)", nullptr);
    list.AddInt(Id(), "OrthoSliceSlice", IdSlice, "Slice number", "The 1-based index of the slice to draw.", 1,
                ValCheckMinMax, 1, 1, 1);
    ShowSlice(list);
    list.Outdent();

    list.AddHeader(Id(), IdRendering, "Rendering", "General", "", "");
    list.Indent();
    list.AddCheck(Id(), "OrthoSliceLighting", IdLighting, "Lighting",
                  "Modulate the image colors according to the current lighting.", m_Lighting);
    list.AddDouble(Id(), "OrthoSliceQuality", IdQuality, "Quality",
                   "A value from 0.0 to 1.0 that determines the image quality.", m_Quality, ValCheckMinMax, 0.0, 1.0,
                   0.1);
    list.AddDouble(Id(), "OrthoSliceOpacity", IdOpacity, "Opacity", "The opacity of the image.", m_Opacity,
                   ValCheckMinMax, 0.0, 1.0, 0.1);
    AddMappingRows(list, lattice, kPrefix, IdMapping, IdLegend);
}

// The slice row counts from 1 and shows the slice that will be drawn.
void VoOrthoSlice::ShowSlice(VbPropList& list) const
{
    ShowSliceRow(list, IdSlice, m_Slice, GetSliceCount(InputUniform(), m_Orientation));
}

void VoOrthoSlice::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdComponent:
        ReadInputComponent(list, id);
        break;
    case IdOrientation:
        list.GetValue(id, m_Orientation);
        ShowSlice(list);
        break;
    case IdSlice:
        ReadSliceRow(list, id, m_Slice);
        break;
    case IdLighting:
        list.GetValue(id, m_Lighting);
        break;
    case IdQuality:
        list.GetValue(id, m_Quality);
        break;
    case IdOpacity:
        list.GetValue(id, m_Opacity);
        break;
    default:
        if (!MappingEvent(list, event, IdMapping, IdLegend))
            return;
    }
    SetModified();
}

void VoOrthoSlice::CollectSlice(const VdUniformLattice& lattice, unsigned int orientation, unsigned int slice,
                                unsigned int component, const ColorInterpolator& interp, int& width, int& height,
                                std::vector<shr::Color4b>& pixels)
{
    if (orientation > OrientYZ)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid texture parameter.");
    const unsigned int* dims = lattice.GetDims();
    width = static_cast<int>(dims[kTextureAxes[orientation][0]]);
    height = static_cast<int>(dims[kTextureAxes[orientation][1]]);
    switch (orientation) {
    case OrientXY:
        CollectTextureXY(lattice, slice, component, interp, pixels);
        break;
    case OrientXZ:
        CollectTextureXZ(lattice, slice, component, interp, pixels);
        break;
    default:
        CollectTextureYZ(lattice, slice, component, interp, pixels);
        break;
    }
}

void VoOrthoSlice::Quad(const VdUniformLattice& lattice, unsigned int slice, VgVertexData& quad) const
{
    const shr::Box3d box = lattice.GetUVWBounds();
    const int axis = kSliceAxis[m_Orientation];
    const int a = kTextureAxes[m_Orientation][0], b = kTextureAxes[m_Orientation][1];
    const unsigned int n = lattice.GetDims()[axis];
    const double level = n <= 1 ? box.min[axis] : box.min[axis] + (box.max[axis] - box.min[axis]) * slice / (n - 1);
    const std::array<std::pair<bool, bool>, 4> corners = {{{false, false}, {true, false}, {true, true}, {false, true}}};
    for (const auto& corner : corners) {
        shr::Vec3d v;
        v[axis] = level;
        v[a] = corner.first ? box.max[a] : box.min[a];
        v[b] = corner.second ? box.max[b] : box.min[b];
        quad.vertices.push_back(lattice.UVWToXYZ(v));
        quad.texCoords.emplace_back(corner.first ? 1.0f : 0.0f, corner.second ? 1.0f : 0.0f);
    }
}

VoModule::ModuleStatus VoOrthoSlice::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    renderer->PushNode(OutputGeometry(0), true);
    const VdUniformLattice* lattice = InputUniform();
    if (!lattice) {
        if (InputLattice(0))
            ReportTypeMismatch();
        renderer->popState();
        return ModuleOk;
    }
    if (m_Orientation > OrientYZ)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid texture parameter.");
    const unsigned int count = GetSliceCount(lattice, m_Orientation);
    if (count == 0) {
        renderer->popState();
        return ModuleOk;
    }
    m_Slice = static_cast<int>(EffectiveSlice(m_Slice, count));
    UpdateMappingData();

    const std::unique_ptr<ColorInterpolator> interp = m_Mapping.MakeInterpolator(m_ColorMap);
    int width = 0, height = 0;
    std::vector<shr::Color4b> pixels;
    CollectSlice(*lattice, m_Orientation, static_cast<unsigned int>(m_Slice), InputComponentSafe(), *interp, width,
                 height, pixels);
    if (pixels.empty() || pixels.size() != static_cast<size_t>(width) * static_cast<size_t>(height)) {
        renderer->popState();
        return ModuleAborted;
    }
    VgVertexData quad;
    Quad(*lattice, static_cast<unsigned int>(m_Slice), quad);
    DrawTexturedPolygon(*renderer, m_Quality, width, height, pixels, quad);
    renderer->popState();
    return ModuleOk;
}

void VoOrthoSlice::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    // Loading goes into copies, taken over only once everything has been read.
    unsigned int component = m_InputComponent, orientation = m_Orientation;
    int slice = m_Slice;
    bool lighting = m_Lighting;
    double quality = m_Quality;
    StoredLook look(*this);
    archive.Transfer(component);
    archive.Transfer(orientation);
    archive.Transfer(slice);
    archive.Transfer(lighting);
    archive.Transfer(quality);
    look.Transfer(archive);
    if (archive.IsStoring())
        return;
    archive.CheckRange(orientation, unsigned(OrientXY), unsigned(OrientYZ), "the slice orientation");
    // The row shows the slice plus one: the largest int has no row.
    archive.CheckRange(slice, std::numeric_limits<int>::min(), std::numeric_limits<int>::max() - 1, "the slice");
    archive.CheckRange(quality, 0.0, 1.0, "the slice quality");
    archive.CheckRange(look.opacity, 0.0, 1.0, "the slice opacity");
    InputComponentSafe(component);
    m_Orientation = orientation;
    m_Slice = slice;
    m_Lighting = lighting;
    m_Quality = quality;
    look.Commit(*this);
}

} // namespace core
