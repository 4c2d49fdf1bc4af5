#include "core/visual/VoObliqueSlice.h"

#include "core/data/LatticeUtility.h"
#include "core/data/VdGeometry.h"
#include "core/data/VdLattice.h"
#include "core/graphics/PlanePolygon.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorMapPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoObliqueSlice, VoSliceModule)
const VbModuleInfo VoObliqueSlice::s_ModuleInfo("Graphics Output\\ObliqueImage", VoObliqueSlice::GetClassTypeId(),
                                                PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice,
                                                PortGeometry, "Displays an arbitrary slice through a lattice", 23);

namespace VoObliqueSlicePrivate {

const unsigned char kBool = VbBoolPropertyConverter::Key();
const unsigned char kDouble = VbDoublePropertyConverter::Key();
const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();
const int kMapping = VoObliqueSlice::IdMapping;

const VbPropertyRegistrar s_Registrars[] = {
    {"ObliqueSliceComponent", VoObliqueSlice::IdComponent, kUnsigned},
    {"ObliqueSliceResolution", VoObliqueSlice::IdResolution, kUnsigned},
    {"ObliqueSliceInterp", VoObliqueSlice::IdInterp, kBool},
    {"ObliqueSliceLighting", VoObliqueSlice::IdLighting, kBool},
    {"ObliqueSliceOpacity", VoObliqueSlice::IdOpacity, kDouble},
    {"ObliqueSliceMapping", kMapping + SliceMapping::RowMethod, kUnsigned},
    {"ObliqueSliceMapWidth", kMapping + SliceMapping::RowWidth, kDouble},
    {"ObliqueSliceMapCenter", kMapping + SliceMapping::RowCentre, kDouble},
    {"ObliqueSliceColormap", kMapping + SliceMapping::RowColorMap, VbColorMapPropertyConverter::Key()},
};
const VbCuttingPlane::KeyRegistrar s_PlaneKeys("ObliqueSlice", VoObliqueSlice::IdPlane);
const VbLegend::KeyRegistrar s_LegendKeys("ObliqueSlice", VoObliqueSlice::IdLegend);

const char* const kPrefix = "ObliqueSlice";
const int kTextureSizes[4] = {128, 256, 512, 1024};
// The shorter side of the texture never drops below this many texels.
const int kMinTextureSide = 64;

// A byte from an RGBA component: rounded, and held to the byte's range.
unsigned char ColorByte(double value)
{
    const double rounded = value + 0.5;
    if (!(rounded > 0.0))
        return 0;
    return rounded >= 255.0 ? 255 : static_cast<unsigned char>(rounded);
}

shr::Mat4d FrameMatrix(const shr::Vec3d& u, const shr::Vec3d& v, const shr::Vec3d& w)
{
    return shr::Mat4d(u.x, u.y, u.z, 0.0, v.x, v.y, v.z, 0.0, w.x, w.y, w.z, 0.0, 0.0, 0.0, 0.0, 1.0);
}

} // namespace VoObliqueSlicePrivate

using namespace VoObliqueSlicePrivate;

