// The volume node drawn offscreen on its own: bricks that join without a
// seam, a cancelled texture build that draws nothing and starts over, the
// node's box, the capability query, and texture names that are deleted in
// their own context only.
#include "core/data/VdUniformLattice.h"
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/InvVolume.h"
#include "core/graphics/SoGLExtension.h"
#include "core/graphics/SoSafeTexture.h"
#include "core/graphics/VbColorMap.h"
#include "tests/support/PictureSupport.h"

#include <GL/gl.h>
#include <Inventor/elements/SoGLCacheContextElement.h>
#include <Inventor/misc/SoContextHandler.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <vector>

using namespace core;
using shr::Color4b;

namespace {

render::OffscreenContext& Context()
{
    InvVolume::initClass();
    return testsupport::PictureContext();
}

// n^3 float nodes over [-1, 1]^3 valued i / (n - 1): a grey ramp along X,
// opaque everywhere.
struct RampVolume {
    explicit RampVolume(unsigned n) : map(nullptr, 0, 256)
    {
        Context();
        std::vector<float> values;
        for (unsigned k = 0; k < n; ++k)
            for (unsigned j = 0; j < n; ++j)
                for (unsigned i = 0; i < n; ++i)
                    values.push_back(static_cast<float>(i) / (n - 1));
        const unsigned int dims[3] = {n, n, n};
        lattice = new VdUniformLattice(shr::Float, dims, values.data(), 1);
        lattice->AddRef(); // counted, as an output port holds its data
        lattice->SetUVWBounds(shr::Box3d(shr::Vec3d(-1, -1, -1), shr::Vec3d(1, 1, 1)));
        map.SetDataLimits(0.0, 1.0);
        node = InvSmartPtr<InvVolume>(new InvVolume);
        node->SetBoundingBox(lattice->GetUVWBounds());
        node->SetLattice(lattice);
        node->SetColorMap(&map);
    }
    ~RampVolume()
    {
        node->SetLattice(nullptr);
        lattice->DecRef();
    }

    // Seen from above, the cube spanning pixels 16 to 144.
    render::Image Picture() const { return testsupport::TopDownPicture(node.get(), 2.5f); }

