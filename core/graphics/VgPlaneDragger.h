#pragma once
// VgPlaneDragger: the cutting-plane handle. A trackball turns the plane's
// normal, a drag on the plane's outline moves it along the normal; the plane
// is drawn as its cut through a box. All state lives in the node.
//
// Events: a finished rotation or translation sends FINISHED, motion sends
// CHANGED, the start of a drag sends nothing.
#include "core/graphics/VgDragger.h"

namespace shr {
struct Box3d;
struct Vec3d;
} // namespace shr

namespace core {

class InvPlaneDragger;

class VgPlaneDragger : public VgDragger {
public:
    // `scale` sizes the trackball relative to half the box diagonal; `offset`
    // is the plane's distance from the box centre along `normal`. The callback
    // is installed last, so the set-up sends nothing.
    VgPlaneDragger(double scale, const shr::Vec3d& normal, const shr::Box3d& box, double offset,
                   CallbackFunc callback, void* data);
    ~VgPlaneDragger() override;

    InvSmartPtr<SoNode> GetNode() const override;

    void SetScale(double scale);
    void SetBox(const shr::Box3d& box);
    // Normalised on the way in.
    void SetNormal(const shr::Vec3d& normal);
    void SetOffset(double offset);
    shr::Vec3d Normal() const;
    double Offset() const;

    // The node itself, for callers that need more than the above (tests).
    InvPlaneDragger& Node() const { return *m_Root; }

private:
    static void Notify(InvPlaneDragger* node, int code, void* data);

    InvSmartPtr<InvPlaneDragger> m_Root;
};

} // namespace core
