#include "core/visual/VoIsoSurface.h"

#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdGeometry.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorMapPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/graphics/VgRenderer.h"
#include "core/visual/VoIsoSurfacePrivate.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoIsoSurface, VoLatticeModule)
const VbModuleInfo VoIsoSurface::s_ModuleInfo("Graphics Output\\Isosurface", VoIsoSurface::GetClassTypeId(),
                                              PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice,
                                              PortGeometry,
                                              "Computes an isosurface through a 3D lattice and outputs the geometry", 22);

namespace VoIsoSurfacePrivate {

const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();
const unsigned char kDouble = VbDoublePropertyConverter::Key();
const unsigned char kBool = VbBoolPropertyConverter::Key();
const unsigned char kColor = VbColorPropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"IsoSurfaceComponent", VoIsoSurface::IdComponent, kUnsigned},
    {"IsoSurfaceIsovalue", VoIsoSurface::IdIsovalue, kDouble},
    {"IsoSurfaceComputeVolume", VoIsoSurface::IdComputeVolume, kBool},
    {"IsoSurfaceVolume", VoIsoSurface::IdVolume, VbStringPropertyConverter::Key()},
    {"IsoSurfaceInverseVolume", VoIsoSurface::IdInverseVolume, VbStringPropertyConverter::Key()},
    {"IsoSurfaceInvertVolume", VoIsoSurface::IdInvertVolume, kBool},
    {"IsoSurfaceDrawstyle", VoIsoSurface::IdDrawStyle, kUnsigned},
    {"IsoSurfaceFacestyle", VoIsoSurface::IdSide, kUnsigned},
    {"IsoSurfaceColorMethod", VoIsoSurface::IdColorMethod, kUnsigned},
    {"IsoSurfaceColor", VoIsoSurface::IdColor, kColor},
    {"IsoSurfaceColormap", VoIsoSurface::IdColormap, VbColorMapPropertyConverter::Key()},
    {"IsoSurfaceSpecularColor", VoIsoSurface::IdSpecularColor, kColor},
    {"IsoSurfaceSpecularIntensity", VoIsoSurface::IdSpecularIntensity, kDouble},
    {"IsoSurfaceShininess", VoIsoSurface::IdShininess, kDouble},
    {"IsoSurfaceOpacity", VoIsoSurface::IdOpacity, kDouble},
};
const VbLegend::KeyRegistrar s_LegendKeys("IsoSurface", VoIsoSurface::IdLegend);

// Documents before this version carry one byte after the opacity.
constexpr int kLegacyByteVersion = 115;
constexpr int kComputeVolumeVersion = 116;
constexpr int kInvertVolumeVersion = 120;

// The stored fields, read whole before any of them is taken over.
struct StoredFields {
    bool firstInput = true;
    int32_t triangles = 0;
    uint32_t component = 1;
    uint32_t drawStyle = 0, side = 0, colorMethod = 0;
    double isovalue = 0.0, opacity = 1.0;
    int32_t latticeType = 0;
    VgMaterial material;
    VbColorMap colorMap;
    VbLegend legend;
    bool computeVolume = false, invertVolume = false;
};

void TransferFields(shr::Archive& archive, StoredFields& f)
{
    archive.Transfer(f.firstInput);
    archive.Transfer(f.triangles);
    archive.Transfer(f.component);
    archive.Transfer(f.drawStyle);
    archive.Transfer(f.side);
    archive.Transfer(f.colorMethod);
    archive.Transfer(f.isovalue);
    archive.Transfer(f.opacity);
    if (archive.IsLoading() && archive.GetVersion() < kLegacyByteVersion) {
        uint8_t legacy = 1;
        archive.Transfer(legacy);
    }
    archive.Transfer(f.latticeType);
    f.material.Serialize(archive);
    f.colorMap.Serialize(archive);
    f.legend.Serialize(archive);
    if (archive.IsStoring() || archive.GetVersion() >= kComputeVolumeVersion)
        archive.Transfer(f.computeVolume);
    if (archive.IsStoring() || archive.GetVersion() >= kInvertVolumeVersion)
        archive.Transfer(f.invertVolume);
}

} // namespace VoIsoSurfacePrivate

using namespace VoIsoSurfacePrivate;

