#include "core/visual/VbCuttingPlane.h"

#include "core/data/VdLattice.h"
#include "core/graphics/PlanePolygon.h"
#include "core/graphics/VgPlaneDragger.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/Mat4d.h"

#include <cfloat>
#include <cmath>

namespace core {

namespace VbCuttingPlanePrivate {

// The trackball's size relative to half the box diagonal.
const double kDraggerScale = 0.25;

const char* const kOrientationNames[] = {"XY plane (axial)", "XZ plane (coronal)", "YZ plane (sagittal)", "Custom"};

// The normals of the three axis orientations.
const shr::Vec3d kAxisNormals[3] = {{0.0, 0.0, 1.0}, {0.0, 1.0, 0.0}, {1.0, 0.0, 0.0}};

// Box3d::GetCorners indices of each orientation's face.
const int kFaceCorners[3][4] = {{0, 1, 2, 3}, {0, 4, 5, 1}, {0, 3, 7, 4}};

const char* const kNormalHelp[3] = {"The X component of the normal to the plane.",
                                    "The Y component of the normal to the plane.",
                                    "The Z component of the normal to the plane."};
const char* const kNormalLabels[3] = {"X", "Y", "Z"};
const char* const kNormalKeys[3] = {"PlaneXNormal", "PlaneYNormal", "PlaneZNormal"};

// The zero-normal error goes to the user without stopping the module: the
// plane simply draws nothing until the normal is fixed.
void ReportZeroNormal()
{
    try {
        CORE_THROW(45);
    } catch (const shr::Exception& error) {
        UiProxy::Instance()->ErrorMsg(error);
    }
}

void AbortRunningPass()
{
    VoNetwork::Instance().AbortIfBusy(true);
}

} // namespace VbCuttingPlanePrivate

using namespace VbCuttingPlanePrivate;

void VbCuttingPlane::RegisterKeys(const char* prefix, int base)
{
    const unsigned char kDouble = VbDoublePropertyConverter::Key();
    const struct {
        const char* suffix;
        int row;
        unsigned char converter;
    } rows[] = {
        {"PlaneOrientation", RowOrientation, VbUnsignedPropertyConverter::Key()},
        {"PlaneXNormal", RowNormalX, kDouble},
        {"PlaneYNormal", RowNormalY, kDouble},
        {"PlaneZNormal", RowNormalZ, kDouble},
        {"PlaneOffset", RowOffset, kDouble},
        {"PlaneShowDragger", RowShowDragger, VbBoolPropertyConverter::Key()},
    };
    for (const auto& row : rows)
        VbPropertyRegistry::Instance().Set(shr::GString(prefix) + row.suffix, static_cast<unsigned short>(base + row.row),
                                           row.converter);
}

VbCuttingPlane::VbCuttingPlane() = default;

VbCuttingPlane::~VbCuttingPlane() = default;

void VbCuttingPlane::Initialize(VoModule* module, int baseId)
{
    m_Module = module;
    m_BaseId = baseId;
}

void VbCuttingPlane::Orientation(unsigned int orientation)
{
    m_Orientation = orientation;
    if (orientation > OrientCustom)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid cutting plane orientation.");
}

void VbCuttingPlane::Normal(const shr::Vec3d& normal)
{
    ChangeNormal(normal);
}

void VbCuttingPlane::Offset(double offset)
{
    m_Offset = offset;
    SyncDraggerOffset();
}

void VbCuttingPlane::BoundingBox(const shr::Box3d& box)
{
    m_BoundingBox = box;
    SyncDraggerBox();
}

unsigned int VbCuttingPlane::NormalToOrientation(const shr::Vec3d& normal)
{
    if (!(normal.Length() > FLT_EPSILON))
        return OrientCustom;
    const shr::Vec3d unit = normal.Normalized();
    for (unsigned int orientation = OrientXY; orientation <= OrientYZ; ++orientation)
        if (unit == kAxisNormals[orientation])
            return orientation;
    return OrientCustom;
}

void VbCuttingPlane::CalcOffsetLimits()
{
    m_OffsetLimit = PlaneOffsetLimit(m_BoundingBox, m_Normal);
}

void VbCuttingPlane::UpdateDefaults(const unsigned int dims[3], const shr::Box3d& box)
{
    int flatAxes = 0, flatAxis = -1;
    for (int axis = 0; axis < 3; ++axis)
        if (dims[axis] < 2) {
            ++flatAxes;
            flatAxis = axis;
        }
    if (flatAxes == 1) {
        // Flat in X: the YZ plane, and so on.
        const unsigned int orientation = OrientYZ - static_cast<unsigned int>(flatAxis);
        m_Orientation = orientation;
        ChangeNormal(kAxisNormals[orientation]);
    }
    BoundingBox(box);
    CalcOffsetLimits();
    if (!(m_Offset >= -m_OffsetLimit && m_Offset <= m_OffsetLimit))
        Offset(0.0);
}

std::array<shr::Vec3d, 4> VbCuttingPlane::PlaneCorners(const shr::Box3d& box) const
{
    if (m_Orientation >= OrientCustom)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 2);
    shr::Vec3d corners[8];
    box.GetCorners(corners);
    std::array<shr::Vec3d, 4> face;
    for (int c = 0; c < 4; ++c)
        face[c] = corners[kFaceCorners[m_Orientation][c]];
    return face;
}

