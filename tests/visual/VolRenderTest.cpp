// The volume render module driven through the network and drawn offscreen:
// the opaque region where the data put it, in both texture modes; the
// transfer function changing what is seen; the nearer of two regions in
// front; the compositions and their fallbacks; the resets to 2-D textures;
// the stored form.
#include "IsoSurfaceTestSupport.h"
#include "NetworkFixture.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/InvVolume.h"
#include "core/graphics/SoGLExtension.h"
#include "core/graphics/SoLogMessage.h"
#include "core/visual/VoVolRender.h"
#include "render/Image.h"
#include "shr/Logger.h"

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

using namespace core;
using shr::Color4b;

namespace {

using NodeValue = std::function<double(unsigned, unsigned, unsigned)>;

// n x n x nz float nodes over [-1, 1] x [-1, 1] x [-1, 1] (a single layer sits at z = 0).
VdUniformLattice* Cube(unsigned n, unsigned nz, const NodeValue& value)
{
    const unsigned int dims[3] = {n, n, nz};
    std::vector<float> values;
    for (unsigned k = 0; k < nz; ++k)
        for (unsigned j = 0; j < n; ++j)
            for (unsigned i = 0; i < n; ++i)
                values.push_back(static_cast<float>(value(i, j, k)));
    auto* lattice = new VdUniformLattice(shr::Float, dims, values.data(), 1);
    const double zLow = nz > 1 ? -1.0 : 0.0, zHigh = nz > 1 ? 1.0 : 0.0;
    lattice->SetUVWBounds(shr::Box3d(shr::Vec3d(-1, -1, zLow), shr::Vec3d(1, 1, zHigh)));
    return lattice;
}

// A map of the given colours at positions 0, 0.5 and 1 and opacity nodes.
void SetMap(VoVolRender& module, const Color4b& low, const Color4b& middle, const Color4b& high,
            const std::vector<std::pair<double, double>>& opacity)
{
    VbColorMap& map = module.GetColorMap();
    map.ClearAllNodes();
    map.AddColorNode(0.0, low);
    map.AddColorNode(0.5, middle);
    map.AddColorNode(1.0, high);
    for (const auto& node : opacity)
        map.AddOpacityNode(node.first, node.second);
    module.ColorMapChanged();
    module.SetModified();
}

// Log lines with `text`, collected while the object lives.
class LogCapture {
public:
    explicit LogCapture(std::string text) : m_Text(std::move(text))
    {
        m_Level = shr::g_Logger.GetMaxLevel();
        shr::g_Logger.SetMaxLevel(SoLogMessage::kLevel);
        shr::g_Logger.SetSink([this](int, const shr::GString& line) {
            std::lock_guard<std::mutex> lock(m_Mutex);
            if (std::string(line.c_str()).find(m_Text) != std::string::npos)
                ++m_Count;
        });
    }
    ~LogCapture()
    {
        shr::g_Logger.SetSink(nullptr);
        shr::g_Logger.SetMaxLevel(m_Level);
    }
    int Count()
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Count;
    }

private:
    std::string m_Text;
    std::mutex m_Mutex;
    int m_Count = 0;
    int m_Level = 0;
};

const Color4b kRed(255, 0, 0), kGreen(0, 255, 0), kBlack(0, 0, 0);

class VolRenderTest : public testsupport::NetworkFixture {
protected:
    void TearDown() override
    {
        SoGLExtManager::getInstance()->setDisabled(0);
        NetworkFixture::TearDown();
    }
    // Seen from above: the cube spans pixels 16 to 144 on both axes.
    static render::Image Picture(VoVolRender& module)
    {
        return isotest::TopDownPicture(module.OutputGeometry(0).GetRoot().get(), 2.5f);
    }
    VoVolRender* Volume(VdLattice* lattice, uint32_t method)
    {
        auto* module = Feed(lattice, new VoVolRender);
        module->Method(method);
        return module;
    }

    testsupport::ErrorProxy proxy;
};

std::string Text(const Color4b& c)
{
    return std::to_string(c.r) + "," + std::to_string(c.g) + "," + std::to_string(c.b);
}

TEST_F(VolRenderTest, OpaqueRegionFollowsTheDataAndTheTransferFunction)
{
    for (const uint32_t method : {VoVolRender::Textures2D, VoVolRender::Textures3D}) {
        SCOPED_TRACE(method);
        // High values in the half x < 0.
        auto* module = Volume(Cube(16, 16, [](unsigned i, unsigned, unsigned) { return i < 8 ? 1.0 : 0.0; }), method);
        RunPass();
        ASSERT_EQ(module->GetStatus(), VoModule::ModuleOk);
        render::Image image = Picture(*module);
        // The default function: grey ramp, high values opaque, low ones clear.
        EXPECT_GT(image.At(40, 80).r, 200) << Text(image.At(40, 80));
        EXPECT_LT(image.At(120, 80).r, 30) << Text(image.At(120, 80));
        EXPECT_EQ(image.At(80, 5), kBlack) << "nothing beyond the cube";

        // Now the low values are opaque red and the high ones clear.
        SetMap(*module, kRed, kRed, kGreen, {{0.0, 1.0}, {0.25, 1.0}, {0.75, 0.0}, {1.0, 0.0}});
        RunPass();
        image = Picture(*module);
        EXPECT_LT(image.At(40, 80).g + image.At(40, 80).r, 30) << Text(image.At(40, 80));
        EXPECT_GT(image.At(120, 80).r, 200) << Text(image.At(120, 80));
        EXPECT_LT(image.At(120, 80).g, 30) << Text(image.At(120, 80));
        network().DeleteAllNodes();
    }
    EXPECT_TRUE(proxy.Errors().empty());
}

} // namespace
