#include "core/visual/VoLight.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/InvInterface.h"
#include "core/graphics/VgDirectionalLightDragger.h"
#include "core/graphics/SoGLExtension.h"
#include "core/graphics/VgPointLightDragger.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgSpotLightDragger.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VoNetwork.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/visual/RowReader.h"
#include "core/visual/VectorRows.h"
#include "shr/Archive.h"
#include "shr/MathUtil.h"

#include <cmath>
#include <iterator>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoLight, VoModule)
const VbModuleInfo VoLight::s_ModuleInfo("General Modules\\Light", VoLight::GetClassTypeId(), 0, PortGeometry,
                                         "Adds a light source to the scene", 15);

namespace VoLightPrivate {

const VbPropertyRegistrar s_Registrars[] = {
    {"LightType", VoLight::IdType, VbUnsignedPropertyConverter::Key()},
    {"LightColor", VoLight::IdColor, VbColorPropertyConverter::Key()},
    {"LightDragger", VoLight::IdDragger, VbBoolPropertyConverter::Key()},
    {"LightCutoff", VoLight::IdCutoff, VbDoublePropertyConverter::Key()},
    {"LightDropoff", VoLight::IdDropoff, VbDoublePropertyConverter::Key()},
};
const VectorRows kDirectionRows{"Light", "Direction", VoLight::IdDirection, VoLight::IdXDirection};
const VectorRows kPositionRows{"Light", "Position", VoLight::IdPosition, VoLight::IdXPosition};
const VectorRows::KeyRegistrar s_DirectionKeys(kDirectionRows);
const VectorRows::KeyRegistrar s_PositionKeys(kPositionRows);

const char* const kTypeNames[] = {"Directional light", "Point light", "Spot light"};

// The stored fields, read whole before the module takes any of them.
struct StoredFields {
    uint32_t type = 0;
    shr::Color4b color;
    bool showDragger = false;
    shr::Vec3d direction, position;
    double cutoff = 0.0, dropoff = 0.0;
};

void TransferFields(shr::Archive& archive, StoredFields& f)
{
    archive.Transfer(f.type);
    archive.Transfer(f.color);
    uint8_t reserved = 0; // kept for the format
    archive.Transfer(reserved);
    archive.Transfer(f.showDragger);
    archive.Transfer(f.direction);
    archive.Transfer(f.position);
    archive.Transfer(f.cutoff);
    archive.Transfer(f.dropoff);
}


} // namespace VoLightPrivate

using namespace VoLightPrivate;

VoLight::VoLight()
{
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, true));
    shr::Box3d box = SceneBounds();
    if (box.IsEmpty())
        box = shr::Box3d(-1.0, -1.0, -1.0, 1.0, 1.0, 1.0);
    const shr::Vec3d centre = box.Center(), size = box.Size();
    m_Position = shr::Vec3d(centre.x - size.x * m_Direction.x, centre.y - size.y * m_Direction.y,
                            centre.z - size.z * m_Direction.z);
}

VoLight::~VoLight() { DestroyDragger(); }

void VoLight::SetLightType(uint32_t type)
{
    m_Type = type;
    m_DraggerChanged = true;
}

shr::Box3d VoLight::SceneBounds()
{
    const InvSmartPtr<SoSeparator> root = VoNetwork::Instance().SceneRoot();
    shr::Box3d box = InvChildrenBoundingBox(InvSmartPtr<SoGroup>(root.get()), VoLight::GetClassTypeId());
    if (!box.IsDegenerate()) {
        const SceneTransform inverse = VoNetwork::Instance().Transform().Inverse();
        box = shr::Box3d(inverse.Moved(box.min), inverse.Moved(box.max));
    }
    return box;
}

int VoLight::GetPrevLightCount() const
{
    int count = 0;
    for (const VoModule* module : VoNetwork::Instance()) {
        if (module == this)
            break;
        if (dynamic_cast<const VoLight*>(module))
            ++count;
    }
    return count;
}

