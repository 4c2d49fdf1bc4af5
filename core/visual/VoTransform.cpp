#include "core/visual/VoTransform.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdLattice.h"
#include "core/data/VdPoints.h"
#include "core/wells/VdWellData.h"
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
#include "shr/MathUtil.h"
#include "shr/Quat4d.h"

#include <cmath>
#include <iterator>

namespace core {

namespace {
constexpr unsigned int kDataTypes =
    PortPoints | PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice | PortWellData;
}

SHR_IMPLEMENT_CREATABLE_TYPE(VoTransform, VoModule)
const VbModuleInfo VoTransform::s_ModuleInfo("Computational\\Transform", VoTransform::GetClassTypeId(), kDataTypes,
                                             kDataTypes, "Transforms lattice or point coordinates", 11);

namespace VoTransformPrivate {

const unsigned char kBool = VbBoolPropertyConverter::Key();
const VbPropertyRegistrar s_Registrars[] = {
    {"TransformDragger", VoTransform::IdDragger, kBool},
    {"TransformDraggerState", VoTransform::IdDraggerState, kBool},
    {"TransformTransReset", VoTransform::IdTransReset, kBool},
    {"TransformScaleReset", VoTransform::IdScaleReset, kBool},
    {"TransformRotationAngle", VoTransform::IdAngle, VbDoublePropertyConverter::Key()},
    {"TransformRotationReset", VoTransform::IdRotationReset, kBool},
    {"TransformOrigin", VoTransform::IdOriginKind, VbUnsignedPropertyConverter::Key()},
};
const VectorRows kTranslationRows{"Transform", "Trans", VoTransform::IdTranslation, VoTransform::IdXTrans};
const VectorRows kScaleRows{"Transform", "Scale", VoTransform::IdScale, VoTransform::IdXScale};
const VectorRows kAxisRows{"Transform", "Rotation", VoTransform::IdRotation, VoTransform::IdXRotation};
const VectorRows kOriginRows{"Transform", "Origin", VoTransform::IdOrigin, VoTransform::IdXOrigin};
const VectorRows::KeyRegistrar s_TranslationKeys(kTranslationRows);
const VectorRows::KeyRegistrar s_ScaleKeys(kScaleRows);
const VectorRows::KeyRegistrar s_AxisKeys(kAxisRows);
const VectorRows::KeyRegistrar s_OriginKeys(kOriginRows);

const char* const kOriginNames[] = {"Center", "Lower left", "Upper right", "Custom"};

constexpr int kOriginVersion = 126;
// Shorter axes give no direction (the single precision epsilon).
constexpr double kTiny = 1.1920928955078125e-7;

// The box the dragger fits when there is no data to fit.
const shr::Box3d kUnitBox(-1.0, -1.0, -1.0, 1.0, 1.0, 1.0);


// The stored fields, read whole before the module takes any of them.
struct StoredFields {
    bool showDragger = false;
    shr::Vec3d translation, scale, axis;
    double angle = 0.0;
    uint32_t originKind = 0;
    shr::Vec3d origin;
};

void TransferFields(shr::Archive& archive, StoredFields& f)
{
    archive.Transfer(f.showDragger);
    archive.Transfer(f.translation);
    archive.Transfer(f.scale);
    archive.Transfer(f.axis);
    archive.Transfer(f.angle);
    if (archive.IsStoring() || archive.GetVersion() >= kOriginVersion) {
        archive.Transfer(f.originKind);
        archive.Transfer(f.origin);
    }
}

} // namespace VoTransformPrivate

using namespace VoTransformPrivate;

VoTransform::VoTransform()
{
    AddInput("Input Data", kDataTypes);
    AddOutput("Output Data", kDataTypes);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

VoTransform::~VoTransform() { DestroyDragger(); }

const VdSpatialData* VoTransform::InputData() const
{
    return static_cast<const VdSpatialData*>(GetInputData(0, VdSpatialData::GetClassTypeId()));
}

std::unique_ptr<VdSpatialData> VoTransform::CloneInput() const
{
    const VdSpatialData* input = InputData();
    if (const auto* points = dynamic_cast<const VdPoints*>(input))
        return std::make_unique<VdPoints>(*points);
    if (const auto* lattice = dynamic_cast<const VdLattice*>(input))
        return lattice->Clone();
    if (const auto* wells = dynamic_cast<const VdWellData*>(input))
        return wells->Clone();
    return nullptr;
}

shr::Vec3d VoTransform::OriginFor(const shr::Box3d& box) const
{
    switch (m_OriginKind) {
    case LowerLeft: return box.min;
    case UpperRight: return box.max;
    case CustomOrigin: return m_Origin;
    default: return box.Center();
    }
}

shr::Mat4d VoTransform::Matrix(const shr::Box3d& box, const shr::Mat4d* input) const
{
    shr::Mat4d matrix;
    matrix.SetTransform(m_Translation, shr::Quat4d(m_Axis, m_Angle), m_Scale, shr::Quat4d::IDENTITY, OriginFor(box));
    if (input)
        matrix *= *input;
    return matrix;
}

// ---- execution -------------------------------------------------------------------------------

VoModule::ModuleStatus VoTransform::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    GetOutput(0)->Data(nullptr);
    const VdSpatialData* input = InputData();
    if (!input)
        return ModuleOk;
    if (m_Axis.Length() < kTiny)
        CORE_THROW(44);
    if (!renderer)
        return ModuleOk;
    VgStateScope scope(*renderer, OutputGeometry(1));
    const shr::Box3d box = input->GetUVWBounds();
    renderer->UpdateTransform(box, input->GetUserTransform());
    if (m_ShowDragger) {
        if (!CurrentDragger())
            ConstructDragger();
        m_DraggerMustFollow = true;
        if (input->HasUserTransform())
            renderer->multTransform(input->GetUserTransform());
        AddDraggerToScene(*renderer);
    } else {
        DestroyDragger();
    }
    std::unique_ptr<VdSpatialData> copy = CloneInput();
    if (!copy)
        return ModuleOk;
    copy->SetUserTransform(Matrix(box, input->HasUserTransform() ? &input->GetUserTransform() : nullptr));
    GetOutput(0)->Data(copy.release());
    return ModuleOk;
}

// ---- the dragger -----------------------------------------------------------------------------

std::shared_ptr<VgTransformDragger> VoTransform::ConstructDraggerImpl()
{
    auto dragger = std::make_shared<VgTransformDragger>(shr::Vec3d::ZERO, shr::Vec3d::ONE, shr::Quat4d::ZERO, kUnitBox);
    UpdateDraggerFromNodeImpl(*dragger);
    return dragger;
}

void VoTransform::UpdateDraggerFromNodeImpl(VgTransformDragger& dragger)
{
    const VdSpatialData* input = InputData();
    dragger.SetTranslation(VoNetwork::Instance().Transform().Moved(m_Translation));
    dragger.SetBox(input ? input->GetUVWBounds() : kUnitBox);
    dragger.SetScale(m_Scale);
    dragger.SetRotation(shr::Quat4d(m_Axis, m_Angle));
    dragger.UnsquishKnobs();
}

void VoTransform::DraggerChangedImpl(const VgTransformDragger& dragger)
{
    m_Translation = VoNetwork::Instance().Transform().Inverse().Moved(dragger.Translation());
    m_Scale = dragger.Scale();
    dragger.Rotation().Get(m_Axis, m_Angle);
    UiProxy::Instance()->UpdatePropertyList(this, DraggerEventId, true);
}

void VoTransform::DraggerFinishedImpl() { SetModified(); }

// ---- properties ------------------------------------------------------------------------------

void VoTransform::UpdatePropertiesImpl(VbPropList& list)
{
    const VoModule* source = GetInputConnection(0, 0);
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input data", "The data this module transforms.",
                   source ? source->Name().c_str() : "Nothing");
    list.AddCheck(Id(), "TransformDragger", IdDragger, "Show dragger",
                  "Show a box in the view that moves, scales and turns the data.", m_ShowDragger);
    list.AddCheck(Id(), "TransformDraggerState", IdDraggerState, "Dragger state", "", m_ShowDragger);
    list.Visible(IdDraggerState, false);
    kTranslationRows.Add(Id(), list, "Translation", "The shift of the data.", m_Translation);
    list.AddButton(Id(), "TransformTransReset", IdTransReset, "Reset translation", "No shift.", "Reset");
    kScaleRows.Add(Id(), list, "Scale", "The factor along each axis, about the origin.", m_Scale);
    list.AddButton(Id(), "TransformScaleReset", IdScaleReset, "Reset scale", "A factor of 1 on every axis.", "Reset");
    kAxisRows.Add(Id(), list, "Rotation", "The axis the data turns about, through the origin.", m_Axis);
    list.AddDouble(Id(), "TransformRotationAngle", IdAngle, "Angle (degrees)",
                   "The turn about the axis, counter-clockwise seen from its tip.", m_Angle * shr::RAD_TO_DEG,
                   ValCheckNone, 0.0, 0.0, 1.0);
    list.AddButton(Id(), "TransformRotationReset", IdRotationReset, "Reset rotation", "No turn, about the Z axis.",
                   "Reset");
    ShowRotationComment(list);
    list.AddHeader(Id(), IdOrigin, "Origin", "", "", "The point that scale and rotation keep in place.");
    list.Indent();
    list.AddCombo(Id(), "TransformOrigin", IdOriginKind, "Origin", "Where scale and rotation work from.",
                  m_OriginKind, std::size(kOriginNames), const_cast<const char**>(kOriginNames), 0);
    kOriginRows.AddRows(Id(), list, "The custom origin.", m_Origin);
    list.Outdent();
    list.Outdent();
    list.Enabled(IdDragger, m_OriginKind == Center);
    UpdateOrigin(list);
}