VoObliqueSlice::VoObliqueSlice()
{
    AddInput("Input Lattice", PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
    m_Plane.Initialize(this, IdPlane);
}

void VoObliqueSlice::OnInputChanged(int, bool)
{
    const VdLattice* lattice = InputLattice(0);
    if (!lattice || lattice->GetDimensionality() < 2)
        return;
    m_RGBA = IsRGBA(*lattice);
    m_Plane.UpdateDefaults(lattice->GetDims(), lattice->GetUVWBounds());
    UpdateMappingData();
}

void VoObliqueSlice::UpdatePropertiesImpl(VbPropList& list)
{
    const VdLattice* lattice = InputLattice(0);
    AddInputRows(list);
    AddComponentRow(list, "ObliqueSliceComponent", IdComponent, "The component of the input data to display.");
    m_Plane.GetProperties(list, kPrefix, IdPlane, lattice && lattice->GetDimensionality() < 3);
    list.Outdent();

    list.AddHeader(Id(), IdRendering, "Rendering", "General", "", "");
    list.Indent();
    list.AddCombo(Id(), "ObliqueSliceResolution", IdResolution, "Resolution",
                  "Specifies the sampling density within the cutting plane.", m_Resolution, "Coarse", "Medium", "Fine",
                  "Very fine", nullptr);
    list.AddCheck(Id(), "ObliqueSliceInterp", IdInterp, "Interpolate",
                  "Use trilinear interpolation to sample the lattice onto the cutting plane.", m_Interpolate);
    list.AddCheck(Id(), "ObliqueSliceLighting", IdLighting, "Lighting",
                  "Modulate the image colors according to the current lighting.", m_Lighting);
    list.AddDouble(Id(), "ObliqueSliceOpacity", IdOpacity, "Opacity", "The opacity of the image.", m_Opacity,
                   ValCheckMinMax, 0.0, 1.0, 0.1);
    list.Outdent();

    list.AddHeader(Id(), IdMappingHeader, "Mapping", "General", "", "");
    list.Indent();
    AddMappingRows(list, lattice, kPrefix, IdMapping, IdLegend);
}

void VoObliqueSlice::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdComponent:
        ReadInputComponent(list, id);
        break;
    case IdResolution:
        list.GetValue(id, m_Resolution);
        break;
    case IdInterp:
        list.GetValue(id, m_Interpolate);
        break;
    case IdLighting:
        list.GetValue(id, m_Lighting);
        break;
    case IdOpacity:
        list.GetValue(id, m_Opacity);
        break;
    default:
        if (!m_Plane.PropertyEvent(list, event, IdPlane) && !MappingEvent(list, event, IdMapping, IdLegend))
            return;
    }
    SetModified();
}

int VoObliqueSlice::TextureSize(unsigned int resolution)
{
    if (resolution > VeryFine)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 2);
    return kTextureSizes[resolution];
}

VoObliqueSlice::TexelGrid VoObliqueSlice::MakeTexelGrid(const std::vector<shr::Vec3d>& polygon,
                                                        const shr::Vec3d& normal, int size)
{
    TexelGrid grid;
    shr::Vec3d u, v, w;
    PlaneFrame(normal, u, v, w);
    // The polygon in the plane's frame: its rectangle there.
    shr::Box3d extent;
    for (const shr::Vec3d& p : polygon)
        extent.ExtendBy(shr::Vec3d(p.Dot(u), p.Dot(v), p.Dot(w)));
    const double across = extent.max.x - extent.min.x, up = extent.max.y - extent.min.y;
    if (extent.IsEmpty() || !(across > 0.0) || !(up > 0.0))
        return grid;
    const auto shorter = [size](double side, double longer) {
        return std::max(kMinTextureSide, static_cast<int>(std::lround(size * side / longer)));
    };
    grid.width = across >= up ? size : shorter(across, up);
    grid.height = across >= up ? shorter(up, across) : size;
    grid.toLattice = shr::Mat4d::MakeScale(across / grid.width, up / grid.height, 1.0) *
                     shr::Mat4d::MakeTranslation(extent.min) * FrameMatrix(u, v, w);
    grid.toTexels = grid.toLattice;
    grid.toTexels.Inverse();
    return grid;
}

void VoObliqueSlice::FollowInput(const VdLattice& lattice)
{
    if (m_Plane.BoundingBox() == lattice.GetUVWBounds() && m_Mapping.width >= 0.0)
        return;
    if (lattice.GetDimensionality() >= 2)
        m_Plane.UpdateDefaults(lattice.GetDims(), lattice.GetUVWBounds());
    m_RGBA = IsRGBA(lattice);
    UpdateMappingData();
    UiProxy::Instance()->UpdatePropertyList(this, -1, true);
}

