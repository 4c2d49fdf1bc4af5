#include "core/visual/VoHeightField.h"

#include "core/data/LatticeUtility.h"
#include "core/data/TextureUtility.h"
#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdGeometry.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/ColorInterpolator.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/CoreError.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorMapPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbIntPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/visual/RowReader.h"
#include "core/visual/VoIsoSurfacePrivate.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <algorithm>
#include <cfloat>
#include <limits>
#include <cmath>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoHeightField, VoLatticeModule)
const VbModuleInfo VoHeightField::s_ModuleInfo(
    "Graphics Output\\HeightField", VoHeightField::GetClassTypeId(),
    PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice, PortGeometry,
    "Displaces the \"height\" of a lattice slice according to a scalar component", 21);

namespace VoHeightFieldPrivate {

const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();
const unsigned char kDouble = VbDoublePropertyConverter::Key();
const unsigned char kBool = VbBoolPropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"HeightFieldComponent", VoHeightField::IdComponent, kUnsigned},
    {"HeightFieldOrientation", VoHeightField::IdOrientation, kUnsigned},
    {"HeightFieldSlice", VoHeightField::IdSlice, VbIntPropertyConverter::Key()},
    {"HeightFieldScale", VoHeightField::IdScale, kDouble},
    {"HeightFieldDrawStyle", VoHeightField::IdDrawStyle, kUnsigned},
    {"HeightFieldOpacity", VoHeightField::IdOpacity, kDouble},
    {"HeightFieldColormap", VoHeightField::IdColormap, VbColorMapPropertyConverter::Key()},
    {"HeightFieldOverlayShow", VoHeightField::IdOverlayShow, kBool},
    {"HeightFieldOverlayFit", VoHeightField::IdOverlayFit, kUnsigned},
    {"HeightFieldOverlayModulation", VoHeightField::IdOverlayModulation, kUnsigned},
    {"HeightFieldOverlayQuality", VoHeightField::IdOverlayQuality, kDouble},
};
const VbLegend::KeyRegistrar s_LegendKeys("HeightField", VoHeightField::IdLegend);

// The overlay port and its settings came with this version.
constexpr int kOverlayVersion = 113;

// The lattice axes of each orientation: along a mesh row (the columns),
// from row to row, and the slice's normal axis.
struct PlaneAxes {
    int along, across, normal;
};
constexpr PlaneAxes kAxes[3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}};

const char* const kOrientationNames[] = {"XY plane (axial)", "XZ plane (coronal)", "YZ plane (sagittal)"};

// An alpha byte times the opacity, truncated; a product outside the byte
// (an opacity beyond 0..1 from a document) is held to it.
unsigned char ScaledAlpha(unsigned char alpha, double opacity)
{
    const double scaled = alpha * opacity;
    if (!(scaled > 0.0))
        return 0;
    return scaled < 255.0 ? static_cast<unsigned char>(scaled) : 255;
}

// The colour of an RGBA node; black when a component is blank, as in textures.
shr::Color4b NodeColor(const VdLattice& lattice, uint32_t node)
{
    unsigned char bytes[4];
    for (unsigned int c = 0; c < 4; ++c) {
        if (lattice.IsBlank(node, c))
            return shr::Color4b::Black;
        bytes[c] = static_cast<unsigned char>(NodeValue(lattice, node, c));
    }
    return shr::Color4b(bytes[0], bytes[1], bytes[2], bytes[3]);
}

// Calls add(vertex, n) with the unit normal n of each cell of a mesh of
// `rows` x `columns` points, for each of the cell's four corners: the cross
// product of the step to the next row with the step to the next column.
template <class Add>
bool ForEachCellNormal(const std::vector<shr::Vec3d>& v, int rows, int columns, VbProgress* progress, const Add& add)
{
    const auto width = static_cast<size_t>(columns);
    for (int i = 0; i + 1 < rows; ++i) {
        if (progress && !progress->Update(static_cast<size_t>(i), static_cast<size_t>(rows)))
            return false;
        for (size_t a = size_t(i) * width, end = a + width - 1; a < end; ++a) {
            const shr::Vec3d n = (v[a + width] - v[a]).Cross(v[a + 1] - v[a]).Normalized();
            add(a, n);
            add(a + 1, n);
            add(a + width, n);
            add(a + width + 1, n);
        }
    }
    return true;
}

