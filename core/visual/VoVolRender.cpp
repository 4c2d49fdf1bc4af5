#include "core/visual/VoVolRender.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/InvVolume.h"
#include "core/graphics/SoGLExtension.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"
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
#include "shr/Archive.h"

#include <algorithm>
#include <cmath>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoVolRender, VoLatticeModule)
const VbModuleInfo VoVolRender::s_ModuleInfo("Graphics Output\\VolRender", VoVolRender::GetClassTypeId(),
                                             PortUniformLattice, PortGeometry,
                                             "Performs direct volume rendering of a 3D lattice", 29);

namespace VoVolRenderPrivate {

const VbPropertyRegistrar s_Registrars[] = {
    {"VolRenderComponent", VoVolRender::IdComponent, VbUnsignedPropertyConverter::Key()},
    {"VolRenderDrawStyle", VoVolRender::IdRenderMethod, VbUnsignedPropertyConverter::Key()},
    {"VolRenderNumSlices", VoVolRender::IdNumSlices, VbIntPropertyConverter::Key()},
    {"VolRenderUsePalette", VoVolRender::IdUsePalette, VbBoolPropertyConverter::Key()},
    // Keys of our own, so that a scene or a script can choose how the volume looks.
    {"VolRenderComposition", VoVolRender::IdComposition, VbUnsignedPropertyConverter::Key()},
    {"VolRenderInterpolation", VoVolRender::IdInterpolation, VbUnsignedPropertyConverter::Key()},
    {"VolRenderColormap", VoVolRender::IdColormap, VbColorMapPropertyConverter::Key()},
    {"VolRenderOpacity", VoVolRender::IdOpacity, VbDoublePropertyConverter::Key()},
};
const VbLegend::KeyRegistrar s_LegendKeys("VolRender", VoVolRender::IdLegend);

const char kPrefix[] = "VolRender";
// The most slices the row offers.
constexpr int kMaxSlices = 100000;

const char kFlatLattice[] =
    "3D volume rendering cannot be used with 2D lattices.  Resetting to 2D rendering.";
const char kNoTextures3D[] =
    "VolRender: 3D Texture support is not available on the current hardware.  Resetting to 2D rendering.";

// The stored fields, read whole before any of them is taken over.
struct StoredFields {
    bool usePalette = true;
    uint32_t component = 1, slices = 200, method = 0, composition = 2, interpolation = 1, changed = 0;
    double opacity = 1.0;
    VbColorMap colorMap;
    VbLegend legend;
};

void TransferFields(shr::Archive& archive, StoredFields& f)
{
    archive.Transfer(f.usePalette);
    archive.Transfer(f.component);
    archive.Transfer(f.slices);
    archive.Transfer(f.method);
    archive.Transfer(f.composition);
    archive.Transfer(f.interpolation);
    archive.Transfer(f.changed);
    archive.Transfer(f.opacity);
    f.colorMap.Serialize(archive);
    f.legend.Serialize(archive);
}

// The choice of a combo row, or `fallback` when it lies beyond the `count` choices.
uint32_t Choice(uint32_t value, uint32_t count, uint32_t fallback) { return value < count ? value : fallback; }

} // namespace VoVolRenderPrivate

using namespace VoVolRenderPrivate;

