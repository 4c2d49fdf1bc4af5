#pragma once
// VgDragger: a handle in the 3-D view (a light, a clip plane, a data set, a
// cutting plane) built on one scene-graph dragger or manipulator. It reports
// two events to one callback: CHANGED while the user drags, FINISHED on
// release. Modules update their values live on CHANGED and re-execute only on
// FINISHED.
//
// Every kind keeps its root node as its first counted node member, so GetNode
// reads alike everywhere, and members go last made first on destruction.
#include "core/graphics/InvSmartPtr.h"
#include "shr/NonComparable.h"

#include <boost/noncopyable.hpp>

#include <functional>

class SoDragger;
class SoNode;

namespace core {

class VgDragger : private boost::noncopyable, public shr::NonComparable {
public:
    enum Event { CHANGED = 0, FINISHED = 1 };
    typedef void (*CallbackFunc)(Event event, const VgDragger* sender, void* data);

    // A counted reference to the dragger's root node, ready to add to a scene.
    virtual InvSmartPtr<SoNode> GetNode() const = 0;
    // Destroying a dragger from inside its own callback is not prevented; it
    // is logged.
    virtual ~VgDragger();

    // Replaces the callback and its data.
    void Callback(CallbackFunc func, void* data);
    // Clears the function; the data stays.
    void RemoveCallback();

    // True while the callback runs.
    bool InCallback() const { return m_InCallback; }

protected:
    VgDragger();
    // Calls the callback, if any, with the in-callback flag raised; the flag
    // is lowered again when the callback throws.
    void SendEvent(Event event);

    // Follows a scene-graph dragger: its value-changed callback first calls
    // `read` (which brings the stored values up to the dragger), then sends
    // CHANGED; its finish callback sends FINISHED. One dragger at a time; the
    // hooks come off on destruction, since the node may outlive us in a scene.
    void HookDragger(SoDragger* dragger, std::function<void()> read);

private:
    void UnhookDragger();
    static void ValueChangedCB(void* data, SoDragger* dragger);
    static void FinishCB(void* data, SoDragger* dragger);

    bool m_InCallback = false;
    CallbackFunc m_Callback = nullptr;
    void* m_UserData = nullptr;
    InvSmartPtr<SoDragger> m_Hooked;
    std::function<void()> m_Read;
};

} // namespace core
