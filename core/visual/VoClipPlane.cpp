#include "core/visual/VoClipPlane.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/SoGLExtension.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VoNetwork.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/visual/RowReader.h"
#include "core/visual/VectorRows.h"
#include "shr/Archive.h"
#include "shr/Plane.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoClipPlane, VoModule)
const VbModuleInfo VoClipPlane::s_ModuleInfo("Graphics Output\\ClipPlane", VoClipPlane::GetClassTypeId(), PortGeometry,
                                             PortGeometry, "Clips the input geometry", 19);

namespace VoClipPlanePrivate {

const VbPropertyRegistrar s_Registrars[] = {
    {"ClipPlaneDragger", VoClipPlane::IdDragger, VbBoolPropertyConverter::Key()},
    {"ClipPlaneOrientation", VoClipPlane::IdOrientation, VbUnsignedPropertyConverter::Key()},
    {"ClipPlaneSwap", VoClipPlane::IdSwap, VbBoolPropertyConverter::Key()},
    {"ClipPlaneDistance", VoClipPlane::IdDistance, VbDoublePropertyConverter::Key()},
};
const VectorRows kNormalRows{"ClipPlane", "Dir", VoClipPlane::IdNormal, VoClipPlane::IdXDir};
const VectorRows::KeyRegistrar s_NormalKeys(kNormalRows);

const char* const kOrientationNames[] = {"Along X", "Along Y", "Along Z", "Custom"};
const shr::Vec3d kAxes[3] = {shr::Vec3d::UNIT_X, shr::Vec3d::UNIT_Y, shr::Vec3d::UNIT_Z};

// Documents before this version stored a module of one input.
constexpr int kTenInputsVersion = 115;
// Shorter normals give no direction (the single precision epsilon).
constexpr double kTiny = 1.1920928955078125e-7;
constexpr double kDraggerScale = 0.7;

shr::GString InputLabel(int input, const char* format)
{
    char text[32];
    std::snprintf(text, sizeof text, format, 'A' + input);
    return text;
}

// The stored fields, read whole before the module takes any of them.
struct StoredFields {
    double distance = 0.0;
    uint32_t orientation = 0;
    bool swap = false, showDragger = false;
    shr::Vec3d normal;
    shr::Box3d bounds;
};

void TransferFields(shr::Archive& archive, StoredFields& f)
{
    archive.Transfer(f.distance);
    archive.Transfer(f.orientation);
    archive.Transfer(f.swap);
    archive.Transfer(f.showDragger);
    archive.Transfer(f.normal);
    archive.Transfer(f.bounds);
}

} // namespace VoClipPlanePrivate

using namespace VoClipPlanePrivate;