VoVolRender::VoVolRender()
{
    // The transfer function starts transparent below a quarter of the range
    // and opaque above three quarters: the high values stand out.
    m_ColorMap.AddOpacityNode(0.0, 0.0);
    m_ColorMap.AddOpacityNode(0.25, 0.0);
    m_ColorMap.AddOpacityNode(0.75, 1.0);
    m_ColorMap.AddOpacityNode(1.0, 1.0);
    m_Changed = ChangedData | ChangedColorMap;
    AddInput("Input Lattice", PortUniformLattice);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

VoVolRender::~VoVolRender()
{
    // The node may outlive the module in a scene still drawn.
    if (m_Volume)
        m_Volume->SetProgressCallback(nullptr, nullptr);
}

const VbModuleInfo* VoVolRender::GetModuleInfo() const { return &s_ModuleInfo; }

// ---- settings ----------------------------------------------------------------------------

void VoVolRender::UsePalette(bool use)
{
    m_UsePalette = use;
    m_Changed |= ChangedPalette;
}

void VoVolRender::NumSlices(uint32_t slices)
{
    m_NumSlices = std::max(slices, 1u);
    m_Changed |= ChangedSlices;
}

void VoVolRender::Method(uint32_t method)
{
    m_Method = Choice(method, 2, Textures2D);
    m_Changed |= ChangedRenderMethod;
}

void VoVolRender::CompositionMethod(uint32_t composition)
{
    m_Composition = Choice(composition, 3, AlphaBlending);
    m_Changed |= ChangedComposition;
}

void VoVolRender::InterpolationMethod(uint32_t interpolation)
{
    m_Interpolation = Choice(interpolation, 2, Trilinear);
    m_Changed |= ChangedInterpolation;
}

void VoVolRender::Opacity(double opacity)
{
    m_Opacity = std::isnan(opacity) ? 1.0 : std::min(std::max(opacity, 0.0), 1.0);
    m_Changed |= ChangedOpacity;
}

// ---- input -------------------------------------------------------------------------------

void VoVolRender::OnInputChanged(int, bool)
{
    if (InputLattice(0))
        UpdateInput();
}

void VoVolRender::UpdateInput()
{
    UpdateColorMapDataLimits(InputLattice(0));
    m_Changed |= ChangedData | ChangedColorMap;
}

void VoVolRender::VerifyInput(const VdLattice& lattice)
{
    if (!dynamic_cast<const VdUniformLattice*>(&lattice))
        CORE_THROW(5, "VolRender", "uniform lattice");
    if (m_Method == Textures3D && lattice.GetDimensionality() != 3)
        ResetToTextures2D(kFlatLattice);
    if (m_Method == Textures3D && !SoGLExtManager::getInstance()->isTexture3DAvailable())
        ResetToTextures2D(kNoTextures3D);
}

// A warning, not a failure: the module goes on with 2-D textures.
void VoVolRender::ResetToTextures2D(const char* message)
{
    UiProxy::Instance()->ErrorMsg(__FILE__, __LINE__, message);
    Method(Textures2D);
    UiProxy::Instance()->UpdatePropertyList(this, -1, true);
}

// ---- execution ---------------------------------------------------------------------------

VoModule::ModuleStatus VoVolRender::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    renderer->PushNode(OutputGeometry(0), true);
    bool computed = true;
    try {
        if (const VdLattice* lattice = InputLattice(0)) {
            VerifyInput(*lattice);
            computed = Compute(static_cast<const VdUniformLattice*>(lattice), *renderer);
            if (computed && m_Legend.Visible())
                m_Legend.Execute(*renderer);
        }
    } catch (...) {
        renderer->popState();
        throw;
    }
    renderer->popState();
    return computed ? ModuleOk : ModuleAborted;
}

bool VoVolRender::Compute(const VdUniformLattice* lattice, VgRenderer& renderer)
{
    if (!lattice)
        CORE_THROW(1);
    // A volume alone must not move the scene: the offset stays at zero.
    if (!renderer.Transform().Valid())
        renderer.UpdateTransform(shr::Vec3d(0.0, 0.0, 0.0));
    if (!m_Volume) {
        m_Volume = InvSmartPtr<InvVolume>(new InvVolume);
        m_Volume->SetProgressCallback(&VoVolRender::TextureProgress, this);
        m_Changed = ChangedAll;
    }
    const SceneTransform& offset = renderer.Transform();
    m_Volume->SetTransform(lattice->GetUserTransform() *
                           shr::Mat4d::MakeTranslation(offset.XTransform(), offset.YTransform(), 0.0));
    ApplyChanges(*lattice);
    renderer.addInventorNode(m_Volume.get());
    m_Changed = 0;
    return true;
}

