#include "host/ScenePicture.h"

#include "core/network/VoNetwork.h"
#include "core/visual/VbLegend.h"
#include "core/visual/VoAnnotation.h"
#include "host/HostError.h"
#include "render/CameraFraming.h"
#include "render/OffscreenContext.h"
#include "render/SceneRenderer.h"

#include <Inventor/SoOutput.h>
#include <Inventor/SoPath.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/actions/SoSearchAction.h>
#include <Inventor/actions/SoWriteAction.h>
#include <Inventor/nodes/SoCallback.h>
#include <Inventor/nodes/SoDirectionalLight.h>
#include <Inventor/nodes/SoPerspectiveCamera.h>
#include <Inventor/nodes/SoSeparator.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace host {

render::Image ScenePicture::Draw(const SceneView& view)
{
    core::VoNetwork& network = core::VoNetwork::Instance();
    const shr::Color4b background = view.hasBackground ? view.background : network.GetBackgroundColor();
    core::InvSmartPtr<SoSeparator> root = network.SceneRoot();
    render::OffscreenContext context;
    render::SceneRenderer renderer(context, view.width, view.height, background);
    renderer.SetFraming(render::CameraFraming(view.azimuth, view.elevation, view.zoom));
    render::Image picture = renderer.Render(root.get());
    // Blending leaves translucent geometry's own alpha in the framebuffer; a
    // picture file shows what the screen shows, so every pixel is opaque.
    for (int y = 0; y < picture.Height(); ++y) {
        for (int x = 0; x < picture.Width(); ++x) {
            shr::Color4b pixel = picture.At(x, y);
            pixel.a = 255;
            picture.Set(x, y, pixel);
        }
    }
    return picture;
}

namespace {

// Plain nodes for a node the scene draws by callback in screen space (a
// legend, an annotation), laid out for the view; null for any other node.
core::InvSmartPtr<SoSeparator> AsNodes(const SoNode* node, const SceneView& view)
{
    if (const core::VbLegend* legend = core::VbLegend::DrawnBy(node))
        return legend->SceneGraph(view.width, view.height);
    if (const core::VoAnnotation::Block* block = core::VoAnnotation::DrawnBy(node))
        return core::VoAnnotation::SceneGraph(*block, view.width, view.height, SbViewportRegion().getPixelsPerInch());
    return core::InvSmartPtr<SoSeparator>();
}

// While it lives, the nodes the scene draws by callback in screen space stand
// replaced by plain nodes of the same picture, which a file can hold; the
// scene is given back as it was at the end.
class ScreenSpaceAsNodes {
public:
    ScreenSpaceAsNodes(SoNode* root, const SceneView& view)
    {
        SoSearchAction search;
        search.setType(SoCallback::getClassTypeId());
        search.setInterest(SoSearchAction::ALL);
        search.setSearchingAll(true);
        search.apply(root);
        const SoPathList& paths = search.getPaths();
        for (int p = 0; p < paths.getLength(); ++p) {
            const SoPath& path = *paths[p];
            core::InvSmartPtr<SoSeparator> nodes = AsNodes(path.getTail(), view);
            if (!nodes || path.getLength() < 2)
                continue;
            m_Swaps.push_back(Swap{static_cast<SoGroup*>(path.getNodeFromTail(1)), path.getIndexFromTail(0),
                                   path.getTail(), nodes});
        }
        // Only once every path has been read: a path follows the changes of its groups.
        for (const Swap& swap : m_Swaps)
            swap.parent->replaceChild(swap.index, swap.replacement.get());
    }
    ~ScreenSpaceAsNodes()
    {
        for (auto swap = m_Swaps.rbegin(); swap != m_Swaps.rend(); ++swap)
            swap->parent->replaceChild(swap->index, swap->original.get());
    }
    ScreenSpaceAsNodes(const ScreenSpaceAsNodes&) = delete;
    ScreenSpaceAsNodes& operator=(const ScreenSpaceAsNodes&) = delete;

private:
    struct Swap {
        SoGroup* parent;
        int index;
        core::InvSmartPtr<SoNode> original;
        core::InvSmartPtr<SoSeparator> replacement;
    };
    std::vector<Swap> m_Swaps;
};

} // namespace

namespace {

// The scene as the picture shows it: a headlight unless the scene has
// lights, then a camera framed as the view says, then the scene. A viewer
// uses the file's first camera, so the legends' own cameras stay theirs.
core::InvSmartPtr<SoSeparator> FramedScene(SoSeparator* root, const SceneView& view)
{
    core::InvSmartPtr<SoSeparator> file(new SoSeparator);
    if (!render::CameraFraming::HasLight(root)) {
        auto* headlight = new SoDirectionalLight;
        headlight->direction = SbVec3f(0.0f, 0.0f, -1.0f);
        file->addChild(headlight);
    }
    const SbViewportRegion viewport(static_cast<short>(view.width), static_cast<short>(view.height));
    SoGetBoundingBoxAction bounds(viewport);
    bounds.apply(root);
    auto* camera = new SoPerspectiveCamera;
    render::CameraFraming(view.azimuth, view.elevation, view.zoom)
        .Apply(*camera, bounds.getBoundingBox(), viewport.getViewportAspectRatio());
    file->addChild(camera);
    file->addChild(root);
    return file;
}

} // namespace

void ScenePicture::WriteInventor(const shr::GString& path, const SceneView& view)
{
    core::InvSmartPtr<SoSeparator> root = core::VoNetwork::Instance().SceneRoot();
    SoOutput output;
    if (!output.openFile(path.c_str()))
        HOST_USER_ERROR("%s: cannot write the scene graph: %s", path.c_str(), std::strerror(errno));
    if (root) {
        ScreenSpaceAsNodes nodes(root.get(), view);
        SoWriteAction writer(&output);
        writer.apply(FramedScene(root.get(), view).get());
    }
    output.closeFile();
}

} // namespace host
