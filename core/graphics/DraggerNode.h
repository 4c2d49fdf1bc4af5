#pragma once
// DraggerNode<T>: ties a dragger of kind T to a module, beside VoModule.
//
// A drag reaches the module in two steps: each motion event stops a running
// update and hands the dragger's values to DraggerChangedImpl (which stores
// them and refreshes the property rows), and the release calls
// DraggerFinishedImpl (which sets the module modified), so the costly
// re-execution waits for the release.
//
// The other way round, the module sets "must follow" when a value the
// dragger shows has changed; the values reach the dragger at the next render
// or bounding-box traversal (UpdateDraggerFromNode), with the dragger's own
// callbacks blocked, since writing its fields fires them.
//
// Events come on the host's view thread, traversals on the rendering thread;
// the dragger pointer is read and replaced atomically.
#include "core/graphics/InvInterface.h"
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/VgDragger.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/VoNetwork.h"
#include "shr/Exception.h"

#include <Inventor/SbBox3f.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/elements/SoViewportRegionElement.h>
#include <Inventor/nodes/SoCallback.h>

#include <memory>

namespace core {

template <class T>
class DraggerNode {
public:
    virtual ~DraggerNode() = default;

    // A counted copy of the dragger, empty when there is none.
    std::shared_ptr<const T> CurrentDragger() const { return std::atomic_load(&m_Dragger); }

    void DraggerChangedFromGUI(bool changed) { m_DraggerChangedFromGUI = changed; }
    bool DraggerChangedFromGUI() const { return m_DraggerChangedFromGUI; }
    bool DraggerCallbackBlocked() const { return m_CallbackBlocked; }

    void DraggerChanged(const T& dragger) { DraggerChangedImpl(dragger); }
    void DraggerFinished() { DraggerFinishedImpl(); }

    // Brings the dragger up to the module's values if they have changed.
    void UpdateDraggerFromNode();
    // Adds the dragger, pickable, and a callback node that keeps it up to date.
    void AddDraggerToScene(VgRenderer& renderer);

protected:
    DraggerNode() = default;

    // The dragger itself, for a module that adjusts it outside the
    // follow-up (a light rescaling its handle after a pass); empty when none.
    std::shared_ptr<T> Dragger() const { return std::atomic_load(&m_Dragger); }
    // Makes the dragger and routes its events to this node.
    void ConstructDragger();
    void DestroyDragger();

    // Set by the module's property code; the dragger exists only while it is on.
    bool m_ShowDragger = false;
    // Set by the module after each change of a value the dragger shows.
    bool m_DraggerMustFollow = false;

private:
    virtual std::shared_ptr<T> ConstructDraggerImpl() = 0;
    virtual void DestroyDraggerImpl() {}
    virtual void DraggerChangedImpl(const T&) {}
    virtual void DraggerFinishedImpl() {}
    virtual void UpdateDraggerFromNodeImpl(T&) {}

    static void DraggerCallback(VgDragger::Event event, const VgDragger* sender, void* data);
    static void UpdateDraggerCallback(void* data, SoAction* action);
    void ExtendBoundingBox(SoGetBoundingBoxAction& action, const T& dragger);

    std::shared_ptr<T> m_Dragger;
    bool m_DraggerChangedFromGUI = false;
    bool m_CallbackBlocked = false;
};

// ---- implementation ------------------------------------------------------------

template <class T>
void DraggerNode<T>::UpdateDraggerFromNode()
{
    const std::shared_ptr<T> dragger = std::atomic_load(&m_Dragger);
    if (!dragger || !m_DraggerMustFollow)
        return;
    struct Block {
        bool& flag;
        explicit Block(bool& f) : flag(f) { flag = true; }
        ~Block() { flag = false; }
    } block(m_CallbackBlocked);
    m_DraggerMustFollow = false;
    UpdateDraggerFromNodeImpl(*dragger);
}

template <class T>
void DraggerNode<T>::AddDraggerToScene(VgRenderer& renderer)
{
    const std::shared_ptr<T> dragger = std::atomic_load(&m_Dragger);
    if (!dragger)
        return;
    InvSmartPtr<SoCallback> callback(new SoCallback);
    callback->setCallback(&DraggerNode::UpdateDraggerCallback, this);
    renderer.addInventorNode(callback.get());
    renderer.setPickStyle(VgRenderer::PICK_SHAPE);
    renderer.addDragger(*dragger);
    renderer.setPickStyle(VgRenderer::UNPICKABLE);
}

template <class T>
void DraggerNode<T>::ConstructDragger()
{
    std::shared_ptr<T> dragger = ConstructDraggerImpl();
    if (dragger)
        dragger->Callback(&DraggerNode::DraggerCallback, this);
    std::atomic_store(&m_Dragger, std::move(dragger));
}

template <class T>
void DraggerNode<T>::DestroyDragger()
{
    if (!std::atomic_load(&m_Dragger))
        return;
    DestroyDraggerImpl();
    std::atomic_store(&m_Dragger, std::shared_ptr<T>());
}

template <class T>
void DraggerNode<T>::DraggerCallback(VgDragger::Event event, const VgDragger* sender, void* data)
{
    auto* self = static_cast<DraggerNode*>(data);
    if (!self || self->m_CallbackBlocked)
        return;
    const T* dragger = dynamic_cast<const T*>(sender);
    if (!dragger)
        return;
    if (event == VgDragger::CHANGED) {
        VoNetwork::Instance().AbortIfBusy(true);
        if (self->CurrentDragger()) {
            self->m_DraggerChangedFromGUI = true;
            self->DraggerChangedImpl(*dragger);
        }
    } else if (event == VgDragger::FINISHED && self->m_DraggerChangedFromGUI) {
        self->m_DraggerChangedFromGUI = false;
        self->DraggerFinishedImpl();
    }
}

template <class T>
void DraggerNode<T>::UpdateDraggerCallback(void* data, SoAction* action)
{
    auto* self = static_cast<DraggerNode*>(data);
    if (!self || !action)
        return;
    if (action->isOfType(SoGLRenderAction::getClassTypeId())) {
        self->UpdateDraggerFromNode();
    } else if (action->isOfType(SoGetBoundingBoxAction::getClassTypeId())) {
        const std::shared_ptr<const T> dragger = self->CurrentDragger();
        if (dragger) {
            self->UpdateDraggerFromNode();
            self->ExtendBoundingBox(*static_cast<SoGetBoundingBoxAction*>(action), *dragger);
        }
    }
}

// The dragger is measured on its own: its handles count in the scene's bounds.
template <class T>
void DraggerNode<T>::ExtendBoundingBox(SoGetBoundingBoxAction& action, const T& dragger)
{
    const InvSmartPtr<SoNode> root = dragger.GetNode();
    if (!root)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 60, "%s", "Invalid root in bounding box calculation.");
    const SbViewportRegion& region = SoViewportRegionElement::get(action.getState());
    const shr::Box3d box = InvBoundingBox(root, &region);
    if (!box.IsEmpty())
        action.extendBy(SbBox3f(static_cast<float>(box.min.x), static_cast<float>(box.min.y),
                                static_cast<float>(box.min.z), static_cast<float>(box.max.x),
                                static_cast<float>(box.max.y), static_cast<float>(box.max.z)));
}

} // namespace core