    VdUniformLattice* lattice;
    VbColorMap map;
    InvSmartPtr<InvVolume> node;
};

TEST(VolumeDraw, BricksJoinWithoutASeam)
{
    RampVolume whole(16), bricked(16);
    for (RampVolume* volume : {&whole, &bricked})
        volume->node->SetRenderMethod(InvVolume::Textures3D);
    bricked.node->SetMaxBrickSize(4); // five bricks a side
    const render::Image one = whole.Picture(), many = bricked.Picture();
    int worst = 0;
    for (int x = 20; x < 140; ++x) {
        worst = std::max(worst, std::abs(one.At(x, 80).r - many.At(x, 80).r));
        EXPECT_GE(many.At(x, 80).r + 3, many.At(x - 1, 80).r) << "the ramp rises across X at " << x;
    }
    EXPECT_LE(worst, 3);
    EXPECT_GT(many.At(135, 80).r, 200);
}

struct ProgressLog {
    bool answer = true;
    std::vector<std::pair<int, double>> calls;
    static bool Record(int phase, double fraction, void* data)
    {
        auto* log = static_cast<ProgressLog*>(data);
        log->calls.emplace_back(phase, fraction);
        return phase != 0 || log->answer;
    }
};

TEST(VolumeDraw, ACancelledBuildDrawsNothingAndStartsOver)
{
    for (const uint32_t method : {InvVolume::Textures2D, InvVolume::Textures3D}) {
        SCOPED_TRACE(method);
        RampVolume volume(8);
        volume.node->SetRenderMethod(method);
        ProgressLog log;
        log.answer = false;
        volume.node->SetProgressCallback(&ProgressLog::Record, &log);
        EXPECT_EQ(volume.Picture().At(135, 80), Color4b::Black);
        EXPECT_TRUE(volume.node->GetDirty() & InvVolume::DirtyData);

        log.answer = true;
        log.calls.clear();
        EXPECT_GT(volume.Picture().At(135, 80).r, 200);
        ASSERT_GE(log.calls.size(), 2u);
        EXPECT_EQ(log.calls.back(), std::make_pair(1, 1.0)) << "phase 1 ends the drawing";
        for (size_t c = 1; c + 1 < log.calls.size(); ++c)
            EXPECT_GE(log.calls[c].second, log.calls[c - 1].second);
        EXPECT_LT(log.calls[log.calls.size() - 2].second, 1.0);
        EXPECT_EQ(volume.node->GetDirty(), 0u);
    }
}

TEST(VolumeDraw, CapabilitiesComeFromTheContextAndTheSwitch)
{
    render::OffscreenContext& context = Context();
    context.MakeCurrent();
    SoGLExtension& extension = *SoGLExtManager::getInstance();
    EXPECT_TRUE(extension.isTextureSizeLegal(64, 64, 0, 4));
    EXPECT_FALSE(extension.isTextureSizeLegal(0, 64, 0, 4));
    EXPECT_FALSE(extension.isTextureSizeLegal(64, 64, 0, 5));
    RampVolume(4).Picture(); // measures the context
    ASSERT_TRUE(extension.isMeasured());
    ASSERT_TRUE(extension.isTexture3DAvailable()) << "every current GL has 3-D textures";
    context.MakeCurrent();
    EXPECT_FALSE(extension.isTextureSizeLegal(1 << 14, 1 << 14, 1 << 14, 4)) << "far beyond any driver";
    EXPECT_TRUE(extension.isTextureSizeLegal(32, 32, 32, 4));
    extension.setDisabled(SoGLExtension::Texture3D | SoGLExtension::BlendColor);
    EXPECT_FALSE(extension.isTexture3DAvailable());
    EXPECT_FALSE(extension.isBlendColorAvailable());
    EXPECT_FALSE(extension.isTextureSizeLegal(32, 32, 32, 4));
    EXPECT_TRUE(extension.noteFallback(SoGLExtension::Texture3D));
    EXPECT_FALSE(extension.noteFallback(SoGLExtension::Texture3D)) << "noted once";
    extension.setDisabled(0);
    EXPECT_TRUE(extension.isTexture3DAvailable());
    EXPECT_TRUE(extension.noteFallback(SoGLExtension::Texture3D)) << "new capabilities, new notes";
}

TEST(VolumeDraw, TextureNamesAreDeletedInTheirOwnContext)
{
    render::OffscreenContext& first = Context();
    render::OffscreenContext second;
    first.MakeCurrent();
    const uint32_t firstId = SoGLCacheContextElement::getUniqueCacheContext();
    SoSafeTexture textures;
    textures.genTextures(firstId, 2);
    for (size_t t = 0; t < textures.size(); ++t)
        glBindTexture(GL_TEXTURE_2D, textures[t]);
    const std::vector<unsigned> names = textures.names();

    // Let go while another context is current: nothing is deleted there, and
    // the names wait for their own context.
    second.MakeCurrent();
    const size_t before = SoSafeTexture::pendingCount();
    textures.deleteTextures();
    EXPECT_TRUE(textures.empty());
    EXPECT_EQ(SoSafeTexture::pendingCount(), before + 2);
    first.MakeCurrent();
    EXPECT_TRUE(glIsTexture(names[0]));
    SoContextHandler::destructingContext(firstId);
    EXPECT_FALSE(glIsTexture(names[0]));
    EXPECT_FALSE(glIsTexture(names[1]));
    EXPECT_EQ(SoSafeTexture::pendingCount(), before);

    // In their own context they go at once.
    SoSafeTexture current;
    current.genTextures(firstId, 1);
    glBindTexture(GL_TEXTURE_2D, current[0]);
    const unsigned name = current[0];
    current.deleteTextures(firstId);
    EXPECT_FALSE(glIsTexture(name));
}

} // namespace
