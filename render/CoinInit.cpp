#include "render/CoinInit.h"

#include <Inventor/C/base/string.h>
#include <Inventor/C/errors/debugerror.h>
#include <Inventor/SoDB.h>
#include <Inventor/SoInteraction.h>
#include <Inventor/nodekits/SoNodeKit.h>

#include <cstring>
#include <mutex>

namespace render {

namespace {

cc_debugerror_cb* s_NextHandler = nullptr;
void* s_NextData = nullptr;

// The scene-graph library asks GLX whether each new GL context renders
// directly and warns when there is no GLX context, which is always so with our
// EGL contexts (it then assumes direct rendering, which is right). That one
// warning is dropped; everything else goes on to the handler found at start.
void FilterDebugMessages(const cc_debugerror* error, void* /*data*/)
{
    const char* text = cc_string_get_text(cc_error_get_debug_string(&error->super));
    if (text && std::strstr(text, "Couldn't get current GLX context"))
        return;
    if (s_NextHandler)
        s_NextHandler(error, s_NextData);
    else
        cc_error_default_handler_cb(&error->super, nullptr);
}

} // namespace

void EnsureCoinInit()
{
    static std::once_flag once;
    std::call_once(once, [] {
        SoDB::init();
        SoNodeKit::init();
        SoInteraction::init();
        s_NextHandler = cc_debugerror_get_handler(&s_NextData);
        cc_debugerror_set_handler_callback(FilterDebugMessages, nullptr);
    });
}

} // namespace render