// dot(normal, p) = dot(normal, centre) + offset with the normal as stored,
// not made unit first: a normal of length 2 moves the plane half the offset.
// Documents and scenes keep their planes where they drew them.
std::vector<shr::Vec3d> VbCuttingPlane::Polygon(const shr::Box3d& box) const
{
    if (box.IsEmpty())
        return {};
    return PlaneBoxPolygon(box, m_Normal, m_Normal.Dot(box.Center()) + m_Offset);
}

std::vector<shr::Vec3d> VbCuttingPlane::SectionPolygon(const VdLattice& lattice) const
{
    const shr::Box3d box = lattice.GetUVWBounds();
    if (lattice.GetDimensionality() < 3 && !CustomOrientation()) {
        const std::array<shr::Vec3d, 4> face = PlaneCorners(box);
        return std::vector<shr::Vec3d>(face.begin(), face.end());
    }
    return Polygon(box);
}

void VbCuttingPlane::Execute(VgRenderer& renderer, const VdLattice& lattice)
{
    renderer.UpdateTransform(lattice.GetUVWBounds(), lattice.GetUserTransform());
    const VgStateScope offset(renderer, VgRenderer::TRANSFORM_SEPARATOR);
    renderer.multTransform(
        shr::Mat4d::MakeTranslation(renderer.Transform().XTransform(), renderer.Transform().YTransform(), 0.0));
    std::unique_ptr<VgStateScope> moved;
    if (lattice.HasUserTransform()) {
        moved = std::make_unique<VgStateScope>(renderer, VgRenderer::TRANSFORM_SEPARATOR);
        renderer.multTransform(lattice.GetUserTransform());
    }
    Execute(renderer);
}

void VbCuttingPlane::Execute(VgRenderer& renderer)
{
    if (!(m_Normal.Length() >= FLT_EPSILON)) {
        ReportZeroNormal();
        return;
    }
    if (!m_ShowDragger)
        return;
    AddDragger(renderer);
}