VoIsoSurface::VoIsoSurface()
{
    m_Material.diffuse = shr::Color4b::Gray;
    m_Material.specularIntensity = 0.5f;
    m_Sweep = std::make_unique<SweepCache>();
    AddInput("Input Lattice", PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

VoIsoSurface::~VoIsoSurface() = default;

const VbModuleInfo* VoIsoSurface::GetModuleInfo() const { return &s_ModuleInfo; }

bool VoIsoSurface::CompatibleImpl(int, const VoModule& source, int output, bool) const
{
    return output >= 0 && source.GetOutput(static_cast<size_t>(output)) != nullptr;
}

// ---- input -------------------------------------------------------------------------------

void VoIsoSurface::OnInputChanged(int, bool)
{
    m_Volume = m_InverseVolume = 0.0;
    const VdLattice* lattice = InputLattice(0);
    if (lattice && lattice->GetDimensionality() < 3)
        CORE_THROW(5, "IsoSurface", "3D lattice (all dimensions must be greater than 1)");
    UpdateInput(nullptr);
}

void VoIsoSurface::UpdateInput(VbPropList* list)
{
    const VdLattice* lattice = InputLattice(0);
    if (!lattice || lattice->ComponentCount() == 0)
        return;
    UpdateColorMapDataLimits(lattice);
    const std::pair<double, double> limits = lattice->DataMinMax(InputComponentSafe());
    if (m_FirstInput || m_Isovalue < limits.first || m_Isovalue > limits.second) {
        m_Isovalue = (limits.first + limits.second) * 0.5;
        m_FirstInput = false;
    }
    m_LatticeChanged = true;
    if (!list)
        return;
    list->SetHistogram(IdColormap, lattice->DataHistogram(InputComponentSafe()));
    list->SetNumLimits(IdIsovalue, ValCheckMinMax, limits.first, limits.second);
    list->SetNum(IdIsovalue, m_Isovalue);
}

void VoIsoSurface::UpdateLatticeType(const VdLattice& lattice)
{
    if (dynamic_cast<const VdUniformLattice*>(&lattice))
        m_LatticeType = UNIFORM;
    else if (dynamic_cast<const VdRectilinearLattice*>(&lattice))
        m_LatticeType = RECTILINEAR;
    else if (dynamic_cast<const VdCurvilinearLattice*>(&lattice))
        m_LatticeType = CURVILINEAR;
    else
        shr::ThrowSharedError("Core", "VoIsoSurface", __LINE__, 0, "Invalid lattice in isosurface.");
}

void VoIsoSurface::CopyLattice(const VdLattice& lattice)
{
    CopyComponent(lattice, InputComponentSafe(), m_Data, &m_Sweep->ranges);
}

void VoIsoSurface::RefactorCalcGradients(const VdLattice& lattice)
{
    // Each node's gradient is computed when a sweep first needs it.
    m_Sweep->gradients.Reset(lattice.VertexCount());
}

// ---- execution -----------------------------------------------------------------------------

VoModule::ModuleStatus VoIsoSurface::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    std::unique_ptr<VgStateScope> scope;
    if (renderer)
        scope = std::make_unique<VgStateScope>(*renderer, OutputGeometry(0));
    const VdLattice* lattice = InputLattice(0);
    if (!lattice)
        return ModuleOk;
    m_TriangleCount = 0;
    m_Volume = m_InverseVolume = 0.0;
    UpdateLatticeType(*lattice);
    if (!March(*lattice))
        return ModuleAborted;
    if (renderer && !m_Surface.indices.empty())
        Draw(*renderer);
    return ModuleOk;
}

bool VoIsoSurface::March(const VdLattice& lattice)
{
    const bool curvilinear = m_LatticeType == CURVILINEAR;
    if (m_LatticeChanged || m_Data.size() != lattice.VertexCount()) {
        CopyLattice(lattice);
        if (curvilinear)
            m_Sweep->gradients.Reset(0);
        else
            RefactorCalcGradients(lattice);
        m_LatticeChanged = false;
    }
    SweepInput input;
    input.lattice = &lattice;
    input.values = &m_Data;
    input.ranges = &m_Sweep->ranges;
    input.gradients = &m_Sweep->gradients;
    input.isovalue = m_Isovalue;
    input.atOrAbove = InvertedMode();
    input.computeVolume = m_ComputeVolume;
    input.calculator = &m_Calculator;
    VbProgress progress("Computing isosurface.", 0, 500, 500);
    const SweepProgress report = [&progress](double fraction) { return progress.Update(fraction); };
    SweepVolumes volumes;
    int triangles = 0;
    if (!Sweep(input, 0, report, m_Surface, volumes, triangles, &m_Sweep->workspace)) {
        m_Surface.clear();
        return false;
    }
    m_Volume = volumes.clearSide;
    m_InverseVolume = volumes.setSide;
    m_TriangleCount = triangles;
    if (curvilinear)
        FaceNormals(m_Surface);
    return true;
}

void VoIsoSurface::Draw(VgRenderer& renderer)
{
    const bool back = m_Side == BackOnly;
    if (InvertedMode())
        renderer.setVertexOrdering(back ? VgRenderer::CLOCKWISE : VgRenderer::COUNTERCLOCKWISE);
    else
        renderer.setVertexOrdering(back ? VgRenderer::COUNTERCLOCKWISE : VgRenderer::CLOCKWISE);
    renderer.setShapeHints(m_Side == FrontAndBack ? VgRenderer::UNKNOWN_SHAPE_TYPE : VgRenderer::SOLID,
                           VgRenderer::CONVEX);
    renderer.setDrawStyle(static_cast<VgRenderer::DrawStyle>(m_DrawStyle <= Points ? m_DrawStyle : Shaded));
    renderer.setPointSize(3.0);
    SetMaterial(renderer);
    SetNormals(renderer);
    renderer.drawIndexedFaceSet(m_Surface);
    if (m_ColorMethod == ByIsovalue)
        m_Legend.Execute(renderer);
}

void VoIsoSurface::SetMaterial(VgRenderer& renderer) const
{
    VgMaterial material = m_Material;
    if (m_ColorMethod == ByIsovalue) {
        const shr::Color4b color = m_ColorMap.PosToColor(m_ColorMap.DatToPos(m_Isovalue));
        material.diffuse = color;
        material.diffuseIntensity = 1.0f;
        material.transparency = static_cast<float>(1.0 - color.a * m_Opacity / 255.0);
    } else {
        material.transparency = static_cast<float>(1.0 - m_Opacity);
    }
    renderer.setMaterial(material);
}

void VoIsoSurface::SetNormals(VgRenderer&)
{
    if (m_Surface.normals.empty()) {
        m_Surface.normalBinding = VgVertexData::PER_VERTEX;
        return;
    }
    if (m_Side == BackOnly)
        for (SbVec3f& normal : m_Surface.normals)
            normal.negate();
    m_Surface.normalBinding = VgVertexData::PER_VERTEX_INDEXED;
}

void VoIsoSurface::PostExecute(double seconds) const
{
    if (m_TriangleCount > 0)
        UiProxy::Instance()->StatusMsg("%s execute time=%.3lf seconds, %d triangles", Name().c_str(), seconds,
                                       m_TriangleCount);
    if (m_ComputeVolume) {
        UiProxy::Instance()->UpdatePropertyList(this, IdVolume, false);
        UiProxy::Instance()->UpdatePropertyList(this, IdInverseVolume, false);
    }
}

// ---- properties ----------------------------------------------------------------------------

void VoIsoSurface::UpdatePropertiesImpl(VbPropList& list)
{
    AddGeneralRows(list);
    AddRenderingRows(list);
    AddMaterialRows(list);
    m_Legend.GetProperties(Id(), list, "IsoSurface", IdLegend, "Legend", "Legend");
    m_Legend.Enabled(list, IdLegend, m_ColorMethod == ByIsovalue);
}

void VoIsoSurface::AddGeneralRows(VbPropList& list)
{
    const VdLattice* lattice = InputLattice(0);
    const VoModule* source = GetInputConnection(0, 0);
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input", "The input this module is connected to.",
                   source ? source->Name().c_str() : "Nothing");
    if (lattice && lattice->ComponentCount() > 1)
        list.AddUnsigned(Id(), "IsoSurfaceComponent", IdComponent, "Input component",
                         "The component of the input lattice to draw the surface of.", m_InputComponent,
                         ValCheckMinMax, 1, lattice->ComponentCount(), 1);
    const bool limited = lattice && lattice->ComponentCount() > 0;
    const std::pair<double, double> limits =
        limited ? lattice->DataMinMax(InputComponentSafe()) : std::make_pair(0.0, 0.0);
    list.AddDouble(Id(), "IsoSurfaceIsovalue", IdIsovalue, "Isovalue",
                   "The threshold value of the surface to generate.  The generated surface will separate data less "
                   "than this value from data greater than this value.",
                   m_Isovalue, limited ? ValCheckMinMax : ValCheckNone, limits.first, limits.second, 0.0);
    list.AddCheck(Id(), "IsoSurfaceComputeVolume", IdComputeVolume, "Compute volume",
                  "Compute approximate volume contained by surface.", m_ComputeVolume);
    list.AddEdit(Id(), "IsoSurfaceVolume", IdVolume, "Volume >= isovalue",
                 "The approximate volume greater than the isovalue.", PropertyUtility::FormatPositiveValue(m_Volume));
    list.ReadOnly(IdVolume, true);
    list.AddEdit(Id(), "IsoSurfaceInverseVolume", IdInverseVolume, "Volume <= isovalue",
                 "The approximate volume less than the isovalue.",
                 PropertyUtility::FormatPositiveValue(m_InverseVolume));
    list.ReadOnly(IdInverseVolume, true);
    list.AddCheck(Id(), "IsoSurfaceInvertVolume", IdInvertVolume, "Invert volume",
                  "Invert the volume calculation (volume less than or equal to the isosurface value).",
                  m_InvertVolume);
    for (const int id : {IdInvertVolume, IdVolume, IdInverseVolume})
        list.Enabled(id, m_ComputeVolume);
    list.Outdent();
}

