#include "core/visual/VoEnvironment.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VoNetwork.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/visual/RowReader.h"
#include "shr/Archive.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoEnvironment, VoModule)
const VbModuleInfo VoEnvironment::s_ModuleInfo("General Modules\\GlobalSettings", VoEnvironment::GetClassTypeId(), 0,
                                               PortGeometry,
                                               "Contains various global settings that affect all geometry", -1);

namespace VoEnvironmentPrivate {

const unsigned char kColor = VbColorPropertyConverter::Key();
const VbPropertyRegistrar s_Registrars[] = {
    {"EnvironmentVerticalExaggeration", VoEnvironment::IdExaggeration, VbDoublePropertyConverter::Key()},
    {"EnvironmentBackgroundColor", VoEnvironment::IdBackground, kColor},
    {"EnvironmentAmbientIntensity", VoEnvironment::IdAmbientIntensity, VbDoublePropertyConverter::Key()},
    {"EnvironmentAmbientColor", VoEnvironment::IdAmbientColor, kColor},
    {"EnvironmentFogType", VoEnvironment::IdFogType, VbUnsignedPropertyConverter::Key()},
    {"EnvironmentFogColor", VoEnvironment::IdFogColor, kColor},
};

const char* const kFogNames[] = {"None", "Haze", "Fog", "Smoke"};

constexpr int kExaggerationVersion = 127;
// Before 129 the stored value was one more than today's decimal logarithm;
// before 130 it was that logarithm.
constexpr int kLogarithmVersion = 129;
constexpr int kLinearVersion = 130;

// An exaggeration as a document of `version` stored it, in today's meaning.
// The logarithm is kept within the logarithms of the bounds, so that it
// stays a logarithm of a value within them.
double AdaptExaggeration(double stored, int version, double lo, double hi)
{
    double value = stored;
    if (version < kLogarithmVersion)
        value = std::clamp(value - 1.0, std::log10(lo), std::log10(hi));
    if (version < kLinearVersion)
        value = std::pow(10.0, value);
    return value;
}

} // namespace VoEnvironmentPrivate

using namespace VoEnvironmentPrivate;

VoEnvironment::VoEnvironment(const shr::Color4b& color) : m_FogColor(color), m_BackgroundColor(color)
{
    auto* geometry = new VdGeometry(this, true);
    geometry->Clippable(false);
    AddOutput("Output Geometry", PortGeometry)->Data(geometry);
}

VoEnvironment::~VoEnvironment() = default;

VoModule::ModuleStatus VoEnvironment::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    // A group, not a separator: the settings hold for everything after it.
    VgStateScope scope(*renderer, OutputGeometry(0), false);
    renderer->setEnvironment(m_AmbientIntensity, m_AmbientColor, static_cast<VgRenderer::FogType>(m_FogType),
                             m_FogColor);
    VoNetwork& network = VoNetwork::Instance();
    network.SetBackgroundColor(m_BackgroundColor);
    network.VerticalExaggeration(m_Exaggeration);
    return ModuleOk;
}

void VoEnvironment::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddHeader(Id(), IdScene, "Scene", "General", "", "");
    list.Indent();
    list.AddDouble(Id(), "EnvironmentVerticalExaggeration", IdExaggeration, "Vertical exaggeration",
                   "The factor that stretches every module's Z.", m_Exaggeration, ValCheckMinMax, m_MinExaggeration,
                   m_MaxExaggeration, 0.1);
    list.AddColor(Id(), "EnvironmentBackgroundColor", IdBackground, "Background color",
                  "The color the scene is drawn on.", m_BackgroundColor);
    list.Outdent();
    list.AddHeader(Id(), IdAmbient, "Ambient light", "General", "", "");
    list.Indent();
    list.AddDouble(Id(), "EnvironmentAmbientIntensity", IdAmbientIntensity, "Intensity",
                   "The strength of the light that reaches every surface from all sides.", m_AmbientIntensity,
                   ValCheckMinMax, 0.0, 1.0, 0.05);
    list.AddColor(Id(), "EnvironmentAmbientColor", IdAmbientColor, "Color", "The color of the ambient light.",
                  m_AmbientColor);
    list.Outdent();
    list.AddHeader(Id(), IdFog, "Fog", "General", "", "");
    list.Indent();
    list.AddCombo(Id(), "EnvironmentFogType", IdFogType, "Fog type",
                  "How the scene fades into the fog color with distance.", m_FogType, std::size(kFogNames),
                  const_cast<const char**>(kFogNames), 0);
    list.AddColor(Id(), "EnvironmentFogColor", IdFogColor, "Fog color", "The color distant geometry fades to.",
                  m_FogColor);
    list.Enabled(IdFogColor, m_FogType != FogNone);
    list.Outdent();
    list.Outdent();
}

void VoEnvironment::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdExaggeration: RowReader::Clamped(list, id, m_MinExaggeration, m_MaxExaggeration, m_Exaggeration); break;
    case IdBackground: list.GetValue(id, m_BackgroundColor); break;
    case IdAmbientIntensity: RowReader::Clamped(list, id, 0.0, 1.0, m_AmbientIntensity); break;
    case IdAmbientColor: list.GetValue(id, m_AmbientColor); break;
    case IdFogType:
        RowReader::Choice(list, id, std::size(kFogNames), m_FogType);
        list.Enabled(IdFogColor, m_FogType != FogNone);
        break;
    case IdFogColor: list.GetValue(id, m_FogColor); break;
    default: return;
    }
    SetModified();
}

void VoEnvironment::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    double intensity = m_AmbientIntensity;
    uint32_t fogType = m_FogType;
    shr::Color4b ambient = m_AmbientColor, fog = m_FogColor, background = m_BackgroundColor;
    double exaggeration = m_Exaggeration;
    archive.Transfer(intensity);
    archive.Transfer(fogType);
    archive.Transfer(ambient);
    archive.Transfer(fog);
    archive.Transfer(background);
    if (archive.IsStoring() || archive.GetVersion() >= kExaggerationVersion)
        archive.Transfer(exaggeration);
    if (archive.IsStoring())
        return;
    exaggeration = AdaptExaggeration(exaggeration, archive.GetVersion(), m_MinExaggeration, m_MaxExaggeration);
    if (fogType > Smoke || !(intensity >= 0.0 && intensity <= 1.0) ||
        !(exaggeration >= m_MinExaggeration && exaggeration <= m_MaxExaggeration))
        archive.ThrowFormatError("environment fog type %u, ambient intensity %g or exaggeration %g out of range",
                                 fogType, intensity, exaggeration);
    m_AmbientIntensity = intensity;
    m_FogType = fogType;
    m_AmbientColor = ambient;
    m_FogColor = fog;
    m_BackgroundColor = background;
    m_Exaggeration = exaggeration;
}

} // namespace core