// Texture coordinates that spread an image over a whole mesh, row by row.
std::vector<float> StretchCoordinates(unsigned int rows, unsigned int columns)
{
    std::vector<float> coords;
    coords.reserve(2 * size_t(rows) * columns);
    for (unsigned int r = 0; r < rows; ++r)
        for (unsigned int c = 0; c < columns; ++c) {
            coords.push_back(columns > 1 ? static_cast<float>(double(c) / (columns - 1)) : 0.0f);
            coords.push_back(rows > 1 ? static_cast<float>(double(r) / (rows - 1)) : 0.0f);
        }
    return coords;
}

} // namespace VoHeightFieldPrivate

using namespace VoHeightFieldPrivate;

VoHeightField::VoHeightField()
{
    AddInput("Input Lattice", PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddInput("Input Overlay", PortUniformLattice);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

const VdUniformLattice* VoHeightField::InputOverlay() const
{
    return static_cast<const VdUniformLattice*>(GetInputData(1, VdUniformLattice::GetClassTypeId()));
}

bool VoHeightField::CompatibleImpl(int input, const VoModule& source, int output, bool useData) const
{
    const VbPort* port = output >= 0 ? source.GetOutput(static_cast<size_t>(output)) : nullptr;
    if (!port)
        return false;
    const auto* image = dynamic_cast<const VdUniformLattice*>(port->Data());
    return input != 1 || !useData || !image || (image->GetDims()[2] == 1 && IsRGBA(*image));
}

unsigned int VoHeightField::GetSliceCount(const VdLattice* lattice, unsigned int orientation)
{
    if (!lattice || orientation > OrientYZ)
        return 0;
    return lattice->GetDims()[kAxes[orientation].normal];
}

// ---- input -------------------------------------------------------------------------------

void VoHeightField::OnInputChanged(int input, bool)
{
    if (input == 1) {
        const VdUniformLattice* overlay = InputOverlay();
        if (overlay && (overlay->GetDims()[2] != 1 || !IsRGBA(*overlay)))
            CORE_THROW(5, "HeightField", "2D RGBA image (Z dimension must be 1)");
        return;
    }
    if (const VdLattice* lattice = InputLattice(0))
        FollowInput(*lattice);
}

void VoHeightField::FollowInput(const VdLattice& lattice)
{
    if (lattice.GetDimensionality() == 2)
        for (uint32_t orientation = OrientXY; orientation <= OrientYZ; ++orientation)
            if (lattice.GetDims()[kAxes[orientation].normal] < 2)
                m_Orientation = orientation;
    UpdateColorMapProperties(nullptr);
}

void VoHeightField::UpdateColorMapProperties(VbPropList* list)
{
    const VdLattice* lattice = InputLattice(0);
    if (!lattice || lattice->ComponentCount() == 0)
        return;
    UpdateColorMapDataLimits(lattice);
    if (list)
        list->SetHistogram(IdColormap, lattice->DataHistogram(InputComponentSafe()));
}

// ---- the surface -------------------------------------------------------------------------

bool VoHeightField::ComputeXY(const VdLattice& lattice, bool useData, double scale, Surface surface,
                              const std::vector<shr::Vec3d>* normals)
{
    return ComputePlane(lattice, OrientXY, useData, scale, surface, normals);
}

bool VoHeightField::ComputeXZ(const VdLattice& lattice, bool useData, double scale, Surface surface,
                              const std::vector<shr::Vec3d>* normals)
{
    return ComputePlane(lattice, OrientXZ, useData, scale, surface, normals);
}

bool VoHeightField::ComputeYZ(const VdLattice& lattice, bool useData, double scale, Surface surface,
                              const std::vector<shr::Vec3d>* normals)
{
    return ComputePlane(lattice, OrientYZ, useData, scale, surface, normals);
}

bool VoHeightField::ComputePlane(const VdLattice& lattice, uint32_t orientation, bool useData, double scale,
                                 Surface surface, const std::vector<shr::Vec3d>* normals)
{
    const PlaneAxes& axes = kAxes[orientation];
    const unsigned int* dims = lattice.GetDims();
    const unsigned int rows = dims[axes.across], columns = dims[axes.along];
    const unsigned int component = InputComponentSafe();
    const std::pair<double, double> limits =
        useData ? lattice.DataMinMax(component) : std::make_pair(0.0, 1.0);
    const double low = limits.first;
    const double base = lattice.GetUVWBounds().Diagonal() * 0.5;
    // Equal limits would divide by zero: the surface stays flat, as it does
    // for a scale of 0.
    const double factor = limits.second > limits.first ? base * scale / (limits.second - limits.first) : 0.0;
    const VoIsoSurfacePrivate::NodePositions positions(lattice, false);
    VbProgress progress("Compute the height field.", 0, 500, 500);
    unsigned int ijk[3] = {0, 0, 0};
    ijk[axes.normal] = static_cast<unsigned int>(m_Slice);
    for (unsigned int r = 0; r < rows; ++r) {
        if (!progress.Update(r, rows))
            return false;
        ijk[axes.across] = r;
        for (unsigned int c = 0; c < columns; ++c) {
            ijk[axes.along] = c;
            const uint32_t node = lattice.Index(ijk[0], ijk[1], ijk[2]);
            double value;
            shr::Color4b color;
            if (useData) {
                value = lattice.IsBlank(node, component) ? low : NodeValue(lattice, node, component);
                color = m_ColorMap.PosToColor(m_ColorMap.DatToPos(value));
            } else {
                color = NodeColor(lattice, node);
                value = color.Intensity() / 255.0;
            }
            shr::Vec3d p = positions(ijk[0], ijk[1], ijk[2]);
            const double lift = factor == 0.0 ? 0.0 : (value - low) * factor;
            if (normals)
                p += (*normals)[size_t(r) * columns + c] * lift;
            else
                p[axes.normal] += lift;
            color.a = ScaledAlpha(color.a, m_Opacity);
            surface.vertices->push_back(lattice.UVWToXYZ(p));
            surface.colors->push_back(color);
        }
    }
    return true;
}

void VoHeightField::ComputeCLNormals(const VdLattice& lattice, std::vector<shr::Vec3d>& normals) const
{
    const PlaneAxes& axes = kAxes[m_Orientation];
    const unsigned int* dims = lattice.GetDims();
    const unsigned int rows = dims[axes.across], columns = dims[axes.along];
    const VoIsoSurfacePrivate::NodePositions positions(lattice, false);
    std::vector<shr::Vec3d> sheet;
    sheet.reserve(size_t(rows) * columns);
    unsigned int ijk[3] = {0, 0, 0};
    ijk[axes.normal] = static_cast<unsigned int>(m_Slice);
    for (ijk[axes.across] = 0; ijk[axes.across] < rows; ++ijk[axes.across])
        for (ijk[axes.along] = 0; ijk[axes.along] < columns; ++ijk[axes.along])
            sheet.push_back(positions(ijk[0], ijk[1], ijk[2]));
    normals.assign(sheet.size(), shr::Vec3d(0.0, 0.0, 0.0));
    ForEachCellNormal(sheet, static_cast<int>(rows), static_cast<int>(columns), nullptr,
                      [&normals](size_t k, const shr::Vec3d& n) { normals[k] += n; });
    for (shr::Vec3d& n : normals) {
        n.Normalize();
        if (n[axes.normal] < 0.0)
            n = -n;
    }
}

bool VoHeightField::ComputeSurfaceNormals(VgVertexData& data, int rows, int columns)
{
    data.normals.assign(data.vertices.size(), SbVec3f(0.0f, 0.0f, 0.0f));
    VbProgress progress("Compute the height field.", 0, 500, 500);
    const bool done = ForEachCellNormal(data.vertices, rows, columns, &progress,
                                        [&data](size_t k, const shr::Vec3d& n) {
                                            data.normals[k] += SbVec3f(static_cast<float>(n.x),
                                                                       static_cast<float>(n.y),
                                                                       static_cast<float>(n.z));
                                        });
    if (!done)
        return false;
    for (SbVec3f& n : data.normals)
        if (n.length() > 0.0f)
            n.normalize();
    return true;
}

void VoHeightField::UpdateTexture(const VdUniformLattice& overlay, VgRenderer& renderer)
{
    const VdLattice* lattice = InputLattice(0);
    if (!lattice || overlay.GetDims()[2] != 1 || !IsRGBA(overlay))
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid input lattice.");
    const LinearColorInterpolator interp(0.0, 1.0);
    const VgRenderer::TexModel model = m_Modulation == OverlayOnly ? VgRenderer::DECAL : VgRenderer::MODULATE;
    renderer.setVertexOrdering(VgRenderer::COUNTERCLOCKWISE);
    renderer.setTextureQuality(m_OverlayQuality);
    const unsigned int* image = overlay.GetDims();
    const unsigned int* dims = lattice->GetDims();
    std::vector<shr::Color4b> pixels;
    // Clipping lays the image on the nodes of an XY layer by their positions;
    // the other planes have the image stretched over them.
    if (m_OverlayFit == ClipToSurface && m_Orientation == OrientXY) {
        std::vector<float> coords;
        CollectTextureClipped(overlay, *lattice, 0, static_cast<unsigned int>(m_Slice), 0, interp, pixels, coords);
        renderer.setTextureCoord(static_cast<int>(dims[0]), static_cast<int>(dims[1]), coords);
        renderer.setTexture(static_cast<int>(image[0] + 1), static_cast<int>(image[1] + 1), pixels.data(), model,
                            VgRenderer::TEX_CLAMP_TO_EDGE);
        return;
    }
    const PlaneAxes& axes = kAxes[m_Orientation];
    const unsigned int rows = dims[axes.across], columns = dims[axes.along];
    CollectTextureXY(overlay, 0, 0, interp, pixels);
    renderer.setTextureCoord(static_cast<int>(columns), static_cast<int>(rows), StretchCoordinates(rows, columns));
    renderer.setTexture(static_cast<int>(image[0]), static_cast<int>(image[1]), pixels.data(), model,
                        VgRenderer::TEX_CLAMP_TO_EDGE);
}

VoModule::ModuleStatus VoHeightField::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    const VgStateScope scope(*renderer, OutputGeometry(0));
    const VdLattice* lattice = InputLattice(0);
    if (!lattice || lattice->ComponentCount() == 0)
        return ModuleOk;
    FollowInput(*lattice);
    const unsigned int count = GetSliceCount(lattice, m_Orientation);
    if (count == 0)
        return ModuleOk;
    m_Slice = static_cast<int32_t>(EffectiveSlice(m_Slice, count));
    renderer->setVertexOrdering(VgRenderer::COUNTERCLOCKWISE);
    renderer->setDrawStyle(static_cast<VgRenderer::DrawStyle>(m_DrawStyle <= Points ? m_DrawStyle : Shaded));
    renderer->setPointSize(3.0);
    std::vector<shr::Vec3d> lifts;
    if (dynamic_cast<const VdCurvilinearLattice*>(lattice))
        ComputeCLNormals(*lattice, lifts);
    const PlaneAxes& axes = kAxes[m_Orientation];
    const int rows = static_cast<int>(lattice->GetDims()[axes.across]);
    const int columns = static_cast<int>(lattice->GetDims()[axes.along]);
    VgVertexData data;
    data.vertices.reserve(size_t(rows) * columns);
    data.colors.reserve(size_t(rows) * columns);
    const bool useData = !IsRGBA(*lattice);
    if (!(lattice->GetUVWBounds().Diagonal() * 0.5 > DBL_EPSILON))
        return ModuleOk;
    const Surface surface{&data.vertices, &data.colors};
    const std::vector<shr::Vec3d>* normals = lifts.empty() ? nullptr : &lifts;
    const bool computed = m_Orientation == OrientXY   ? ComputeXY(*lattice, useData, m_Scale, surface, normals)
                          : m_Orientation == OrientXZ ? ComputeXZ(*lattice, useData, m_Scale, surface, normals)
                                                      : ComputeYZ(*lattice, useData, m_Scale, surface, normals);
    if (!computed || !ComputeSurfaceNormals(data, rows, columns))
        return ModuleAborted;
    const VdUniformLattice* overlay = InputOverlay();
    if (overlay && m_ShowOverlay)
        UpdateTexture(*overlay, *renderer);
    data.normalBinding = VgVertexData::PER_VERTEX;
    data.materialBinding = VgVertexData::PER_VERTEX;
    renderer->drawQuadMesh(data, rows, columns);
    m_Legend.Execute(*renderer);
    return ModuleOk;
}

// ---- properties ----------------------------------------------------------------------------

void VoHeightField::UpdatePropertiesImpl(VbPropList& list)
{
    const VdLattice* lattice = InputLattice(0);
    AddInputRows(list);
    AddComponentRow(list, "HeightFieldComponent", IdComponent, "The component that gives the heights.");
    if (lattice && lattice->GetDimensionality() == 3)
        list.AddCombo(Id(), "HeightFieldOrientation", IdOrientation, "Orientation",
                      "The orientation of the plane containing the HeightField.", m_Orientation, 3,
                      const_cast<const char**>(kOrientationNames), 0);
    list.AddInt(Id(), "HeightFieldSlice", IdSlice, "Slice number", "The 1-based index of the slice to draw.", 1,
                ValCheckMinMax, 1, 1, 1);
    ShowSlice(list);
    list.AddDouble(Id(), "HeightFieldScale", IdScale, "Scale", "Scale factor when computing the heights (0.0 = no height).",
                   m_Scale, ValCheckMinMax, -1.0, 1.0, 0.05);
    list.Outdent();

    list.AddHeader(Id(), IdRendering, "Rendering", "General", "", "");
    list.Indent();
    list.AddCombo(Id(), "HeightFieldDrawStyle", IdDrawStyle, "Draw style", "", m_DrawStyle, "Shaded", "Lines",
                  "Points", nullptr);
    list.AddDouble(Id(), "HeightFieldOpacity", IdOpacity, "Opacity", "", m_Opacity, ValCheckMinMax, 0.0, 1.0, 0.1);
    list.AddColorMap(Id(), "HeightFieldColormap", IdColormap, "Colormap", "Maps scalar values to color.", m_ColorMap,
                     nullptr, false);
    UpdateColorMapProperties(&list);
    list.Outdent();

    list.AddHeader(Id(), IdOverlay, "Overlay", "General", "", "");
    list.Indent();
    list.AddCheck(Id(), "HeightFieldOverlayShow", IdOverlayShow, "Show overlay", "Show the overlay.", m_ShowOverlay);
    list.AddCombo(Id(), "HeightFieldOverlayFit", IdOverlayFit, "Fit", "How to fit the overlay to the surface.",
                  m_OverlayFit, "Stretch over surface", "Clip to surface", nullptr);
    list.AddCombo(Id(), "HeightFieldOverlayModulation", IdOverlayModulation, "Color modulation",
                  "How to combine the surface and overlay colors.", m_Modulation, "Blend surface and overlay colors",
                  "Overlay colors only", nullptr);
    list.AddDouble(Id(), "HeightFieldOverlayQuality", IdOverlayQuality, "Quality",
                   "A value from 0.0 to 1.0 that determines the image quality.", m_OverlayQuality, ValCheckMinMax, 0.0,
                   1.0, 0.1);
    for (const int id : {IdOverlayShow, IdOverlayFit, IdOverlayModulation, IdOverlayQuality})
        list.Enabled(id, InputOverlay() != nullptr);
    list.Outdent();

    m_Legend.GetProperties(Id(), list, "HeightField", IdLegend, "Legend", "Legend");
}

void VoHeightField::ShowSlice(VbPropList& list) const
{
    ShowSliceRow(list, IdSlice, m_Slice, GetSliceCount(InputLattice(0), m_Orientation));
}

void VoHeightField::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdComponent:
        ReadInputComponent(list, id);
        UpdateColorMapProperties(&list);
        break;
    case IdOrientation:
        if (!RowReader::Choice(list, id, OrientYZ + 1, m_Orientation))
            return;
        ShowSlice(list);
        break;
    case IdSlice: ReadSliceRow(list, id, m_Slice); break;
    case IdScale: RowReader::Clamped(list, id, -1.0, 1.0, m_Scale); break;
    case IdDrawStyle:
        if (!RowReader::Choice(list, id, Points + 1, m_DrawStyle))
            return;
        break;
    case IdOpacity: RowReader::Clamped(list, id, 0.0, 1.0, m_Opacity); break;
    case IdColormap:
        list.GetValue(id, m_ColorMap);
        UpdateColorMapDataLimits(InputLattice(0));
        break;
    case IdOverlayShow: list.GetValue(id, m_ShowOverlay); break;
    case IdOverlayFit:
        if (!RowReader::Choice(list, id, ClipToSurface + 1, m_OverlayFit))
            return;
        break;
    case IdOverlayModulation:
        if (!RowReader::Choice(list, id, OverlayOnly + 1, m_Modulation))
            return;
        break;
    case IdOverlayQuality: RowReader::Clamped(list, id, 0.0, 1.0, m_OverlayQuality); break;
    default:
        if (!LegendEvent(list, event, IdLegend))
            return;
        break;
    }
    SetModified();
}