void VoIsoSurface::AddRenderingRows(VbPropList& list)
{
    const VdLattice* lattice = InputLattice(0);
    list.AddHeader(Id(), IdRendering, "Rendering", "Rendering", "", "");
    list.Indent();
    list.AddCombo(Id(), "IsoSurfaceDrawstyle", IdDrawStyle, "Draw style", "", m_DrawStyle, "Shaded", "Lines",
                  "Points", nullptr);
    list.AddCombo(Id(), "IsoSurfaceFacestyle", IdSide, "Side(s) to draw", "The side of the faces to draw.", m_Side,
                  "Front and back", "Front only", "Back only", nullptr);
    list.AddCombo(Id(), "IsoSurfaceColorMethod", IdColorMethod, "Color method", "", m_ColorMethod, "Fixed",
                  "By isovalue", nullptr);
    list.AddColor(Id(), "IsoSurfaceColor", IdColor, "Color", "Color of the generated surface.", m_Material.diffuse);
    const std::vector<unsigned int>* histogram =
        lattice && lattice->ComponentCount() > 0 ? &lattice->DataHistogram(InputComponentSafe()) : nullptr;
    list.AddColorMap(Id(), "IsoSurfaceColormap", IdColormap, "Colormap",
                     "Determines the surface color by mapping the isovalue to a color.", m_ColorMap, histogram, false);
    if (histogram)
        list.SetHistogram(IdColormap, *histogram);
    UpdateColorOptions(list);
    list.Outdent();
}