void VoVolRender::ApplyChanges(const VdUniformLattice& lattice)
{
    InvVolume& volume = *m_Volume;
    if (m_Changed & ChangedData) {
        volume.SetBoundingBox(lattice.GetUVWBounds());
        volume.SetLattice(&lattice);
        volume.SetComponent(InputComponentSafe());
    }
    if (m_Changed & ChangedColorMap)
        volume.SetColorMap(&m_ColorMap);
    if (m_Changed & ChangedOpacity)
        volume.SetOpacity(m_Opacity);
    if (m_Changed & ChangedRenderMethod)
        volume.SetRenderMethod(m_Method);
    if (m_Changed & ChangedSlices)
        volume.SetSlices(m_NumSlices);
    if (m_Changed & ChangedComposition)
        volume.SetComposition(m_Composition);
    if (m_Changed & ChangedInterpolation)
        volume.SetInterpolation(m_Interpolation);
    if (m_Changed & ChangedPalette)
        volume.SetTextureMode(m_UsePalette ? TexPaletted : TexRGBA);
}

// Called in the drawing thread while textures are made (phase 0) and when a
// drawing ends (phase 1).
bool VoVolRender::TextureProgress(int phase, double fraction, void* module)
{
    auto* self = static_cast<VoVolRender*>(module);
    if (phase != 0) {
        self->m_Progress.reset();
        return true;
    }
    if (!self->m_Progress)
        self->m_Progress = std::make_unique<VbProgress>("Generating textures", 0, 500, 100);
    return self->m_Progress->Update(fraction);
}

// ---- properties --------------------------------------------------------------------------

void VoVolRender::UpdatePropertiesImpl(VbPropList& list)
{
    const VdLattice* lattice = InputLattice(0);
    const VoModule* upstream = GetInputConnection(0, 0);
    const bool hasData = lattice && lattice->ComponentCount() > 0;
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input", "The input this module is connected to.",
                   upstream ? upstream->Name().c_str() : "Nothing");
    if (lattice && lattice->ComponentCount() > 1)
        list.AddUnsigned(Id(), "VolRenderComponent", IdComponent, "Input component",
                         "The component of the input data to display.", m_InputComponent, ValCheckMinMax, 1,
                         lattice->ComponentCount(), 1);
    list.Outdent();

    list.AddHeader(Id(), IdRendering, "Rendering", "Rendering", "", "");
    list.Indent();
    list.AddCombo(Id(), "VolRenderDrawStyle", IdRenderMethod, "Render method", "The method used to render the volume.",
                  m_Method, "2D textures", "3D textures", nullptr);
    list.AddInt(Id(), "VolRenderNumSlices", IdNumSlices, "Number of slices",
                "The number of sample slices through the volume.", static_cast<int>(m_NumSlices), ValCheckMinMax, 1,
                kMaxSlices, 1);
    list.AddCheck(Id(), "VolRenderUsePalette", IdUsePalette, "Paletted textures",
                  "Use paletted textures if supported by the video hardware.", m_UsePalette);
    list.AddCombo(Id(), "VolRenderComposition", IdComposition, "Composition", "The method used to combine voxels along the viewing rays.",
                  m_Composition, "Maximum intensity", "Sum intensity", "Alpha blending", nullptr);
    list.AddCombo(Id(), "VolRenderInterpolation", IdInterpolation, "Interpolation", "The method used to interpolate values within the lattice.",
                  m_Interpolation, "Nearest neighbor", "Trilinear", nullptr);
    const std::vector<unsigned int>* histogram = hasData ? &lattice->DataHistogram(InputComponentSafe()) : nullptr;
    list.AddColorMap(Id(), "VolRenderColormap", IdColormap, "Colormap", "Converts scalar data to colors and opacity.", m_ColorMap,
                     histogram, true);
    if (histogram)
        list.SetHistogram(IdColormap, *histogram);
    list.AddDouble(Id(), "VolRenderOpacity", IdOpacity, "Opacity", "", m_Opacity, ValCheckMinMax, 0.0, 1.0, 0.1);
    UpdateMethodProps(list);
    list.Outdent();

    m_Legend.GetProperties(Id(), list, kPrefix, IdLegend, "Legend", "Legend");
}