void VoTransform::ShowRotationComment(VbPropList& list) const
{
    list.SetHeaderCommentFmt(IdRotation, "(axis=%.10g, %.10g, %.10g  angle=%.10g)", m_Axis.x, m_Axis.y, m_Axis.z,
                             m_Angle * shr::RAD_TO_DEG);
}

void VoTransform::UpdateDragger(VbPropList& list)
{
    if (list.IsProp(IdDraggerState))
        list.SetCheck(IdDraggerState, m_ShowDragger);
    if (m_OriginKind != Center) {
        m_ShowDragger = false;
        list.SetCheck(IdDragger, false);
    }
    list.Enabled(IdDragger, m_OriginKind == Center);
}

void VoTransform::UpdateOrigin(VbPropList& list) const { kOriginRows.Enabled(list, m_OriginKind == CustomOrigin); }

void VoTransform::Reset(VbPropList& list, int id)
{
    if (id == IdTransReset) {
        m_Translation = shr::Vec3d::ZERO;
        kTranslationRows.Show(list, m_Translation);
    } else if (id == IdScaleReset) {
        m_Scale = shr::Vec3d::ONE;
        kScaleRows.Show(list, m_Scale);
    } else {
        m_Axis = shr::Vec3d::UNIT_Z;
        m_Angle = 0.0;
        kAxisRows.Show(list, m_Axis);
        list.SetNum(IdAngle, 0.0);
        ShowRotationComment(list);
    }
}