void VoIsoSurface::AddMaterialRows(VbPropList& list)
{
    list.AddHeader(Id(), IdMaterial, "Material", "Material", "", "");
    list.Expand(IdMaterial, false);
    list.Indent();
    list.AddColor(Id(), "IsoSurfaceSpecularColor", IdSpecularColor, "Specular color", "", m_Material.specular);
    list.AddDouble(Id(), "IsoSurfaceSpecularIntensity", IdSpecularIntensity, "Specular intensity",
                   "0.0 is none, 1.0 = full intensity.", m_Material.specularIntensity, ValCheckMinMax, 0.0, 1.0, 0.1);
    list.AddDouble(Id(), "IsoSurfaceShininess", IdShininess, "Shininess", "", m_Material.shininess, ValCheckMinMax,
                   0.0, 1.0, 0.1);
    list.AddDouble(Id(), "IsoSurfaceOpacity", IdOpacity, "Opacity", "", m_Opacity, ValCheckMinMax, 0.0, 1.0, 0.1);
    list.Outdent();
}

void VoIsoSurface::UpdateColorOptions(VbPropList& list)
{
    list.Visible(IdColor, m_ColorMethod == Fixed);
    list.Visible(IdColormap, m_ColorMethod == ByIsovalue);
}

void VoIsoSurface::UpdateVolumeTexts(VbPropList& list) const
{
    list.StringValue(IdVolume, PropertyUtility::FormatPositiveValue(m_Volume));
    list.StringValue(IdInverseVolume, PropertyUtility::FormatPositiveValue(m_InverseVolume));
}