// ---- execution -------------------------------------------------------------------------------

VoModule::ModuleStatus VoLight::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    // A group, not a separator: the light shines on everything after it.
    VgStateScope scope(*renderer, OutputGeometry(0), false);
    renderer->addInventorNode(SoGLExtManager::newMeasuringNode().get());
    const int maximum = SoGLExtManager::getInstance()->getMaxLights() - 1; // one is the viewer's headlight
    if (GetPrevLightCount() >= maximum)
        CORE_THROW(37, maximum);
    if (!m_ShowDragger || m_DraggerChanged) {
        DestroyDragger();
        m_DraggerChanged = false;
    }
    if (m_ShowDragger) {
        if (!CurrentDragger())
            ConstructDragger();
        m_DraggerMustFollow = true;
        AddDraggerToScene(*renderer);
    } else {
        AddLight(*renderer);
    }
    return ModuleOk;
}

void VoLight::AddLight(VgRenderer& renderer) const
{
    if (m_Type == Directional) {
        renderer.setDirectionalLight(m_Direction, m_Color);
        return;
    }
    // The renderer moves the location by the scene offset, as it does every vertex.
    renderer.UpdateTransform(m_Position);
    if (m_Type == Point) {
        renderer.setPointLight(m_Position, m_Color);
        return;
    }
    // The cut-off angle goes where the renderer takes the drop-off rate, and the
    // drop-off where it takes the cut-off angle: stored documents have always
    // been drawn so.
    renderer.setSpotLight(m_Position, m_Direction, m_Cutoff * shr::DEG_TO_RAD, m_Dropoff, m_Color);
}

// ---- the dragger -----------------------------------------------------------------------------

std::shared_ptr<VgLightDragger> VoLight::ConstructDraggerImpl()
{
    std::shared_ptr<VgLightDragger> dragger;
    if (m_Type == Directional)
        dragger = std::make_shared<VgDirectionalLightDragger>(m_Direction);
    else if (m_Type == Spot)
        dragger = std::make_shared<VgSpotLightDragger>(m_Direction, m_Cutoff * shr::DEG_TO_RAD);
    else
        dragger = std::make_shared<VgPointLightDragger>();
    VoNetwork::Instance().AddCallback(&VoLight::CoreCallback, this);
    return dragger;
}

void VoLight::DestroyDraggerImpl() { VoNetwork::Instance().RemoveCallback(&VoLight::CoreCallback, this); }

void VoLight::CoreCallback(int, void* data)
{
    if (data)
        static_cast<VoLight*>(data)->ScaleDragger();
}

void VoLight::ScaleDragger()
{
    const std::shared_ptr<VgLightDragger> dragger = Dragger();
    if (!dragger)
        return;
    const shr::Box3d box = SceneBounds();
    const shr::Vec3d size = box.IsEmpty() ? shr::Vec3d(2.0, 2.0, 2.0) : box.Size();
    const double scale = (size.x + size.y + size.z) * 0.05 / 3.0;
    dragger->SetScale(shr::Vec3d(scale, scale, scale));
}

void VoLight::UpdateDraggerFromNodeImpl(VgLightDragger& dragger)
{
    dragger.SetPosition(VoNetwork::Instance().Transform().Moved(m_Position));
    dragger.SetColor(m_Color);
    dragger.SetCutoff(m_Cutoff * shr::DEG_TO_RAD);
    dragger.SetDirection(m_Direction);
}

void VoLight::DraggerChangedImpl(const VgLightDragger& dragger)
{
    if (const auto* directional = dynamic_cast<const VgDirectionalLightDragger*>(&dragger); directional && m_Type == Directional)
        m_Direction = directional->Direction();
    if (const auto* spot = dynamic_cast<const VgSpotLightDragger*>(&dragger); spot && m_Type == Spot) {
        m_Direction = spot->Direction();
        m_Cutoff = spot->Cutoff() * shr::RAD_TO_DEG;
    }
    m_Position = VoNetwork::Instance().Transform().Inverse().Moved(dragger.Position());
    UiProxy::Instance()->UpdatePropertyList(this, DraggerEventId, true);
}