void VbCuttingPlane::GetProperties(VbPropList& list, const shr::GString& prefix, int baseId, bool disabled)
{
    const VbModuleId id = m_Module ? m_Module->Id() : VbModuleId();
    list.AddCombo(id, prefix + "PlaneOrientation", baseId + RowOrientation, "Orientation",
                  "The orientation of the cutting plane.", m_Orientation, 4, const_cast<const char**>(kOrientationNames),
                  0);
    list.AddHeader(id, baseId + RowNormalHeader, "Normal Direction", "", "", "");
    list.Indent();
    for (int axis = 0; axis < 3; ++axis)
        list.AddDouble(id, prefix + kNormalKeys[axis], baseId + RowNormalX + axis, kNormalLabels[axis],
                       kNormalHelp[axis], m_Normal[axis], ValCheckNone, 0.0, 0.0, 0.0);
    list.Outdent();
    list.AddDouble(id, prefix + "PlaneOffset", baseId + RowOffset, "Offset from center",
                   "The offset of the cutting plane from the center of the input data.", m_Offset, ValCheckMinMax,
                   -m_OffsetLimit, m_OffsetLimit, 0.0);
    list.AddCheck(id, prefix + "PlaneShowDragger", baseId + RowShowDragger, "Show dragger",
                  "Show the dragger to facilitate orienting the plane interactively.", m_ShowDragger);
    for (int row = RowOrientation; row < RowCount; ++row)
        list.Enabled(baseId + row, !disabled);
}

bool VbCuttingPlane::PropertyEvent(VbPropList& list, const VbPropertyEvent& event, int baseId)
{
    const int row = event.Id() - baseId;
    switch (row) {
    case RowOrientation: {
        unsigned int orientation = m_Orientation;
        list.GetValue(event.Id(), orientation);
        TakeOrientation(list, orientation);
        return true;
    }
    case RowNormalX:
    case RowNormalY:
    case RowNormalZ:
        TakeNormalComponent(list, row - RowNormalX);
        return true;
    case RowOffset: {
        double offset = m_Offset;
        list.GetValue(event.Id(), offset);
        Offset(offset);
        return true;
    }
    case RowShowDragger:
        list.GetValue(event.Id(), m_ShowDragger);
        return true;
    default:
        return false;
    }
}

void VbCuttingPlane::TakeOrientation(VbPropList& list, unsigned int orientation)
{
    Orientation(orientation);
    if (orientation <= OrientYZ) {
        ChangeNormal(kAxisNormals[orientation]);
        ShowNormal(list);
    }
    CalcOffsetLimits();
    UpdateOffsetRow(list);
}

void VbCuttingPlane::TakeNormalComponent(VbPropList& list, int axis)
{
    shr::Vec3d normal = m_Normal;
    list.GetValue(m_BaseId + RowNormalX + axis, normal[axis]);
    ChangeNormal(normal);
    // A zero normal is kept as typed; the orientation waits for a usable one.
    if (normal.Length() >= FLT_EPSILON) {
        const unsigned int orientation = NormalToOrientation(normal);
        if (orientation != m_Orientation) {
            m_Orientation = orientation;
            list.SetCombo(m_BaseId + RowOrientation, orientation);
        }
    }
    CalcOffsetLimits();
    UpdateOffsetRow(list);
}

void VbCuttingPlane::ShowNormal(VbPropList& list) const
{
    for (int axis = 0; axis < 3; ++axis)
        list.SetNum(m_BaseId + RowNormalX + axis, m_Normal[axis]);
}

void VbCuttingPlane::UpdateOffsetRow(VbPropList& list) const
{
    list.SetNumLimits(m_BaseId + RowOffset, ValCheckMinMax, -m_OffsetLimit, m_OffsetLimit);
}

void VbCuttingPlane::ChangeNormal(const shr::Vec3d& normal)
{
    m_Normal = normal;
    SyncDraggerNormal();
}

void VbCuttingPlane::SyncDraggerNormal()
{
    if (m_Dragger && m_Normal.LengthSquared() > 0.0)
        m_Dragger->SetNormal(m_Normal);
}

void VbCuttingPlane::SyncDraggerOffset()
{
    if (m_Dragger)
        m_Dragger->SetOffset(m_Offset);
}