shr::Color4b VoObliqueSlice::Sample(const VdLattice& lattice, const shr::Vec3d& uvw,
                                    const ColorInterpolator& interp) const
{
    const VdLattice::InterpMethod method =
        m_Interpolate ? VdLattice::INTERP_LINEAR_EXTEND : VdLattice::INTERP_NEAREST_EXTEND;
    const shr::Vec3d xyz = lattice.UVWToXYZ(uvw);
    if (m_RGBA) {
        double rgba[4];
        if (lattice.Interpolate(method, xyz, rgba, 0, 4) != 0)
            return m_ColorMap.PosToColor(0.0);
        return shr::Color4b(ColorByte(rgba[0]), ColorByte(rgba[1]), ColorByte(rgba[2]), ColorByte(rgba[3]));
    }
    const unsigned int component = InputComponentSafe();
    double value = 0.0;
    // No value here (a blank): the colour of the map's start, under either
    // mapping, rather than a hole.
    if (lattice.Interpolate(method, xyz, &value, component, component + 1) != 0)
        return m_ColorMap.PosToColor(0.0);
    return interp(value);
}

bool VoObliqueSlice::FillTexture(const VdLattice& lattice, const TexelGrid& grid,
                                 std::vector<shr::Color4b>& pixels) const
{
    const std::unique_ptr<ColorInterpolator> interp = m_Mapping.MakeInterpolator(m_ColorMap);
    pixels.assign(static_cast<size_t>(grid.width) * static_cast<size_t>(grid.height), shr::Color4b());
    VbProgress progress("Fill the oblique slice.", 0, 500, 100);
    for (int r = 0; r < grid.height; ++r) {
        if (!progress.Update(static_cast<double>(r) / grid.height))
            return false;
        for (int c = 0; c < grid.width; ++c) {
            const shr::Vec3d uvw = shr::Vec3d(c + 0.5, r + 0.5, 0.0) * grid.toLattice;
            pixels[static_cast<size_t>(r) * grid.width + c] = Sample(lattice, uvw, *interp);
        }
    }
    return true;
}

VoModule::ModuleStatus VoObliqueSlice::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    renderer->PushNode(OutputGeometry(0), true);
    const VdLattice* lattice = InputLattice(0);
    if (!lattice || lattice->ComponentCount() == 0) {
        renderer->popState();
        return ModuleOk;
    }
    FollowInput(*lattice);
    UpdateColorMapDataLimits(lattice);
    m_Plane.Execute(*renderer, *lattice);

    const std::vector<shr::Vec3d> polygon = m_Plane.SectionPolygon(*lattice);
    const TexelGrid grid =
        polygon.size() < 3 ? TexelGrid() : MakeTexelGrid(polygon, m_Plane.Normal(), TextureSize(m_Resolution));
    if (grid.width == 0) {
        renderer->popState();
        return ModuleOk;
    }
    std::vector<shr::Color4b> pixels;
    if (!FillTexture(*lattice, grid, pixels)) {
        renderer->popState();
        return ModuleAborted;
    }
    // The polygon, its corners placed on the texture through the grid.
    VgVertexData face;
    for (const shr::Vec3d& p : polygon) {
        const shr::Vec3d texel = p * grid.toTexels;
        face.texCoords.emplace_back(float(texel.x / grid.width), float(texel.y / grid.height));
        face.vertices.push_back(lattice->UVWToXYZ(p));
    }
    DrawTexturedPolygon(*renderer, m_Interpolate ? 0.6 : 0.1, grid.width, grid.height, pixels, face);
    renderer->popState();
    return ModuleOk;
}

void VoObliqueSlice::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    // Loading goes into copies, taken over only once everything has been read;
    // the cutting plane comes last and is all or nothing by itself.
    unsigned int component = m_InputComponent, resolution = m_Resolution;
    bool rgba = m_RGBA, interpolate = m_Interpolate, lighting = m_Lighting;
    StoredLook look(*this);
    archive.Transfer(component);
    archive.Transfer(resolution);
    archive.Transfer(rgba);
    archive.Transfer(interpolate);
    archive.Transfer(lighting);
    look.Transfer(archive);
    archive.CheckRange(resolution, unsigned(Coarse), unsigned(VeryFine), "the slice resolution");
    archive.CheckRange(look.opacity, 0.0, 1.0, "the slice opacity");
    m_Plane.Serialize(archive);
    if (archive.IsStoring())
        return;
    InputComponentSafe(component);
    m_Resolution = resolution;
    m_RGBA = rgba;
    m_Interpolate = interpolate;
    m_Lighting = lighting;
    look.Commit(*this);
}

} // namespace core
