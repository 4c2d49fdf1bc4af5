#include "core/graphics/VgPlaneDragger.h"

#include "core/graphics/InvPlaneDragger.h"

namespace core {

VgPlaneDragger::VgPlaneDragger(double scale, const shr::Vec3d& normal, const shr::Box3d& box, double offset,
                               CallbackFunc callback, void* data)
    : m_Root(new InvPlaneDragger)
{
    m_Root->SetScale(scale);
    m_Root->SetNormal(normal);
    m_Root->SetBox(box);
    m_Root->SetOffset(offset);
    m_Root->SetNotify(&VgPlaneDragger::Notify, this);
    Callback(callback, data);
}

VgPlaneDragger::~VgPlaneDragger()
{
    // The node may outlive us in a scene: it must not call back into a dead object.
    m_Root->SetNotify(nullptr, nullptr);
}

InvSmartPtr<SoNode> VgPlaneDragger::GetNode() const { return InvSmartPtr<SoNode>(m_Root.get()); }

void VgPlaneDragger::SetScale(double scale) { m_Root->SetScale(scale); }
void VgPlaneDragger::SetBox(const shr::Box3d& box) { m_Root->SetBox(box); }
void VgPlaneDragger::SetNormal(const shr::Vec3d& normal) { m_Root->SetNormal(normal); }
void VgPlaneDragger::SetOffset(double offset) { m_Root->SetOffset(offset); }
shr::Vec3d VgPlaneDragger::Normal() const { return m_Root->Normal(); }
double VgPlaneDragger::Offset() const { return m_Root->Offset(); }

// Starts send nothing; finishes and value changes of either handle map to the
// two events.
void VgPlaneDragger::Notify(InvPlaneDragger*, int code, void* data)
{
    auto* self = static_cast<VgPlaneDragger*>(data);
    switch (code) {
    case InvPlaneDragger::ROTATOR_FINISH:
    case InvPlaneDragger::TRANSLATOR_FINISH:
        self->SendEvent(FINISHED);
        break;
    case InvPlaneDragger::ROTATOR_VALUE:
    case InvPlaneDragger::TRANSLATOR_VALUE:
        self->SendEvent(CHANGED);
        break;
    default:
        break;
    }
}

} // namespace core