VoClipPlane::VoClipPlane()
{
    for (int input = 0; input < kInputCount; ++input)
        AddInput(InputLabel(input, "Input Geometry %c").c_str(), PortGeometry);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

VoClipPlane::~VoClipPlane() { DestroyDragger(); }

bool VoClipPlane::CompatibleImpl(int, const VoModule& source, int output, bool) const
{
    const VbPort* port = output >= 0 ? source.GetOutput(static_cast<size_t>(output)) : nullptr;
    if (!port)
        return false;
    const auto* geometry = dynamic_cast<const VdGeometry*>(port->Data());
    return !geometry || geometry->Clippable();
}

std::vector<VdGeometry*> VoClipPlane::CollectInput() const
{
    std::vector<VdGeometry*> inputs;
    for (size_t input = 0; input < kInputCount; ++input) {
        auto* geometry = static_cast<VdGeometry*>(GetInputData(input, VdGeometry::GetClassTypeId()));
        if (geometry && geometry->Clippable())
            inputs.push_back(geometry);
    }
    return inputs;
}

void VoClipPlane::OnInputChanged(int input, bool recalc)
{
    if (input >= 0 && input < kInputCount && recalc && GetInputData(size_t(input), VdGeometry::GetClassTypeId()))
        UpdateBB();
}

void VoClipPlane::UpdateBB()
{
    m_Bounds.MakeEmpty();
    for (const VdGeometry* geometry : CollectInput())
        m_Bounds.ExtendBy(geometry->GetBoundingBox());
}

void VoClipPlane::ComputeDirectionAndOffset(shr::Vec3d& direction, shr::Vec3d& offset) const
{
    direction = m_Swap ? -m_Normal : m_Normal;
    offset = direction * (m_Swap ? -m_Distance : m_Distance);
}

int VoClipPlane::ActivePlaneCount() const
{
    int upstream = 0;
    for (size_t input = 0; input < kInputCount; ++input)
        if (const auto* source = dynamic_cast<const VoClipPlane*>(GetInputConnection(input, 0)))
            upstream = std::max(upstream, source->ActivePlaneCount());
    return upstream + (IsGeometryVisible() ? 1 : 0);
}

void VoClipPlane::ShowGeometry(bool show, bool force)
{
    VoNetwork::Instance().AbortIfBusy(true);
    if (!force && show == IsGeometryVisible())
        return;
    StoreGeometryVisible(show);
    SetModified();
}

void VoClipPlane::SetOrientation(uint32_t orientation)
{
    m_Orientation = orientation;
    if (orientation < Custom)
        m_Normal = kAxes[orientation];
}

// ---- execution -------------------------------------------------------------------------------

VoModule::ModuleStatus VoClipPlane::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    VgStateScope scope(*renderer, OutputGeometry(0));
    const std::vector<VdGeometry*> inputs = CollectInput();
    if (inputs.empty())
        return ModuleOk;
    if (m_Normal.Length() < kTiny)
        CORE_THROW(44);
    if (IsGeometryVisible()) {
        if (m_Bounds.IsEmpty())
            return ModuleOk;
        const int maximum = SoGLExtManager::getInstance()->getMaxClipPlanes();
        if (ActivePlaneCount() > maximum)
            CORE_THROW(0, "The maximum number of clip planes (%d) has been exceeded.", maximum);
        renderer->addInventorNode(SoGLExtManager::newMeasuringNode().get());
        AddPlane(*renderer);
    }
    for (const VdGeometry* geometry : inputs)
        renderer->addInventorNode(geometry->GetRoot().get());
    return ModuleOk;
}

void VoClipPlane::AddPlane(VgRenderer& renderer)
{
    if (m_ShowDragger) {
        if (!CurrentDragger())
            ConstructDragger();
        m_DraggerMustFollow = true;
        AddDraggerToScene(renderer);
        return;
    }
    DestroyDragger();
    shr::Vec3d direction, offset;
    ComputeDirectionAndOffset(direction, offset);
    renderer.setClipPlane(shr::Plane(direction, m_Bounds.Center() + offset));
}

// ---- the dragger -----------------------------------------------------------------------------

std::shared_ptr<VgClipPlaneDragger> VoClipPlane::ConstructDraggerImpl()
{
    auto dragger = std::make_shared<VgClipPlaneDragger>();
    UpdateDraggerFromNodeImpl(*dragger);
    return dragger;
}

void VoClipPlane::UpdateDraggerFromNodeImpl(VgClipPlaneDragger& dragger)
{
    if (m_Bounds.IsEmpty())
        return;
    shr::Vec3d direction, offset;
    ComputeDirectionAndOffset(direction, offset);
    dragger.SetValue(shr::Box3d(m_Bounds.min + offset, m_Bounds.max + offset), direction, kDraggerScale);
}

void VoClipPlane::DraggerChangedImpl(const VgClipPlaneDragger& dragger)
{
    const shr::Plane& plane = dragger.Plane();
    const shr::Vec3d& direction = plane.GetNormal();
    m_Normal = m_Swap ? -direction : direction;
    const auto axis = std::find(std::begin(kAxes), std::end(kAxes), m_Normal);
    m_Orientation = axis == std::end(kAxes) ? Custom : static_cast<uint32_t>(axis - std::begin(kAxes));
    const double distance = plane.GetDistance() - direction.Dot(m_Bounds.Center());
    m_Distance = m_Swap ? -distance : distance;
    UiProxy::Instance()->UpdatePropertyList(this, DraggerEventId, true);
}