void VoIsoSurface::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    if (id >= IdLegend) {
        m_Legend.PropertyEvent(Id(), list, event, IdLegend);
        SetModified();
        return;
    }
    switch (id) {
    case IdComponent: {
        unsigned int component = 1;
        list.GetValue(id, component);
        InputComponentSafe(component);
        UpdateInput(&list);
        break;
    }
    case IdDrawStyle: list.GetValue(id, m_DrawStyle); break;
    case IdSide: list.GetValue(id, m_Side); break;
    case IdIsovalue: list.GetValue(id, m_Isovalue); break;
    case IdComputeVolume:
        list.GetValue(id, m_ComputeVolume);
        if (m_ComputeVolume) {
            list.StringValue(IdVolume, "Updating...");
            list.StringValue(IdInverseVolume, "Updating...");
        } else {
            m_Volume = 0.0;
            UpdateVolumeTexts(list);
        }
        for (const int row : {IdInvertVolume, IdVolume, IdInverseVolume})
            list.Enabled(row, m_ComputeVolume);
        break;
    case IdInvertVolume: list.GetValue(id, m_InvertVolume); break;
    case IdVolume:
    case IdInverseVolume:
        // Read-only texts the host refreshes after a run: nothing to recompute.
        UpdateVolumeTexts(list);
        return;
    case IdColorMethod:
        list.GetValue(id, m_ColorMethod);
        UpdateColorOptions(list);
        m_Legend.Enabled(list, IdLegend, m_ColorMethod == ByIsovalue);
        break;
    case IdColor: list.GetValue(id, m_Material.diffuse); break;
    case IdColormap:
        list.GetValue(id, m_ColorMap);
        UpdateColorMapDataLimits(InputLattice(0));
        break;
    case IdSpecularColor: list.GetValue(id, m_Material.specular); break;
    case IdSpecularIntensity: list.GetValue(id, m_Material.specularIntensity); break;
    case IdShininess: list.GetValue(id, m_Material.shininess); break;
    case IdOpacity: list.GetValue(id, m_Opacity); break;
    default: return;
    }
    SetModified();
}

// ---- persistence ---------------------------------------------------------------------------

void VoIsoSurface::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    StoredFields f;
    if (archive.IsStoring()) {
        f = {m_FirstInput, m_TriangleCount, m_InputComponent, m_DrawStyle, m_Side, m_ColorMethod, m_Isovalue,
             m_Opacity, m_LatticeType, m_Material, m_ColorMap, m_Legend, m_ComputeVolume, m_InvertVolume};
        TransferFields(archive, f);
    } else {
        TransferFields(archive, f);
        if (f.latticeType < UNIFORM || f.latticeType > CURVILINEAR)
            archive.ThrowFormatError("isosurface lattice type %d is not one of 0, 1, 2", f.latticeType);
        archive.CheckRange(f.drawStyle, uint32_t(Shaded), uint32_t(Points), "the isosurface draw style");
        archive.CheckRange(f.side, uint32_t(FrontAndBack), uint32_t(BackOnly), "the isosurface's sides");
        archive.CheckRange(f.colorMethod, uint32_t(Fixed), uint32_t(ByIsovalue), "the isosurface colour method");
        archive.CheckRange(f.opacity, 0.0, 1.0, "the isosurface opacity");
        m_FirstInput = f.firstInput;
        m_TriangleCount = f.triangles;
        m_InputComponent = f.component;
        m_DrawStyle = f.drawStyle;
        m_Side = f.side;
        m_ColorMethod = f.colorMethod;
        m_Isovalue = f.isovalue;
        m_Opacity = f.opacity;
        m_LatticeType = static_cast<LATTICE_TYPE>(f.latticeType);
        m_Material = f.material;
        m_ColorMap = f.colorMap;
        m_Legend = f.legend;
        m_Legend.SetColorMap(&m_ColorMap);
        m_ComputeVolume = f.computeVolume;
        m_LatticeChanged = true;
    }
    // Invert volume never survives a save or a load, and saving clears it here too.
    m_InvertVolume = false;
}

} // namespace core
