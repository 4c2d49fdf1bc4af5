#include "tests/support/PictureSupport.h"
#include "tests/support/TestSupport.h"

#include "render/Framebuffer.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

using namespace testsupport;
using render::Framebuffer;
using render::OffscreenContext;
using render::SceneRenderer;

namespace {

const shr::Color4b kRed = shr::Color4b::Red, kBlue = shr::Color4b::Blue;

// Each platform, with and without a pbuffer, either draws correctly or refuses
// with an error naming the EGL call; a second context on a shared display
// survives the end of the first.
TEST(OffscreenContext, EveryPlatformDrawsOrRefusesCleanly)
{
    using Platform = OffscreenContext::Platform;
    using Surface = OffscreenContext::Surface;
    SceneRef scene(RedCubeWithCamera(10.0f));
    for (auto platform : {Platform::Surfaceless, Platform::Device, Platform::Default}) {
        for (auto surface : {Surface::Auto, Surface::Pbuffer}) {
            SCOPED_TRACE(testing::Message() << OffscreenContext::PlatformName(platform)
                                            << (surface == Surface::Pbuffer ? " pbuffer" : ""));
            std::unique_ptr<OffscreenContext> first, second;
            const std::string error =
                RaisedText([&] { first = std::make_unique<OffscreenContext>(platform, surface); });
            if (!first) {
                EXPECT_NE(error.find("EGL"), std::string::npos) << error;
                continue;
            }
            EXPECT_EQ(first->UsesPbuffer(), surface == Surface::Pbuffer);
            second = std::make_unique<OffscreenContext>(platform, surface);
            first.reset();
            SceneRenderer renderer(*second, 20, 20, kBlue);
            const render::Image image = renderer.Render(scene.get());
            EXPECT_EQ(image.At(10, 10), kRed);
            EXPECT_EQ(image.At(0, 0), kBlue);
        }
    }
    PictureContext().MakeCurrent();
}

TEST(OffscreenContext, GlWorkNeedsACurrentCompatibilityContext)
{
    OffscreenContext& context = PictureContext();
    context.MakeCurrent();
    EXPECT_NE(context.UsedPlatform(), OffscreenContext::Platform::Any);
    std::cout << "[ context  ] " << context.Description() << "\n";
    EXPECT_NE(context.Description().find("OpenGL"), std::string::npos);
    Framebuffer framebuffer(8, 8);
    std::string orphan, reading;
    std::thread bare([&] {
        orphan = RaisedBy([] { Framebuffer(8, 8); }).message;
        reading = RaisedBy([&] { framebuffer.ReadPixels(); }).message;
    });
    bare.join();
    EXPECT_EQ(orphan, "No OpenGL context is current on this thread: a framebuffer needs one.");
    EXPECT_EQ(reading, "No OpenGL context is current on this thread: reading a framebuffer needs one.");
}

} // namespace
