#pragma once
// Shared pieces of the dragger tests: scene-graph start-up through the
// network (which registers the library's node classes), a record of the
// events a dragger sends, and a way to end a drag as the scene graph does on
// release.
#include "core/graphics/VgDragger.h"
#include "core/network/VoNetwork.h"
#include "render/CoinInit.h"

#include <Inventor/draggers/SoDragger.h>
#include <gtest/gtest.h>

#include <mutex>
#include <vector>

namespace draggertest {

// The network's Init registers the library's classes; the update thread it
// starts is not needed here and is stopped again at once.
inline void EnsureDraggerClasses()
{
    static std::once_flag once;
    std::call_once(once, [] {
        render::EnsureCoinInit();
        core::VoNetwork::Instance().Init();
        core::VoNetwork::Instance().Release();
    });
}

// The events a dragger sends, each while the dragger is in its callback.
struct EventRecorder {
    std::vector<core::VgDragger::Event> events;
    static void Callback(core::VgDragger::Event event, const core::VgDragger* sender, void* data)
    {
        EXPECT_TRUE(sender->InCallback());
        static_cast<EventRecorder*>(data)->events.push_back(event);
    }
};

// A parent dragger passes a child's finish on to its own callbacks; that hook
// is how a test ends a drag without mouse events.
struct DragRelay : SoDragger {
    static void Finish(SoDragger* dragger) { childFinishCB(dragger, dragger); }
};

} // namespace draggertest