// The slice count belongs to 3-D textures only.
void VoVolRender::UpdateMethodProps(VbPropList& list) const
{
    if (list.IsProp(IdNumSlices))
        list.Visible(IdNumSlices, m_Method == Textures3D);
}

void VoVolRender::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdComponent: {
        unsigned int component = m_InputComponent;
        list.GetValue(id, component);
        InputComponentSafe(component);
        UpdateInput();
        break;
    }
    case IdRenderMethod: {
        uint32_t method = m_Method;
        list.GetValue(id, method);
        Method(method);
        UpdateMethodProps(list);
        break;
    }
    case IdNumSlices: {
        int slices = static_cast<int>(m_NumSlices);
        list.GetValue(id, slices);
        NumSlices(static_cast<uint32_t>(std::max(slices, 1)));
        if (slices < 1)
            list.SetNum(id, static_cast<int>(m_NumSlices));
        break;
    }
    case IdUsePalette: {
        bool use = m_UsePalette;
        list.GetValue(id, use);
        UsePalette(use);
        break;
    }
    case IdComposition: {
        uint32_t composition = m_Composition;
        list.GetValue(id, composition);
        CompositionMethod(composition);
        break;
    }
    case IdInterpolation: {
        uint32_t interpolation = m_Interpolation;
        list.GetValue(id, interpolation);
        InterpolationMethod(interpolation);
        break;
    }
    case IdColormap:
        list.GetValue(id, m_ColorMap);
        UpdateColorMapDataLimits(InputLattice(0));
        m_Changed |= ChangedColorMap;
        break;
    case IdOpacity: {
        double opacity = m_Opacity;
        list.GetValue(id, opacity);
        Opacity(opacity);
        break;
    }
    default:
        if (id < IdLegend || id >= IdLegend + VbLegend::RowCount)
            return;
        m_Legend.PropertyEvent(Id(), list, event, IdLegend);
    }
    SetModified();
}

// ---- persistence -------------------------------------------------------------------------

void VoVolRender::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    StoredFields f;
    if (archive.IsStoring()) {
        f = {m_UsePalette, m_InputComponent, m_NumSlices, m_Method, m_Composition, m_Interpolation, m_Changed,
             m_Opacity, m_ColorMap, m_Legend};
        TransferFields(archive, f);
        return;
    }
    TransferFields(archive, f);
    if (f.method > Textures3D || f.composition > AlphaBlending || f.interpolation > Trilinear)
        archive.ThrowFormatError("volume render settings %u, %u, %u are out of range", f.method, f.composition,
                                 f.interpolation);
    // Each slice is drawn: a count beyond the row's limit would hold up every frame.
    archive.CheckRange(f.slices, 0u, uint32_t(kMaxSlices), "the volume's slice count");
    archive.CheckRange(f.opacity, 0.0, 1.0, "the volume's opacity");
    m_UsePalette = f.usePalette;
    InputComponentSafe(f.component);
    m_NumSlices = std::max(f.slices, 1u);
    m_Method = f.method;
    m_Composition = f.composition;
    m_Interpolation = f.interpolation;
    m_Opacity = f.opacity;
    m_ColorMap = f.colorMap;
    m_Legend = f.legend;
    m_Legend.SetColorMap(&m_ColorMap);
    // A node made before the load must take every loaded setting.
    m_Changed = m_Volume ? ChangedAll : f.changed;
}

} // namespace core