void VbCuttingPlane::SyncDraggerBox()
{
    if (m_Dragger)
        m_Dragger->SetBox(m_BoundingBox);
}

void VbCuttingPlane::AddDragger(VgRenderer& renderer)
{
    if (!m_Dragger)
        m_Dragger = std::make_unique<VgPlaneDragger>(kDraggerScale, m_Normal, m_BoundingBox, m_Offset,
                                                     &VbCuttingPlane::DraggerCallback, this);
    renderer.setPickStyle(VgRenderer::PICK_SHAPE);
    renderer.addDragger(*m_Dragger);
    renderer.setPickStyle(VgRenderer::UNPICKABLE);
}

void VbCuttingPlane::DraggerCallback(VgDragger::Event event, const VgDragger* sender, void* data)
{
    auto* plane = static_cast<VbCuttingPlane*>(data);
    if (!plane)
        return;
    if (event == VgDragger::CHANGED) {
        const auto* dragger = dynamic_cast<const VgPlaneDragger*>(sender);
        if (!dragger)
            shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid dragger.");
        plane->DraggerMoved(dragger->Normal(), dragger->Offset());
    } else if (event == VgDragger::FINISHED) {
        plane->DraggerReleased();
    }
}

void VbCuttingPlane::DraggerMoved(const shr::Vec3d& normal, double offset)
{
    bool changed = false;
    if (normal != m_Normal) {
        AbortRunningPass();
        if (m_Dragger) {
            m_NormalChanged = true;
            m_Normal = normal;
            m_Orientation = NormalToOrientation(normal);
            changed = true;
        }
    }
    if (offset != m_Offset) {
        AbortRunningPass();
        if (m_Dragger) {
            m_OffsetChanged = true;
            m_Offset = offset;
            changed = true;
        }
    }
    if (changed && m_Module)
        UiProxy::Instance()->UpdatePropertyList(m_Module, m_BaseId + RowCount, true);
}

void VbCuttingPlane::DraggerReleased()
{
    if (!m_NormalChanged && !m_OffsetChanged)
        return;
    AbortRunningPass();
    const bool normalChanged = m_NormalChanged;
    if (normalChanged)
        CalcOffsetLimits();
    m_NormalChanged = m_OffsetChanged = false;
    if (!m_Module)
        return;
    m_Module->SetModified();
    if (normalChanged)
        UiProxy::Instance()->UpdatePropertyList(m_Module, m_BaseId + RowCount, true);
}

void VbCuttingPlane::Serialize(shr::Archive& archive)
{
    archive.SyncCheck();
    unsigned int orientation = m_Orientation;
    shr::Vec3d normal = m_Normal;
    double offset = m_Offset, limit = m_OffsetLimit;
    bool showDragger = m_ShowDragger;
    shr::Box3d box = m_BoundingBox;
    bool normalChanged = m_NormalChanged, offsetChanged = m_OffsetChanged;
    archive.Transfer(orientation);
    archive.Transfer(normal);
    archive.Transfer(offset);
    archive.Transfer(limit);
    archive.Transfer(showDragger);
    archive.Transfer(box);
    archive.Transfer(normalChanged);
    archive.Transfer(offsetChanged);
    if (archive.IsStoring())
        return;
    if (orientation > OrientCustom)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid cutting plane orientation.");
    // The normal's rows refuse a zero vector.
    if (!(normal.LengthSquared() > 0.0) || !std::isfinite(normal.LengthSquared()))
        archive.ThrowFormatError("the cutting plane's normal (%g, %g, %g) has no direction", normal.x, normal.y,
                                 normal.z);
    m_Orientation = orientation;
    m_OffsetLimit = limit;
    m_ShowDragger = showDragger;
    m_NormalChanged = normalChanged;
    m_OffsetChanged = offsetChanged;
    ChangeNormal(normal);
    BoundingBox(box);
    Offset(offset);
}

} // namespace core