// ---- persistence ---------------------------------------------------------------------------

void VoHeightField::Serialize(shr::Archive& archive)
{
    if (archive.IsLoading() && archive.GetVersion() < kOverlayVersion) {
        VbPort* overlay = DetachLastInput();
        try {
            VoModule::Serialize(archive);
        } catch (...) {
            ReattachInput(overlay);
            throw;
        }
        ReattachInput(overlay);
    } else {
        VoModule::Serialize(archive);
    }
    archive.SyncCheck();
    unsigned int component = m_InputComponent;
    uint32_t drawStyle = m_DrawStyle, orientation = m_Orientation, fit = m_OverlayFit, modulation = m_Modulation;
    int32_t slice = m_Slice;
    double opacity = m_Opacity, scale = m_Scale, quality = m_OverlayQuality;
    bool showOverlay = m_ShowOverlay;
    VbColorMap colorMap = m_ColorMap;
    VbLegend legend = m_Legend;
    archive.Transfer(component);
    archive.Transfer(drawStyle);
    archive.Transfer(orientation);
    archive.Transfer(slice);
    archive.Transfer(opacity);
    archive.Transfer(scale);
    if (archive.IsStoring() || archive.GetVersion() >= kOverlayVersion) {
        archive.Transfer(showOverlay);
        archive.Transfer(fit);
        archive.Transfer(modulation);
        archive.Transfer(quality);
    }
    colorMap.Serialize(archive);
    legend.Serialize(archive);
    if (archive.IsStoring())
        return;
    if (drawStyle > Points || orientation > OrientYZ || fit > ClipToSurface || modulation > OverlayOnly)
        archive.ThrowFormatError("height field draw style %u, orientation %u, fit %u or modulation %u out of range",
                                 drawStyle, orientation, fit, modulation);
    // The row shows the slice plus one: the largest int has no row.
    archive.CheckRange(slice, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max() - 1,
                       "the height field's slice");
    archive.CheckRange(scale, -1.0, 1.0, "the height field's scale");
    archive.CheckRange(opacity, 0.0, 1.0, "the height field's opacity");
    archive.CheckRange(quality, 0.0, 1.0, "the height field's overlay quality");
    InputComponentSafe(component);
    m_DrawStyle = drawStyle;
    m_Orientation = orientation;
    m_Slice = slice;
    m_Opacity = opacity;
    m_Scale = scale;
    m_ShowOverlay = showOverlay;
    m_OverlayFit = fit;
    m_Modulation = modulation;
    m_OverlayQuality = quality;
    TakeColorMapAndLegend(colorMap, legend);
}

} // namespace core