void VoLight::DraggerFinishedImpl() { SetModified(); }

// ---- properties ------------------------------------------------------------------------------

void VoLight::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdName, NameAndId(), "General", "", "");
    list.Indent();
    list.AddCombo(Id(), "LightType", IdType, "Light type", "The kind of light.", m_Type, std::size(kTypeNames),
                  const_cast<const char**>(kTypeNames), 0);
    list.AddColor(Id(), "LightColor", IdColor, "Color", "The color of the light.", m_Color);
    list.AddCheck(Id(), "LightDragger", IdDragger, "Show dragger",
                  "Show a handle in the view that moves and turns the light.", m_ShowDragger);
    kDirectionRows.Add(Id(), list, "Direction", "The direction the light shines in.", m_Direction);
    kPositionRows.Add(Id(), list, "Position", "Where the light stands.", m_Position);
    list.AddDouble(Id(), "LightCutoff", IdCutoff, "Cutoff angle (degrees)",
                   "The spot's angle from its axis to the edge of its cone.", m_Cutoff, ValCheckMinMax, 0.0,
                   kMaxCutoff, 1.0);
    list.AddDouble(Id(), "LightDropoff", IdDropoff, "Drop-off rate",
                   "How fast the spot's light fades from its axis, 0 to 1.", m_Dropoff, ValCheckMinMax, 0.0, 1.0,
                   0.05);
    list.Outdent();
    OnTypeChanged(list);
}

void VoLight::OnTypeChanged(VbPropList& list) const
{
    kDirectionRows.Visible(list, m_Type != Point);
    kPositionRows.Visible(list, m_Type != Directional);
    list.Enabled(IdCutoff, m_Type == Spot);
    list.Enabled(IdDropoff, m_Type == Spot);
}

void VoLight::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdType:
        RowReader::Choice(list, id, std::size(kTypeNames), m_Type);
        m_DraggerChanged = true;
        OnTypeChanged(list);
        break;
    case IdColor: list.GetValue(id, m_Color); break;
    case IdDragger: list.GetValue(id, m_ShowDragger); break;
    case IdCutoff: RowReader::Clamped(list, id, 0.0, kMaxCutoff, m_Cutoff); break;
    case IdDropoff: RowReader::Clamped(list, id, 0.0, 1.0, m_Dropoff); break;
    default:
        if (!kDirectionRows.Read(list, id, m_Direction) && !kPositionRows.Read(list, id, m_Position))
            return;
    }
    if (id != IdType && id != IdDragger)
        m_DraggerMustFollow = true;
    SetModified();
}

// ---- persistence -----------------------------------------------------------------------------

void VoLight::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    StoredFields f{m_Type, m_Color, m_ShowDragger, m_Direction, m_Position, m_Cutoff, m_Dropoff};
    TransferFields(archive, f);
    if (archive.IsStoring())
        return;
    if (f.type > Spot || !(f.cutoff >= 0.0 && f.cutoff <= kMaxCutoff) || !(f.dropoff >= 0.0 && f.dropoff <= 1.0) ||
        !VectorRows::Finite(f.direction) || !VectorRows::Finite(f.position))
        archive.ThrowFormatError("light type %u, cut-off %g, drop-off %g or a vector out of range", f.type, f.cutoff,
                                 f.dropoff);
    if (f.type != m_Type)
        m_DraggerChanged = true;
    m_Type = f.type;
    m_Color = f.color;
    m_ShowDragger = f.showDragger;
    m_Direction = f.direction;
    m_Position = f.position;
    m_Cutoff = f.cutoff;
    m_Dropoff = f.dropoff;
    m_DraggerMustFollow = true;
}

} // namespace core