void VoTransform::ReadResetRows(VbPropList& list, int id)
{
    const VectorRows& rows = id == IdTransReset ? kTranslationRows : id == IdScaleReset ? kScaleRows : kAxisRows;
    shr::Vec3d& value = id == IdTransReset ? m_Translation : id == IdScaleReset ? m_Scale : m_Axis;
    for (int row = rows.first; row < rows.first + 3; ++row)
        rows.Read(list, row, value);
    if (id == IdRotationReset) {
        double degrees = m_Angle * shr::RAD_TO_DEG;
        list.GetValue(IdAngle, degrees);
        if (std::isfinite(degrees))
            m_Angle = degrees * shr::DEG_TO_RAD;
        ShowRotationComment(list);
    }
}

void VoTransform::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdDragger: list.GetValue(id, m_ShowDragger); break;
    case IdAngle: {
        double degrees = m_Angle * shr::RAD_TO_DEG;
        list.GetValue(id, degrees);
        if (std::isfinite(degrees))
            m_Angle = degrees * shr::DEG_TO_RAD;
        ShowRotationComment(list);
        break;
    }
    case IdTransReset:
    case IdScaleReset:
    case IdRotationReset: Reset(list, id); break;
    case IdOriginKind:
        RowReader::Choice(list, id, std::size(kOriginNames), m_OriginKind);
        UpdateDragger(list);
        UpdateOrigin(list);
        break;
    default:
        if (kAxisRows.Read(list, id, m_Axis))
            ShowRotationComment(list);
        else if (!kTranslationRows.Read(list, id, m_Translation) && !kScaleRows.Read(list, id, m_Scale) &&
                 !kOriginRows.Read(list, id, m_Origin))
            return;
    }
    m_DraggerMustFollow = true;
    SetModified();
}

void VoTransform::RestoreProperties(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    if (id == IdTransReset || id == IdScaleReset || id == IdRotationReset) {
        ReadResetRows(list, id);
        m_DraggerMustFollow = true;
        SetModified();
        return;
    }
    PropertyEvent(list, event);
    // The flag comes back only where the dragger may be shown.
    bool saved = m_ShowDragger;
    if (m_OriginKind == Center && list.IsProp(IdDraggerState)) {
        list.GetValue(IdDraggerState, saved);
        if (saved != m_ShowDragger) {
            m_ShowDragger = saved;
            list.SetCheck(IdDragger, saved);
            SetModified();
        }
    }
}

// ---- persistence -----------------------------------------------------------------------------

void VoTransform::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    StoredFields f{m_ShowDragger, m_Translation, m_Scale, m_Axis, m_Angle, m_OriginKind, m_Origin};
    TransferFields(archive, f);
    if (archive.IsStoring())
        return;
    if (f.originKind > CustomOrigin || !std::isfinite(f.angle) || !VectorRows::Finite(f.translation) ||
        !VectorRows::Finite(f.scale) || !VectorRows::Finite(f.axis) || !VectorRows::Finite(f.origin))
        archive.ThrowFormatError("transform origin kind %u or a value out of range", f.originKind);
    m_ShowDragger = f.showDragger;
    m_Translation = f.translation;
    m_Scale = f.scale;
    m_Axis = f.axis;
    m_Angle = f.angle;
    m_OriginKind = f.originKind;
    m_Origin = f.origin;
    m_DraggerMustFollow = true;
}

} // namespace core