void VoClipPlane::DraggerFinishedImpl() { SetModified(); }

// ---- properties ------------------------------------------------------------------------------

void VoClipPlane::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    for (int input = 0; input < kInputCount; ++input) {
        const VoModule* source = GetInputConnection(size_t(input), 0);
        list.AddStatic(Id(), IdFirstInput + input, InputLabel(input, "Input %c").c_str(),
                       "A module whose geometry the plane cuts.", source ? source->Name().c_str() : "Nothing");
    }
    list.AddCheck(Id(), "ClipPlaneDragger", IdDragger, "Show dragger",
                  "Show a handle in the view that moves and turns the plane.", m_ShowDragger);
    list.AddCombo(Id(), "ClipPlaneOrientation", IdOrientation, "Orientation", "The axis the plane's normal follows.",
                  m_Orientation, std::size(kOrientationNames), const_cast<const char**>(kOrientationNames), 0);
    kNormalRows.Add(Id(), list, "Normal", "The plane's normal: the side it points to stays.", m_Normal);
    list.AddCheck(Id(), "ClipPlaneSwap", IdSwap, "Swap clip direction", "Keep the other side of the plane.", m_Swap);
    list.AddDouble(Id(), "ClipPlaneDistance", IdDistance, "Distance from center",
                   "How far the plane stands from the centre of the geometry, along its normal.", m_Distance,
                   ValCheckNone, 0.0, 0.0, 1.0);
    list.Outdent();
}

void VoClipPlane::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdDragger: list.GetValue(id, m_ShowDragger); return;
    case IdOrientation:
        RowReader::Choice(list, id, std::size(kOrientationNames), m_Orientation);
        SetOrientation(m_Orientation);
        kNormalRows.Show(list, m_Normal);
        break;
    case IdSwap: list.GetValue(id, m_Swap); break;
    case IdDistance: {
        double distance = m_Distance;
        list.GetValue(id, distance);
        if (std::isfinite(distance))
            m_Distance = distance;
        list.SetNum(id, m_Distance);
        break;
    }
    default:
        if (!kNormalRows.Read(list, id, m_Normal))
            return;
    }
    m_DraggerMustFollow = true;
    SetModified();
}

// ---- persistence -----------------------------------------------------------------------------

// The module had one input then: the base reads the links of that one only.
void VoClipPlane::SerializeAsOneInput(shr::Archive& archive)
{
    std::vector<VbPort*> later;
    while (GetInputCount() > 1)
        later.push_back(DetachLastInput());
    const auto reattach = [&] {
        for (auto port = later.rbegin(); port != later.rend(); ++port)
            ReattachInput(*port);
    };
    try {
        VoModule::Serialize(archive);
    } catch (...) {
        reattach();
        throw;
    }
    reattach();
}

void VoClipPlane::Serialize(shr::Archive& archive)
{
    if (archive.IsLoading() && archive.GetVersion() < kTenInputsVersion)
        SerializeAsOneInput(archive);
    else
        VoModule::Serialize(archive);
    archive.SyncCheck();
    StoredFields f{m_Distance, m_Orientation, m_Swap, m_ShowDragger, m_Normal, m_Bounds};
    TransferFields(archive, f);
    if (archive.IsStoring())
        return;
    if (f.orientation > Custom || !std::isfinite(f.distance) || !VectorRows::Finite(f.normal))
        archive.ThrowFormatError("clip plane orientation %u, distance %g or normal out of range", f.orientation,
                                 f.distance);
    m_Distance = f.distance;
    m_Orientation = f.orientation;
    m_Swap = f.swap;
    m_ShowDragger = f.showDragger;
    m_Normal = f.normal;
    m_Bounds = f.bounds;
    m_DraggerMustFollow = true;
}

} // namespace core
