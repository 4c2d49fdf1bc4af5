#include "host/ScenePicture.h"

#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "render/CameraFraming.h"
#include "render/OffscreenContext.h"
#include "render/SceneRenderer.h"

#include <Inventor/SoOutput.h>
#include <Inventor/actions/SoWriteAction.h>

#include <cerrno>
#include <cstring>

namespace host {

render::Image ScenePicture::Draw(const SceneView& view)
{
    core::VoNetwork& network = core::VoNetwork::Instance();
    const shr::Color4b background = view.hasBackground ? view.background : network.GetBackgroundColor();
    core::InvSmartPtr<SoSeparator> root = network.SceneRoot();
    render::OffscreenContext context;
    render::SceneRenderer renderer(context, view.width, view.height, background);
    renderer.SetFraming(render::CameraFraming(view.azimuth, view.elevation, view.zoom));
    return renderer.Render(root.get());
}

void ScenePicture::WriteInventor(const shr::GString& path)
{
    core::InvSmartPtr<SoSeparator> root = core::VoNetwork::Instance().SceneRoot();
    SoOutput output;
    if (!output.openFile(path.c_str()))
        HOST_USER_ERROR("%s: cannot write the scene graph: %s", path.c_str(), std::strerror(errno));
    if (root) {
        SoWriteAction writer(&output);
        writer.apply(root.get());
    }
    output.closeFile();
}

} // namespace host
